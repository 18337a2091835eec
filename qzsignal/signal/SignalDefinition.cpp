// Printed forms of the definition types.
#include "qzsignal/signal/SignalDefinition.h"

#include "qzsignal/PrintedForm.h"
#include "qzsignal/signal/Printing.h"

#include <ostream>

std::ostream& operator<<(std::ostream& out, signalValue_t const& type) {
    return qzsignal::printTypeName(out, type);
}

std::ostream& operator<<(std::ostream& out, baseSignalDef_t const& definition) {
    return qzsignal::printForm(out, std::dec, "instance=", definition.instance, ",signal=", definition.signal,
                               ",channel=", unsigned{definition.channel}, ",unit=", definition.unit,
                               ",type=", definition.type, ",startbit=", definition.startbit,
                               ",bits=", unsigned{definition.bits}, ",scale=", definition.scale,
                               ",offset=", definition.offset, ",endian=", qzsignal::endianName(definition.endian));
}
