#include "xml_text.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace emulator {

namespace {

using Attribute = rapidxml::xml_attribute<char>;

std::string_view NameView(const rapidxml::xml_base<char>* item) {
    return {item->name(), item->name_size()};
}

std::string_view ValueView(const rapidxml::xml_base<char>* item) {
    return {item->value(), item->value_size()};
}

bool SameWord(std::string_view left, std::string_view right) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [&](char a, char b) { return lower(a) == lower(b); });
}

// Bytes that follow the first one of a character in UTF-8; -1 for a byte that begins none.
int Followers(unsigned char first) {
    if (first < 0x80) return 0;
    if (first >= 0xC2 && first <= 0xDF) return 1;
    if (first >= 0xE0 && first <= 0xEF) return 2;
    return first >= 0xF0 && first <= 0xF4 ? 3 : -1;
}

// Overlong forms, halves of surrogate pairs, the two last places of the first plane, and what is beyond the
// end.
bool IsAllowed(uint32_t character, int followers) {
    if (followers == 2 && character < 0x800) return false;
    if (followers == 3 && character < 0x10000) return false;
    return (character < 0xD800 || character > 0xDFFF) && character != 0xFFFE && character != 0xFFFF &&
           character <= 0x10FFFF;
}

bool IsUtf8(std::string_view text) {
    for (size_t at = 0; at < text.size();) {
        const auto first = static_cast<unsigned char>(text[at++]);
        const int followers = Followers(first);
        if (followers < 0 || text.size() - at < static_cast<size_t>(followers)) return false;
        uint32_t character = followers == 0 ? first : first & (0x3FU >> followers);
        for (int i = 0; i < followers; ++i, ++at) {
            const auto next = static_cast<unsigned char>(text[at]);
            if ((next & 0xC0) != 0x80) return false;
            character = character << 6 | (next & 0x3F);
        }
        if (!IsAllowed(character, followers)) return false;
    }
    return true;
}

bool IsCleanText(std::string_view text, bool unicode) {
    const bool control = std::any_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\r' && c != '\n';
    });
    return !control && (!unicode || IsUtf8(text));
}

bool HasCleanAttributes(const Element* element, bool unicode) {
    // Looking each name up among all of them must not take an evening.
    constexpr int most_attributes = 64;
    int count = 0;
    for (const Attribute* attribute = element->first_attribute(); attribute != nullptr;
         attribute = attribute->next_attribute()) {
        if (++count > most_attributes) return false;
        if (!IsCleanText(ValueView(attribute), unicode)) return false;
        if (element->first_attribute(attribute->name(), attribute->name_size()) != attribute) return false;
    }
    return true;
}

void AppendEscaped(std::string& text, std::string_view value, bool in_attribute) {
    for (const char c : value) {
        if (c == '&') {
            text += "&amp;";
        } else if (c == '<') {
            text += "&lt;";
        } else if (c == '>' && !in_attribute) {
            text += "&gt;";
        } else if (c == '"' && in_attribute) {
            text += "&quot;";
        } else if (c == '\r') {
            text += "&#xD;";
        } else if ((c == '\t' || c == '\n') && in_attribute) {
            text += c == '\t' ? "&#x9;" : "&#xA;";
        } else {
            text += c;
        }
    }
}

bool IsNamespace(std::string_view name) {
    return name == "xmlns" || name.starts_with("xmlns:");
}

bool ComesFirst(const Attribute* left, const Attribute* right) {
    const bool left_space = IsNamespace(NameView(left));
    const bool right_space = IsNamespace(NameView(right));
    return left_space != right_space ? left_space : NameView(left) < NameView(right);
}

void AppendAttributes(std::string& text, const Element* element) {
    std::vector<const Attribute*> attributes;
    for (const Attribute* attribute = element->first_attribute(); attribute != nullptr;
         attribute = attribute->next_attribute()) {
        attributes.push_back(attribute);
    }
    std::sort(attributes.begin(), attributes.end(), ComesFirst);
    for (const Attribute* attribute : attributes) {
        text.append(" ").append(NameView(attribute)).append("=\"");
        AppendEscaped(text, ValueView(attribute), true);
        text += '"';
    }
}

// The depth is bounded by the look over the text before it was parsed.
void AppendElement(std::string& text, const Element* element) {
    text.append("<").append(NameView(element));
    AppendAttributes(text, element);
    text += '>';
    if (element->first_node() == nullptr) AppendEscaped(text, ValueView(element), false);
    for (const Element* child = element->first_node(); child != nullptr; child = child->next_sibling()) {
        if (child->type() == rapidxml::node_element) {
            AppendElement(text, child);
        } else if (child->type() == rapidxml::node_data || child->type() == rapidxml::node_cdata) {
            AppendEscaped(text, ValueView(child), false);
        }
    }
    text.append("</").append(NameView(element)).append(">");
}

}  // namespace

std::string DeclaredEncoding(const rapidxml::xml_document<char>& document) {
    const Element* first = document.first_node();
    const bool declared = first != nullptr && first->type() == rapidxml::node_declaration;
    const std::string encoding = declared ? AttributeText(first, "encoding") : std::string();
    return encoding.empty() ? "UTF-8" : encoding;
}

bool IsKnownEncoding(std::string_view encoding) {
    constexpr std::string_view known[] = {"UTF-8", "ISO-8859-1", "windows-1252"};
    return std::any_of(std::begin(known), std::end(known),
                       [&](std::string_view name) { return SameWord(name, encoding); });
}

bool IsUnicode(std::string_view encoding) {
    return SameWord(encoding, "UTF-8");
}

bool IsPrintable(const Element* element, bool unicode) {
    if (!IsCleanText(ValueView(element), unicode) || !HasCleanAttributes(element, unicode)) return false;
    for (const Element* child = element->first_node(); child != nullptr; child = child->next_sibling()) {
        if (!IsPrintable(child, unicode)) return false;
    }
    return true;
}

std::string CanonicalText(const Element* element) {
    std::string text;
    if (element != nullptr) AppendElement(text, element);
    return text;
}

}  // namespace emulator
