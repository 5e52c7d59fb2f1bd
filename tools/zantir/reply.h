/*
 * A result of the library taken apart: the device's reply field by field, or an error text.
 */
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "codes.h"
#include "library_errors.h"
#include "shapes.h"
#include "values.h"

namespace tool {

/** One field of a reply as it came. */
struct ReplyField {
    std::string name;     ///< of the documents; "campo 13" for one that they do not know
    std::string meaning;  ///< in the chosen language
    std::string value;    ///< bytes as they came
    ValueMeaning explained;
    FieldKind kind = FieldKind::Plain;
};

enum class Verdict {
    Accepted,       ///< the device did it
    Refused,        ///< the device answered with another code
    LibraryFailed,  ///< an error text of the library: no answer of the device
    NoReply,        ///< neither: a text without the fields of a reply
};

/** The word for a verdict in JSON and filters. */
const char* VerdictName(Verdict verdict);

/** A result taken apart. */
struct Reply {
    Verdict verdict = Verdict::NoReply;
    std::string raw;      ///< without line ends and framing around it
    std::string command;  ///< whose shape the reply has; "" when neither caller nor code tell
    CodeMeaning code;
    std::vector<ReplyField> fields;
    std::vector<std::string> faults;  ///< where the reply differs from its shape, in the chosen language
    std::optional<LibraryError> error;
};

/**
 * Takes a result apart. `command` is the function that was called, "" when it is not known: then the return
 * code tells. A session's reply has the shape of the command that it answered, so there too the code counts.
 */
Reply ParseReply(std::string_view text, std::string_view command = "");

/** Of a pasted text: without STX, checksum, ETX, or the front and end of a protocol line. */
std::string WithoutFraming(std::string_view text);

/** The value of a field by its name in the documents; "" when the reply has none. */
std::string ValueOf(const Reply& reply, std::string_view field);

}  // namespace tool
