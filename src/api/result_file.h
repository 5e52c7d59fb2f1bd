/*
 * The replies of sales and cancellations as files, for a companion application.
 */
#pragma once

/**
 * Writes the text that an export returns into a file of the receipt folder, when "SAT.ini" asks for it.
 * Blocks for the time of one file write. Failures are logged, none reaches the caller and none touches the
 * reply.
 *
 * @param pReply       the text, iLength bytes; written as it is, without a terminator
 * @param iSession     reduced session number, part of the file's name
 * @param pcOperation  front of the file's name, "venda-cprx-" or "canc-cprx-"
 * @param pcData       the cancellation's data and their length; accepted and not used
 * @param iDataLength
 */
void write_operation_result(const void* pReply, int iSession, int iLength, const char* pcOperation,
                            const char* pcData, int iDataLength);
