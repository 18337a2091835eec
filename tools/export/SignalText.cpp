// Signs and words.
#include "tools/export/SignalText.h"

#include "tools/base/NumberText.h"

#include <algorithm>

namespace qztool {

SignalText::SignalText(DrivenSignal& signal, std::string (*quoted)(std::string const&))
    : d_signal(&signal),
      d_mask(~std::uint64_t{0} >> (64 - signal.definition().bits)),
      d_sign(signal.definition().kind == NumberKind::Signed ? d_mask ^ d_mask >> 1 : 0) {
    for (ValueText const& each : signal.definition().values) {
        auto const value = static_cast<std::uint64_t>(each.value);
        std::uint64_t const bits = value & d_mask;
        bool const fits = ((bits ^ d_sign) - d_sign) == value; // otherwise no raw value has the word
        if (!fits || each.text.empty())
            continue;
        d_words.push_back({bits, quoted(each.text)});
        d_longestWord = std::max(d_longestWord, d_words.back().text.size());
    }
    // Of several words for a value, the last one counts.
    std::reverse(d_words.begin(), d_words.end());
    std::stable_sort(d_words.begin(), d_words.end(), [](Word const& a, Word const& b) { return a.bits < b.bits; });
}

char* SignalText::writeRaw(char* to, std::uint64_t bits) const {
    std::uint64_t const value = (bits ^ d_sign) - d_sign; // repeats the sign in all bits above it
    return d_sign != 0 ? writeSigned(to, static_cast<std::int64_t>(value)) : writeUnsigned(to, value);
}

std::string_view SignalText::word(std::uint64_t bits) const {
    auto const found = std::lower_bound(d_words.begin(), d_words.end(), bits,
                                        [](Word const& word, std::uint64_t value) { return word.bits < value; });
    return found != d_words.end() && found->bits == bits ? std::string_view(found->text) : std::string_view();
}

} // namespace qztool
