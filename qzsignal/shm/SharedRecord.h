/// @file
/// The record of a shared signal, wherever it lies, and its lock; the same for every kind of record.
///
/// Internal: a base of `ShmSignal` and of `CANSignal`.
#pragma once

#include "qzsignal/Export.h"
#include "qzsignal/shm/RecordLock.h"
#include "qzsignal/shm/SharedSegment.h"

#include <cstddef>
#include <cstdint>
#include <pthread.h>
#include <string>

namespace qzsignal {

// Patterns that catch the eye in a dump.
constexpr std::uint64_t unwrittenValue = 0x00000000AAAAAAAA;     ///< what a record holds before a value was written
constexpr std::uint64_t unwrittenTimestamp = 0x0000000055555555; ///< the same for its time

/// Bytes by which what follows the mutex lies further behind on this host than on a 32-bit target, whose mutex ends at
/// byte 28.
constexpr std::size_t recordShift = recordMutexOffset + sizeof(pthread_mutex_t) - 28;
/// The same for 8-byte fields, with the padding that they need on top; it is the same for all of them.
constexpr std::size_t alignedRecordShift = (recordShift + 7) / 8 * 8;

/// What was found out about a signal whose class has no `write` of its own, and stays so until the signal is cleared or
/// gets another record.
enum class Shortcut : std::uint8_t {
    None,   ///< nothing
    Local,  ///< its record is the one in the object, for the process alone; that holds a value, all of it from the
            ///< payload
    Shared, ///< its record is shared, and does not have to be waited for any more
};

/// The part of a shared signal that knows which record is in use: the one in the segment once there is a segment, the
/// one in the object before and otherwise. `Record` has `size` and `mutex` where all records have them, and the flag
/// `used`.
template <typename Record>
class QZSIGNAL_EXPORT SharedRecord : protected SharedSegment {
protected:
    /// For a creator (`owner`) or somebody who still waits for the creator. `family` stays where it is.
    SharedRecord(RecordFamily const& family, bool owner, bool shared)
        : SharedSegment(owner), d_family(family), d_shared(shared), d_waiting(!owner) {
        static_assert(offsetof(Record, size) == 0 && offsetof(Record, mutex) == recordMutexOffset,
                      "the segment looks for them there");
        initRecordMutex(d_localData.mutex);
    }

    /// Creates the segment, if the record is meant to be shared, and has `fill` write the record, all but its size and
    /// its lock. Readers that are attached to a record of an earlier run see it change as a whole.
    template <typename Fill>
    void defineRecord(std::string const& instance, Fill fill) {
        RecordResetLock lock;
        if (d_shared)
            createRecord(instance, lock);
        d_data->used = 0;
        withdrawRecord(d_data->size);
        fill(*d_data);
        publishRecord(d_data->size, d_family);
    }

    /// Creates the segment. False if it cannot be had; the record in the object is in use then.
    bool createRecord(std::string const& instance) {
        RecordResetLock lock;
        return createRecord(instance, lock);
    }

    /// Attaches to the segment that its creator has made. False if it is not there yet, or attaching fails.
    bool attachRecord(std::string const& instance) {
        void* const record = attach(d_family, instance);
        if (record == nullptr)
            return false;
        d_data = static_cast<Record*>(record);
        d_waiting = false;
        d_valid = true;
        return true;
    }

    /// Detaches from the segment, if there is one, and removes it if it is ours.
    void releaseRecord(std::string const& instance) {
        release(d_family, instance, d_shared, d_data != &d_localData ? d_data : nullptr);
    }

    /// Opens an access to the record; one that is not shared has nothing to lock.
    LockOutcome lockRecord(std::string const& instance) {
        if (!d_shared)
            return LockOutcome::Locked;
        // Who is to be named in a report is not looked at before there is one.
        int const result = pthread_mutex_trylock(&d_data->mutex);
        return __builtin_expect(result == 0, 1) ? LockOutcome::Locked
                                                : lockRecordAfter(result, d_data->mutex, d_family.d_label, instance);
    }

    /// The same, but does not wait for somebody else who holds the lock.
    LockOutcome tryLockRecord(std::string const& instance) {
        return d_shared ? qzsignal::tryLockRecord(d_data->mutex, d_family.d_label, instance) : LockOutcome::Locked;
    }

    /// Closes the access.
    void unlockRecord(std::string const& instance) {
        if (!d_shared)
            return;
        int const result = pthread_mutex_unlock(&d_data->mutex);
        if (__builtin_expect(result != 0, 0))
            unlockFailed(result, d_family.d_label, instance);
    }

private:
    RecordFamily const& d_family;

    bool createRecord(std::string const& instance, RecordResetLock& lock) {
        void* const record = create(d_family, instance, lock);
        d_data = record != nullptr ? static_cast<Record*>(record) : &d_localData;
        d_shortcut = Shortcut::None;
        return record != nullptr;
    }

protected:
    Record d_localData{};                 ///< used in local mode, before attachment, and if there is no segment
    Record* d_data = &d_localData;        ///< the record in use
    bool d_shared;                        ///< the record is meant to be shared, so every access takes its lock
    bool d_waiting;                       ///< opened by name and not attached yet; every access tries again
    bool d_modified = false;              ///< the last write of this object changed the value
    Shortcut d_shortcut = Shortcut::None; ///< what of an access need not be asked any more
};

} // namespace qzsignal
