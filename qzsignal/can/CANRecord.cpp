// What is done to the record of a `CANSignal`.
#include "qzsignal/can/CANRecord.h"

#include "qzsignal/PrintedForm.h"
#include "qzsignal/shm/RecordText.h"
#include "qzsignal/signal/Conversion.h"
#include "qzsignal/signal/Printing.h"

namespace qzsignal {

namespace {

// The value of the record before the store that is under way.
std::uint64_t valueAside(canSignalData_t const& record) {
    std::uint64_t value = std::uint64_t{record.lastValueTop} << 56;
    for (unsigned i = 0; i < sizeof record.lastValue; ++i)
        value |= std::uint64_t{record.lastValue[i]} << (8 * i);
    return value;
}

} // namespace

void fill(canSignalData_t& record, canSignal_t const& definition) {
    putAside(record, 0);
    record.bus = static_cast<std::uint8_t>(definition.bus);
    record.id = definition.id;
    copyText(record.name, definition.name);
    copyText(record.unit, definition.unit);
    record.type = definition.type;
    record.startbit = static_cast<std::uint8_t>(definition.startbit);
    record.bits = static_cast<std::uint8_t>(definition.bits);
    record.scale = definition.scale;
    record.offset = definition.offset;
    record.endian = definition.endian;
    record.value = unwrittenValue;
    record.timestamp = unwrittenTimestamp;
}

BitLayout layoutOf(canSignalData_t const& record) {
    BitLayout layout;
    layout.set(record.startbit, record.bits, byteOrder(record.endian != 0));
    return layout;
}

void convert(canSignalData_t const& record, std::uint64_t raw, double& phys) {
    // The numbers of both enumerations are the same.
    convert(raw, static_cast<signalValue_t>(record.type), record.scale, record.offset, phys);
}

void settle(canSignalData_t& record) {
    std::uint8_t const before = record.pending;
    std::uint8_t mark = before;
    if (mark >= recordStoring) {
        mark = holdsLast(mark, record.timestamp) ? recordDeriving : recordStored;
        if (mark == recordDeriving)
            record.value = valueAside(record);
        setMark(record.pending, mark);
    }
    if (mark == recordStored)
        record.used = 1;
    if (!isWhole(mark))
        setMark(record.pending, markAfter(before));
}

// In one piece, so that it does not matter which stream it ends up in, nor in which format that is.
std::string describe(canSignalData_t const& record, bool shared, void const* address) {
    TextStream out;
    out << "[DEBUG] " << textOf(record.name) << " shmem=" << (shared ? 1 : 0) << ",used=" << unsigned{record.used}
        << ",bus=" << unsigned{record.bus} << ",id=" << record.id << ",unit=" << textOf(record.unit)
        << ",type=" << typeName(record.type) << ",startbit=" << unsigned{record.startbit}
        << ",bits=" << unsigned{record.bits} << ",scale=" << record.scale << ",offset=" << record.offset
        << ",endian=" << endianName(record.endian != 0) << ",value=" << Hex16{record.value}
        << ",timestamp=" << Hex16{record.timestamp} << ",addr=" << address;
    return out.str();
}

} // namespace qzsignal
