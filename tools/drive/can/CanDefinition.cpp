// The library's definitions of signals, made of those of a definition file.
#include "tools/drive/can/CanDefinition.h"

#include "tools/drive/BaseDefinition.h"
#include "tools/drive/SignalPlace.h"

namespace qztool {

canSignalDef_t canDefinition(MessageDefinition const& message, SignalDefinition const& signal,
                             std::string const& instance, std::uint8_t channel) {
    canSignalDef_t definition;
    describe(signal, instance, channel, windowOf(signal), definition);
    definition.msgId = message.address;
    definition.extended = message.extended;
    return definition;
}

} // namespace qztool
