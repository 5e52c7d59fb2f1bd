#include "xml.h"

#include <libxml/c14n.h>

#include <new>

namespace emulator {

namespace {

const xmlChar* Bytes(const char* text) {
    return reinterpret_cast<const xmlChar*>(text);
}

const char* Chars(const xmlChar* text) {
    return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

// Takes over a text that the library has allocated.
std::string Taken(xmlChar* text) {
    const std::unique_ptr<xmlChar, void (*)(void*)> owner(text, xmlFree);
    return Chars(text);
}

// The library says with NULL that no memory is left.
template <typename Thing>
Thing* Given(Thing* thing) {
    if (thing == nullptr) throw std::bad_alloc();
    return thing;
}

Element* ElementFrom(xmlNode* node) {
    while (node != nullptr && node->type != XML_ELEMENT_NODE) {
        node = node->next;
    }
    return node;
}

bool HasPrefix(const Element* element) {
    return element->ns != nullptr && element->ns->prefix != nullptr;
}

Element* ElementFrom(Element* element, std::string_view name) {
    while (element != nullptr && (HasPrefix(element) || name != Chars(element->name))) {
        element = ElementFrom(element->next);
    }
    return element;
}

// Without a prefix an element is of the namespace that is in force there without one.
Element* NewElement(const Element* parent, const char* name, std::string_view value) {
    const std::string text(value);
    xmlNs* space = xmlSearchNs(parent->doc, const_cast<Element*>(parent), nullptr);
    return Given(
        xmlNewDocRawNode(parent->doc, space, Bytes(name), text.empty() ? nullptr : Bytes(text.c_str())));
}

// True for whatever stands in the element `top`. Attributes and namespaces are told by who carries them.
int IsInside(void* top, xmlNode* node, xmlNode* carrier) {
    const bool carried = node->type == XML_ATTRIBUTE_NODE || node->type == XML_NAMESPACE_DECL;
    for (const xmlNode* at = carried ? carrier : node; at != nullptr; at = at->parent) {
        if (at == top) return 1;
    }
    return 0;
}

void Ignore(void*, xmlError*) {}

}  // namespace

Xml::~Xml() {
    xmlFreeDoc(tree);
}

Element* Root(const Xml& xml) {
    return xmlDocGetRootElement(xml.tree);
}

Element* Parent(const Element* element) {
    xmlNode* parent = element->parent;
    return parent != nullptr && parent->type == XML_ELEMENT_NODE ? parent : nullptr;
}

Element* Child(const Element* parent, std::string_view name) {
    return ElementFrom(FirstElement(parent), name);
}

Element* FirstElement(const Element* parent) {
    return parent == nullptr ? nullptr : ElementFrom(parent->children);
}

Element* Next(const Element* element) {
    return ElementFrom(element->next);
}

Element* Next(const Element* element, std::string_view name) {
    return ElementFrom(Next(element), name);
}

std::string NameOf(const Element* element) {
    const std::string name = Chars(element->name);
    return HasPrefix(element) ? std::string(Chars(element->ns->prefix)) + ":" + name : name;
}

std::string ChildText(const Element* parent, std::string_view name) {
    const Element* child = Child(parent, name);
    return child == nullptr ? std::string() : Taken(xmlNodeGetContent(child));
}

std::string AttributeText(const Element* element, const char* name) {
    return element == nullptr ? std::string() : Taken(xmlGetNoNsProp(element, Bytes(name)));
}

Element* Append(Element* parent, const char* name, std::string_view value) {
    return InsertBefore(parent, nullptr, name, value);
}

Element* AppendIn(Element* parent, const char* name, const char* name_space) {
    Element* element = Append(parent, name);
    xmlSetNs(element, Given(xmlNewNs(element, Bytes(name_space), nullptr)));
    return element;
}

Element* InsertBefore(Element* parent, Element* place, const char* name, std::string_view value) {
    Element* element = NewElement(parent, name, value);
    return Given(place == nullptr ? xmlAddChild(parent, element) : xmlAddPrevSibling(place, element));
}

void SetAttribute(Element* element, const char* name, const std::string& value) {
    Given(xmlSetNsProp(element, nullptr, Bytes(name), Bytes(value.c_str())));
}

void Remove(Element* element) {
    xmlUnlinkNode(element);
    xmlFreeNode(element);
}

void RemoveChildren(Element* parent, const char* name) {
    while (Element* child = Child(parent, name)) {
        Remove(child);
    }
}

std::string CanonicalText(const Element* element) {
    // What the library has to say about it goes nowhere: an empty text says the same.
    xmlSetStructuredErrorFunc(nullptr, Ignore);
    const std::unique_ptr<xmlOutputBuffer, int (*)(xmlOutputBuffer*)> buffer(
        Given(xmlAllocOutputBuffer(nullptr)), xmlOutputBufferClose);
    const int result = xmlC14NExecute(element->doc, IsInside, const_cast<Element*>(element), XML_C14N_1_0,
                                      nullptr, 0, buffer.get());
    if (result < 0) return {};
    return {Chars(xmlOutputBufferGetContent(buffer.get())), xmlOutputBufferGetSize(buffer.get())};
}

std::string PrintXml(const Xml& xml) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>" + CanonicalText(Root(xml));
}

}  // namespace emulator
