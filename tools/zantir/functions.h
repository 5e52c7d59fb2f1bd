/*
 * The functions of the library as the tool calls them: names, arguments, and one way to call each.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/** How long the library waits for the first byte when SAT.ini says nothing, and which SAT.ini may say. */
struct Function {
    const char* name;
    /** Names of the arguments behind numeroSessao, separated by blanks. A leading "#" marks a number. */
    const char* arguments;
    int timeout_s;
    bool configurable_timeout;
    /** Calls the address with the session number and the arguments, which fit `arguments`. */
    const char* (*call)(void* address, int session, const std::vector<std::string>& values);
};

/** Sixteen functions of the standard; VersaoDllZantir is not one of them. */
const std::vector<Function>& Functions();

/** The function of that name, in any case of letters; NULL when there is none. */
const Function* FindFunction(std::string_view name);

/** The names of a function's arguments behind numeroSessao, without the mark of a number. */
std::vector<std::string> ArgumentNames(const Function& function);

/** Which of these arguments is the activation code; SIZE_MAX when the function has none. */
size_t ActivationCodeIndex(const Function& function);

/** The position of an argument that is to be a number and is none; SIZE_MAX when all are well. */
size_t FirstWrongNumber(const Function& function, const std::vector<std::string>& values);

/** Seconds that the library waits for the reply's first byte with the SAT.ini of the current folder. */
int TimeoutInForce(const Function& function, const std::string& ini_file);

}  // namespace tool
