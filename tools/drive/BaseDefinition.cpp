// Value types, units and places.
#include "tools/drive/BaseDefinition.h"

#include <algorithm>
#include <cstddef>

namespace qztool {

namespace {

constexpr std::size_t unitBytes = 31; // what a shared record holds

signalValue_t valueType(NumberKind kind) {
    switch (kind) {
    case NumberKind::Unsigned:
        return signalUnsigned;
    case NumberKind::Signed:
        return signalSigned;
    case NumberKind::Float:
        return signalFloat;
    case NumberKind::Double:
        return signalDouble;
    }
    return signalUnsigned;
}

// Cuts UTF-8 text to what a record holds, but not through a character.
std::string cutUnit(std::string const& unit) {
    std::size_t length = std::min(unit.size(), unitBytes);
    while (length > 0 && length < unit.size() && (static_cast<unsigned char>(unit[length]) & 0xC0) == 0x80)
        --length;
    return unit.substr(0, length);
}

} // namespace

void describe(SignalDefinition const& signal, std::string const& instance, std::uint8_t channel, unsigned firstByte,
              baseSignalDef_t& definition) {
    definition.instance = instance;
    definition.signal = signal.name;
    definition.channel = channel;
    definition.unit = cutUnit(signal.unit);
    definition.type = valueType(signal.kind);
    definition.startbit = static_cast<std::uint16_t>(signal.startBit - 8 * firstByte);
    definition.bits = static_cast<std::uint8_t>(signal.bits);
    definition.scale = signal.factor;
    definition.offset = signal.offset;
    definition.endian = signal.bigEndian;
}

} // namespace qztool
