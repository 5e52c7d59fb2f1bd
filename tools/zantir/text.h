/*
 * Texts for people, in the two languages of the tool, and their way to bytes that every reader understands.
 */
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/** One text in both languages. "%1" to "%9" stand for values. Constant data, UTF-8. */
struct Text {
    const char* portuguese;
    const char* english;
};

enum class Language { Portuguese, English };

/** Chooses the language of Say for the whole process; Portuguese before. */
void SetLanguage(Language language);

/** The text in the chosen language, with the values in their places. Values are not looked through again. */
std::string Say(const Text& text, std::initializer_list<std::string_view> values = {});

/** Whether there is anything to say. */
bool HasText(const Text& text);

/**
 * Bytes from a device, a log or a file as UTF-8. What is UTF-8 already stays as it is; everything else is
 * taken for Windows-1252, the code page of the tills, of which Latin-1 is a part.
 */
std::string ToUtf8(std::string_view bytes);

/**
 * Fit for a terminal: UTF-8, and every control character but line feed and tab replaced by "·", so that no
 * text from outside moves the cursor or the colours.
 */
std::string Printable(std::string_view bytes);

/** Cuts a UTF-8 text to `columns` characters, the last of them "…" when it had to be cut. */
std::string Shortened(std::string_view text, size_t columns);

/** A UTF-8 text filled with blanks up to `columns` characters. */
std::string Padded(std::string_view text, size_t columns);

/** Characters of a UTF-8 text. */
size_t Columns(std::string_view text);

/** The pieces between separators, at least one. */
std::vector<std::string> Split(std::string_view text, char separator);

/** The text without blanks and line ends around it. */
std::string Trimmed(std::string_view text);

/** The number that a text of digits says; 0 when it says none, or one beyond 32 bits. */
int NumberOf(std::string_view digits);

/** Whether the text is not empty and consists of digits alone. */
bool AllDigits(std::string_view text);

}  // namespace tool
