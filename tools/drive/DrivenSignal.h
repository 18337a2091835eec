// A signal as a recording feeds it, whatever its bus: only by frames that really carry it.
#pragma once

#include "tools/definitions/Database.h"
#include "tools/drive/CurrentFrame.h"

#include <cstdint>
#include <vector>

namespace qztool {

// What the signals of all buses have beside their class of the library, whose `write` they override: they write only if
// `carried` says so.
class DrivenSignal {
public:
    // `lastByte` is the last payload byte of the signal. The frame must outlive it.
    DrivenSignal(unsigned lastByte, CurrentFrame& frame) : d_frame(frame), d_lastByte(lastByte) {}
    virtual ~DrivenSignal() = default;

    // From now on, only frames in which `multiplexor` has one of these raw values carry the signal. The multiplexor
    // must have been built before it, so that it is fed before it.
    void selectBy(DrivenSignal const& multiplexor, std::vector<SelectorRange> ranges);

    bool everWritten() const { return d_lastFrame != 0; }
    virtual bool hasSegment() const = 0;
    // The segment is to outlive the process.
    virtual void keepSegment() = 0;

protected:
    // True if the current frame carries the signal, which then is to be written. Counts both cases.
    bool carried();
    // The raw value without sign: what selects is a bit pattern.
    virtual std::uint64_t selector() const = 0;

    CurrentFrame& d_frame;

private:
    bool selected() const;

    unsigned d_lastByte;
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

protected:
    template <typename Definition>
    DrivenAs(Definition const& definition, bool shared, unsigned lastByte, CurrentFrame& frame)
        : Signal(definition, shared), DrivenSignal(lastByte, frame) {}

    std::uint64_t selector() const override { return this->d_data->value & this->d_maksBits; }
};

} // namespace qztool
