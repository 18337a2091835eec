// Definition, attachment and the locked accesses of a shared signal.
#include "qzsignal/shm/ShmSignal.h"

#include "qzsignal/shm/OrderedStores.h"
#include "qzsignal/shm/RecordText.h"
#include "qzsignal/signal/Conversion.h"
#include "qzsignal/signal/Diagnostics.h"
#include "qzsignal/signal/Printing.h"

#include <cstring>

namespace {

using qzsignal::debugging;
using qzsignal::debugLine;
using qzsignal::keepOrder;
using qzsignal::textOf;

constexpr qzsignal::RecordFamily family = {"ShmSignal", sizeof(shmSignalData_t), 0666};

// In `pending`: `value` and `phys` hold a payload and a timestamp that are about to be stored. No other process looks
// at them meanwhile, and both are derived from what is stored, so they are free for that.
constexpr std::uint8_t storePending = 0x5A;

// Not `fromBits`: these bits may be those of no number at all, which some processors change when they hand a double
// over.
std::uint64_t bitsOf(double const& number) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    return bits;
}

void setBits(double& number, std::uint64_t bits) {
    std::memcpy(&number, &bits, sizeof number);
}

void fill(shmSignalData_t& record, baseSignalDef_t const& definition) {
    record.pending = 0;
    record.conv = false;
    qzsignal::copyText(record.signal, definition.signal);
    qzsignal::copyText(record.unit, definition.unit);
    record.type = definition.type;
    record.startbit = definition.startbit;
    record.bits = definition.bits;
    record.scale = definition.scale;
    record.offset = definition.offset;
    record.endian = definition.endian;
    record.rawValue = qzsignal::unwrittenValue;
    record.value = qzsignal::unwrittenValue;
    record.phys = static_cast<double>(qzsignal::unwrittenValue);
    record.timestamp = qzsignal::unwrittenTimestamp;
}

} // namespace

ShmSignal::ShmSignal(baseSignalDef_t const& definition, bool shared)
    : BaseSignal(definition.instance.c_str(), definition.signal.c_str()), SharedRecord(family, true, shared) {
    defineRecord(instance, [&definition](shmSignalData_t& record) { fill(record, definition); });
    cInit();
    d_valid = true;
    if (debugging())
        qzsignal::traceCreated("ShmSignal", instance, shared, *this);
}

ShmSignal::ShmSignal(char const* instanceName) : BaseSignal(instanceName, ""), SharedRecord(family, false, true) {
    smInit();
    if (debugging())
        qzsignal::traceOpened("ShmSignal", instance, d_valid, *this);
}

ShmSignal::~ShmSignal() {
    releaseRecord(instance);
}

bool ShmSignal::createSharedMemory() {
    return createRecord(instance);
}

bool ShmSignal::smInit() {
    if (!d_waiting)
        return true;
    if (!attachRecord(instance))
        return false;
    cInit();
    signal = textOf(d_data->signal);
    return true;
}

void ShmSignal::cInit() {
    set(d_data->startbit, d_data->bits, qzsignal::byteOrder(d_data->endian != 0));
}

void ShmSignal::decode() {
    qzsignal::ByteOrder const order = qzsignal::byteOrder(d_data->endian != 0);
    std::uint64_t value = extract(d_data->rawValue, order);
    if (d_data->type == signalSigned)
        value = signExtend(value);
    if (debugging())
        traceExtraction("ShmSignal", instance.c_str(), d_data->rawValue, d_data->startbit, d_data->bits, order, value);
    d_data->value = value;
}

void ShmSignal::physical() {
    qzsignal::convert(d_data->value, d_data->type, d_data->scale, d_data->offset, d_data->phys);
    if (debugging())
        debugLine(instance, " = ", d_data->phys);
}

double ShmSignal::convertedOnce() {
    if (d_data->conv == 0) {
        physical();
        d_data->conv = true;
    }
    return d_data->phys;
}

char const* ShmSignal::getUnit() const {
    return d_data->unit;
}

double ShmSignal::getScaleFactor() const {
    return d_data->scale;
}

double ShmSignal::getOffset() const {
    return d_data->offset;
}

unsigned char ShmSignal::getBits() const {
    return d_data->bits;
}

signalValue_t ShmSignal::getType() const {
    return d_data->type;
}

bool ShmSignal::read(double& phys, unsigned long long& timestamp) {
    if (d_waiting && !smInit())
        return false;
    qzsignal::RecordLock<ShmSignal> const guard(*this);
    bool const used = d_data->used != 0;
    if (used) {
        phys = convertedOnce();
        timestamp = d_data->timestamp;
    }
    if (debugging())
        debugLine("ShmSignal::read ", *this);
    return used;
}

