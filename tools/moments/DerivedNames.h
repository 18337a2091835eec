// Names that exist in expressions alone, each for something about a signal.
#pragma once

#include "tools/drive/DefinitionSet.h"

#include <string>
#include <vector>

namespace qztool {

// Of a signal X: "X.age", the seconds since its last write; "X.raw", its raw value; and "X.WORD" for each word of its
// value table, what X reads when its raw value has that word.
struct DerivedName {
    enum class Kind { Age, Raw, Word };

    std::string name;   // with the instance name for X
    std::string signal; // X, by its instance name
    Kind kind = Kind::Age;
    double value = 0.0; // of words
    // Of words: further names of the signal that would be this one if their words were alone, as ", "-separated list.
    std::string namesakes;
};

// The derived names of a signal that is known by its instance name. Words become names as signals do (Names.h): what an
// expression cannot hold is "_", and of names that become equal, one that is spelled so keeps it, the others get "_2",
// "_3" in the order of the table; age and raw are spelled so.
std::vector<DerivedName> derivedNamesOf(std::string const& instance, DefinitionSet const& definitions);

// The derived names that may be meant by a name: those in which X is as `DefinitionSet::meantBy` understands signals.
std::vector<DerivedName> derivedNamesMeantBy(std::string const& name, DefinitionSet const& definitions);

// The derived name most like one that is not there, spelled with the same X; empty if there is none.
std::string nearestDerivedName(std::string const& name, DefinitionSet const& definitions);

} // namespace qztool
