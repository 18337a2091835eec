// Signals whose value never changes.
#include "tools/base/Numbers.h"
#include "tools/check/SignalCheck.h"
#include "tools/definitions/ProblemText.h"

namespace qztool {

namespace {

class ConstantCheck : public SignalCheck {
public:
    explicit ConstantCheck(DrivenSignal& signal) : d_signal(signal) {}

    void add(SeenValue const& value) override {
        if (d_count++ == 0) {
            d_raw = value.raw;
            d_first = value.place;
        }
        d_hasChanged = d_hasChanged || value.raw != d_raw;
    }

    std::optional<Finding> finish() const override {
        if (d_count < 2 || d_hasChanged)
            return std::nullopt;
        Finding finding;
        finding.text = quote(d_signal.instance()) + " is always " + numberText(d_signal.physical());
        finding.count = d_count;
        finding.first = d_first;
        return finding;
    }

private:
    DrivenSignal& d_signal;
    std::uint64_t d_raw = 0; // of the first value
    FramePlace d_first;
    std::uint64_t d_count = 0;
    bool d_hasChanged = false;
};

} // namespace

std::unique_ptr<SignalCheck> makeConstantCheck(DrivenSignal& signal) {
    return std::make_unique<ConstantCheck>(signal);
}

} // namespace qztool
