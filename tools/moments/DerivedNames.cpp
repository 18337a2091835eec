// Words and their names.
#include "tools/moments/DerivedNames.h"

#include "qzsignal/signal/Conversion.h"
#include "tools/base/Nearest.h"
#include "tools/drive/BaseDefinition.h"
#include "tools/drive/Names.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>

namespace qztool {

namespace {

double physicalOf(SignalDefinition const& signal, std::int64_t raw) {
    baseSignalDef_t definition;
    describe(signal, "", 0, 0, definition);
    double value = 0.0;
    qzsignal::convert(static_cast<std::uint64_t>(raw), definition.type, definition.scale, definition.offset, value);
    return value;
}

class WordNames {
public:
    WordNames(std::string const& instance, SignalDefinition const& signal, std::vector<DerivedName>& names)
        : d_instance(instance), d_signal(signal), d_names(names) {}

    void add() {
        std::vector<ValueText const*> others;
        for (ValueText const& each : d_signal.values) {
            if (each.text.empty())
                continue;
            std::string const original = originalOf(each);
            if (expressionName(original) == original && !isTaken(original))
                add(each, original);
            else
                others.push_back(&each);
        }
        for (ValueText const* const each : others)
            add(*each, freeName(expressionName(originalOf(*each))));
        for (DerivedName& each : d_names)
            noteNamesakes(each);
    }

private:
    std::string originalOf(ValueText const& word) const { return d_instance + "." + word.text; }

    bool isTaken(std::string const& name) const {
        return std::any_of(d_names.begin(), d_names.end(), [&name](auto const& each) { return each.name == name; });
    }

    std::string freeName(std::string const& name) const {
        std::string free = name;
        for (unsigned number = 2; isTaken(free); ++number)
            free = name + "_" + std::to_string(number);
        return free;
    }

    void add(ValueText const& word, std::string name) {
        d_wanted.push_back(expressionName(originalOf(word)));
        d_names.push_back({std::move(name), d_instance, DerivedName::Kind::Word, physicalOf(d_signal, word.value), ""});
    }

    void noteNamesakes(DerivedName& word) const {
        if (word.kind != DerivedName::Kind::Word)
            return;
        std::size_t const first = d_names.size() - d_wanted.size();
        std::string const& wanted = d_wanted[static_cast<std::size_t>(&word - d_names.data()) - first];
        for (std::size_t i = 0; i < d_wanted.size(); ++i)
            if (d_wanted[i] == wanted && &d_names[first + i] != &word)
                word.namesakes += (word.namesakes.empty() ? "'" : ", '") + d_names[first + i].name + "'";
    }

    std::string const& d_instance;
    SignalDefinition const& d_signal;
    std::vector<DerivedName>& d_names;
    std::vector<std::string> d_wanted; // names that the words would have alone
};

// Calls `visit` for each way to see a name as that of a signal and something after it.
void forEachSignal(std::string const& name, DefinitionSet const& definitions,
                   std::function<void(std::string const& instance, std::size_t spelled)> const& visit) {
    for (std::size_t point = name.find('.'); point != std::string::npos; point = name.find('.', point + 1))
        for (std::string const& instance : definitions.meantBy(name.substr(0, point)))
            visit(instance, point);
}

} // namespace

std::vector<DerivedName> derivedNamesOf(std::string const& instance, DefinitionSet const& definitions) {
    std::vector<DerivedName> names = {{instance + ".age", instance, DerivedName::Kind::Age, 0.0, ""},
                                      {instance + ".raw", instance, DerivedName::Kind::Raw, 0.0, ""}};
    if (SignalDefinition const* const signal = definitions.definitionOf(instance))
        WordNames(instance, *signal, names).add();
    return names;
}

std::vector<DerivedName> derivedNamesMeantBy(std::string const& name, DefinitionSet const& definitions) {
    std::vector<DerivedName> meant;
    forEachSignal(name, definitions, [&](std::string const& instance, std::size_t spelled) {
        std::string const wanted = instance + name.substr(spelled);
        for (DerivedName& each : derivedNamesOf(instance, definitions))
            if (each.name == wanted)
                meant.push_back(std::move(each));
    });
    return meant;
}

std::string nearestDerivedName(std::string const& name, DefinitionSet const& definitions) {
    std::vector<std::string> names;
    forEachSignal(name, definitions, [&](std::string const& instance, std::size_t spelled) {
        for (DerivedName const& each : derivedNamesOf(instance, definitions))
            names.push_back(name.substr(0, spelled) + each.name.substr(instance.size()));
    });
    return nearest(name, names);
}

} // namespace qztool
