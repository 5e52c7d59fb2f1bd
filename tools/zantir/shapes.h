/*
 * The shapes of the device's replies, as the documents describe them: which fields, in which order.
 */
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "text.h"

namespace tool {

/** What a field's text means, and so how it is explained and checked. */
enum class FieldKind {
    Plain,
    Session,     ///< six digits
    ReturnCode,  ///< five digits of the catalogue
    AlertCode,   ///< four digits
    SefazCode,
    Base64,
    Moment,  ///< AAAAMMDDHHMMSS
    Date,    ///< AAAAMMDD
    Key,     ///< access key of 44 digits, with or without "CFe" in front
    Amount,
    Taxpayer,        ///< CNPJ or CPF
    OperatingState,  ///< ESTADO_OPERACAO
};

/** One field: its name in the documents, its meaning, its kind. */
struct Field {
    const char* name;
    Text meaning;
    FieldKind kind;
};

/** The fields of a reply. On a refusal only the first `refused` of them are there. */
struct Shape {
    const char* command;
    std::vector<Field> fields;
    size_t refused;
};

/** The shape of the replies to a command of the standard; every command has one. */
const Shape& ShapeOf(std::string_view command);

/** The command whose return codes begin with the first three of these five digits; "" when there is none. */
std::string CommandOfCode(std::string_view five_digits);

}  // namespace tool
