// The functions of `SharedRecord`, for the sources of the two classes that derive from it.
//
// They use `familyOf`, `fill`, `layoutOf` and `settle`, which each kind of record has of its own.
#pragma once

#include "qzsignal/shm/RecordLock.h"
#include "qzsignal/shm/RecordMark.h"
#include "qzsignal/shm/SharedRecord.h"
#include "qzsignal/shm/SharedSegment.h"
#include "qzsignal/signal/BitLayoutTrace.h"
#include "qzsignal/signal/Diagnostics.h"

struct baseSignalDef_t;

namespace qzsignal {

// Those of the one record that is not in this namespace.
RecordFamily const& familyOf(shmSignalData_t const& record);
void fill(shmSignalData_t& record, baseSignalDef_t const& definition);
BitLayout layoutOf(shmSignalData_t const& record);

template <typename Signal, typename Record, typename StartByte>
SharedRecord<Signal, Record, StartByte>::SharedRecord(char const* instanceName, char const* signalName, bool owner,
                                                      bool shared)
    : BaseSignal(instanceName, signalName), d_owner(owner), d_shared(shared), d_waiting(!owner) {
    static_assert(offsetof(Record, size) == 0 && offsetof(Record, mutex) == recordMutexOffset,
                  "the segment looks for them there");
    initRecordMutex(d_localData.mutex);
}

template <typename Signal, typename Record, typename StartByte>
template <typename Definition>
void SharedRecord<Signal, Record, StartByte>::define(Definition const& definition) {
    {
        RecordResetLock lock;
        if (d_shared)
            create(lock);
        // What an earlier owner had begun is ended first: if we die as well, there is nothing to end it by.
        if (!isWhole(d_data->pending) && d_data->size == familyOf(*d_data).d_size)
            settle(*d_data);
        setMark(d_data->pending, recordDeriving);
        d_data->used = 0;
        withdrawRecord(d_data->size);
        fill(*d_data, definition);
        setMark(d_data->pending, 0);
        publishRecord(d_data->size, familyOf(*d_data));
    }
    cInit();
    d_valid = true;
}

template <typename Signal, typename Record, typename StartByte>
bool SharedRecord<Signal, Record, StartByte>::createSharedMemory() {
    RecordResetLock lock;
    return create(lock);
}

template <typename Signal, typename Record, typename StartByte>
bool SharedRecord<Signal, Record, StartByte>::create(RecordResetLock& lock) {
    if (d_locked)
        unlock();
    CreatedSegment const segment = createSegment(familyOf(*d_data), instance, d_key, d_shmId, lock);
    if (!segment.d_found)
        return false;
    if (d_data != &d_localData)
        detachSegment(familyOf(*d_data), instance, d_data);
    d_data = segment.d_record != nullptr ? static_cast<Record*>(segment.d_record) : &d_localData;
    d_feedPath = FeedPath::Full;
    return segment.d_record != nullptr;
}

template <typename Signal, typename Record, typename StartByte>
bool SharedRecord<Signal, Record, StartByte>::attach(bool quiet) {
    void* const record =
        attachSegment(familyOf(*d_data), instance, d_key, d_shmId, quiet ? Waiting::Quiet : Waiting::Reported);
    if (record == nullptr)
        return false;
    d_data = static_cast<Record*>(record);
    d_waiting = false;
    d_valid = true;
    cInit();
    return true;
}

template <typename Signal, typename Record, typename StartByte>
void SharedRecord<Signal, Record, StartByte>::release() {
    if (d_locked)
        unlock();
    releaseSegment(familyOf(*d_data), instance, d_shared, d_owner, d_shmId, d_data);
}

template <typename Signal, typename Record, typename StartByte>
void SharedRecord<Signal, Record, StartByte>::cInit() {
    BitLayout const computed = layoutOf(*d_data);
    d_feedPath = FeedPath::Full;
    d_lsbBit = computed.d_lsbBit;
    d_startByte = static_cast<StartByte>(computed.d_startByte);
    d_bytes = computed.d_bytes;
    d_shift = computed.d_shift;
    d_maksBits = computed.d_maksBits;
    d_signBit = computed.d_signBit;
    d_rawMask = computed.d_rawMask;
    d_cut = computed.d_cut;
    if (debugging())
        traceLayout(computed);
}

template <typename Signal, typename Record, typename StartByte>
inline BitLayout SharedRecord<Signal, Record, StartByte>::layout() const {
    BitLayout layout;
    layout.d_lsbBit = d_lsbBit;
    layout.d_startByte = static_cast<std::uint8_t>(d_startByte);
    layout.d_bytes = d_bytes;
    layout.d_shift = d_shift;
    layout.d_maksBits = d_maksBits;
    layout.d_signBit = d_signBit;
    layout.d_rawMask = d_rawMask;
    layout.d_cut = d_cut;
    return layout;
}

template <typename Signal, typename Record, typename StartByte>
std::uint64_t SharedRecord<Signal, Record, StartByte>::valueOutside(std::uint64_t rawWord, ByteOrder order,
                                                                    bool isSigned) const {
    return layout().value(rawWord, order, isSigned);
}

template <typename Signal, typename Record, typename StartByte>
inline void SharedRecord<Signal, Record, StartByte>::lock() {
    if (!d_shared)
        return;
    int const result = pthread_mutex_trylock(&d_data->mutex);
    if (__builtin_expect(result != 0, 0))
        return lockAfter(result);
    d_locked = true;
}

template <typename Signal, typename Record, typename StartByte>
void SharedRecord<Signal, Record, StartByte>::lockAfter(int result) {
    LockOutcome const outcome = lockRecordAfter(result, d_data->mutex, familyOf(*d_data).d_label, instance);
    d_locked = outcome != LockOutcome::Failed;
    if (outcome == LockOutcome::OwnerDied)
        recover();
}

template <typename Signal, typename Record, typename StartByte>
bool SharedRecord<Signal, Record, StartByte>::tryLock() {
    if (!d_shared)
        return true;
    LockOutcome const outcome = tryLockRecord(d_data->mutex, familyOf(*d_data).d_label, instance);
    if (outcome == LockOutcome::Busy)
        return false;
    d_locked = outcome != LockOutcome::Failed;
    if (outcome == LockOutcome::OwnerDied)
        recover();
    return true;
}

template <typename Signal, typename Record, typename StartByte>
inline void SharedRecord<Signal, Record, StartByte>::unlock() {
    if (!d_shared)
        return;
    d_locked = false;
    int const result = pthread_mutex_unlock(&d_data->mutex);
    if (__builtin_expect(result != 0, 0))
        unlockFailed(result, familyOf(*d_data).d_label, instance);
}

template <typename Signal, typename Record, typename StartByte>
void SharedRecord<Signal, Record, StartByte>::recover() {
    settle(*d_data);
    cInit(); // the owner may have been a writer that defined the signal again
}

} // namespace qzsignal
