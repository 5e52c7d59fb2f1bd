/*
 * The library with everything logged that a mode lets through, and its lines to the letter: only the time and
 * the source line are masked.
 */
#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "library_fixture.h"

/** "[12:04:05.006]WRN [0123] [source] ..." becomes "WRN [#] [source] ..."; what goes on in further lines
 * stays as it is. */
std::string MaskTimesAndLines(const std::string& log);

/** How often a text stands in another one. */
size_t CountOf(const std::string& text, const std::string& piece);

class LoggedLibrary : public Library {
  protected:
    void SetUp() override { LoadAtMode('5'); }

    /** A fresh machine and library that log at a mode '0' to '5' into the folder "Log". */
    static void LoadAtMode(char mode) {
        Load();
        LogAtMode(mode);
    }

    /** The masked lines written to the folder's log of the library since the last call. */
    static std::string TakeLog(const std::string& folder = "Log");

    /** The front of a line of the command engine. */
    static std::string Api(const std::string& tag, const std::string& function) {
        return tag + " [#] [../src/api/ZANTIR] [" + function + "]";
    }
};
