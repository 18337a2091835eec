// Collecting values.
#include "tools/plot/PlottedDrive.h"

#include "tools/drive/DrivenSignal.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace qztool {

namespace {

// As an integer with sign, which is how a value table of a signed signal counts.
std::int64_t signedRaw(DrivenSignal const& signal) {
    std::uint64_t const raw = signal.raw();
    unsigned const bits = signal.definition().bits;
    if (signal.definition().kind != NumberKind::Signed || bits >= 64 || (raw >> (bits - 1) & 1) == 0)
        return static_cast<std::int64_t>(raw);
    return static_cast<std::int64_t>(raw | ~std::uint64_t{0} << bits);
}

// Recorded time may step back, as at the seam of two recordings.
void sortByTime(PlottedSignal& signal) {
    if (std::is_sorted(signal.times.begin(), signal.times.end()))
        return;
    std::vector<std::size_t> order(signal.times.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&signal](std::size_t a, std::size_t b) { return signal.times[a] < signal.times[b]; });
    PlottedSignal sorted = signal;
    for (std::size_t i = 0; i < order.size(); ++i) {
        sorted.times[i] = signal.times[order[i]];
        sorted.values[i] = signal.values[order[i]];
    }
    signal = std::move(sorted);
}

} // namespace

std::uint64_t PlottedDrive::firstTime() const {
    std::uint64_t first = std::numeric_limits<std::uint64_t>::max();
    for (PlottedSignal const& signal : signals)
        first = signal.times.empty() ? first : std::min(first, signal.times.front());
    return first == std::numeric_limits<std::uint64_t>::max() ? 0 : first;
}

std::uint64_t PlottedDrive::lastTime() const {
    std::uint64_t last = 0;
    for (PlottedSignal const& signal : signals)
        last = signal.times.empty() ? last : std::max(last, signal.times.back());
    return last;
}

PlotRecorder::PlotRecorder(SignalSet const& signals, std::vector<std::string> const& names, CurrentFrame const& frame)
    : d_frame(frame), d_signals(names.size()) {
    std::unordered_map<std::string, std::size_t> places;
    for (std::string const& name : names)
        places.emplace(name, places.size());
    for (auto const& signal : signals.signals()) {
        auto const place = places.find(signal->instance());
        if (place == places.end())
            continue;
        d_places.emplace(signal.get(), place->second);
        d_signals[place->second].name = signal->instance();
        d_signals[place->second].unit = signal->definition().unit;
    }
}

void PlotRecorder::onMessage(Frame const& frame, std::uint64_t message) {
    static_cast<void>(message);
    for (DrivenSignal* const signal : d_frame.carried) {
        auto const place = d_places.find(signal);
        if (place == d_places.end())
            continue; // a condition needs it
        PlottedSignal& plotted = d_signals[place->second];
        double const value = signal->physical();
        plotted.times.push_back(frame.timestamp);
        plotted.values.push_back(value);
        if (!signal->definition().values.empty())
            addWord(*signal, value, plotted);
    }
}

void PlotRecorder::addWord(DrivenSignal const& signal, double value, PlottedSignal& plotted) const {
    auto const isKnown = [value](auto const& word) { return word.first == value; };
    if (std::any_of(plotted.words.begin(), plotted.words.end(), isKnown))
        return;
    std::int64_t const raw = signedRaw(signal);
    auto const& words = signal.definition().values;
    auto const word =
        std::find_if(words.begin(), words.end(), [raw](ValueText const& each) { return each.value == raw; });
    if (word != words.end())
        plotted.words.emplace_back(value, word->text);
}

std::vector<PlottedSignal> PlotRecorder::take() {
    for (PlottedSignal& signal : d_signals)
        sortByTime(signal);
    std::vector<PlottedSignal> signals = std::move(d_signals);
    d_signals.clear();
    d_places.clear();
    return signals;
}

} // namespace qztool
