// Definition, attachment and the locked accesses of a shared signal.
#include "qzsignal/shm/ShmSignal.h"

#include "qzsignal/PrintedForm.h"
#include "qzsignal/shm/RecordText.h"
#include "qzsignal/shm/SharedRecordAccess.h"
#include "qzsignal/shm/ShmRecord.h"
#include "qzsignal/signal/Diagnostics.h"

#include <cstring>
#include <type_traits>

namespace {

using qzsignal::debugging;
using qzsignal::debugLine;
using qzsignal::FeedPath;

} // namespace

ShmSignal::ShmSignal(baseSignalDef_t const& definition, bool shared)
    : SharedRecord(definition.instance.c_str(), definition.signal.c_str(), true, shared) {
    define(definition);
    if (debugging())
        qzsignal::traceCreated("ShmSignal", instance, shared, *this);
}

ShmSignal::ShmSignal(char const* instanceName) : SharedRecord(instanceName, "", false, true) {
    smInit();
    if (debugging())
        qzsignal::traceOpened("ShmSignal", instance, d_valid, *this);
}

ShmSignal::~ShmSignal() {
    release();
}

bool ShmSignal::createSharedMemory() {
    return SharedRecord::createSharedMemory();
}

bool ShmSignal::smInit() {
    if (!d_waiting)
        return true;
    signal.reserve(sizeof d_data->signal); // nothing may fail any more once it is attached
    if (!attach(false))
        return false;
    signal = qzsignal::textOf(d_data->signal);
    return true;
}

void ShmSignal::cInit() {
    SharedRecord::cInit();
}

void ShmSignal::decode() {
    d_data->value = qzsignal::decoded(*d_data, layoutInUse());
    if (debugging())
        traceDecoded();
}

void ShmSignal::physical() {
    qzsignal::convert(d_data->value, d_data->type, d_data->scale, d_data->offset, d_data->phys);
    if (debugging())
        tracePhysical();
}

template <typename Number>
bool ShmSignal::readAs(Number& number, unsigned long long& timestamp) {
    if (__builtin_expect(d_waiting, 0) && !smInit())
        return false;
    qzsignal::RecordLock<ShmSignal> const guard(*this);
    bool const used = d_data->used != 0;
    if (used) {
        if constexpr (std::is_same_v<Number, double>) {
            if (qzsignal::convertOnce(*d_data) && debugging())
                tracePhysical();
            number = d_data->phys;
        } else {
            number = d_data->value;
        }
        timestamp = d_data->timestamp;
    }
    if (debugging())
        traceAccess("read ", d_data->timestamp);
    return used;
}

bool ShmSignal::read(double& phys, unsigned long long& timestamp) {
    if (d_feedPath != FeedPath::Local || debugging())
        return readAs(phys, timestamp);
    if (d_localData.conv == 0) {
        qzsignal::convert(d_localData.value, d_localData.type, d_localData.scale, d_localData.offset, d_localData.phys);
        d_localData.conv = 1;
    }
    phys = d_localData.phys;
    timestamp = d_localData.timestamp;
    return true;
}

bool ShmSignal::read(unsigned long long& value, unsigned long long& timestamp) {
    if (d_feedPath != FeedPath::Local || debugging())
        return readAs(value, timestamp);
    value = d_localData.value;
    timestamp = d_localData.timestamp;
    return true;
}

bool ShmSignal::write(unsigned long long raw, unsigned long long timestamp) {
    if (__builtin_expect(d_waiting, 0) && !smInit())
        return false;
    if (debugging())
        debugLine("writing ", std::hex, raw, ", ts=", timestamp);
    qzsignal::RecordLock<ShmSignal> const guard(*this);
    std::uint64_t const lastTimestamp = d_data->timestamp;
    d_modified = qzsignal::update(*d_data, layoutInUse(), raw, timestamp);
    if (debugging()) {
        if (d_modified)
            traceDecoded();
        // Deliberate: the line shows the time of the write before.
        traceAccess(d_modified ? "write " : "write (no change) ", lastTimestamp);
    }
    return true;
}

bool ShmSignal::write(unsigned char const* data, unsigned long long timestamp) {
    return write(data, 8, timestamp);
}

bool ShmSignal::write(unsigned char const* data, unsigned int length, unsigned long long timestamp) {
    return write(qzsignal::rawWord(data, length), timestamp);
}

void ShmSignal::takeFully(unsigned long long raw, unsigned long long timestamp) {
    if (d_class == nullptr || d_class != dynamicClass()) {
        write(raw, timestamp);
        return;
    }
    ShmSignal::write(raw, timestamp);
    if (d_shared && !d_waiting)
        d_feedPath = FeedPath::Locked;
    else if (!d_shared && d_data == &d_localData && d_data->used != 0 &&
             d_cut.isInside(qzsignal::byteOrder(d_data->endian != 0)))
        d_feedPath = FeedPath::Local;
}

// Every C++ compiler of these targets has the pointer to the table first in the object.
void const* ShmSignal::dynamicClass() const {
    void const* table = nullptr;
    std::memcpy(&table, static_cast<void const*>(this), sizeof table);
    return table;
}

void ShmSignal::print(std::ostream& out) const {
    out << *this;
}

void ShmSignal::clear() {
    qzsignal::clear(*d_data);
    d_feedPath = FeedPath::Full;
    d_modified = true;
}

void ShmSignal::lock() {
    SharedRecord::lock();
}

void ShmSignal::unlock() {
    SharedRecord::unlock();
}

bool ShmSignal::tryLock() {
    return SharedRecord::tryLock();
}

void ShmSignal::traceDecoded() const {
    qzsignal::BitLayout const& used = layout();
    qzsignal::traceDecoded(
        {"ShmSignal", instance, used, d_data->startbit, d_data->bits, qzsignal::byteOrder(d_data->endian != 0)},
        d_data->rawValue, d_data->value);
}

void ShmSignal::tracePhysical() const {
    debugLine(instance, " = ", d_data->phys);
}

void ShmSignal::traceAccess(char const* access, std::uint64_t timestamp) const {
    qzsignal::TextStream description;
    qzsignal::describe(description, *d_data, d_shared, timestamp, d_data);
    debugLine("ShmSignal::", access, description.str());
}

std::ostream& operator<<(std::ostream& out, ShmSignal const& signal) {
    if (!signal.d_valid)
        return qzsignal::printForm(out, "ShmSignal not valid\n").flush();
    shmSignalData_t const record = qzsignal::snapshot(*signal.d_data);
    qzsignal::describe(out, record, signal.d_shared, record.timestamp, signal.d_data);
    return out;
}
