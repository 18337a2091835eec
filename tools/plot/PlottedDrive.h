// The values of a recording that are to be drawn, in columns.
#pragma once

#include "tools/drive/CurrentFrame.h"
#include "tools/drive/Drive.h"
#include "tools/drive/SignalSet.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qztool {

// One signal. Times ascend; two values may have the same.
struct PlottedSignal {
    std::string name;
    std::string unit;
    std::vector<std::uint64_t> times;                  // microseconds
    std::vector<double> values;                        // physical, one for each time
    std::vector<std::pair<double, std::string>> words; // that occur, with the value that reads so
};

// A condition, and the stretches of time in which it held.
struct PlottedMark {
    std::string expression;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> spans; // microseconds
};

struct PlottedDrive {
    std::string title;
    std::vector<PlottedSignal> signals;
    std::vector<PlottedMark> marks;

    // Of all values, in microseconds; 0 without any.
    std::uint64_t firstTime() const;
    std::uint64_t lastTime() const;
};

// From a beginning that is not later, in seconds.
inline double secondsSince(std::uint64_t beginning, std::uint64_t time) {
    constexpr double microsecondsPerSecond = 1e6;
    return static_cast<double>(time - beginning) / microsecondsPerSecond;
}

// Takes each value that a drive writes to certain signals. Sixteen bytes a value are kept. Signals and frame must
// outlive it.
class PlotRecorder : public DriveListener {
public:
    // `names` are instance names, each once.
    PlotRecorder(SignalSet const& signals, std::vector<std::string> const& names, CurrentFrame const& frame);

    void onMessage(Frame const& frame, std::uint64_t message) override;

    // Once the drive has ended: all signals, in the order of their names, also those that got no value. The recorder
    // has none any more.
    std::vector<PlottedSignal> take();

private:
    void addWord(DrivenSignal const& signal, double value, PlottedSignal& plotted) const;

    CurrentFrame const& d_frame;
    std::vector<PlottedSignal> d_signals;
    std::unordered_map<DrivenSignal const*, std::size_t> d_places; // of signals in d_signals
};

} // namespace qztool
