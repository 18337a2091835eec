// The values of one signal as text.
#pragma once

#include "tools/drive/DrivenSignal.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qztool {

// Everything that can be prepared before the first value. The signal must outlive it.
class SignalText {
public:
    // `quoted` makes a field of a word.
    SignalText(DrivenSignal& signal, std::string (*quoted)(std::string const&));

    // The signal's own bits in the frame that was written last, as all functions below take them.
    std::uint64_t bits() const { return d_signal->raw(); }
    double physical() const { return d_signal->physical(); }
    // The bits as the integer that they are: negative for signed signals, the pattern of floating-point ones.
    char* writeRaw(char* to, std::uint64_t bits) const;
    // The quoted word of the value table; empty if there is none.
    std::string_view word(std::uint64_t bits) const;

    DrivenSignal& signal() const { return *d_signal; }
    std::size_t longestWord() const { return d_longestWord; }

private:
    struct Word {
        std::uint64_t bits;
        std::string text;
    };

    DrivenSignal* d_signal;
    std::uint64_t d_mask;
    std::uint64_t d_sign;      // highest bit of a signed signal; 0 of others
    std::vector<Word> d_words; // sorted
    std::size_t d_longestWord = 0;
};

} // namespace qztool
