/*
 * Why a content is refused, in words that lead the caller to the spot: the element, what was expected there,
 * and what was found.
 */
#pragma once

#include <string>
#include <string_view>

namespace emulator {

/** "ide/CNPJ ausente". */
std::string Missing(std::string_view path);

/** "emit/CNPJ repetido". */
std::string Repeated(std::string_view path);

/** "ide/CNPJ: esperado CNPJ valido, encontrado 123". What was found is shortened and made printable. */
std::string Wrong(std::string_view path, std::string_view expected, std::string_view found);

/** A text from outside as it may stand in a reply: ASCII without "|", at most 48 characters. */
std::string Shown(std::string_view text);

}  // namespace emulator
