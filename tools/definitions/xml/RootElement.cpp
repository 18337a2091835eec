// Walks over what may precede the root element.
#include "tools/definitions/xml/RootElement.h"

namespace qztool {

namespace {

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

// Removes `text` up to and including `end`; all of it if there is none.
void removeThrough(std::string_view& text, std::string_view end) {
    std::size_t const at = text.find(end);
    text.remove_prefix(at == std::string_view::npos ? text.size() : at + end.size());
}

// A document type may have declarations in brackets.
void removeDocumentType(std::string_view& text) {
    std::size_t const at = text.find_first_of("[>");
    bool const brackets = at != std::string_view::npos && text[at] == '[';
    if (brackets)
        removeThrough(text, "]");
    removeThrough(text, ">");
}

} // namespace

std::string_view rootElementOf(std::string_view bytes) {
    std::string_view text = bytes;
    text.remove_prefix(startsWith(text, "\xEF\xBB\xBF") ? 3 : 0);
    while (true) {
        std::size_t const start = text.find_first_not_of(" \t\r\n");
        text.remove_prefix(start == std::string_view::npos ? text.size() : start);
        if (startsWith(text, "<?"))
            removeThrough(text, "?>");
        else if (startsWith(text, "<!--"))
            removeThrough(text, "-->");
        else if (startsWith(text, "<!DOCTYPE"))
            removeDocumentType(text);
        else
            break;
    }
    if (!startsWith(text, "<"))
        return {};
    text.remove_prefix(1);
    const std::string_view name = text.substr(0, text.find_first_of(" \t\r\n/>"));
    return name.substr(name.find(':') + 1); // npos + 1 is 0
}

} // namespace qztool
