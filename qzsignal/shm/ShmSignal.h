/// @file
/// The signal whose latest value lives in one shared record.
#pragma once

#include "qzsignal/Export.h"
#include "qzsignal/shm/SharedRecord.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <pthread.h>

/// The shared record: a format between processes, in the host's byte order. Offsets are those of a 32-bit target; on a
/// 64-bit host the mutex is larger and everything after it shifts by the same amount.
struct shmSignalData_t {
    std::uint32_t size;    ///<   0  bytes of the record; written last by its creator, so 0 means: not there yet
    pthread_mutex_t mutex; ///<   4  guards what follows while a value is read or written
    // Flags are bytes, not bool: a segment may hold any byte, and a bool that is neither 0 nor 1 must not be looked at.
    std::uint8_t used;                 ///<  28  1: a value was written since creation or the last clear
    std::uint8_t conv;                 ///<  29  1: `phys` was computed from the current `value`
    char signal[32];                   ///<  30  signal name, NUL-terminated
    char unit[32];                     ///<  62  unit text, NUL-terminated
    signalValue_t type;                ///<  96  value type
    std::uint16_t startbit;            ///< 100  start bit as in the definition
    std::uint8_t bits;                 ///< 102  length in bits, 1..64
    alignas(8) double scale;           ///< 104  physical value = value * scale + offset
    double offset;                     ///< 112  added to the scaled value
    std::uint8_t endian;               ///< 120  non-zero: big endian
    std::uint8_t pending;              ///< 121  internal: whether and how the record is being changed; see RecordMark.h
    alignas(8) std::uint64_t rawValue; ///< 128  last payload that changed the value, byte 0 most significant
    std::uint64_t value;               ///< 136  decoded raw value, sign-extended
    double phys;                       ///< 144  physical value, valid while `conv` is set
    std::uint64_t timestamp;           ///< 152  time of the last write, in the writer's unit
};

namespace qzsignal {

static_assert(sizeof(void*) != 4 || (sizeof(pthread_mutex_t) == 24 && sizeof(shmSignalData_t) == 160),
              "the record is 160 bytes on a 32-bit target");
static_assert(sizeof(void*) != 8 || (recordShift == 20 && sizeof(shmSignalData_t) == 184),
              "the record is 184 bytes on a 64-bit host");
static_assert(offsetof(shmSignalData_t, used) == 28 + recordShift, "");
static_assert(offsetof(shmSignalData_t, conv) == 29 + recordShift, "");
static_assert(offsetof(shmSignalData_t, signal) == 30 + recordShift, "");
static_assert(offsetof(shmSignalData_t, unit) == 62 + recordShift, "");
static_assert(offsetof(shmSignalData_t, type) == 96 + recordShift, "");
static_assert(offsetof(shmSignalData_t, startbit) == 100 + recordShift, "");
static_assert(offsetof(shmSignalData_t, bits) == 102 + recordShift, "");
static_assert(offsetof(shmSignalData_t, scale) == 104 + alignedRecordShift, "");
static_assert(offsetof(shmSignalData_t, offset) == 112 + alignedRecordShift, "");
static_assert(offsetof(shmSignalData_t, endian) == 120 + alignedRecordShift, "");
static_assert(offsetof(shmSignalData_t, pending) == 121 + alignedRecordShift, "");
static_assert(offsetof(shmSignalData_t, rawValue) == 128 + alignedRecordShift, "");
static_assert(offsetof(shmSignalData_t, value) == 136 + alignedRecordShift, "");
static_assert(offsetof(shmSignalData_t, phys) == 144 + alignedRecordShift, "");
static_assert(offsetof(shmSignalData_t, timestamp) == 152 + alignedRecordShift, "");

} // namespace qzsignal

