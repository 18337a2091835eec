/// @file
/// The self-contained CAN signal, which keeps its bits at their places in a frame.
#pragma once

#include "qzsignal/Export.h"
#include "qzsignal/shm/SharedRecord.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <pthread.h>
#include <string>
#include <vector>

/// How the bits of a CAN signal are to be understood; the numbers are those of `signalValue_t`. Any 32-bit number can
/// be cast to it: one that is none of these four has no name and no conversion.
enum canValue_t : std::int32_t {
    canUnsigned = 0, ///< unsigned integer
    canSigned = 1,   ///< two's complement, sign-extended to 64 bits when decoded
    canFloat = 2,    ///< IEEE-754 single precision in the low 32 bits
    canDouble = 3,   ///< IEEE-754 double precision in all 64 bits
};

/// Definition of a signal in a CAN frame with an 11-bit identifier. Read during construction only.
struct QZSIGNAL_EXPORT canSignal_t {
    std::uint16_t bus = 0; ///< number of the bus; its low 8 bits are kept
    std::uint16_t id = 0;  ///< identifier of the frame, 11 bits
    std::string name;      ///< key in the registry, name of the key file under /tmp; a record keeps 31 characters
    std::string unit;      ///< unit of the physical value; a record keeps its first 31 characters
    canValue_t type = canUnsigned; ///< how the bits are understood
    std::int32_t startbit = 0;     ///< lowest bit if little endian, highest bit if big endian; its low 8 bits are kept
    std::int32_t bits = 0;         ///< length in bits, 1..64; its low 8 bits are kept
    double scale = 0.0;            ///< physical value = raw value * scale + offset
    double offset = 0.0;           ///< added to the scaled raw value
    bool endian = false;           ///< true: big endian (Motorola), false: little endian (Intel)
};

/// Writes "unsigned", "signed", "float" or "double", and nothing for any other value.
QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, canValue_t const& type);

/// Writes "[INFO] " and all fields, all but the name with a label, without an end of line. Leaves the stream in
/// decimal.
QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, canSignal_t const& definition);

namespace qzsignal {

/// The shared record of a `CANSignal`: a format between processes, in the host's byte order. Offsets are those of a
/// 32-bit target; on a 64-bit host the mutex is larger and everything after it shifts by the same amount.
struct canSignalData_t {
    std::uint32_t size;        ///<   0  bytes of the record; written last by its creator, so 0 means: not there yet
    pthread_mutex_t mutex;     ///<   4  guards what follows while a value is read or written
    std::uint8_t used;         ///<  28  1: a write has changed the value since creation
    std::uint8_t bus;          ///<  29  number of the bus
    std::uint16_t id;          ///<  30  identifier of the frame
    char name[32];             ///<  32  signal name, NUL-terminated
    char unit[32];             ///<  64  unit text, NUL-terminated
    canValue_t type;           ///<  96  value type
    std::uint8_t startbit;     ///< 100  start bit as in the definition
    std::uint8_t bits;         ///< 101  length in bits, 1..64
    std::uint8_t pending;      ///< 102  internal: whether and how the record is being changed; see RecordMark.h
    std::uint8_t lastValueTop; ///< 103  internal: most significant byte of the value before
    alignas(8) double scale;   ///< 104  physical value = raw value * scale + offset
    double offset;             ///< 112  added to the scaled raw value
    std::uint8_t endian;       ///< 120  non-zero: big endian
    std::uint8_t lastValue[7]; ///< 121  internal: the other bytes of the value before
    alignas(8) std::uint64_t value; ///< 128  payload of the last change, byte 0 most significant, foreign bits cleared
    std::uint64_t timestamp;        ///< 136  time of the last change, in the writer's unit
};

static_assert(sizeof(void*) != 4 || sizeof(canSignalData_t) == 144, "the record is 144 bytes on a 32-bit target");
static_assert(sizeof(void*) != 8 || sizeof(canSignalData_t) == 168, "the record is 168 bytes on a 64-bit host");
static_assert(offsetof(canSignalData_t, used) == 28 + recordShift, "");
static_assert(offsetof(canSignalData_t, bus) == 29 + recordShift, "");
static_assert(offsetof(canSignalData_t, id) == 30 + recordShift, "");
static_assert(offsetof(canSignalData_t, name) == 32 + recordShift, "");
static_assert(offsetof(canSignalData_t, unit) == 64 + recordShift, "");
static_assert(offsetof(canSignalData_t, type) == 96 + recordShift, "");
static_assert(offsetof(canSignalData_t, startbit) == 100 + recordShift, "");
static_assert(offsetof(canSignalData_t, bits) == 101 + recordShift, "");
static_assert(offsetof(canSignalData_t, pending) == 102 + recordShift, "");
static_assert(offsetof(canSignalData_t, lastValueTop) == 103 + recordShift, "");
static_assert(offsetof(canSignalData_t, scale) == 104 + alignedRecordShift, "");
static_assert(offsetof(canSignalData_t, offset) == 112 + alignedRecordShift, "");
static_assert(offsetof(canSignalData_t, endian) == 120 + alignedRecordShift, "");
static_assert(offsetof(canSignalData_t, lastValue) == 121 + alignedRecordShift, "");
static_assert(offsetof(canSignalData_t, value) == 128 + alignedRecordShift, "");
static_assert(offsetof(canSignalData_t, timestamp) == 136 + alignedRecordShift, "");

} // namespace qzsignal

