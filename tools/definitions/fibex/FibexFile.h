// The elements of a FIBEX file by their IDs, and the problems found in it.
#pragma once

#include "tools/definitions/Database.h"
#include "tools/definitions/xml/XmlDocument.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace qztool {

// Ends the reading of an element; caught where it is reported.
struct FibexLeftOut {
    std::string cause;
    ProblemKind kind = ProblemKind::Other;
};

class FibexFile {
public:
    explicit FibexFile(std::string_view bytes);

    // All elements of a name that stand in the section made for them, such as FRAME in FRAMES, in the order of the
    // file.
    std::vector<pugi::xml_node> const& all(std::string const& name) const;
    // The one among them that `parent` refers to, such as FRAME by a child FRAME-REF. Throws FibexLeftOut if there is
    // none.
    pugi::xml_node referred(pugi::xml_node parent, std::string const& name) const;
    // The same, a null node if there is no such child.
    pugi::xml_node referredIfAny(pugi::xml_node parent, std::string const& name) const;
    std::size_t lineOf(pugi::xml_node element) const { return d_document.lineOf(element); }

    void report(pugi::xml_node element, Severity severity, std::string text, ProblemKind kind = ProblemKind::Other);
    void leaveOut(pugi::xml_node element, std::string const& text, ProblemKind kind = ProblemKind::Other);
    std::vector<Problem>& problems() { return d_problems; }

private:
    void file(pugi::xml_node section);

    std::vector<Problem> d_problems; // before the document, which reports into it
    XmlDocument d_document;
    std::unordered_map<std::string, std::vector<pugi::xml_node>> d_elements;
    std::unordered_map<std::string, std::unordered_map<std::string, pugi::xml_node>> d_byId; // by name, then ID
};

// The SHORT-NAME of an element, or its ID if it has none. Throws FibexLeftOut if it has
// neither, or control characters in it.
std::string fibexName(pugi::xml_node element);
// For problems, whatever it is.
std::string quotedFibexName(pugi::xml_node element);

// The whole number from 0 on in a child element; `otherwise` if there is no such child. Throws FibexLeftOut if it is
// none.
std::uint64_t fibexCount(pugi::xml_node parent, std::string_view child, std::uint64_t otherwise);
// The same of one that has to be there.
std::uint64_t fibexCount(pugi::xml_node parent, std::string_view child);
bool fibexFlag(pugi::xml_node parent, std::string_view child);

} // namespace qztool
