/*
 * Splits a command or reply text into its numbered fields. One walk over the text, which is neither changed
 * nor read outside its given length; all state stands in the caller's cursor.
 */
#pragma once

#include <cstddef>
#include <cstdint>

constexpr char SAT_SEPARATOR = '|';

/** Behind which fields adjacent separators count as empty fields. Elsewhere they are passed over. */
enum SatEmptyRule {
    SAT_EMPTY_EVERYWHERE,
    SAT_EMPTY_BEHIND_ONE_CHARACTER  ///< behind fields of exactly one byte, and at the start of the text
};

/** One numbered field. */
struct SatField {
    int32_t number;        ///< its place in the text, from 1
    int32_t empty_number;  ///< above 0: an empty field, the how-manieth of its run of separators
    const char*
        text;       ///< not terminated, without a leading STX and without checksum and ETX; NULL when empty
    size_t length;  ///< bytes of `text`
    size_t piece_length;   ///< bytes between the separators, STX, checksum and ETX included
    bool has_stx;          ///< the first field, and it begins with STX
    bool is_last;          ///< ends in ETX
    const char* etx;       ///< the ETX that closes the text at this field, NULL when it does not
    const char* checksum;  ///< the byte in front of that ETX; NULL when the text begins with ETX
};

/** A walk in progress. */
struct SatFieldCursor {
    const char* begin;
    const char* end;
    const char* next;  ///< where the next piece begins; `end` when none is left
    SatEmptyRule rule;
    int32_t number;        ///< fields given so far
    int32_t empty_number;  ///< empty fields given of the current run
    size_t empties;        ///< empty fields to give before the next piece
    const char* etx;       ///< closes the text behind the current run of empty fields; else NULL
};

/** Begins a walk. False when the text holds nothing but separators, or nothing at all. */
bool SatBeginFields(SatFieldCursor* cursor, const char* text, size_t length, SatEmptyRule rule);

/** Gives the next field. False when the walk is over; `cursor->number` is then the number of fields. */
bool SatNextField(SatFieldCursor* cursor, SatField* field);
