/*
 * Periodic size control of the logs.
 */
#pragma once

/**
 * Checks the sizes of both logs every 5 s, for ever. While one of the long commands is on the line it waits
 * up to 20 rounds. Never returns. Nothing in the library starts it: the exports check the sizes at every
 * call.
 */
[[noreturn]] void LogSzCtlTherad();
