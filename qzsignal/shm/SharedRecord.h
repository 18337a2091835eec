/// @file
/// What the signals with a shared record have in common.
///
/// Internal: a base of `ShmSignal` and of `CANSignal`.
#pragma once

#include "qzsignal/Export.h"
#include "qzsignal/signal/BaseSignal.h"
#include "qzsignal/signal/ValueCut.h"

#include <cstddef>
#include <cstdint>
#include <pthread.h>
#include <sys/types.h>

namespace qzsignal {

class RecordResetLock;
struct BitLayout;
template <typename Signal>
class RecordLock;

// Patterns that catch the eye in a dump.
constexpr std::uint64_t unwrittenValue = 0x00000000AAAAAAAA;     ///< what a record holds before a value was written
constexpr std::uint64_t unwrittenTimestamp = 0x0000000055555555; ///< the same for its time

/// Every shared record begins with a size word and a mutex; this is the offset of the mutex in all of them.
constexpr std::size_t recordMutexOffset = alignof(pthread_mutex_t) > sizeof(std::uint32_t) ? alignof(pthread_mutex_t)
                                                                                           : sizeof(std::uint32_t);

/// Bytes by which what follows the mutex is further on in the record on this host than on a 32-bit target, whose mutex
/// ends at byte 28.
constexpr std::size_t recordShift = recordMutexOffset + sizeof(pthread_mutex_t) - 28;
/// The same for 8-byte fields, with the padding that they need on top; it is the same for all of them.
constexpr std::size_t alignedRecordShift = (recordShift + 7) / 8 * 8;

/// How a payload is stored in a signal whose class has no `write` of its own, as long as it has the same record and is
/// not cleared.
enum class FeedPath : std::uint8_t {
    Full,   ///< by `write`
    Local,  ///< in the record in the object: it is for the process alone, holds a value, and all of that is in the
            ///< payload
    Locked, ///< in a shared record that is attached
};

/// A signal with a record, and what does not depend on the kind of record: which record is in use, the segment, the
/// lock, the layout. `Record` has `size` and `mutex` where all records have them, and `used`, `pending`, `unit`,
/// `type`, `startbit`, `bits`, `scale`, `offset`, `endian` and `timestamp`. `Signal` is the one class that derives from
/// it directly.
template <typename Signal, typename Record, typename StartByte>
class QZSIGNAL_EXPORT SharedRecord : public BaseSignal {
public:
    // All of the record in use, which is read without its lock.
    char const* getUnit() const override { return d_data->unit; }    ///< as defined, 31 characters at most
    double getScaleFactor() const override { return d_data->scale; } ///< as defined
    double getOffset() const override { return d_data->offset; }     ///< as defined
    unsigned char getBits() const override { return d_data->bits; }  ///< as defined
    signalValue_t getType() const override { return static_cast<signalValue_t>(d_data->type); } ///< as defined

    /// True if the last write of this object changed the value.
    bool isModified() const override { return d_modified; }

protected:
    // Types and order of these are part of the interface, down to `d_waiting`.
    Record d_localData{};          ///< used in local mode, before attachment, and if there is no segment
    bool d_owner;                  ///< created the segment and removes it
    bool d_valid = false;          ///< the record in use is initialised or attached
    key_t d_key = -1;              ///< key from ftok
    int d_shmId = -1;              ///< segment id; -1: none
    bool d_shared;                 ///< the record is meant to be shared, so every access takes its lock
    Record* d_data = &d_localData; ///< the record in use
    bool d_modified = false;       ///< the last write of this object changed the value
    std::uint8_t d_lsbBit = 0;     ///< as in `BitLayout`, as all up to the mask
    StartByte d_startByte = 0;     ///< payload byte that holds the lowest bit
    std::uint8_t d_bytes = 0;      ///< payload bytes the signal touches
    std::uint8_t d_shift = 0;      ///< position of the lowest bit in its byte
    std::uint64_t d_maksBits = 0;  ///< a low one per bit of the value
    std::uint64_t d_signBit = 0;   ///< the value's highest bit
    std::uint64_t d_rawMask = 0;   ///< the signal's bits in a raw word
    bool d_waiting;                ///< opened by name and not attached yet; every access tries again
    // Additions follow.
    ValueCut d_cut;                       ///< what the layout comes to for most signals
    bool d_locked = false;                ///< this object holds the lock of the record in use
    FeedPath d_feedPath = FeedPath::Full; ///< how `ShmSignal::take` stores a payload

private:
    friend Signal;
    friend class RecordLock<Signal>;

    // For a definer (`owner`), or for a process that waits for the definer.
    SharedRecord(char const* instance, char const* signal, bool owner, bool shared);

    // Creates the segment, if the record is meant to be shared, and fills the record. Readers that are attached to a
    // record of an earlier run see it change as a whole.
    template <typename Definition>
    void define(Definition const& definition);

    bool createSharedMemory();
    bool create(RecordResetLock& lock);

    // Attaches to the segment that its definer has made, and computes the layout. False if it is not there yet, or
    // attaching fails; that is reported unless it is to be `quiet`.
    bool attach(bool quiet);

    // Gives the lock back if this object holds it, detaches, and removes the segment if it is ours.
    void release();

    void cInit();
    BitLayout layout() const;

    // The same for the functions of records: each member is read only where it is needed.
    struct LayoutInUse {
        SharedRecord const& d_signal;

        std::uint64_t own(std::uint64_t rawWord) const { return rawWord & d_signal.d_rawMask; }
        bool differs(std::uint64_t a, std::uint64_t b) const { return own(a ^ b) != 0; }
        std::uint64_t value(std::uint64_t rawWord, ByteOrder order, bool isSigned) const {
            if (__builtin_expect(d_signal.d_cut.isInside(order), 1))
                return d_signal.d_cut.value(rawWord, isSigned);
            return d_signal.valueOutside(rawWord, order, isSigned);
        }
    };
    LayoutInUse layoutInUse() const { return {*this}; }
    [[gnu::cold]] std::uint64_t valueOutside(std::uint64_t rawWord, ByteOrder order, bool isSigned) const;

    void lock();
    bool tryLock();
    void unlock();
    [[gnu::cold]] void lockAfter(int result);
    void recover();
};

} // namespace qzsignal
