// What definition files say of their signals, for people and for other programs.
#pragma once

#include "tools/drive/DefinitionSet.h"
#include "tools/drive/SignalSet.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace qztool {

// One signal of a set of definitions, which must outlive it.
struct ListedSignalDefinition {
    DefinitionSet::File const* file;
    std::size_t message;  // index in the file
    std::size_t signal;   // index in the message
    std::string original; // spelling of the file

    MessageDefinition const& messageDefinition() const { return file->database.messages[message]; }
    SignalDefinition const& definition() const { return messageDefinition().signals[signal]; }
    std::string const& name() const { return file->instances[message][signal]; }
};

// The signals that were built because they are wanted, in the order of the files.
std::vector<ListedSignalDefinition> listSignals(DefinitionSet const& definitions, SignalSet const& signals);

// Fields: name, original, bus, channel, id, extended, startBit, bits, byteOrder, type, scale, offset, unit, minimum,
// maximum, cycleTime (seconds), multiplexor (name, ranges), words (by raw value), file, line. What is not stated is
// null.
nlohmann::ordered_json toJson(ListedSignalDefinition const& listed);

// Rows of a table without control characters, the first of which has the headings. Columns that would be empty are left
// out.
std::vector<std::vector<std::string>> tableOf(std::vector<ListedSignalDefinition> const& signals);

} // namespace qztool
