/*
 * What the tool needs of the terminal and the process: one file a system.
 */
#pragma once

#include <string>
#include <vector>

namespace tool {

/** The arguments in UTF-8, without the program's name. Prepares the console for UTF-8 where there is one. */
std::vector<std::string> CommandLineArguments(int argc, char** argv);

/** Whether a person looks at the stream. */
bool OutputIsTerminal();
bool ErrorIsTerminal();

/** Characters in a line of the terminal; 100 when it is none. */
size_t TerminalColumns();

/** All bytes of standard input, unchanged. */
std::string ReadStandardInput();

/** Makes Ctrl-C call `handler`, on whatever thread the system likes. */
void OnInterrupt(void (*handler)(int));

/**
 * While such an object lives, what is written to standard output goes nowhere: the library prints there at
 * times, in the middle of what this tool has to say.
 */
class OutputSilencer {
  public:
    OutputSilencer();
    ~OutputSilencer();
    OutputSilencer(const OutputSilencer&) = delete;
    OutputSilencer& operator=(const OutputSilencer&) = delete;

  private:
    int saved_;
};

}  // namespace tool
