/*
 * What the tests of the exports, the exchange, the link and the port have in common.
 */
#pragma once

#include <gmock/gmock.h>

#include <string>
#include <string_view>
#include <vector>

#include "library_fixture.h"

/** A device that answers every command with the same text. */
sim::HonestDevice DeviceThatSays(std::string reply);

/** The first index from `from` on that does not hold zero; `size` when all do. */
size_t FirstNonZero(const char* buffer, size_t from, size_t size);

/** A handle or number as the log shows it: eight hexadecimal digits. */
std::string Hex8(plat_handle handle);

/** A text with its unprintable bytes as "<02>", so that a failed comparison can be read. */
std::string Shown(std::string_view bytes);

class Api : public Library {
  protected:
    /** "SAT.ini" with its defaults and this log mode, for tests that call an export. */
    static void WriteIniWithLog(char mode);

    /** Lets every level through at once and begins an empty log, for tests below the exports. */
    static void StartLog();

    /** Forgets what the diagnostic log holds so far. */
    static void ClearLog();

    /**
     * The diagnostic log, an element a line, each "LVL [function]message" with its line feeds; lines whose
     * front has another shape keep it but for the time.
     */
    static std::vector<std::string> Log();

    /** Those of one function. */
    static std::vector<std::string> LogOf(const std::string& function);

    /** A port without discovery, open and set up as the exchange does it; its handle is `hPort`. */
    static sim::Line& OpenPort(sim::Device* device);
    static plat_handle hPort;

    /** Virtual milliseconds since the machine's reset. */
    static int64_t NowMs() { return World().clock.NowUs() / 1000; }
};
