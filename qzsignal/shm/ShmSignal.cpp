// Definition, attachment and the locked accesses of a shared signal.
#include "qzsignal/shm/ShmSignal.h"

#include "qzsignal/shm/HotAccess.h"
#include "qzsignal/shm/RecordText.h"
#include "qzsignal/signal/Conversion.h"
#include "qzsignal/signal/Diagnostics.h"
#include "qzsignal/signal/Printing.h"

#include <cstring>
#include <type_traits>

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
    signal.reserve(sizeof d_data->signal); // nothing may fail any more once it is attached
    if (!attachRecord(instance))
        return false;
    cInit();
    signal = textOf(d_data->signal);
    return true;
}

void ShmSignal::cInit() {
    d_shortcut = qzsignal::Shortcut::None;
    set(d_data->startbit, d_data->bits, qzsignal::byteOrder(d_data->endian != 0));
}

void ShmSignal::decode() {
    // The record's order is not that of the layout if another process has defined the signal anew meanwhile.
    qzsignal::ByteOrder const order = qzsignal::byteOrder(d_data->endian != 0);
    if (__builtin_expect(!isInside(order) || debugging(), 0))
        return decodeTraced();
    d_data->value = valueInside(d_data->rawValue, d_data->type == signalSigned);
}

void ShmSignal::decodeTraced() {
    qzsignal::ByteOrder const order = qzsignal::byteOrder(d_data->endian != 0);
    std::uint64_t const value = extract(d_data->rawValue, order);
    d_data->value = d_data->type == signalSigned ? signExtend(value) : value;
    if (debugging())
        traceExtraction("ShmSignal", instance.c_str(), d_data->rawValue, d_data->startbit, d_data->bits, order,
                        d_data->value);
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

// What is seldom is in functions of its own, here and in `write`, so that nothing is made ready for it in vain.
template <typename Number>
bool ShmSignal::readAs(Number& number, unsigned long long& timestamp) {
    if (__builtin_expect(d_waiting || debugging(), 0))
        return readTraced(number, timestamp);
    qzsignal::RecordLock<ShmSignal> const guard(*this);
    return readRecord(number, timestamp);
}

template <typename Number>
bool ShmSignal::readTraced(Number& number, unsigned long long& timestamp) {
    if (d_waiting && !smInit())
        return false;
    qzsignal::RecordLock<ShmSignal> const guard(*this);
    bool const used = readRecord(number, timestamp);
    if (debugging())
        debugLine("ShmSignal::read ", *this);
    return used;
}

template <typename Number>
inline bool ShmSignal::readRecord(Number& number, unsigned long long& timestamp) {
    if (d_data->used == 0)
        return false;
    if constexpr (std::is_same_v<Number, double>)
        number = convertedOnce();
    else
        number = d_data->value;
    timestamp = d_data->timestamp;
    return true;
}

bool ShmSignal::read(double& phys, unsigned long long& timestamp) {
    if (d_shortcut != qzsignal::Shortcut::Local || debugging())
        return readAs(phys, timestamp);
    if (d_localData.conv == 0) {
        qzsignal::convert(d_localData.value, d_localData.type, d_localData.scale, d_localData.offset, d_localData.phys);
        d_localData.conv = true;
    }
    phys = d_localData.phys;
    timestamp = d_localData.timestamp;
    return true;
}

bool ShmSignal::read(unsigned long long& value, unsigned long long& timestamp) {
    if (d_shortcut != qzsignal::Shortcut::Local || debugging())
        return readAs(value, timestamp);
    value = d_localData.value;
    timestamp = d_localData.timestamp;
    return true;
}

bool ShmSignal::write(unsigned long long raw, unsigned long long timestamp) {
    if (__builtin_expect(d_waiting || debugging(), 0))
        return writeTraced(raw, timestamp);
    if (d_shared)
        return writeLocked(raw, timestamp);
    update(raw, timestamp);
    return true;
}

bool ShmSignal::writeLocked(unsigned long long raw, unsigned long long timestamp) {
    qzsignal::RecordLock<ShmSignal> const guard(*this);
    update(raw, timestamp);
    return true;
}

bool ShmSignal::writeTraced(unsigned long long raw, unsigned long long timestamp) {
    if (d_waiting && !smInit())
        return false;
    if (debugging())
        debugLine("writing ", std::hex, raw, ", ts=", timestamp);
    qzsignal::RecordLock<ShmSignal> const guard(*this);
    std::uint64_t const lastTimestamp = d_data->timestamp;
    update(raw, timestamp);
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
    if (!d_shared) { // nobody is there to see it
        d_data->rawValue = raw;
        d_data->timestamp = timestamp;
        d_data->used = true;
        d_data->conv = false;
        return decode();
    }
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
    d_shortcut = qzsignal::Shortcut::None;
    d_modified = true;
}

void ShmSignal::lock() {
    acquire();
}

void ShmSignal::unlock() {
    giveBack();
}

bool ShmSignal::tryLock() {
    qzsignal::LockOutcome const outcome = tryLockRecord(instance);
    if (outcome == qzsignal::LockOutcome::OwnerDied)
        settle();
    return outcome != qzsignal::LockOutcome::Busy;
}

void ShmSignal::findShortcut() {
    using qzsignal::Shortcut;

    d_shortcut = Shortcut::None;
    if (d_shared && !d_waiting)
        d_shortcut = Shortcut::Shared;
    else if (d_data == &d_localData && d_data->used != 0 && isInside(qzsignal::byteOrder(d_data->endian != 0)))
        d_shortcut = Shortcut::Local;
}

void ShmSignal::settle() {
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
