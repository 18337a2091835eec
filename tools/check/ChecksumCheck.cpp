// Checksums that stay the same while the rest of the payload changes.
#include "tools/check/Limits.h"
#include "tools/check/NameHints.h"
#include "tools/check/SignalBits.h"
#include "tools/check/SignalCheck.h"
#include "tools/definitions/ProblemText.h"

namespace qztool {

namespace {

// Different payloads may have the same checksum by chance, and a sum stays the same while one part of the payload goes
// up as another goes down. So many changes in a row count, or fewer if the checksum never changes at all.
constexpr unsigned enoughInARow(unsigned bits) {
    return bits < 8 ? 24 : 8;
}
constexpr std::uint64_t enoughAtAll = 2;

class ChecksumCheck : public SignalCheck {
public:
    explicit ChecksumCheck(DrivenSignal& signal)
        : d_signal(signal), d_bits(bitsOf(signal.definition())), d_enough(enoughInARow(signal.definition().bits)) {}

    void add(SeenValue const& value) override {
        if (isNoValue(d_signal.message(), d_signal.definition(), value.raw))
            return;
        std::uint64_t const rest = restOf(value.frame);
        if (d_any && value.raw != d_raw) {
            d_hasChanged = true;
            d_row = 0;
        } else if (d_any && rest != d_rest) {
            addStanding(value.place);
        }
        d_any = true;
        d_raw = value.raw;
        d_rest = rest;
    }

    std::optional<Finding> finish() const override {
        bool const neverChanges = !d_hasChanged && d_changes >= enoughAtAll;
        if (!neverChanges && d_standing == 0)
            return std::nullopt;
        Finding finding;
        finding.count = neverChanges ? d_changes : d_standing;
        finding.first = neverChanges ? d_firstChange : d_firstStanding;
        finding.text = quote(d_signal.instance()) + (neverChanges ? " never changes" : " stays the same") +
                       ", while the rest of the payload changes " + std::to_string(finding.count) + " times";
        return finding;
    }

private:
    // The rest of the payload changed alone.
    void addStanding(FramePlace const& place) {
        if (d_changes++ == 0)
            d_firstChange = place;
        if (d_row++ == 0)
            d_rowBegin = place;
        if (d_row < d_enough)
            return;
        if (d_standing == 0)
            d_firstStanding = d_rowBegin;
        d_standing += d_row == d_enough ? d_enough : 1;
    }

    // A number that stands for the payload without the checksum (FNV-1a).
    std::uint64_t restOf(CurrentFrame const& frame) const {
        std::uint64_t hash = 0xCBF29CE484222325U;
        for (unsigned i = 0; i < frame.length; ++i) {
            unsigned const own =
                i >= d_bits.firstByte && i < d_bits.firstByte + d_bits.bytes ? d_bits.masks[i - d_bits.firstByte] : 0U;
            hash = (hash ^ (frame.bytes[i] & ~own)) * 0x100000001B3U;
        }
        return hash;
    }

    DrivenSignal& d_signal;
    SignalBits d_bits;
    unsigned d_enough;
    bool d_any = false;
    std::uint64_t d_raw = 0;  // of the frame before
    std::uint64_t d_rest = 0; // the same
    bool d_hasChanged = false;
    std::uint64_t d_changes = 0; // of the rest alone
    FramePlace d_firstChange;
    unsigned d_row = 0; // so many of these since the checksum changed
    FramePlace d_rowBegin;
    std::uint64_t d_standing = 0; // in rows that are long enough
    FramePlace d_firstStanding;
};

} // namespace

std::unique_ptr<SignalCheck> makeChecksumCheck(DrivenSignal& signal) {
    constexpr unsigned fewestBits = 4; // fewer say whether a checksum was right
    SignalDefinition const& definition = signal.definition();
    return definition.bits >= fewestBits && isNamedChecksum(definition.name) ? std::make_unique<ChecksumCheck>(signal)
                                                                             : nullptr;
}

} // namespace qztool
