/*
 * An XML text as a tree: the few operations that a receipt needs, in front of libxml2. Whatever encoding a
 * text came in, every string in and out of the tree is UTF-8.
 */
#pragma once

#include <memory>
#include <string>
#include <string_view>

// The library's own names of its structures, whose header only the inside of this one needs.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
struct _xmlDoc;
struct _xmlNode;
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

namespace emulator {

/** An element of a tree, owned by its tree. */
using Element = _xmlNode;

/** A tree, which owns every element of it. */
struct Xml {
    explicit Xml(_xmlDoc* document) : tree(document) {}
    ~Xml();
    Xml(const Xml&) = delete;
    Xml& operator=(const Xml&) = delete;

    _xmlDoc* tree;
};

/**
 * Parses a text in UTF-8, US-ASCII, ISO-8859-1 or windows-1252. Comments, processing instructions and the
 * blanks between elements are not taken over; a text that they or CDATA cut up is whole again. NULL, and
 * `problem` says what is wrong and in which line, for a text that is not well-formed, declares a document
 * type, mixes text and elements, or is larger inside than any receipt.
 */
std::unique_ptr<Xml> ParseXml(std::string_view text, std::string* problem);

/** The outermost element. */
Element* Root(const Xml& xml);

/** The element that holds this one; NULL for the outermost. */
Element* Parent(const Element* element);

/** The first child of that name; NULL when there is none, or when `parent` is NULL. */
Element* Child(const Element* parent, std::string_view name);

/** The first child; NULL when there is none, or when `parent` is NULL. */
Element* FirstElement(const Element* parent);

/** The sibling behind this one; NULL behind the last. */
Element* Next(const Element* element);

/** The next sibling of that name; NULL when there is none. */
Element* Next(const Element* element, std::string_view name);

/** The element's own name, with its prefix when it has one. */
std::string NameOf(const Element* element);

/** The first child's text; empty when there is no such child. */
std::string ChildText(const Element* parent, std::string_view name);

/** An attribute's text; empty when there is none. */
std::string AttributeText(const Element* element, const char* name);

/** Adds an element with a text behind the last child. It is of its parent's namespace. */
Element* Append(Element* parent, const char* name, std::string_view value = {});

/** The same, in a namespace that is declared there. */
Element* AppendIn(Element* parent, const char* name, const char* name_space);

/** Adds an element with a text in front of `place`, or behind the last child when `place` is NULL. */
Element* InsertBefore(Element* parent, Element* place, const char* name, std::string_view value = {});

/** Sets an attribute, replacing one of that name. */
void SetAttribute(Element* element, const char* name, const std::string& value);

/** Removes an element from its tree, with everything in it. */
void Remove(Element* element);

/** Removes every child of that name. */
void RemoveChildren(Element* parent, const char* name);

/**
 * An element in the canonical form over which signatures are made (Canonical XML 1.0, without comments).
 * Empty when it has none, which is so for relative namespaces.
 */
std::string CanonicalText(const Element* element);

/** The whole tree in its canonical form, in UTF-8, with a declaration in front. */
std::string PrintXml(const Xml& xml);

}  // namespace emulator
