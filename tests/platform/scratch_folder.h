/*
 * A test in a folder of its own, which is the current folder while the test runs.
 */
#pragma once

#include <cstdarg>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "platform/platform.h"

struct ScratchFolder : testing::Test {
    void SetUp() override {
        before = std::filesystem::current_path();
        folder = std::filesystem::temp_directory_path() / ("zantir-" + std::to_string(plat_counter()));
        ASSERT_TRUE(std::filesystem::create_directories(folder));
        std::filesystem::current_path(folder);
    }

    void TearDown() override {
        std::filesystem::current_path(before);
        std::filesystem::remove_all(folder);
    }

    static void WriteText(const std::string& name, const std::string& text) {
        std::ofstream(name, std::ios::binary) << text;
    }

    /** The file's text; line ends as the text mode reads them. */
    static std::string ReadText(const std::string& name) {
        std::ostringstream text;
        text << std::ifstream(name).rdbuf();
        return text.str();
    }

    /** The file's bytes. */
    static std::string ReadBytes(const std::string& name) {
        std::ostringstream bytes;
        bytes << std::ifstream(name, std::ios::binary).rdbuf();
        return bytes.str();
    }

    /** What stands for a line feed in a text file of this system. */
    static std::string LineEnd() {
        std::ofstream("line-end") << '\n';
        return ReadBytes("line-end");
    }

    /** Writes formatted text to an open file. */
    PLAT_PRINTF_CHECK(2, 3) static bool Print(plat_file* file, const char* format, ...) {
        va_list arguments;
        va_start(arguments, format);
        const bool printed = plat_file_vprintf(file, format, arguments);
        va_end(arguments);
        return printed;
    }

    std::filesystem::path before;
    std::filesystem::path folder;
};
