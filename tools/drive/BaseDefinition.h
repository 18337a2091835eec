// What the library's definitions of signals have in common, made of the definition in a file.
#pragma once

#include "qzsignal/signal/SignalDefinition.h"
#include "tools/definitions/Database.h"

#include <cstdint>
#include <string>

namespace qztool {

// Fills in all fields of the base definition. The library's start bit counts from payload byte `firstByte`. The unit is
// cut to what a shared record holds.
void describe(SignalDefinition const& signal, std::string const& instance, std::uint8_t channel, unsigned firstByte,
              baseSignalDef_t& definition);

} // namespace qztool
