// Filing, feeding and the locked accesses of self-contained CAN signals.
#include "qzsignal/can/CANSignal.h"

#include "qzsignal/PrintedForm.h"
#include "qzsignal/can/CANRecord.h"
#include "qzsignal/shm/SharedRecordAccess.h"
#include "qzsignal/signal/Conversion.h"
#include "qzsignal/signal/Diagnostics.h"
#include "qzsignal/signal/Dispatch.h"
#include "qzsignal/signal/Printing.h"

#include <iostream>

namespace {

using qzsignal::debugging;
using qzsignal::debugLine;

constexpr char label[] = "CANSignal";

constexpr std::size_t buses = 16;
constexpr std::size_t identifiers = 2048;
constexpr std::size_t tableSize = buses * identifiers;

// Deliberate: higher bits are dropped, so bus 17 shares the entries of bus 1, and identifier 0x800 that of 0.
constexpr std::size_t tableIndex(std::size_t bus, std::size_t id) {
    return bus % buses * identifiers + id % identifiers;
}

canSignal_t definitionOf(unsigned char bus, unsigned short id, char const* name, char const* unit, canValue_t type,
                         unsigned char startbit, unsigned char bits, double scale, double offset, bool endian) {
    canSignal_t definition;
    definition.bus = bus;
    definition.id = id;
    definition.name = name != nullptr ? name : "";
    definition.unit = unit != nullptr ? unit : "";
    definition.type = type;
    definition.startbit = startbit;
    definition.bits = bits;
    definition.scale = scale;
    definition.offset = offset;
    definition.endian = endian;
    return definition;
}

} // namespace

std::vector<std::vector<CANSignal*>> CANSignal::canMessageVector(tableSize);

CANSignal::CANSignal(char const* name, bool owner, bool shared) : SharedRecord(name, "", owner, shared) {}

// From here on the destructor runs if anything fails, and undoes all of it.
CANSignal::CANSignal(canSignal_t const& definition, bool shared) : CANSignal(definition.name.c_str(), true, shared) {
    // Where the destructor looks, as long as there is no segment.
    d_localData.bus = static_cast<std::uint8_t>(definition.bus);
    d_localData.id = definition.id;
    std::vector<CANSignal*>& signals = canMessageVector[tableIndex(definition.bus, definition.id)];
    signals.push_back(this);
    define(definition);
    if (debugging()) {
        qzsignal::traceCreated(label, instance, shared, static_cast<BaseSignal const&>(*this));
        debugLine(static_cast<void const*>(this), ", index = ", tableIndex(definition.bus, definition.id),
                  ", size = ", signals.size());
    }
}

CANSignal::CANSignal(unsigned char bus, unsigned short id, char const* name, char const* unit, canValue_t type,
                     unsigned char startbit, unsigned char bits, double scale, double offset, bool endian, bool shared)
    : CANSignal(definitionOf(bus, id, name, unit, type, startbit, bits, scale, offset, endian), shared) {}

CANSignal::CANSignal(char const* name) : CANSignal(name, false, true) {
    smInit();
    if (debugging())
        qzsignal::traceOpened(label, instance, d_valid, static_cast<BaseSignal const&>(*this));
}

// Deliberate: the entry is that of the record's bus and identifier by now.
CANSignal::~CANSignal() {
    std::size_t const index = tableIndex(d_data->bus, d_data->id);
    if (index < canMessageVector.size())
        qzsignal::remove(canMessageVector[index], this);
    release();
}

bool CANSignal::createSharedMemory() {
    return SharedRecord::createSharedMemory();
}

bool CANSignal::smInit() {
    return !d_waiting || attach(false);
}

void CANSignal::cInit() {
    SharedRecord::cInit();
}

void CANSignal::lock() {
    SharedRecord::lock();
}

void CANSignal::unlock() {
    SharedRecord::unlock();
}

bool CANSignal::tryLock() {
    return SharedRecord::tryLock();
}

unsigned long long CANSignal::decode(unsigned long long payload) const {
    std::uint64_t const value = decoded(*d_data, layoutInUse(), payload);
    if (debugging())
        qzsignal::traceDecoded({label, instance, layout(), d_data->startbit, d_data->bits, byteOrder()}, payload,
                               value);
    return value;
}

