// From the names that users give to signals.
#pragma once

#include "tools/base/Reporter.h"
#include "tools/drive/DefinitionSet.h"

#include <string>
#include <vector>

namespace qztool {

// "the definition files hold no signal 'Sped', did you mean 'Car.Speed'?" The name that was meant may be known already;
// otherwise it is looked for.
std::string unknownNameText(std::string const& name, DefinitionSet const& definitions, std::string const& known = "");

// "'Speed' may be any of Car.Speed, Wheel.Speed"
std::string ambiguousNameText(std::string const& name, std::vector<std::string> const& meant);

// Instance names of the signals that a name, whatever else the signal is called, or a pattern (as for file names)
// stands for. If there is none, or a name may be that of several signals, that is reported, and the result is empty.
std::vector<std::string> signalsCalled(std::string const& nameOrPattern, DefinitionSet const& definitions,
                                       Reporter& reporter);

} // namespace qztool
