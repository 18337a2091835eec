/// @file
/// The System V segment that holds one shared record: its key file, creation, attachment and removal.
///
/// Internal: a base of `SharedRecord`.
#pragma once

#include "qzsignal/Export.h"

#include <cstddef>
#include <cstdint>
#include <pthread.h>
#include <string>
#include <sys/types.h>

namespace qzsignal {

class RecordResetLock;

/// What tells one family of shared records from another.
struct RecordFamily {
    char const* d_label; ///< class name in messages
    std::size_t d_size;  ///< bytes of the record, and the value of its size word
    int d_permissions;   ///< of the segment
};

/// Every shared record begins with a size word and a mutex; this is where the mutex lies in all of them.
constexpr std::size_t recordMutexOffset = alignof(pthread_mutex_t) > sizeof(std::uint32_t) ? alignof(pthread_mutex_t)
                                                                                           : sizeof(std::uint32_t);

/// The part of a shared signal that deals with its segment; the only place in the library that calls shm*.
///
/// The segment's key is made from the file "/tmp/" + instance name, which its creator makes and nobody removes. The
/// creator owns the segment and removes it in the end; everybody else attaches to it. A record counts as there once its
/// size word holds the family's size, which the creator writes last. Failures are reported in the family's name.
class QZSIGNAL_EXPORT SharedSegment {
protected:
    /// A creator's part (`owner`) or that of a process that opens what the creator makes.
    explicit SharedSegment(bool owner) : d_owner(owner) {}

    /// Creates the key file and the segment, or takes over an existing segment, and sees to it that its mutex works;
    /// the lock is then held by `lock`, if it can be had. Returns the record's address, or null.
    void* create(RecordFamily const& family, std::string const& instance, RecordResetLock& lock);

    /// Attaches to the segment of an initialised record of this family. Returns its address; null if there is none yet,
    /// which is a warning, or if attaching fails.
    void* attach(RecordFamily const& family, std::string const& instance);

    /// Detaches from the record (null: never attached) and removes the segment if it is ours. There is none if the
    /// record was not meant to be `shared`.
    void release(RecordFamily const& family, std::string const& instance, bool shared, void* record);

    static void withdrawRecord(std::uint32_t& size); ///< takes back the sign that the record is initialised
    static void publishRecord(std::uint32_t& size, RecordFamily const& family); ///< gives the sign

    bool d_owner;         ///< created the segment and removes it
    bool d_valid = false; ///< the record in use is initialised or attached
    key_t d_key = -1;     ///< key from ftok
    int d_shmId = -1;     ///< segment id; -1: none
};

} // namespace qzsignal