/// A signal in shared memory, or, for the process alone, in the object itself.
///
/// One process defines it and owns the segment; any number of others open it by its instance name, even before it is
/// there: until then their accesses fail with a warning each, and the first one after attaches. Reading and writing
/// take the record's lock; creating, clearing, printing and the getters do not. One thread of a process uses the
/// object.
class QZSIGNAL_EXPORT QZSIGNAL_CACHE_ALIGNED ShmSignal
    : public qzsignal::SharedRecord<ShmSignal, shmSignalData_t, std::uint8_t> {
public:
    /// Defines the signal, in a shared segment or (`shared` false) in the object. A record that another run left is
    /// initialised again, under readers that are attached to it. If the segment cannot be had, that is reported and
    /// the signal works on a record inside the object.
    ShmSignal(baseSignalDef_t const& definition, bool shared);

    /// Opens a signal that another process defines, now or later.
    explicit ShmSignal(char const* instance);

    /// Detaches; the process that defined the signal removes the segment.
    ~ShmSignal() override;

    /// Creates key file, segment and mutex and makes the segment the record in use. Part of defining a signal.
    bool createSharedMemory();

    /// Attaches if that is still to be done. True if the signal is usable.
    bool smInit();

    /// Computes the bit layout from the record in use.
    void cInit();

    /// Extracts the record's `value` from its `rawValue`. Takes no lock.
    void decode();

    /// Computes the record's `phys` from its `value`. Takes no lock.
    void physical();

    /// @{
    /// Both return false, and leave their arguments alone, if no value was written yet or the segment is not there. The
    /// physical value is computed once per new value, by the first to read it.
    bool read(double& phys, unsigned long long& timestamp) override;
    bool read(unsigned long long& value, unsigned long long& timestamp) override;
    /// @}

    /// Stores a payload's raw word (byte 0 most significant) if it differs in this signal's bits, and the timestamp in
    /// any case. False only while the segment is not there.
    bool write(unsigned long long raw, unsigned long long timestamp) override;

    /// Exactly eight payload bytes.
    bool write(unsigned char const* data, unsigned long long timestamp);

    /// The first eight of `length` payload bytes; missing ones count as zero.
    bool write(unsigned char const* data, unsigned int length, unsigned long long timestamp);

    // `isModified` is true if the last `write` of this object changed the signal's bits, or it was cleared since.

    void print(std::ostream& out) const override;

    /// Forgets the value. Deliberate: counts as a modification, so that consumers notice it.
    void clear() override;

    friend QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, ShmSignal const& signal);

protected:
    /// @{
    /// Open and close each access to a shared record. If the last owner of the lock died, the record is put in order: a
    /// write that it had begun is completed or has left no trace, and the value is derived from the stored payload
    /// again.
    void lock();
    void unlock();
    /// @}

    /// The same as `lock`, unless the lock is held already; then it returns false.
    bool tryLock();

private:
    friend class qzsignal::RecordLock<ShmSignal>;
    friend class CANSignalExt;
    friend class FlexRaySignal;

    // What `write(raw, timestamp)` does, for the classes that feed many signals: without the virtual call if there is
    // no class derived from the one that called `noteClass`. In ShmSignalTake.h.
    void take(unsigned long long raw, unsigned long long timestamp);
    void takeFully(unsigned long long raw, unsigned long long timestamp);

    // Called by the constructor of a class that feeds its signals by `take`, and has no `write` of its own.
    void noteClass() { d_class = dynamicClass(); }
    void const* dynamicClass() const;

    template <typename Number>
    [[gnu::noinline]] bool readAs(Number& number, unsigned long long& timestamp);
    [[gnu::cold]] void traceDecoded() const;
    [[gnu::cold]] void tracePhysical() const;
    [[gnu::cold]] void traceAccess(char const* access, std::uint64_t timestamp) const;

    // The table of virtual functions that the object had in the constructor of the class that called `noteClass`: that
    // of a derived class is another one. It serves where a derived class is built without type information.
    void const* d_class = nullptr;
};

/// Writes the description as labels and values, without an end of line. Leaves the stream in hexadecimal with '0' as
/// its fill character. A signal whose record is not there yet gets a line that says so.
QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, ShmSignal const& signal);
