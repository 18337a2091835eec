// A shared record for those that only look at it: it is found by name without a warning, read and let go.
#pragma once

#include "qzsignal/signal/SignalDefinition.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>

namespace qzsignal {

// The kinds of records that a shared signal can have.
enum class RecordKind { Shm, Can }; // of a ShmSignal and all that derive from it; of a CANSignal

// What a record holds.
struct RecordContent {
    struct Value {
        double physical = 0;
        std::uint64_t raw = 0; // decoded; of a signed signal sign-extended
        std::uint64_t timestamp = 0;
    };

    std::string signal; // the name in the record
    std::string unit;
    signalValue_t type = signalUnsigned;
    std::optional<Value> value; // nothing: never written, or cleared
};

// Attached to the record of a name for as long as the object lives. It is no signal: it leaves the registry alone, and
// changes nothing in the record, unless the last owner of its lock died; then it puts the record in order as a signal
// does, with the same report. One thread uses the object.
class RecordView {
public:
    // Attaches to the record, if there is one that is initialised and can be locked. A record that this user may not
    // write is looked at without its lock.
    explicit RecordView(std::string const& instance);
    // The same of a segment that the caller has found under the name, which saves looking it up.
    RecordView(std::string const& instance, int shmId, std::size_t bytes);
    ~RecordView();
    RecordView(RecordView const&) = delete;
    RecordView& operator=(RecordView const&) = delete;

    // Nothing: there is no such record.
    std::optional<RecordKind> kind() const { return d_kind; }

    // Reads under the lock. Nothing if another process still holds the lock after `patience`. There is a record.
    std::optional<RecordContent> read(std::chrono::milliseconds patience) const;

    // Looks without the lock: what the record holds, or is about to hold, at one moment. There is a record.
    RecordContent look() const;

private:
    template <typename Record>
    Record& record() const {
        return *static_cast<Record*>(d_record);
    }
    template <typename Record>
    bool find();
    template <typename Record>
    bool attach(int shmId, std::size_t bytes);
    // Calls `use` with the record, as what it is.
    template <typename Use>
    auto visit(Use use) const;

    std::string d_instance;
    void* d_record = nullptr;
    std::optional<RecordKind> d_kind;
    bool d_isReadOnly = false;
};

} // namespace qzsignal