/// A signal of a CAN frame with an 11-bit identifier, in shared memory or for the process alone. It has the scheme of
/// `ShmSignal`, but a record of its own: the frame's payload, with all foreign bits cleared, which is decoded when it
/// is read. Payloads are 64-bit numbers with byte 0 most significant; shorter frames are padded with zero bytes.
///
/// A signal that was built from a definition is filed under its bus and identifier and fed by `decodeMessage`; one
/// opened by name reads what another process writes. Building, feeding and destroying happen on one thread of a
/// process.
class QZSIGNAL_EXPORT CANSignal : public qzsignal::SharedRecord<CANSignal, qzsignal::canSignalData_t, std::int8_t> {
public:
    /// The signals of each bus and identifier in order of construction: one vector for each of 16 buses times 2048
    /// identifiers, bus by bus.
    static std::vector<std::vector<CANSignal*>> canMessageVector;

    /// @{
    /// Defines the signal, in a shared segment or (`shared` false) in the object. A record that another run left is
    /// initialised again, under readers that are attached to it. If the segment cannot be had, that is reported and
    /// the signal works on a record inside the object.
    CANSignal(canSignal_t const& definition, bool shared);
    CANSignal(unsigned char bus, unsigned short id, char const* name, char const* unit, canValue_t type,
              unsigned char startbit, unsigned char bits, double scale, double offset, bool endian, bool shared);
    /// @}

    /// Opens a signal that another process defines, now or later. It has no frame and is never fed here.
    explicit CANSignal(char const* name);

    /// Detaches; the process that defined the signal removes the segment.
    ~CANSignal() override;

    /// Creates key file, segment and mutex and makes the segment the record in use. Part of defining a signal.
    bool createSharedMemory();

    /// Attaches if that is still to be done. True if the signal is usable.
    bool smInit();

    /// Computes the bit layout from the record in use.
    void cInit();

    /// @{
    /// Open and close each access to a shared record. If the last owner of the lock died, the record is put in order: a
    /// write that it had begun is completed or has left no trace.
    void lock();
    void unlock();
    /// @}

    /// The raw value in a payload; of a signed signal sign-extended to 64 bits.
    unsigned long long decode(unsigned long long payload) const;

    /// A payload made of a raw value.
    /// Deliberate: not the inverse of `decode`. A little-endian signal that starts in byte n goes to byte 7 - n and
    /// those before it; a big-endian one gets the upper bytes of the shifted 64-bit number, in reverse order, and of
    /// few layouts is anything there.
    unsigned long long encode(unsigned long long raw) const;

    /// How the raw value is understood.
    /// Deliberate: unsigned, whatever the type of the value.
    signalValue_t getType() const override;

    /// @{
    /// Both return false if no write has changed the value yet or the segment is not there, which leaves their
    /// arguments alone. Deliberate: if there is only no value, the raw form shows what the record holds, and the
    /// physical form 0.
    bool read(double& phys, unsigned long long& timestamp) override;
    bool read(unsigned long long& value, unsigned long long& timestamp) override;
    /// @}

    /// Stores the signal's bits of a payload, and the timestamp, if they differ from those in the record.
    /// Deliberate: the timestamp is that of the last change. False only while the segment is not there.
    bool write(unsigned long long payload, unsigned long long timestamp) override;

    /// The same with the payload that `encode` makes of a physical value's raw value: rounded half up if it is an
    /// integer, up to 2^64 - 1; negative integers are two's complement if the type is signed, otherwise 0. Tries to
    /// attach first, without a warning, since the record tells how to encode.
    bool write(double const& phys, unsigned long long timestamp);

    /// Writes a payload into all signals of a frame; of bus and identifier the low 4 and 11 bits count. A signal's
    /// `write` must not build or destroy signals.
    static void decodeMessage(unsigned char bus, unsigned short id, unsigned long long payload,
                              unsigned long long timestamp);

    /// Writes the description.
    /// Deliberate: to standard output, whatever the stream.
    void print(std::ostream& out) const override;

    /// Deliberate: does nothing; the value stays.
    void clear() override;

protected:
    /// The same as `lock`, unless the lock is held already; then it returns false.
    bool tryLock();

private:
    CANSignal(char const* name, bool owner, bool shared);

    qzsignal::ByteOrder byteOrder() const { return qzsignal::byteOrder(d_data->endian != 0); }
    [[gnu::cold]] void traceAccess(char const* access) const;
};
