// Definition, attachment and the locked accesses of a shared signal.
#include "qzsignal/shm/ShmSignal.h"

#include "qzsignal/signal/Conversion.h"
#include "qzsignal/signal/Diagnostics.h"
#include "qzsignal/signal/Printing.h"

#include <atomic>
#include <cstring>

namespace {

using qzsignal::debugging;
using qzsignal::debugLine;

constexpr qzsignal::RecordFamily family = {"ShmSignal", sizeof(shmSignalData_t), 0666};

// What a record holds before anything was written: patterns that catch the eye in a dump.
constexpr std::uint64_t unwrittenValue = 0x00000000AAAAAAAA;
constexpr std::uint64_t unwrittenTimestamp = 0x0000000055555555;

// In `pending`: `value` and `phys` hold a payload and a timestamp that are about to be stored. No other process looks
// at them meanwhile, and both are derived from what is stored, so they are free for that.
constexpr std::uint8_t storePending = 0x5A;

// What is on either side of it reaches the record in this order. That is all it takes for the owner's death: whoever
// takes the lock over sees everything that the owner did before it died.
void keepOrder() {
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

std::uint64_t bitsOf(double const& number) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    return bits;
}

void setBits(double& number, std::uint64_t bits) {
    std::memcpy(&number, &bits, sizeof number);
}

// Cuts to 31 characters; the rest of the field is zeroed, so that nothing of an earlier run shines through.
template <std::size_t Size>
void copyText(char (&field)[Size], std::string const& text) {
    std::memset(field, 0, Size);
    std::memcpy(field, text.data(), std::min(text.size(), Size - 1));
}

// The text of a field that another process wrote, and may have left without its end.
template <std::size_t Size>
std::string textOf(char const (&field)[Size]) {
    return std::string(field, strnlen(field, Size));
}

} // namespace

ShmSignal::ShmSignal(baseSignalDef_t const& definition, bool shared)
    : BaseSignal(definition.instance.c_str(), definition.signal.c_str()), SharedSegment(true, shared) {
    qzsignal::initRecordMutex(d_localData.mutex);
    {
        // Readers that are attached to a record of an earlier run see it change as a whole.
        qzsignal::RecordResetLock lock;
        if (d_shared)
            createSegment(lock);
        initialiseRecord(definition);
    }
    cInit();
    d_valid = true;
    if (debugging())
        qzsignal::traceCreated("ShmSignal", instance, shared, *this);
}

ShmSignal::ShmSignal(char const* instanceName) : BaseSignal(instanceName, ""), SharedSegment(false, true) {
    qzsignal::initRecordMutex(d_localData.mutex);
    smInit();
    if (debugging()) {
        debugLine("ShmSignal ", instance, " created ",
                  d_valid ? "(shared memory found)." : "(shared memory NOT found).");
        if (d_valid)
            qzsignal::writeLine(std::cout, "", *this);
    }
}

ShmSignal::~ShmSignal() {
    release(family, instance, segment());
}

bool ShmSignal::createSharedMemory() {
    qzsignal::RecordResetLock lock;
    return createSegment(lock);
}

bool ShmSignal::createSegment(qzsignal::RecordResetLock& lock) {
    void* const record = create(family, instance, lock);
    d_data = record != nullptr ? static_cast<shmSignalData_t*>(record) : &d_localData;
    return record != nullptr;
}

bool ShmSignal::smInit() {
    if (!d_waiting)
        return true;
    void* const record = attach(family, instance);
    if (record == nullptr)
        return false;
    d_data = static_cast<shmSignalData_t*>(record);
    signal = textOf(d_data->signal);
    d_waiting = false;
    d_valid = true;
    cInit();
    return true;
}

void ShmSignal::initialiseRecord(baseSignalDef_t const& definition) {
    d_data->used = false;
    withdrawRecord(d_data->size);
    d_data->pending = 0;
    d_data->conv = false;
    copyText(d_data->signal, definition.signal);
    copyText(d_data->unit, definition.unit);
    d_data->type = definition.type;
    d_data->startbit = definition.startbit;
    d_data->bits = definition.bits;
    d_data->scale = definition.scale;
    d_data->offset = definition.offset;
    d_data->endian = definition.endian;
    d_data->rawValue = unwrittenValue;
    d_data->value = unwrittenValue;
    d_data->phys = static_cast<double>(unwrittenValue);
    d_data->timestamp = unwrittenTimestamp;
    publishRecord(d_data->size, family);
}

void* ShmSignal::segment() const {
    return d_data != &d_localData ? d_data : nullptr;
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
        if (d_data->conv == 0) {
            physical();
            d_data->conv = true;
        }
        phys = d_data->phys;
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
        d_data->timestamp = timestamp;
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
    d_data->timestamp = 0;
    d_data->rawValue = 0;
    d_data->value = 0;
    d_data->phys = 0.0;
    d_data->conv = false;
    d_data->used = false;
    d_modified = true;
}

void ShmSignal::lock() {
    if (d_shared)
        settle(qzsignal::lockRecord(d_data->mutex, family.d_label, instance));
}

bool ShmSignal::tryLock() {
    if (!d_shared)
        return true;
    qzsignal::LockOutcome const outcome = qzsignal::tryLockRecord(d_data->mutex, family.d_label, instance);
    settle(outcome);
    return outcome != qzsignal::LockOutcome::Busy;
}

void ShmSignal::settle(qzsignal::LockOutcome outcome) {
    if (outcome != qzsignal::LockOutcome::OwnerDied)
        return;
    if (d_data->pending == storePending) {
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
    if (d_shared)
        qzsignal::unlockRecord(d_data->mutex, family.d_label, instance);
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
