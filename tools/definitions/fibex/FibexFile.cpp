// Sections, references and numbers.
#include "tools/definitions/fibex/FibexFile.h"

#include "tools/base/Printable.h"
#include "tools/definitions/Numerals.h"
#include "tools/definitions/ProblemText.h"

#include <algorithm>
#include <utility>

namespace qztool {

FibexFile::FibexFile(std::string_view bytes) : d_document(bytes, d_problems) {
    for (pugi::xml_node const part : d_document.root().children()) {
        if (localName(part) != "ELEMENTS" && localName(part) != "PROCESSING-INFORMATION")
            continue;
        for (pugi::xml_node const section : part.children()) {
            // Units stand in a section of a section, but for some writers.
            if (localName(section) == "UNIT-SPEC")
                file(childOf(section, "UNITS"));
            file(section);
        }
    }
}

void FibexFile::file(pugi::xml_node section) {
    for (pugi::xml_node const element : section.children()) {
        const std::string name(localName(element));
        if (name.empty())
            continue;
        d_elements[name].push_back(element);
        const std::string id = attributeOf(element, "ID");
        if (id.empty())
            continue;
        auto const [other, isNew] = d_byId[name].emplace(id, element);
        if (!isNew) {
            report(element, Severity::Error,
                   name + " " + quote(id) + ": duplicate ID, first used on line " +
                       std::to_string(lineOf(other->second)) + "; what refers to it gets the first one");
        }
    }
}

std::vector<pugi::xml_node> const& FibexFile::all(std::string const& name) const {
    static const std::vector<pugi::xml_node> none;
    auto const found = d_elements.find(name);
    return found == d_elements.end() ? none : found->second;
}

pugi::xml_node FibexFile::referred(pugi::xml_node parent, std::string const& name) const {
    pugi::xml_node const element = referredIfAny(parent, name);
    if (!element)
        throw FibexLeftOut{"it has no " + name + "-REF"};
    return element;
}

pugi::xml_node FibexFile::referredIfAny(pugi::xml_node parent, std::string const& name) const {
    pugi::xml_node const reference = childOf(parent, name + "-REF");
    if (!reference)
        return {};
    const std::string id = attributeOf(reference, "ID-REF");
    auto const elements = d_byId.find(name);
    if (elements != d_byId.end()) {
        auto const element = elements->second.find(id);
        if (element != elements->second.end())
            return element->second;
    }
    throw FibexLeftOut{"there is no " + name + " " + quote(id)};
}

void FibexFile::report(pugi::xml_node element, Severity severity, std::string text, ProblemKind kind) {
    d_problems.push_back({lineOf(element), severity, std::move(text), kind});
}

void FibexFile::leaveOut(pugi::xml_node element, std::string const& text, ProblemKind kind) {
    report(element, Severity::Error, text + "; left out", kind);
}

std::string fibexName(pugi::xml_node element) {
    std::string name = textOf(childOf(element, "SHORT-NAME"));
    if (name.empty())
        name = attributeOf(element, "ID");
    if (name.empty())
        throw FibexLeftOut{"it has no name"};
    if (std::any_of(name.begin(), name.end(), isControlCharacter))
        throw FibexLeftOut{"its name holds control characters"};
    return name;
}

std::string quotedFibexName(pugi::xml_node element) {
    const std::string name = textOf(childOf(element, "SHORT-NAME"));
    return quote(name.empty() ? attributeOf(element, "ID") : name);
}

std::uint64_t fibexCount(pugi::xml_node parent, std::string_view child, std::uint64_t otherwise) {
    return childOf(parent, child) ? fibexCount(parent, child) : otherwise;
}

std::uint64_t fibexCount(pugi::xml_node parent, std::string_view child) {
    pugi::xml_node const element = childOf(parent, child);
    if (!element)
        throw FibexLeftOut{"it has no " + std::string(child)};
    const std::string text = textOf(element);
    std::uint64_t number = 0;
    const std::errc error = readCount(text, number);
    if (error != std::errc{}) {
        throw FibexLeftOut{
            std::string(child) + " " + quote(text) +
            (error == std::errc::result_out_of_range ? " is too large" : " is not a whole number from 0 on")};
    }
    return number;
}

bool fibexFlag(pugi::xml_node parent, std::string_view child) {
    const std::string text = textOf(childOf(parent, child));
    return text == "true" || text == "1" || text == "TRUE";
}

} // namespace qztool
