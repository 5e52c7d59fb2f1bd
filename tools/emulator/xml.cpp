#include "xml.h"

#include <iterator>
#include <rapidxml/rapidxml_print.hpp>

#include "xml_guard.h"

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
    return xml;
}

Element* Child(const Element* parent, const char* name) {
    return parent == nullptr ? nullptr : parent->first_node(name);
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
    std::string text;
    const Element* first = xml.tree.first_node();
    if (first == nullptr || first->type() != rapidxml::node_declaration) {
        text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
    }
    rapidxml::print(std::back_inserter(text), xml.tree, rapidxml::print_no_indenting);
    return text;
}

}  // namespace emulator
