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
        std::vector<std::string> const meant = d_definitions.meantBy(each->name);
        if (meant.size() == 1)
            d_text.replace(each->begin, each->name.size(), meant.front());
        resolved = resolved && meant.size() < 2;
        if (meant.size() > 1)
            d_reporter.error(ambiguousNameText(each->name, meant));
    }
    d_names = ExpParser::signalNames(d_text.c_str());
    return resolved;
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
        d_reporter.error(unknownNameText(name, d_definitions));
    }
    if (!allDefined)
        return Compiled::NotDefined;
    d_program = std::make_unique<ExpParser>(d_text.c_str(), false);
    return Compiled::Ready;
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
