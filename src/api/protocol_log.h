/*
 * The protocol log: a day file with one line for every packet exchanged with the device.
 */
#pragma once

#include <cstddef>
#include <cstdint>

/** The open protocol log; 0 means that it is not open. */
extern int32_t gl_iFd;

/** Whether a line was ever formatted; the size control does nothing before. */
extern bool gl_bProtocolLineFormatted;

/**
 * Makes sure that the log folder exists and opens today's file, unless it is open already. Does nothing but
 * follow the configured folder while logging is disabled. Failures are logged.
 */
void CreateSAT_ProtLogFile();

/**
 * Writes one packet. The text is shown as it is; STX, checksum and ETX as two hexadecimal digits in angle
 * brackets.
 *
 * @param pSatPkt    NUL-terminated. A packet whose checksum byte is 0x00 ends early for that reason and is
 * recognised by the ETX just behind, so one byte behind the NUL must be readable too. NULL is reported.
 * @param direction  1 device to computer, any other value computer to device
 */
void LogSATProtocolMsg(const char* pSatPkt, uint8_t direction);

/**
 * The same for a packet whose place ends behind `size` bytes: it need not be terminated, and nothing behind
 * them is read.
 */
void LogSATProtocolFrame(const char* pSatPkt, size_t size, uint8_t direction);

/** Writes a line of information to the protocol log. NULL is logged in the diagnostic log. */
void LogInfo(const char* pTextInfo);

/** Closes the log, so that the next packet opens the file of its own day, and measures it. Nothing is moved.
 */
void ProtLogFileSzCtl();
