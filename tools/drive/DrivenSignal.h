// A signal as a recording feeds it, whatever its bus: only by frames that really carry it.
#pragma once

#include "tools/definitions/Database.h"
#include "tools/drive/CurrentFrame.h"
#include "tools/drive/SignalOrder.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qztool {

// What the signals of all buses have beside their class of the library, whose `write` they override: they write only if
// `carried` says so.
class DrivenSignal {
public:
    // The frame must outlive it.
    DrivenSignal(SignalOrder const& order, CurrentFrame& frame);
    virtual ~DrivenSignal() = default;

    MessageDefinition const& message() const { return d_order.message; }
    SignalDefinition const& definition() const { return d_order.signal; }
    std::string const& instance() const { return d_order.instance; }
    bool isWanted() const { return d_order.wanted; }
    // Counts the signals that share the frame, from 0 in order of construction, so that others can keep what they know
    // of signals in a table.
    std::size_t number() const { return d_number; }

    // From now on, only frames in which `multiplexor` has one of these raw values carry the signal. The multiplexor
    // must have been built before it, so that it is fed before it.
    void selectBy(DrivenSignal const& multiplexor, std::vector<SelectorRange> ranges);

    bool everWritten() const { return d_lastFrame != 0; }
    // The signal's own bits, as in the frame that was written last; 0 if none was.
    virtual std::uint64_t raw() const = 0;
    // The physical value of these.
    virtual double physical() = 0;
    virtual bool hasSegment() const = 0;
    // The segment is to outlive the process.
    virtual void keepSegment() = 0;

protected:
    // True if the current frame carries the signal, which then is to be written. Counts both cases, and notes a signal
    // that is wanted in the frame.
    bool carried();
    CurrentFrame& d_frame;

private:
    bool selected() const;

    SignalOrder d_order;
    std::size_t d_number;
    unsigned d_lastByte;           // of the payload
    std::uint64_t d_lastFrame = 0; // the frame that was written last
    DrivenSignal const* d_multiplexor = nullptr;
    std::vector<SelectorRange> d_selectedBy;
};

// A signal of one of the library's classes: access to its segment and selector. What it writes, and when, is left
// to the class for the bus.
template <typename Signal>
class DrivenAs : public Signal, public DrivenSignal {
public:
    using Signal::write;

    bool hasSegment() const override { return this->d_shmId >= 0; }
    void keepSegment() override { this->d_owner = false; }
    std::uint64_t raw() const override { return this->d_data->value & this->d_maksBits; }
    double physical() override {
        double value = 0.0;
        unsigned long long timestamp = 0;
        this->read(value, timestamp);
        return value;
    }

protected:
    template <typename Definition>
    DrivenAs(Definition const& definition, SignalOrder const& order, CurrentFrame& frame)
        : Signal(definition, order.shared), DrivenSignal(order, frame) {}
};

} // namespace qztool
