/*
 * The commands of the tool. Each returns the exit code.
 */
#pragma once

#include "options.h"

namespace tool {

int CommandPorts(const Options& options);
int CommandConsult(const Options& options);
int CommandStatus(const Options& options);
int CommandSell(const Options& options);
int CommandCancel(const Options& options);
int CommandSession(const Options& options);
int CommandCall(const Options& options);
int CommandDecode(const Options& options);
int CommandCode(const Options& options);
int CommandCnpj(const Options& options);
int CommandCpf(const Options& options);
int CommandState(const Options& options);
int CommandDiagnosis(const Options& options);
int CommandLog(const Options& options);

}  // namespace tool
