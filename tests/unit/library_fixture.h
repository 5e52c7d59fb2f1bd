/*
 * The whole library on a fresh simulated machine, with every variable of the process as a load leaves it.
 */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "api/ZANTIR.h"
#include "sim_platform.h"

/** The lines of a log whose front, "[time]LVL [line] [source] [function]", is reduced to "LVL [function]". */
std::string MaskFronts(const std::string& log);

class Library : public testing::Test {
  protected:
    void SetUp() override { Load(); }

    /** A fresh machine (2026-11-20 15:04:05.006 UTC, local time three hours behind) and a freshly loaded
     * library. */
    static void Load();

    static sim::World& World() { return sim::world(); }

    /** Puts "SAT.ini" into the current directory. */
    static void WriteIni(const std::string& text);

    /** The default file with one key of a section set to another value, or added to the section. */
    static std::string DefaultIniWith(const std::string& section, const std::string& key,
                                      const std::string& value);

    /** The default file's text. */
    static std::string DefaultIni();

    /** Sets the level flags as "LogMode" does, for routines that are tested without the start-up. */
    static void LogAtMode(char mode);

    /** Plugs a port in that discovery takes for the device's: "COM7" with "ZANTIR SAT" as friendly name. */
    static sim::Line& AttachDevice(sim::Device* device, const std::string& port = "COM7",
                                   const std::string& friendly = "ZANTIR SAT");

    /** What stands in the day's diagnostic log and protocol log in the folder "Log"; empty when there is
     * none. */
    static std::string DiagnosticLog(const std::string& folder = "Log");
    static std::string ProtocolLog(const std::string& folder = "Log");

    /** A file's content; empty when there is none. */
    static std::string FileText(const std::string& path);
};
