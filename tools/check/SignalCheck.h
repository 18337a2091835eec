// A check over the values of one signal in a recording.
#pragma once

#include "tools/check/Finding.h"
#include "tools/drive/CurrentFrame.h"
#include "tools/drive/DrivenSignal.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace qztool {

// A value as a frame had it.
struct SeenValue {
    std::uint64_t raw = 0;
    FramePlace place;
    CurrentFrame const& frame;
};

// Takes memory that does not depend on the recording's length.
class SignalCheck {
public:
    virtual ~SignalCheck() = default;

    virtual void add(SeenValue const& value) = 0;
    // What was found, once the recording has ended: text, count and first place alone are filled in.
    virtual std::optional<Finding> finish() const = 0;
};

// The check of each kind; null if there is nothing to check about a signal. The signal must outlive it.
std::unique_ptr<SignalCheck> makeRangeCheck(DrivenSignal& signal);
std::unique_ptr<SignalCheck> makeConstantCheck(DrivenSignal& signal);
std::unique_ptr<SignalCheck> makeCounterCheck(DrivenSignal& signal);
std::unique_ptr<SignalCheck> makeChecksumCheck(DrivenSignal& signal);

} // namespace qztool
