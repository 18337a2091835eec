// Parsing, lines and look-ups.
#include "tools/definitions/xml/XmlDocument.h"

#include "tools/definitions/TextEncoding.h"

#include <algorithm>
#include <utility>

namespace qztool {

namespace {

std::string_view withoutPrefix(std::string_view name) {
    return name.substr(name.find(':') + 1); // npos + 1 is 0
}

std::string toUtf8(std::string_view text) {
    std::string storage;
    return std::string(toPlainText(text, storage));
}

pugi::xml_attribute findAttribute(pugi::xml_node element, std::string_view name) {
    for (pugi::xml_attribute const attribute : element.attributes())
        if (withoutPrefix(attribute.name()) == name)
            return attribute;
    return {};
}

} // namespace

XmlDocument::XmlDocument(std::string_view bytes, std::vector<Problem>& problems) {
    if (std::optional<Problem> problem = findEncodingProblem(bytes)) {
        problems.push_back(std::move(*problem));
        return;
    }
    std::string storage;
    d_text = toPlainText(bytes, storage);
    // Before parsing, which changes the text.
    for (std::size_t end = d_text.find('\n'); end != std::string::npos; end = d_text.find('\n', end + 1))
        d_lineEnds.push_back(end);
    d_text += '\n'; // the parser overwrites the last byte, which could be inside a character of a name
    const pugi::xml_parse_result result =
        d_document.load_buffer_inplace(d_text.data(), d_text.size(), pugi::parse_default, pugi::encoding_utf8);
    if (!result) {
        problems.push_back({lineAt(result.offset), Severity::Error,
                            std::string("the XML is not well-formed (") + result.description() +
                                "); the rest of the file is left out"});
    }
}

std::size_t XmlDocument::lineOf(pugi::xml_node element) const {
    return lineAt(element.offset_debug());
}

std::size_t XmlDocument::lineAt(std::ptrdiff_t offset) const {
    auto const position = static_cast<std::size_t>(std::max<std::ptrdiff_t>(offset, 0));
    auto const end = std::lower_bound(d_lineEnds.begin(), d_lineEnds.end(), position);
    return 1 + static_cast<std::size_t>(end - d_lineEnds.begin());
}

std::string_view localName(pugi::xml_node element) {
    return withoutPrefix(element.name());
}

pugi::xml_node childOf(pugi::xml_node element, std::string_view name) {
    return element.find_child([name](pugi::xml_node child) { return localName(child) == name; });
}

pugi::xml_node descendantOf(pugi::xml_node element, std::initializer_list<std::string_view> path) {
    for (std::string_view const name : path)
        element = childOf(element, name);
    return element;
}

std::vector<pugi::xml_node> childrenOf(pugi::xml_node element, std::string_view name) {
    std::vector<pugi::xml_node> children;
    for (pugi::xml_node const child : element.children())
        if (localName(child) == name)
            children.push_back(child);
    return children;
}

std::string textOf(pugi::xml_node element) {
    return toUtf8(withoutBlanks(element.child_value()));
}

std::string attributeOf(pugi::xml_node element, std::string_view name) {
    return toUtf8(findAttribute(element, name).value());
}

std::string_view withoutBlanks(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    std::size_t const first = text.find_first_not_of(blanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

bool hasAttribute(pugi::xml_node element, std::string_view name) {
    return !findAttribute(element, name).empty();
}

} // namespace qztool
