/*
 * zantir: the technician's command line.
 */
#include <exception>

#include "cli.h"
#include "screen.h"
#include "terminal.h"

int main(int argc, char** argv) {
    try {
        return tool::RunCommandLine(tool::CommandLineArguments(argc, argv));
    } catch (const std::exception& failure) {
        tool::Complain(failure.what());
    } catch (...) {
        tool::Complain("?");
    }
    return tool::EXIT_FILE;
}
