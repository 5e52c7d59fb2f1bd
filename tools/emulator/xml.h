/*
 * An XML text as a tree: the few operations that a receipt needs.
 */
#pragma once

#include <memory>
#include <rapidxml/rapidxml.hpp>
#include <string>
#include <string_view>

namespace emulator {

using Element = rapidxml::xml_node<char>;

/** A tree and the text that it points into. It owns every element; it must not move. */
struct Xml {
    std::string text;
    std::string encoding;  ///< as declared, "UTF-8" by default
    rapidxml::xml_document<char> tree;
};

/**
 * Parses a text. NULL when it is not well-formed, nested too deep, holds a document type, or bytes or
 * characters that its encoding does not have.
 */
std::unique_ptr<Xml> ParseXml(std::string_view text);

/** The first child of that name; NULL when there is none, or when `parent` is NULL. */
Element* Child(const Element* parent, const char* name);

/** The first child that is an element; NULL when there is none, or when `parent` is NULL. */
Element* FirstElement(const Element* parent);

/** The element's own name. */
std::string NameOf(const Element* element);

/** The first child's text; empty when there is no such child. */
std::string ChildText(const Element* parent, const char* name);

/** An attribute's text; empty when there is none. */
std::string AttributeText(const Element* element, const char* name);

/** Adds an element with a text behind the last child. `name` must outlive the tree; `value` is copied. */
Element* Append(Xml& xml, Element* parent, const char* name, std::string_view value = {});

/** Adds an element with a text in front of `place`, or behind the last child when `place` is NULL. */
Element* InsertBefore(Xml& xml, Element* parent, Element* place, const char* name,
                      std::string_view value = {});

/** Sets an attribute, replacing one of that name. `name` must outlive the tree; `value` is copied, never
 * empty. */
void SetAttribute(Xml& xml, Element* element, const char* name, std::string_view value);

/** Removes every child of that name. */
void RemoveChildren(Element* parent, const char* name);

/** The tree in its canonical form, with a declaration in front. */
std::string PrintXml(const Xml& xml);

}  // namespace emulator
