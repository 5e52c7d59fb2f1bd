#include "log_mask.h"

#include <algorithm>
#include <vector>

#include "functions.h"

namespace tool {

namespace {

constexpr size_t SHORTEST_WORD = 6;

// Part of a text, from `begin` up to `end`.
struct Span {
    size_t begin;
    size_t end;
};

bool IsSecret(const std::string& argument) {
    return argument == "codigoDeAtivacao" || argument == "novoCodigo" || argument == "confNovoCodigo";
}

bool IsWordCharacter(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// Where a field ends: at the next separator, at ETX, at the shown checksum and ETX, or at the line's end.
size_t FieldEnd(std::string_view text, size_t from) {
    for (size_t at = from; at < text.size(); ++at) {
        const char c = text[at];
        if (c == '|' || c == '\x03' || c == '\n') return at;
        if (c == '<' && text.substr(at + 3, 5) == "><03>") return at;
    }
    return text.size();
}

// The secret fields of the command whose name ends at `at`, where a separator stands.
void AddFields(std::string_view text, size_t at, const std::vector<std::string>& arguments,
               std::vector<Span>* spans) {
    size_t field = FieldEnd(text, at + 1);  // the session number
    for (const std::string& argument : arguments) {
        if (field >= text.size() || text[field] != '|') return;
        const size_t end = FieldEnd(text, field + 1);
        if (IsSecret(argument)) spans->push_back({field + 1, end});
        field = end;
    }
}

std::vector<Span> SecretFields(std::string_view text) {
    std::vector<Span> spans;
    for (const Function& function : Functions()) {
        const std::vector<std::string> arguments = ArgumentNames(function);
        const std::string front = std::string(function.name) + "|";
        for (size_t at = text.find(front); at != std::string_view::npos; at = text.find(front, at + 1)) {
            AddFields(text, at + front.size() - 1, arguments, &spans);
        }
    }
    std::sort(spans.begin(), spans.end(), [](const Span& a, const Span& b) { return a.begin < b.begin; });
    return spans;
}

std::string ReplaceSpans(std::string_view text, const std::vector<Span>& spans) {
    std::string masked;
    size_t from = 0;
    for (const Span& span : spans) {
        if (span.begin < from) continue;
        masked += text.substr(from, span.begin - from);
        masked += MASKED;
        from = span.end;
    }
    return masked + std::string(text.substr(from));
}

// "P03=[00000008:12345678]": the diagnostic log lists each field by number, length and text.
bool IsListedField(std::string_view text, size_t at, size_t end) {
    if (at < 11 || end >= text.size() || text[end] != ']' || text[at - 1] != ':') return false;
    const std::string_view front = text.substr(at - 11, 2);
    return front == "=[" || front == "-[";
}

bool StandsAlone(std::string_view text, size_t at, size_t end) {
    return (at == 0 || !IsWordCharacter(text[at - 1])) && (end >= text.size() || !IsWordCharacter(text[end]));
}

std::string ReplaceWord(const std::string& text, const std::string& secret) {
    std::string masked;
    size_t from = 0;
    for (size_t at = text.find(secret); at != std::string::npos; at = text.find(secret, at + 1)) {
        const size_t end = at + secret.size();
        const bool word = secret.size() >= SHORTEST_WORD && StandsAlone(text, at, end);
        if (at < from || (!word && !IsListedField(text, at, end))) continue;
        masked += text.substr(from, at - from) + MASKED;
        from = end;
    }
    return masked + text.substr(from);
}

}  // namespace

void CollectSecrets(std::string_view text, Secrets* secrets) {
    for (const Span& span : SecretFields(text)) {
        const std::string secret(text.substr(span.begin, span.end - span.begin));
        if (secret.empty()) continue;
        secrets->insert(secret);
        // In front of a raw ETX stands the checksum, except in a command that was never sent; and a checksum
        // of zero ends the log's text early, so that the bracket around it follows.
        const bool raw_end = span.end < text.size() && text[span.end] == '\x03';
        const bool cut_end = secret.back() == ']';
        if ((raw_end || cut_end) && secret.size() > 1) secrets->insert(secret.substr(0, secret.size() - 1));
    }
}

std::string WithoutSecrets(std::string_view text, const Secrets& secrets) {
    std::string masked = ReplaceSpans(text, SecretFields(text));
    // The longest first: one secret may be the front of another.
    std::vector<std::string> ordered(secrets.begin(), secrets.end());
    std::sort(ordered.begin(), ordered.end(),
              [](const std::string& a, const std::string& b) { return a.size() > b.size(); });
    for (const std::string& secret : ordered) {
        masked = ReplaceWord(masked, secret);
    }
    return masked;
}

}  // namespace tool
