/*
 * From a text to a tree. The parser is told to fetch nothing and to mend nothing; what it lets through and a
 * device does not is refused here.
 */
#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <limits>

#include "reason.h"
#include "xml.h"
#include "xml_encoding.h"

namespace emulator {

namespace {

// The parser compares each attribute of an element with each other one, and the canonical form each
// namespace with each other one, at every level: neither is to take an evening. A receipt needs seven levels.
constexpr int MOST_QUOTES = 1024;
constexpr int MOST_PREFIXES = 8;
constexpr int DEEPEST_ELEMENT = 32;

constexpr char MALFORMED[] = "XML malformado";

// What the parser has met: its first complaint counts, the others follow from it.
struct Findings {
    std::string problem;
};

std::string Malformed(int line, std::string_view why) {
    return std::string(MALFORMED) + ": linha " + std::to_string(line) + ": " + Shown(why);
}

Findings* FindingsOf(void* context) {
    return static_cast<Findings*>(static_cast<xmlParserCtxt*>(context)->_private);
}

void NoteError(void* context, xmlError* error) {
    Findings* findings = FindingsOf(context);
    if (error->level < XML_ERR_ERROR || !findings->problem.empty()) return;
    std::string_view message = error->message == nullptr ? "" : error->message;
    message = message.substr(0, message.find_last_not_of("\r\n") + 1);
    findings->problem = Malformed(error->line, message);
}

// A document type could declare entities without end. Its name has just been read.
void RefuseDocumentType(void* context, const xmlChar*, const xmlChar*, const xmlChar*) {
    auto* parser = static_cast<xmlParserCtxt*>(context);
    Findings* findings = FindingsOf(context);
    if (findings->problem.empty()) {
        findings->problem = Malformed(xmlSAX2GetLineNumber(parser), "DOCTYPE nao e aceito");
    }
    xmlStopParser(parser);
}

// True when no tag can have more attributes than a device puts up with: between one "<" and the next.
bool HasFewAttributes(std::string_view text) {
    int quotes = 0;
    for (const char c : text) {
        if (c == '<') quotes = 0;
        if ((c == '"' || c == '\'') && ++quotes > MOST_QUOTES) return false;
    }
    return true;
}

bool IsBlank(const xmlNode* node) {
    return node->type == XML_TEXT_NODE && xmlIsBlankNode(node) != 0;
}

int CountPrefixes(const xmlNode* element) {
    int count = 0;
    for (const xmlNs* space = element->nsDef; space != nullptr; space = space->next) {
        count += space->prefix == nullptr ? 0 : 1;
    }
    return count;
}

// Takes the blanks between elements away.
std::string Tidy(xmlNode* element, int depth, int* prefixes) {
    *prefixes += CountPrefixes(element);
    if (depth > DEEPEST_ELEMENT) return std::string(MALFORMED) + ": niveis demais";
    if (FirstElement(element) == nullptr) return {};
    for (xmlNode *node = element->children, *next = nullptr; node != nullptr; node = next) {
        next = node->next;
        if (node->type == XML_ELEMENT_NODE) {
            std::string problem = Tidy(node, depth + 1, prefixes);
            if (!problem.empty()) return problem;
        } else if (IsBlank(node)) {
            xmlUnlinkNode(node);
            xmlFreeNode(node);
        } else {
            return Wrong(NameOf(element), "texto ou elementos", "ambos");
        }
    }
    return {};
}

std::string ProblemOfTree(const Xml& xml) {
    const char* encoding = reinterpret_cast<const char*>(xml.tree->encoding);
    if (encoding != nullptr && !IsKnownEncoding(encoding)) {
        return std::string(MALFORMED) + ": codificacao " + Shown(encoding) + " nao e aceita";
    }
    int prefixes = 0;
    std::string problem = Tidy(Root(xml), 1, &prefixes);
    if (!problem.empty()) return problem;
    if (prefixes > MOST_PREFIXES) return std::string(MALFORMED) + ": xmlns demais";
    return CanonicalText(Root(xml)).empty() ? std::string(MALFORMED) + ": xmlns relativo" : "";
}

using Parser = std::unique_ptr<xmlParserCtxt, void (*)(xmlParserCtxt*)>;

Parser NewParser(Findings* findings) {
    AddEncodings();
    Parser parser(xmlNewParserCtxt(), xmlFreeParserCtxt);
    if (parser == nullptr) throw std::bad_alloc();
    parser->_private = findings;
    parser->sax->serror = NoteError;
    parser->sax->internalSubset = RefuseDocumentType;
    parser->sax->comment = nullptr;
    parser->sax->processingInstruction = nullptr;
    return parser;
}

}  // namespace

std::unique_ptr<Xml> ParseXml(std::string_view text, std::string* problem) {
    *problem = MALFORMED;
    // The parser takes a NUL behind the last element for the end of the text.
    if (text.empty() || text.find('\0') != text.npos || text.size() > std::numeric_limits<int>::max()) {
        return nullptr;
    }
    if (!HasFewAttributes(text)) {
        *problem += ": atributos demais";
        return nullptr;
    }
    Findings findings;
    const Parser parser = NewParser(&findings);
    auto xml =
        std::make_unique<Xml>(xmlCtxtReadMemory(parser.get(), text.data(), static_cast<int>(text.size()),
                                                nullptr, nullptr, XML_PARSE_NONET | XML_PARSE_NOCDATA));
    if (xml->tree != nullptr && findings.problem.empty()) findings.problem = ProblemOfTree(*xml);
    if (xml->tree != nullptr && findings.problem.empty()) {
        problem->clear();
        return xml;
    }
    if (!findings.problem.empty()) *problem = findings.problem;
    return nullptr;
}

}  // namespace emulator