unsigned long long CANSignal::encode(unsigned long long raw) const {
    constexpr int payloadBytes = 8;
    std::uint64_t const placed = (raw & d_maksBits) << d_shift;
    std::uint64_t payload = 0;
    if (byteOrder() == qzsignal::ByteOrder::Little) {
        if (d_startByte < payloadBytes)
            payload = placed << (8 * d_startByte);
    } else {
        // Byte j of the payload becomes byte d_bytes - 1 - j of the placed value, both counted from the most
        // significant end.
        for (int j = 0; j <= d_startByte && j < payloadBytes; ++j) {
            int const byte = d_bytes - 1 - j;
            if (byte >= 0 && byte < payloadBytes)
                payload |= (placed >> (8 * (payloadBytes - 1 - byte)) & 0xff) << (8 * (payloadBytes - 1 - j));
        }
    }
    if (debugging())
        qzsignal::traceEncoded({label, instance, layout(), d_data->startbit, d_data->bits, byteOrder()}, placed,
                               payload);
    return payload;
}

signalValue_t CANSignal::getType() const {
    return signalUnsigned;
}

bool CANSignal::read(double& phys, unsigned long long& timestamp) {
    unsigned long long raw = 0;
    bool const used = read(raw, timestamp);
    // Deliberate: a signal that waits tries a second time, and so warns twice.
    if (d_waiting && !smInit())
        return false;
    if (!used) {
        phys = 0.0;
        timestamp = 0;
        return false;
    }
    convert(*d_data, raw, phys);
    if (debugging())
        debugLine(instance, " = ", phys);
    return true;
}

bool CANSignal::read(unsigned long long& value, unsigned long long& timestamp) {
    if (d_waiting && !smInit())
        return false;
    qzsignal::RecordLock<CANSignal> const guard(*this);
    value = decode(d_data->value);
    timestamp = d_data->timestamp;
    if (debugging())
        traceAccess("read ");
    return d_data->used != 0;
}

bool CANSignal::write(unsigned long long payload, unsigned long long timestamp) {
    if (d_waiting && !smInit())
        return false;
    qzsignal::RecordLock<CANSignal> const guard(*this);
    d_modified = update(*d_data, layoutInUse(), payload, timestamp);
    if (debugging())
        traceAccess(d_modified ? "write " : "write (no change) ");
    return true;
}

bool CANSignal::write(double const& phys, unsigned long long timestamp) {
    if (debugging())
        traceAccess("write physical value ");
    // The record tells how to encode. That there is none yet is for the write of the payload to report.
    if (d_waiting)
        attach(true);
    std::uint64_t const raw =
        qzsignal::unconvert(phys, static_cast<signalValue_t>(d_data->type), d_data->scale, d_data->offset);
    return write(encode(raw), timestamp);
}

void CANSignal::decodeMessage(unsigned char bus, unsigned short id, unsigned long long payload,
                              unsigned long long timestamp) {
    qzsignal::feedEach(canMessageVector[tableIndex(bus, id)], label,
                       [&](CANSignal& signal) { signal.write(payload, timestamp); });
}

void CANSignal::print(std::ostream&) const {
    std::string const text =
        d_valid ? describe(qzsignal::snapshot(*d_data), d_shared, d_data) : "[DEBUG] CANSignal not valid\n";
    std::cout.write(text.data(), static_cast<std::streamsize>(text.size()));
}

void CANSignal::clear() {}

// The line is printed in parts, since the print form goes to standard output by itself.
void CANSignal::traceAccess(char const* access) const {
    std::string const begin = std::string("[DEBUG] CANSignal::") + access;
    std::cout.write(begin.data(), static_cast<std::streamsize>(begin.size()));
    std::cout << static_cast<BaseSignal const&>(*this);
    std::cout.put('\n').flush();
}

std::ostream& operator<<(std::ostream& out, canValue_t const& type) {
    return qzsignal::printTypeName(out, type);
}

std::ostream& operator<<(std::ostream& out, canSignal_t const& definition) {
    return qzsignal::printForm(out, std::dec, "[INFO] ", definition.name, ",bus=", definition.bus,
                               ",id=", definition.id, ",unit=", definition.unit, ",type=", definition.type,
                               ",startbit=", definition.startbit, ",bits=", definition.bits,
                               ",scale=", definition.scale, ",offset=", definition.offset,
                               ",endian=", qzsignal::endianName(definition.endian));
}
