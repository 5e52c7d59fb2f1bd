/*
 * What the tills call: the sixteen commands, with the texts that must reach the device for them.
 */
#pragma once

#include <cstdint>
#include <string>

#include "draw.h"

namespace simulate {

/**
 * One export. This table is the simulation's own, so that a slip in the library's shows.
 *
 * `shape` has a letter for each argument behind the session: s text, d number as it is, r number reduced to
 * six digits.
 */
struct Command {
    const char* name;
    const char* shape;
    int timeout_s;
    bool configurable;        ///< "SAT.ini" may change the time-out
    const char* result_file;  ///< front of the result file's name, nullptr when there is none
};

constexpr int kCommandCount = 16;
constexpr int kSale = 2;
constexpr int kCancellation = 3;
constexpr int kStatus = 6;
constexpr int kVersion = 16;  ///< VersaoDllZantir, which is no command
extern const Command kCommands[kCommandCount];

/** The longest frame: it fits the library's buffer of 10 MiB with a terminating NUL. */
constexpr size_t kLongestFrame = 10485759;

/** One call of an export. */
struct Request {
    int command = kStatus;  ///< place in the table, or kVersion
    int session = 0;
    int numbers[2] = {};
    std::string texts[3];
    bool is_null[3] = {};

    const char* Text(size_t i) const { return is_null[i] ? nullptr : texts[i].c_str(); }
};

/** The command's text between STX and checksum. */
std::string CommandText(const Request& request);

/** The last six decimal digits, with the sign. */
int Reduced(int number);

/** Fills a request with a command, weighted as a shop uses them, and random arguments. */
void DrawRequest(Draw& draw, Request* request);

/** Appends `size` random printable bytes that are no field separators. */
void AppendWords(Draw& draw, size_t size, std::string* text);

/** The size of a frame that ends at or near the end of one of its first blocks, or anywhere up to 50 KB. */
size_t DrawFrameSize(Draw& draw);

}  // namespace simulate
