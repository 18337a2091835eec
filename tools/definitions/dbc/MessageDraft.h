// Messages and signals while a definition file is read: their definitions, and what later statements refer to.
#pragma once

#include "tools/definitions/Database.h"
#include "tools/definitions/dbc/Statements.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace qztool {

struct SignalDraft {
    SignalDefinition definition; // its name becomes the long one at the very end
    std::string_view name;       // as statements refer to it
    // Reported already, so that what refers to it needs no report of its own.
    bool leftOut = false;
    MultiplexMark mark = MultiplexMark::None;
    std::uint64_t selector = 0;
    SelectionStatement const* selection = nullptr; // tells multiplexor and ranges, whatever the mark says
    std::size_t valuesLine = 0;                    // of the VAL_ statement that gave the values; 0: none
};

struct MessageDraft {
    MessageDefinition definition; // its signals are still the drafts below
    std::string_view name;
    bool leftOut = false; // reported already, and its signals with it
    std::vector<SignalDraft> signals;
    std::size_t nextOfIdentifier = 0; // index of the next message with the same identifier; 0: there is none
};

} // namespace qztool
