// Definition files damaged in all ways, and what must hold of each.
#pragma once

#include "tests/tools/definitions/Ranges.h"
#include "tools/definitions/Database.h"

#include <gtest/gtest.h>

#include <ctime>
#include <random>
#include <string>
#include <string_view>

namespace qztool {

using ReadDefinitions = Database (*)(std::string_view bytes);

inline void expectRanges(ReadDefinitions read, std::string const& text) {
    ASSERT_STREQ(nullptr, brokenRange(read(text), text));
}

// With up to eight changes at random places, many of them to `likely`.
inline std::string damaged(std::string const& file, std::string const& likely, std::mt19937& random) {
    std::string text = file;
    for (unsigned changes = 1 + static_cast<unsigned>(random() % 8); changes > 0; --changes) {
        std::size_t const at = random() % text.size();
        switch (random() % 4) {
        case 0:
            text[at] = static_cast<char>(random() % 255 + 1);
            break;
        case 1:
            text[at] = likely[random() % likely.size()];
            break;
        case 2:
            text.insert(at, 1, likely[random() % likely.size()]);
            break;
        default:
            text.erase(at, random() % 16);
            break;
        }
    }
    return text;
}

// Cut anywhere, with any byte left out (of long files, with one of several), and damaged at random places.
inline void expectRangesWhateverDamage(ReadDefinitions read, std::string const& file, std::string const& likely) {
    std::size_t const step = 1 + file.size() / 2000;
    for (std::size_t at = 0; at < file.size(); at += step) {
        SCOPED_TRACE(at);
        // Copies of their own, so that an access past the end is one past the allocation.
        expectRanges(read, std::string(file.data(), at));
        expectRanges(read, file.substr(0, at) + file.substr(at + 1));
    }
    std::mt19937 random(20240607);
    for (int round = 0; round < 2000; ++round) {
        SCOPED_TRACE(round);
        expectRanges(read, damaged(file, likely, random));
    }
}

// A file of 200 KB that is `pattern` again and again takes minutes if each damaged element searches ahead to
// the end of the file.
inline void expectLinearTime(ReadDefinitions read, std::string const& start, std::string const& pattern) {
    std::string text = start;
    while (text.size() < 200000)
        text += pattern;
    std::clock_t const begin = std::clock(); // of the processor: others may be busy, too
    expectRanges(read, text);
    EXPECT_LT((std::clock() - begin) / CLOCKS_PER_SEC, 4) << pattern;
}

} // namespace qztool
