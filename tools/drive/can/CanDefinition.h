// The library's definition of a signal, made of that of a definition file.
#pragma once

#include "qzsignal/can/CANSignalExt.h"
#include "tools/definitions/Database.h"

#include <cstdint>
#include <string>

namespace qztool {

// The library's start bit counts from the signal's window (SignalPlace.h), which it has to fit. Its unit is cut to what
// a shared record holds. When it is present, if it is multiplexed, a definition does not say.
canSignalDef_t canDefinition(MessageDefinition const& message, SignalDefinition const& signal,
                             std::string const& instance, std::uint8_t channel);

} // namespace qztool
