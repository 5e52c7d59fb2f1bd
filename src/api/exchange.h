/*
 * One complete exchange with the device, and the texts in which its failures reach the caller.
 */
#pragma once

/** The machine-wide lock that serialises the exchanges of all processes. */
constexpr const char* SAT_LOCK_NAME = "Global My shared memory mutex";

/** What stands for the result of an exchange until its first step has one. */
constexpr int EXCHANGE_NOT_BEGUN = -1006;

/** What a negative result is to every step of an exchange and behind it. */
constexpr bool IsError(int rc) {
    return rc < 0;
}

/**
 * Takes the machine-wide lock, finds and opens the device's port, sends the command, reads the reply into the
 * same buffer, closes the port and releases the lock.
 *
 * Blocks up to 3 s for the lock, up to 30 s while another program holds the port, up to iTimeout seconds (and
 * 3 more) for the first byte of the reply, and then as long as the reply keeps coming.
 *
 * @param pZantirPkt  GL_DEF_MAX_SAT_PKT_SIZE bytes; the command text from STX to ETX, NUL-terminated, with
 * room for its checksum. Receives the reply text, or an error text that begins with "SAT Erro[".
 * @param iTimeout    seconds for the first byte of the reply
 * @param iSession    reduced session number, command index and reply fields: accepted and not used. They are
 * what
 * @param iCmd        generate_98_return needs.
 * @param iNumArgs
 * @return 0 or above on success; the negative code of the failed step otherwise. When the emulator is enabled
 * but its port is not configured, the text is still the command and the calling thread keeps the lock: on
 * purpose.
 */
int Communicate(char* pZantirPkt, int iTimeout, int iSession, int iCmd, int iNumArgs);
