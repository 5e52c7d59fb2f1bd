/*
 * What a routine logged, allocated and printed during a test, over the real log writer on the simulated
 * platform.
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vko_utils/log.h"

/** One line of the diagnostic log, taken apart. */
struct LogLine {
    unsigned level = 0;    ///< VKO_LOG_*
    int line = 0;          ///< from the front "[%04d] [%s] [%s]"
    std::string source;    ///< from the front
    std::string function;  ///< from the front
    std::string message;   ///< what follows the front, its "\n" included
};

/** A capture in progress: a fresh log, no allocation failing, nothing printed. */
class CapturedLog {
  public:
    /** Begins with a log mode '0' to '5', which lets levels through as the key "LogMode" does. */
    explicit CapturedLog(char mode = '3') { Start(mode); }

    /** The lines written since the capture began. */
    std::vector<LogLine> Lines() const;

    /** Whether a line of this level has this message, its "\n" not counted. */
    bool Has(unsigned level, const std::string& message) const {
        for (const LogLine& line : Lines()) {
            if (line.level == level && line.message == message + "\n") {
                return true;
            }
        }
        return false;
    }

    /** The messages of all lines, one after the other: a whole dump can be compared at once. */
    std::string Messages() const {
        std::string all;
        for (const LogLine& line : Lines()) {
            all += line.message;
        }
        return all;
    }

    /** Makes every allocation fail from now on, or lets them succeed again. */
    void FailAllocations(bool fail = true);

    /** Allocations that were not freed. */
    int64_t LiveAllocations() const;

    /** Sets the system's clock, in milliseconds since 1970-01-01 UTC. */
    void SetUnixMilliseconds(int64_t milliseconds);

    /** What was printed to standard output. */
    std::string Printed() const;

  private:
    void Start(char mode);
};

/** Takes the front off a line. A line without one keeps everything in its message. */
LogLine TakeApart(unsigned level, const std::string& text);