bool ShmSignal::read(unsigned long long& value, unsigned long long& timestamp) {
    if (d_waiting && !smInit())
        return false;
    qzsignal::RecordLock<ShmSignal> const guard(*this);
    bool const used = d_data->used != 0;
    if (used) {
        value = d_data->value;
        timestamp = d_data->timestamp;
    }
    if (debugging())
        debugLine("ShmSignal::read ", *this);
    return used;
}

bool ShmSignal::write(unsigned long long raw, unsigned long long timestamp) {
    if (d_waiting && !smInit())
        return false;
    if (debugging())
        debugLine("writing ", std::hex, raw, ", ts=", timestamp);
    qzsignal::RecordLock<ShmSignal> const guard(*this);
    std::uint64_t const lastTimestamp = d_data->timestamp;
    d_modified = d_data->used == 0 || differs(raw, d_data->rawValue);
    if (d_modified)
        store(raw, timestamp);
    else
        qzsignal::storeWhole(d_data->timestamp, timestamp);
    if (debugging()) {
        // Deliberate: the line shows the time of the write before.
        std::ostringstream description;
        describe(description, lastTimestamp);
        debugLine(d_modified ? "ShmSignal::write " : "ShmSignal::write (no change) ", description.str());
    }
    return true;
}

// Stores a changed value in such an order that it is there as a whole or not at all, wherever the process is killed:
// until the mark is set the old payload and timestamp stand; from then on, `settle` can store the new ones.
void ShmSignal::store(std::uint64_t raw, std::uint64_t timestamp) {
    std::uint64_t const lastPhys = bitsOf(d_data->phys);
    d_data->conv = false;
    keepOrder();
    d_data->value = raw;
    setBits(d_data->phys, timestamp);
    keepOrder();
    d_data->pending = storePending;
    keepOrder();
    d_data->rawValue = raw;
    d_data->timestamp = timestamp;
    d_data->used = true;
    keepOrder();
    d_data->pending = 0;
    keepOrder();
    setBits(d_data->phys, lastPhys);
    decode();
}

bool ShmSignal::write(unsigned char const* data, unsigned long long timestamp) {
    return write(data, 8, timestamp);
}

bool ShmSignal::write(unsigned char const* data, unsigned int length, unsigned long long timestamp) {
    return write(qzsignal::rawWord(data, length), timestamp);
}

bool ShmSignal::isModified() const {
    return d_modified;
}

void ShmSignal::print(std::ostream& out) const {
    out << *this;
}

void ShmSignal::clear() {
    d_data->used = false;
    keepOrder(); // so that dying here leaves no value that is cleared in part
    d_data->timestamp = 0;
    d_data->rawValue = 0;
    d_data->value = 0;
    d_data->phys = 0.0;
    d_data->conv = false;
    d_modified = true;
}

void ShmSignal::lock() {
    settle(lockRecord(instance));
}

bool ShmSignal::tryLock() {
    qzsignal::LockOutcome const outcome = tryLockRecord(instance);
    settle(outcome);
    return outcome != qzsignal::LockOutcome::Busy;
}

void ShmSignal::settle(qzsignal::LockOutcome outcome) {
    if (outcome != qzsignal::LockOutcome::OwnerDied)
        return;
    // A record that is not there is being defined, and has no value.
    if (d_data->pending == storePending && d_data->size == family.d_size) {
        d_data->rawValue = d_data->value;
        d_data->timestamp = bitsOf(d_data->phys);
        d_data->used = true;
        keepOrder(); // so that dying here changes nothing either
    }
    d_data->pending = 0;
    d_data->conv = false;
    d_data->phys = 0.0;
    cInit(); // the owner may have been a writer that defined the signal anew
    decode();
}

void ShmSignal::unlock() {
    unlockRecord(instance);
}

void ShmSignal::describe(std::ostream& out, std::uint64_t timestamp) const {
    using qzsignal::Hex16;
    using qzsignal::yesNo;

    out << std::dec << textOf(d_data->signal) << " shmem=" << (d_shared ? 1 : 0) << ",used=" << yesNo(d_data->used != 0)
        << ",conv=" << yesNo(d_data->conv != 0) << ",unit=" << textOf(d_data->unit) << ",type=" << d_data->type
        << ",startbit=" << d_data->startbit << ",bits=" << unsigned{d_data->bits} << ",scale=" << d_data->scale
        << ",offset=" << d_data->offset << ",endian=" << qzsignal::endianName(d_data->endian != 0) << ",rawValue=0x"
        << Hex16{d_data->rawValue} << ",value=0x" << Hex16{d_data->value} << ",phys=" << d_data->phys << ",timestamp=0x"
        << std::hex << timestamp << ",addr=" << static_cast<void const*>(d_data);
}

std::ostream& operator<<(std::ostream& out, ShmSignal const& signal) {
    if (!signal.d_valid)
        return out << "ShmSignal not valid" << std::endl;
    signal.describe(out, signal.d_data->timestamp);
    return out;
}
