// An XML document in memory, with the lines of its elements.
#pragma once

#include "tools/definitions/Database.h"

#include <pugixml.hpp>

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace qztool {

// Elements are named without their prefix everywhere here: which prefix stands for a namespace is up to each file.
class XmlDocument {
public:
    // Reads the bytes of a whole file: UTF-8 (with or without byte order mark) or Windows-1252, any kind of line end.
    // Where they are not well-formed, the document ends, which is reported. Entities that the file defines are not
    // expanded.
    XmlDocument(std::string_view bytes, std::vector<Problem>& problems);
    XmlDocument(XmlDocument const&) = delete;
    XmlDocument& operator=(XmlDocument const&) = delete;

    pugi::xml_node root() const { return d_document.document_element(); }
    // The line in which an element of this document begins, counted from 1.
    std::size_t lineOf(pugi::xml_node element) const;

private:
    std::size_t lineAt(std::ptrdiff_t offset) const;

    std::string d_text; // which the elements refer to
    std::vector<std::size_t> d_lineEnds;
    pugi::xml_document d_document;
};

std::string_view localName(pugi::xml_node element);
// The first child element of the name; a null node if there is none.
pugi::xml_node childOf(pugi::xml_node element, std::string_view name);
// The same, child by child.
pugi::xml_node descendantOf(pugi::xml_node element, std::initializer_list<std::string_view> path);
std::vector<pugi::xml_node> childrenOf(pugi::xml_node element, std::string_view name);

// As valid UTF-8 (character references may spell anything). The text of an element has no spaces around it.
std::string textOf(pugi::xml_node element);
std::string attributeOf(pugi::xml_node element, std::string_view name); // empty if there is none
std::string_view withoutBlanks(std::string_view text);
bool hasAttribute(pugi::xml_node element, std::string_view name);

} // namespace qztool
