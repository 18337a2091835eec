// Values outside the range that the definition states.
#include "tools/base/Numbers.h"
#include "tools/check/Limits.h"
#include "tools/check/SignalCheck.h"
#include "tools/definitions/ProblemText.h"

#include <algorithm>

namespace qztool {

namespace {

class RangeCheck : public SignalCheck {
public:
    explicit RangeCheck(DrivenSignal& signal) : d_signal(signal) {}

    void add(SeenValue const& value) override {
        if (!d_any || value.raw != d_raw)
            judge(value.raw);
        d_any = true;
        d_raw = value.raw;
        if (!d_isOutside)
            return;
        if (d_count++ == 0) {
            d_first = value.place;
            d_lowest = d_highest = d_value;
        }
        d_lowest = std::min(d_lowest, d_value);
        d_highest = std::max(d_highest, d_value);
    }

    std::optional<Finding> finish() const override {
        if (d_count == 0)
            return std::nullopt;
        SignalDefinition const& signal = d_signal.definition();
        Finding finding;
        finding.text =
            quote(d_signal.instance()) + ": " + std::to_string(d_count) + (d_count == 1 ? " value" : " values") +
            " outside [" + numberText(signal.minimum) + "|" + numberText(signal.maximum) + "], " +
            (d_lowest == d_highest || d_count == 1 ? numberText(d_highest)
                                                   : "from " + numberText(d_lowest) + " to " + numberText(d_highest));
        finding.count = d_count;
        finding.first = d_first;
        return finding;
    }

private:
    // A value with a word of its own is meant to be one.
    void judge(std::uint64_t raw) {
        SignalDefinition const& signal = d_signal.definition();
        d_value = d_signal.physical();
        double const slack = slackOf(signal);
        d_isOutside =
            !(d_value >= signal.minimum - slack && d_value <= signal.maximum + slack) &&
            !isNoValue(d_signal.message(), signal, raw) &&
            std::none_of(signal.values.begin(), signal.values.end(),
                         [pattern = tableValue(signal, raw)](ValueText const& word) { return word.value == pattern; });
    }

    DrivenSignal& d_signal;
    bool d_any = false;
    std::uint64_t d_raw = 0; // of the value before
    double d_value = 0.0;    // the same, physical
    bool d_isOutside = false;
    std::uint64_t d_count = 0;
    FramePlace d_first;
    double d_lowest = 0.0;
    double d_highest = 0.0;
};

} // namespace

std::unique_ptr<SignalCheck> makeRangeCheck(DrivenSignal& signal) {
    SignalDefinition const& definition = signal.definition();
    if (!statesRange(definition) || definition.minimum > definition.maximum)
        return nullptr;
    return std::make_unique<RangeCheck>(signal);
}

} // namespace qztool
