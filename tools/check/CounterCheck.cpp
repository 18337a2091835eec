// Counters of frames that skip values.
#include "tools/check/Limits.h"
#include "tools/check/NameHints.h"
#include "tools/check/SignalCheck.h"
#include "tools/definitions/ProblemText.h"

#include <algorithm>
#include <array>

namespace qztool {

namespace {

// A counter goes up by one from frame to frame, and back from its highest value to its lowest, which are learned. One
// that does not behave so at least half of the time counts something else. A value that is there twice skips nothing:
// frames may be recorded twice.
class CounterCheck : public SignalCheck {
public:
    explicit CounterCheck(DrivenSignal& signal) : d_signal(signal) {}

    void add(SeenValue const& value) override {
        // Recorded time that steps back is the seam of two recordings.
        if (d_any && value.place.time >= d_last.time && value.raw != d_raw) {
            if (value.raw == d_raw + 1)
                ++d_steps;
            else if (value.raw < d_raw)
                addReturn(value);
            else
                addSkip(1, value.place);
        }
        d_any = true;
        d_raw = value.raw;
        d_last = value.place;
    }

    std::optional<Finding> finish() const override {
        Return const* const usual = usualReturn();
        std::uint64_t skips = d_skips;
        FramePlace first = d_firstSkip;
        for (Return const& each : d_returns)
            if (each.count != 0 && &each != usual) {
                if (skips == 0 || each.first.number < first.number)
                    first = each.first;
                skips += each.count;
            }
        std::uint64_t const steps = d_steps + (usual != nullptr ? usual->count : 0);
        if (skips == 0 || steps < skips || steps < 2)
            return std::nullopt;
        Finding finding;
        finding.text = quote(d_signal.instance()) + " skips values " + std::to_string(skips) +
                       (skips == 1 ? " time" : " times") + " in " + std::to_string(steps + skips) + " steps";
        finding.count = skips;
        finding.first = first;
        return finding;
    }

private:
    // From a value back to a lower one.
    struct Return {
        std::uint64_t from = 0;
        std::uint64_t to = 0;
        std::uint64_t count = 0;
        FramePlace first;
    };

    void addReturn(SeenValue const& value) {
        for (Return& each : d_returns) {
            if (each.count == 0)
                each = {d_raw, value.raw, 0, value.place};
            if (each.from != d_raw || each.to != value.raw)
                continue;
            ++each.count;
            return;
        }
        addSkip(1, value.place);
    }

    void addSkip(std::uint64_t count, FramePlace const& place) {
        if (d_skips == 0)
            d_firstSkip = place;
        d_skips += count;
    }

    // The most frequent one; of those that happened once, one that the bits suggest: a counter of four bits goes from
    // 15 or 14 to 0, or from 15 to 1.
    Return const* usualReturn() const {
        auto const most = std::max_element(d_returns.begin(), d_returns.end(),
                                           [](Return const& a, Return const& b) { return a.count < b.count; });
        if (most->count > 1)
            return &*most;
        std::uint64_t const highest = highestPattern(d_signal.definition().bits);
        auto const likely = std::find_if(d_returns.begin(), d_returns.end(), [highest](Return const& each) {
            return each.count != 0 && (each.to == 0 ? highest - each.from <= 1 : each.to == 1 && each.from == highest);
        });
        return likely != d_returns.end() ? &*likely : nullptr;
    }

    DrivenSignal& d_signal;
    bool d_any = false;
    std::uint64_t d_raw = 0; // of the value before
    FramePlace d_last;
    std::uint64_t d_steps = 0;
    std::uint64_t d_skips = 0;
    FramePlace d_firstSkip;
    std::array<Return, 8> d_returns{}; // what else there is, is a skip
};

} // namespace

std::unique_ptr<SignalCheck> makeCounterCheck(DrivenSignal& signal) {
    SignalDefinition const& definition = signal.definition();
    bool const mayCount = definition.bits >= 2 && !isFloating(definition) && isNamedCounter(definition.name);
    return mayCount ? std::make_unique<CounterCheck>(signal) : nullptr;
}

} // namespace qztool
