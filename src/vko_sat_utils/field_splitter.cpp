#include "field_splitter.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "packet.h"

namespace {

size_t CountSeparators(const char* text, const char* end) {
    const char* at = text;
    while (at != end && *at == SAT_SEPARATOR) {
        at++;
    }
    return static_cast<size_t>(at - text);
}

bool IsEtx(const char* at, const char* end) {
    return at != end && static_cast<unsigned char>(*at) == SAT_ETX;
}

/** The checksum is found by its place alone: it may have any value, a separator's too. */
void SetEtx(const SatFieldCursor& cursor, SatField* field, const char* etx) {
    field->etx = etx;
    field->checksum = etx == cursor.begin ? nullptr : etx - 1;
}

void GiveEmpty(SatFieldCursor* cursor, SatField* field) {
    field->empty_number = ++cursor->empty_number;
    cursor->empties--;
    if (cursor->empties != 0) {
        return;
    }
    cursor->empty_number = 0;
    if (cursor->etx) {
        SetEtx(*cursor, field, cursor->etx);
        cursor->next = cursor->end;
    }
}

/** Takes STX, checksum and ETX off a piece. */
void TrimPiece(const SatFieldCursor& cursor, SatField* field) {
    const char* first = field->text;
    const char* last = first + field->piece_length;
    field->has_stx = field->number == 1 && static_cast<unsigned char>(*first) == SAT_STX;
    field->is_last = IsEtx(last - 1, last);
    if (field->has_stx) {
        first++;
    }
    if (field->is_last) {
        SetEtx(cursor, field, last - 1);
        // A piece of ETX alone leaves its checksum in front of it, in another field's place.
        last -= std::min<ptrdiff_t>(last - first, 2);
    }
    field->text = first;
    field->length = static_cast<size_t>(last - first);
}

/** Sets the cursor behind a piece that ends at `separator`, and finds the empty fields there. */
void StepBehind(SatFieldCursor* cursor, SatField* field, const char* separator) {
    const char* behind = separator + 1;
    const size_t run = CountSeparators(behind, cursor->end);
    const char* behind_run = behind + run;
    const bool counts = cursor->rule == SAT_EMPTY_EVERYWHERE || field->piece_length == 1;
    cursor->next = behind_run;
    if (run == 0 && IsEtx(behind, cursor->end)) {
        // The separator was the checksum. The text ends here.
        if (!field->etx) {
            SetEtx(*cursor, field, behind);
        }
        cursor->next = cursor->end;
    } else if (counts && run != 0) {
        // With ETX behind the run there is one more field, although the run's last separator is the checksum.
        cursor->etx = IsEtx(behind_run, cursor->end) ? behind_run : nullptr;
        cursor->empties = run + (cursor->etx ? 1 : 0);
    }
}

}  // namespace

bool SatBeginFields(SatFieldCursor* cursor, const char* text, size_t length, SatEmptyRule rule) {
    *cursor = {};
    cursor->begin = text;
    cursor->end = text + length;
    cursor->rule = rule;
    cursor->empties = CountSeparators(text, cursor->end);
    cursor->next = text + cursor->empties;
    return cursor->next != cursor->end;
}

bool SatNextField(SatFieldCursor* cursor, SatField* field) {
    if (cursor->empties == 0 && cursor->next == cursor->end) {
        return false;
    }
    *field = {};
    field->number = ++cursor->number;
    if (cursor->empties != 0) {
        GiveEmpty(cursor, field);
        return true;
    }
    const auto rest = static_cast<size_t>(cursor->end - cursor->next);
    const auto* separator = static_cast<const char*>(memchr(cursor->next, SAT_SEPARATOR, rest));
    field->text = cursor->next;
    field->piece_length = separator ? static_cast<size_t>(separator - cursor->next) : rest;
    TrimPiece(*cursor, field);
    if (separator) {
        StepBehind(cursor, field, separator);
    } else {
        cursor->next = cursor->end;
    }
    return true;
}
