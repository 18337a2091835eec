// Names, and what they stand for.
#include "tools/moments/Condition.h"

#include "tools/drive/NameSearch.h"

#include <algorithm>
#include <cstddef>

namespace qztool {

bool Condition::resolve() {
    std::vector<ExpParser::Mention> const mentions = ExpParser::mentions(d_text.c_str());
    bool resolved = true;
    for (auto each = mentions.rbegin(); each != mentions.rend(); ++each) { // so that the places of others stay
        bool isAmbiguous = false;
        std::string const instance = instanceOf(each->name, isAmbiguous);
        resolved = resolved && !isAmbiguous;
        d_text.replace(each->begin, each->name.size(), instance);
    }
    collectNames();
    return resolved;
}

// What the name stands for; itself, if that is nothing.
std::string Condition::instanceOf(std::string const& name, bool& isAmbiguous) {
    std::vector<std::string> const meant = d_definitions.meantBy(name);
    if (meant.empty())
        return derivedFrom(name, isAmbiguous);
    isAmbiguous = meant.size() > 1;
    if (isAmbiguous)
        d_reporter.error(ambiguousNameText(name, meant));
    else
        for (DerivedName const& each : derivedNamesMeantBy(name, d_definitions))
            d_reporter.warning("'" + name + "' is the signal '" + meant.front() + "', not what '" + each.name +
                               "' would be of '" + each.signal + "'");
    return meant.front();
}

std::string Condition::derivedFrom(std::string const& name, bool& isAmbiguous) {
    std::vector<DerivedName> const meant = derivedNamesMeantBy(name, d_definitions);
    if (meant.empty())
        return name;
    isAmbiguous = meant.size() > 1;
    if (isAmbiguous) {
        std::vector<std::string> names;
        names.reserve(meant.size());
        for (DerivedName const& each : meant)
            names.push_back(each.name);
        d_reporter.error(ambiguousNameText(name, names));
        return name;
    }
    DerivedName const& derived = meant.front();
    // The name of a signal alone may have stood for the rest.
    if (derived.name != name && d_definitions.definitionOf(derived.name) != nullptr)
        return instanceOf(derived.name, isAmbiguous);
    bool const isNew = std::none_of(d_derived.begin(), d_derived.end(),
                                    [&derived](DerivedName const& each) { return each.name == derived.name; });
    if (isNew && !derived.namesakes.empty())
        d_reporter.warning("'" + name + "' is one of several words that are spelled alike; see also " +
                           derived.namesakes);
    if (isNew)
        d_derived.push_back(derived);
    return derived.name;
}

void Condition::collectNames() {
    for (std::string const& name : ExpParser::signalNames(d_text.c_str())) {
        auto const derived = std::find_if(d_derived.begin(), d_derived.end(),
                                          [&name](DerivedName const& each) { return each.name == name; });
        bool const isDerived = derived != d_derived.end();
        if (isDerived && derived->kind == DerivedName::Kind::Word)
            continue;
        d_dependsOnTime = d_dependsOnTime || (isDerived && derived->kind == DerivedName::Kind::Age);
        std::string const& needed = isDerived ? derived->signal : name;
        if (std::find(d_names.begin(), d_names.end(), needed) == d_names.end())
            d_names.push_back(needed);
    }
}

Condition::Compiled Condition::compile() {
    d_error = ExpParser::check(d_text.c_str());
    if (d_error)
        return Compiled::BadText;
    if (d_names.empty())
        return Compiled::NoSignals;
    bool allDefined = true;
    for (std::string const& name : d_names) {
        if (BaseSignal::getInstance(name.c_str()) != nullptr)
            continue;
        allDefined = false;
        reportUndefined(name);
    }
    if (!allDefined)
        return Compiled::NotDefined;
    for (DerivedName const& each : d_derived)
        d_derivedSignals.add(each);
    d_program = std::make_unique<ExpParser>(d_text.c_str(), false);
    return Compiled::Ready;
}

void Condition::reportUndefined(std::string const& name) {
    std::string const derived = nearestDerivedName(name, d_definitions);
    d_reporter.error(unknownNameText(name, d_definitions, derived));
}

std::vector<std::string> Condition::unwritten() const {
    std::vector<std::string> names;
    for (std::string const& name : d_names) {
        unsigned long long value = 0, timestamp = 0;
        if (!BaseSignal::getInstance(name.c_str())->read(value, timestamp))
            names.push_back(name);
    }
    return names;
}

} // namespace qztool
