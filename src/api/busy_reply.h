/*
 * Replies that are composed or trimmed without asking the device. No command path calls either routine.
 */
#pragma once

/** What generate_98_return answers for an index that it has no reply for. */
constexpr int ERR_BUSY_REPLY_COMMAND = -3000;

/**
 * Writes the standard's busy reply, code xxx98, for a command.
 *
 * @param pcOut     receives the text: at most 128 bytes with its NUL
 * @param iSession  reduced session number, printed without leading zeros
 * @param iCmd      command index 0 to 14. 15 is rejected although there is such a command: on purpose.
 * @param iNumArgs  5, or another count for the shape with the alert field. A negative one writes an error
 * text, but counts as success: on purpose.
 * @return the length of the text; -3000 for an index out of range, with an error text in pcOut
 */
int generate_98_return(char* pcOut, int iSession, int iCmd, int iNumArgs);

/**
 * Trims a reply text in place: a text with exactly nine "|" loses the fifth of them, every other text its
 * last character. NULL and an empty text are left alone.
 */
void removeNewPipe(char* pcToRemovePipe);
