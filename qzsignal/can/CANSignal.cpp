// Filing, feeding and the locked accesses of self-contained CAN signals.
#include "qzsignal/can/CANSignal.h"

#include "qzsignal/shm/OrderedStores.h"
#include "qzsignal/shm/RecordText.h"
#include "qzsignal/signal/Conversion.h"
#include "qzsignal/signal/Diagnostics.h"
#include "qzsignal/signal/Dispatch.h"
#include "qzsignal/signal/Printing.h"

#include <iostream>
#include <sstream>

namespace {

using qzsignal::canSignalData_t;
using qzsignal::debugging;
using qzsignal::debugLine;
using qzsignal::keepOrder;
using qzsignal::unwrittenTimestamp;
using qzsignal::unwrittenValue;

constexpr char label[] = "CANSignal";

// Deliberate: others than its creator's user may look at the segment and no more, so they cannot attach to it.
constexpr qzsignal::RecordFamily family = {label, sizeof(canSignalData_t), 0644};

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

signalValue_t valueType(canSignalData_t const& record) {
    return static_cast<signalValue_t>(record.type);
}

qzsignal::ByteOrder byteOrder(canSignalData_t const& record) {
    return qzsignal::byteOrder(record.endian != 0);
}

// The value aside: that of the record before the store that is pending.
void putAside(canSignalData_t& record, std::uint64_t value) {
    record.lastValueTop = static_cast<std::uint8_t>(value >> 56);
    for (unsigned i = 0; i < sizeof record.lastValue; ++i)
        record.lastValue[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

std::uint64_t valueAside(canSignalData_t const& record) {
    std::uint64_t value = std::uint64_t{record.lastValueTop} << 56;
    for (unsigned i = 0; i < sizeof record.lastValue; ++i)
        value |= std::uint64_t{record.lastValue[i]} << (8 * i);
    return value;
}

// In `pending`, while a new timestamp takes the place of the last one: a bit in which the two differ, and what it was
// before. It tells which of them the record holds. Of two equal ones, it is always the last.
constexpr std::uint8_t storePending = 0x80;

std::uint8_t pendingMark(std::uint64_t last, std::uint64_t timestamp) {
    unsigned const bit = last != timestamp ? static_cast<unsigned>(__builtin_ctzll(last ^ timestamp)) : 0;
    return static_cast<std::uint8_t>(storePending | (last >> bit & 1) << 6 | bit);
}

bool holdsLast(std::uint8_t mark, std::uint64_t timestamp) {
    return (timestamp >> (mark & 63U) & 1) == (mark >> 6 & 1U);
}

void fill(canSignalData_t& record, canSignal_t const& definition) {
    record.pending = 0;
    keepOrder();
    putAside(record, 0);
    record.bus = static_cast<std::uint8_t>(definition.bus);
    record.id = definition.id;
    qzsignal::copyText(record.name, definition.name);
    qzsignal::copyText(record.unit, definition.unit);
    record.type = definition.type;
    record.startbit = static_cast<std::uint8_t>(definition.startbit);
    record.bits = static_cast<std::uint8_t>(definition.bits);
    record.scale = definition.scale;
    record.offset = definition.offset;
    record.endian = definition.endian;
    record.value = unwrittenValue;
    record.timestamp = unwrittenTimestamp;
}

} // namespace

std::vector<std::vector<CANSignal*>> CANSignal::canMessageVector(tableSize);

CANSignal::CANSignal(char const* name, bool owner, bool shared)
    : BaseSignal(name, ""), SharedRecord(family, owner, shared), d_index(canMessageVector.size()) {}

// From here on the destructor runs if anything fails, and leaves nothing behind.
CANSignal::CANSignal(canSignal_t const& definition, bool shared) : CANSignal(definition.name.c_str(), true, shared) {
    std::size_t const index = tableIndex(definition.bus, definition.id);
    canMessageVector[index].push_back(this);
    d_index = index;
    defineRecord(instance, [&definition](canSignalData_t& record) { fill(record, definition); });
    cInit();
    d_valid = true;
    if (debugging()) {
        qzsignal::traceCreated(label, instance, shared, description());
        debugLine(static_cast<void const*>(this), ", index = ", index, ", size = ", canMessageVector[index].size());
    }
}

CANSignal::CANSignal(unsigned char bus, unsigned short id, char const* name, char const* unit, canValue_t type,
                     unsigned char startbit, unsigned char bits, double scale, double offset, bool endian, bool shared)
    : CANSignal(definitionOf(bus, id, name, unit, type, startbit, bits, scale, offset, endian), shared) {}

CANSignal::CANSignal(char const* name) : CANSignal(name, false, true) {
    smInit();
    if (debugging())
        qzsignal::traceOpened(label, instance, d_valid, description());
}

CANSignal::~CANSignal() {
    if (d_index < canMessageVector.size())
        qzsignal::remove(canMessageVector[d_index], this);
    releaseRecord(instance);
}

bool CANSignal::createSharedMemory() {
    return createRecord(instance);
}

bool CANSignal::smInit() {
    if (!d_waiting)
        return true;
    if (!attachRecord(instance))
        return false;
    cInit();
    return true;
}

void CANSignal::cInit() {
    set(d_data->startbit, d_data->bits, byteOrder(*d_data));
}

void CANSignal::lock() {
    settle(lockRecord(instance));
}

bool CANSignal::tryLock() {
    qzsignal::LockOutcome const outcome = tryLockRecord(instance);
    settle(outcome);
    return outcome != qzsignal::LockOutcome::Busy;
}

void CANSignal::unlock() {
    unlockRecord(instance);
}

unsigned long long CANSignal::decode(unsigned long long payload) const {
    qzsignal::ByteOrder const order = byteOrder(*d_data);
    std::uint64_t value = extract(payload, order);
    if (d_data->type == canSigned)
        value = signExtend(value);
    if (debugging())
        traceExtraction(label, instance.c_str(), payload, d_data->startbit, d_data->bits, order, value);
    return value;
}

unsigned long long CANSignal::encode(unsigned long long raw) const {
    constexpr int payloadBytes = 8;
    qzsignal::ByteOrder const order = byteOrder(*d_data);
    std::uint64_t const placed = (raw & d_maksBits) << d_shift;
    std::uint64_t payload = 0;
    if (order == qzsignal::ByteOrder::Little) {
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
    if (debugging()) {
        debugLine(label, "::encode: rawValue:", instance, ": ", std::hex, placed);
        traceResult(label, "encode", d_data->startbit, d_data->bits, order, "msg", payload);
    }
    return payload;
}

char const* CANSignal::getUnit() const {
    return d_data->unit;
}

double CANSignal::getScaleFactor() const {
    return d_data->scale;
}

double CANSignal::getOffset() const {
    return d_data->offset;
}

unsigned char CANSignal::getBits() const {
    return d_data->bits;
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
    qzsignal::convert(raw, valueType(*d_data), d_data->scale, d_data->offset, phys);
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
        debugLine("CANSignal::read ", description());
    return d_data->used != 0;
}

bool CANSignal::write(unsigned long long payload, unsigned long long timestamp) {
    if (d_waiting && !smInit())
        return false;
    qzsignal::RecordLock<CANSignal> const guard(*this);
    std::uint64_t const value = payload & d_rawMask;
    // Deliberate: a first value that looks like the pattern of an unwritten record is no change either.
    d_modified = d_data->value != value;
    if (d_modified)
        store(value, timestamp);
    if (debugging())
        debugLine(d_modified ? "CANSignal::write " : "CANSignal::write (no change) ", description());
    return true;
}

// Stores a changed value in such an order that it is there as a whole or not at all, wherever the process is killed:
// until the timestamp is stored, which takes one instruction, `settle` can bring the last value back; from then on, the
// new one stands. There is no room in the record to put more than one of the two aside.
void CANSignal::store(std::uint64_t value, std::uint64_t timestamp) {
    putAside(*d_data, d_data->value);
    keepOrder();
    d_data->pending = pendingMark(d_data->timestamp, timestamp);
    keepOrder();
    d_data->value = value;
    keepOrder();
    qzsignal::storeWhole(d_data->timestamp, timestamp);
    keepOrder();
    d_data->pending = 0;
    keepOrder();
    d_data->used = 1;
}

void CANSignal::settle(qzsignal::LockOutcome outcome) {
    if (outcome != qzsignal::LockOutcome::OwnerDied)
        return;
    if (d_data->pending != 0 && holdsLast(d_data->pending, d_data->timestamp))
        d_data->value = valueAside(*d_data);
    keepOrder(); // so that dying here changes nothing either
    d_data->pending = 0;
    // The flag comes last when a value is stored. A record that is not there is being defined, and has no value.
    if (d_data->size == family.d_size && d_data->value != unwrittenValue)
        d_data->used = 1;
    cInit(); // the owner may have been a writer that defined the signal anew
}

bool CANSignal::write(double const& phys, unsigned long long timestamp) {
    if (debugging())
        debugLine("CANSignal::write physical value ", description());
    // The record says how the value is to be encoded.
    if (d_waiting && !smInit())
        return false;
    unsigned long long const raw = qzsignal::unconvert(phys, valueType(*d_data), d_data->scale, d_data->offset);
    return write(encode(raw), timestamp);
}

void CANSignal::decodeMessage(unsigned char bus, unsigned short id, unsigned long long payload,
                              unsigned long long timestamp) {
    qzsignal::feedEach(canMessageVector[tableIndex(bus, id)], label,
                       [&](CANSignal& signal) { signal.write(payload, timestamp); });
}

bool CANSignal::isModified() const {
    return d_modified;
}

void CANSignal::print(std::ostream&) const {
    std::cout << description();
}

void CANSignal::clear() {}

// In one piece, so that it does not matter which stream it ends up in, nor in which format that is.
std::string CANSignal::description() const {
    using qzsignal::Hex16;
    using qzsignal::textOf;

    if (!d_valid)
        return "[DEBUG] CANSignal not valid\n";
    std::ostringstream out;
    out << "[DEBUG] " << textOf(d_data->name) << " shmem=" << (d_shared ? 1 : 0) << ",used=" << unsigned{d_data->used}
        << ",bus=" << unsigned{d_data->bus} << ",id=" << d_data->id << ",unit=" << textOf(d_data->unit)
        << ",type=" << d_data->type << ",startbit=" << unsigned{d_data->startbit} << ",bits=" << unsigned{d_data->bits}
        << ",scale=" << d_data->scale << ",offset=" << d_data->offset
        << ",endian=" << qzsignal::endianName(d_data->endian != 0) << ",value=" << Hex16{d_data->value}
        << ",timestamp=" << Hex16{d_data->timestamp} << ",addr=" << static_cast<void const*>(d_data);
    return out.str();
}

std::ostream& operator<<(std::ostream& out, canValue_t const& type) {
    return out << qzsignal::typeName(type);
}

std::ostream& operator<<(std::ostream& out, canSignal_t const& definition) {
    return out << std::dec << "[INFO] " << definition.name << ",bus=" << definition.bus << ",id=" << definition.id
               << ",unit=" << definition.unit << ",type=" << definition.type << ",startbit=" << definition.startbit
               << ",bits=" << definition.bits << ",scale=" << definition.scale << ",offset=" << definition.offset
               << ",endian=" << qzsignal::endianName(definition.endian);
}
