// The kinds of findings of a check.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qztool {

enum class CheckKind : std::uint8_t {
    Overlap,
    Outside,
    DeadSelector,
    Duplicate,
    Range,
    Word,
    Cycle,
    Undefined,
    Length,
    Unseen,
    OutOfRange,
    Gap,
    Period,
    Constant,
    Counter,
    Checksum
};

struct CheckKindRow {
    CheckKind kind;
    char const* name;    // as users write it
    bool isNote;         // worth knowing, but nothing is wrong
    bool ofRecording;    // found by comparing definitions with a recording
    char const* summary; // what is wrong, in a few words
};

// In the order in which findings are listed, which is that of the enumeration.
constexpr std::array<CheckKindRow, 16> checkKinds = {{
    {CheckKind::Overlap, "overlap", false, false, "signals share bits, and no multiplexor separates them"},
    {CheckKind::Outside, "outside", false, false, "bits outside the frame"},
    {CheckKind::DeadSelector, "dead-selector", false, false, "selected by what no multiplexor ever has"},
    {CheckKind::Duplicate, "duplicate", false, false, "a name or an identifier is there twice"},
    {CheckKind::Range, "range", false, false, "the bits cannot reach the stated range"},
    {CheckKind::Word, "word", false, false, "words for raw values that the bits cannot hold"},
    {CheckKind::Cycle, "cycle", false, false, "impossible cycle times"},
    {CheckKind::Undefined, "undefined", false, true, "identifiers that no definition has"},
    {CheckKind::Length, "length", false, true, "frames of another length than stated"},
    {CheckKind::Unseen, "unseen", true, true, "messages and signals that the recording does not have"},
    {CheckKind::OutOfRange, "out-of-range", false, true, "values outside the stated range"},
    {CheckKind::Gap, "gap", false, true, "silences of more than ten periods"},
    {CheckKind::Period, "period", false, true, "periods that differ from the stated one by more than a fifth"},
    {CheckKind::Constant, "constant", true, true, "signals that never change"},
    {CheckKind::Counter, "counter", false, true, "counters that skip values"},
    {CheckKind::Checksum, "checksum", false, true, "checksums that stay the same while the payload changes"},
}};

constexpr CheckKindRow const& rowOf(CheckKind kind) {
    return checkKinds[static_cast<std::size_t>(kind)];
}

// The kind of this name; null if there is none.
constexpr CheckKindRow const* checkKindOf(std::string_view name) {
    for (CheckKindRow const& row : checkKinds)
        if (name == row.name)
            return &row;
    return nullptr;
}

} // namespace qztool
