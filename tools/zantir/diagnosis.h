/*
 * The checks of "diagnostico".
 */
#pragma once

#include <string>
#include <vector>

#include "library.h"
#include "options.h"
#include "ports.h"
#include "text.h"

namespace tool {

enum class CheckStatus { Good, Warning, Bad, Skipped };

/** What a check found, in the chosen language. */
struct Finding {
    CheckStatus status = CheckStatus::Good;
    std::string found;
    std::string remedy;                ///< "" when nothing is to do
    std::vector<std::string> details;  ///< one line each
};

/** What the checks share. Filled by StartDiagnosis, and by the checks as they go. */
struct Diagnosis {
    Options options;
    std::string ini_file;  ///< whole path
    bool ini_found = false;
    std::string ini_text;
    PortSettings port_settings;
    std::vector<Port> ports;
    PortChoice choice;
    bool port_refused = false;  ///< another program holds the port: a call would wait 30 s for it
    Library library;
};

/** One check. */
struct Check {
    const char* name;
    Text title;
    Finding (*run)(Diagnosis&);
};

/** Every check, in the order in which they run: later ones use what earlier ones found. */
const std::vector<Check>& Checks();

/**
 * Looks at the current folder. SAT.ini is read before the library is loaded, which writes one when there is
 * none.
 */
Diagnosis StartDiagnosis(const Options& options);

Finding CheckLibrary(Diagnosis& diagnosis);
Finding CheckIniFile(Diagnosis& diagnosis);
Finding CheckIniKeys(Diagnosis& diagnosis);
Finding CheckIniEffects(Diagnosis& diagnosis);
Finding CheckIniValues(Diagnosis& diagnosis);
Finding CheckLogFolder(Diagnosis& diagnosis);
Finding CheckPorts(Diagnosis& diagnosis);
Finding CheckPortUse(Diagnosis& diagnosis);
Finding CheckLock(Diagnosis& diagnosis);
Finding CheckAnswer(Diagnosis& diagnosis);
Finding CheckClock(Diagnosis& diagnosis);

}  // namespace tool
