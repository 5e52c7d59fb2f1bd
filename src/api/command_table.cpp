#include "command_table.h"

static constexpr tSatCmd BuiltIn(int iCmd) {
    return {iCmd, SAT_COMMANDS[iCmd].pRetCodePrefix, SAT_COMMANDS[iCmd].iTimeout};
}

tSatCmd gl_tSatCmd[SAT_COMMAND_COUNT] = {
    BuiltIn(0), BuiltIn(1), BuiltIn(2),  BuiltIn(3),  BuiltIn(4),  BuiltIn(5),  BuiltIn(6),  BuiltIn(7),
    BuiltIn(8), BuiltIn(9), BuiltIn(10), BuiltIn(11), BuiltIn(12), BuiltIn(13), BuiltIn(14), BuiltIn(15),
};

void ResetCommandTimeouts() {
    for (int iCmd = 0; iCmd < SAT_COMMAND_COUNT; ++iCmd)
        gl_tSatCmd[iCmd].iTimeout = SAT_COMMANDS[iCmd].iTimeout;
}
