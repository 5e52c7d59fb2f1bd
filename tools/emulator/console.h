/*
 * Commands to the running program, a line each on its standard input.
 */
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "fault_plan.h"
#include "report.h"

namespace emulator {

/** Moves the running device, as MoveDevice does, and has it kept. An empty text, or why it could not. */
using MoveFunction = std::function<std::string(std::string_view where)>;

/** What the commands work on. */
struct Console {
    FaultPlan& plan;
    Reporter reporter;
    StopFlag& stop;
    MoveFunction move = {};
    bool quit = false;  ///< the program is to stop once the command is answered
};

/** Carries one line out. False, and `answer` says what is wrong with it, for a line that is none. */
bool RunConsoleLine(Console& console, std::string_view line, std::string* answer);

/** Reads and carries out lines until the input ends. */
void ReadConsole(Console console);

/** The same on a thread of its own. What it refers to must outlive the program. */
void StartConsole(const Console& console);

/**
 * To be called before anything is opened: a program that was started without an input would otherwise have
 * the port in its place. The system's part.
 */
void SecureInput();

/** Waits for bytes of the standard input; 0 or less at its end, or where there is none. The system's part. */
int ReadInput(char* buffer, size_t size);

}  // namespace emulator
