#include "xml.h"

#include "xml_guard.h"
#include "xml_text.h"

namespace emulator {

namespace {

Element* NewElement(Xml& xml, const char* name, std::string_view value) {
    Element* element = xml.tree.allocate_node(rapidxml::node_element, name);
    if (!value.empty()) {
        element->value(xml.tree.allocate_string(value.data(), value.size()), value.size());
    }
    return element;
}

}  // namespace

std::unique_ptr<Xml> ParseXml(std::string_view text) {
    if (!IsSafeXml(text)) return nullptr;
    auto xml = std::make_unique<Xml>();
    xml->text = text;
    try {
        xml->tree.parse<rapidxml::parse_validate_closing_tags | rapidxml::parse_declaration_node>(
            xml->text.data());
    } catch (const rapidxml::parse_error&) {
        return nullptr;
    }
    xml->encoding = DeclaredEncoding(xml->tree);
    if (!IsKnownEncoding(xml->encoding)) return nullptr;
    const Element* root = FirstElement(&xml->tree);
    return root != nullptr && IsPrintable(root, IsUnicode(xml->encoding)) ? std::move(xml) : nullptr;
}

Element* Child(const Element* parent, const char* name) {
    return parent == nullptr ? nullptr : parent->first_node(name);
}

Element* FirstElement(const Element* parent) {
    Element* child = parent == nullptr ? nullptr : parent->first_node();
    while (child != nullptr && child->type() != rapidxml::node_element) {
        child = child->next_sibling();
    }
    return child;
}

std::string NameOf(const Element* element) {
    return {element->name(), element->name_size()};
}

std::string ChildText(const Element* parent, const char* name) {
    const Element* child = Child(parent, name);
    return child == nullptr ? std::string() : std::string(child->value(), child->value_size());
}

std::string AttributeText(const Element* element, const char* name) {
    const auto* attribute = element == nullptr ? nullptr : element->first_attribute(name);
    return attribute == nullptr ? std::string() : std::string(attribute->value(), attribute->value_size());
}

Element* Append(Xml& xml, Element* parent, const char* name, std::string_view value) {
    return InsertBefore(xml, parent, nullptr, name, value);
}

Element* InsertBefore(Xml& xml, Element* parent, Element* place, const char* name, std::string_view value) {
    Element* element = NewElement(xml, name, value);
    if (place == nullptr) {
        parent->append_node(element);
    } else {
        parent->insert_node(place, element);
    }
    return element;
}

void SetAttribute(Xml& xml, Element* element, const char* name, std::string_view value) {
    if (auto* old = element->first_attribute(name)) element->remove_attribute(old);
    const char* copy = xml.tree.allocate_string(value.data(), value.size());
    element->append_attribute(xml.tree.allocate_attribute(name, copy, 0, value.size()));
}

void RemoveChildren(Element* parent, const char* name) {
    while (Element* child = Child(parent, name)) {
        parent->remove_node(child);
    }
}

std::string PrintXml(const Xml& xml) {
    // The caller's own declaration is not carried over: it may hold whatever it likes.
    return "<?xml version=\"1.0\" encoding=\"" + xml.encoding + "\"?>" +
           CanonicalText(FirstElement(&xml.tree));
}

}  // namespace emulator
