// Signals that are in the same bits at the same time.
#include "tools/check/DefinitionChecks.h"
#include "tools/check/SignalBits.h"
#include "tools/definitions/ProblemText.h"

#include <algorithm>
#include <numeric>
#include <tuple>

namespace qztool {

namespace {

bool shareBits(SignalBits const& a, SignalBits const& b) {
    unsigned const end = std::min(a.firstByte + a.bytes, b.firstByte + b.bytes);
    for (unsigned byte = std::max(a.firstByte, b.firstByte); byte < end; ++byte)
        if ((a.masks[byte - a.firstByte] & b.masks[byte - b.firstByte]) != 0)
            return true;
    return false;
}

bool areDisjoint(std::vector<SelectorRange> const& a, std::vector<SelectorRange> const& b) {
    return std::none_of(a.begin(), a.end(), [&b](SelectorRange const& one) {
        return std::any_of(b.begin(), b.end(), [&one](SelectorRange const& other) {
            return one.first <= other.last && other.first <= one.last;
        });
    });
}

// A multiplexor above both, at any height, has no value with which both are present.
bool areSeparated(std::vector<SignalDefinition> const& signals, SignalDefinition const& a, SignalDefinition const& b) {
    for (SignalDefinition const* i = &a; i->multiplexor; i = &signals[*i->multiplexor])
        for (SignalDefinition const* j = &b; j->multiplexor; j = &signals[*j->multiplexor])
            if (*i->multiplexor == *j->multiplexor && areDisjoint(i->selectedBy, j->selectedBy))
                return true;
    return false;
}

constexpr std::size_t mostListed = 4;

// Signals of a message that share bits. A signal over many others, such as one for a group of them, is one finding
// that lists those.
class Overlaps {
public:
    Overlaps(DefinitionSet::File const& file, std::size_t message)
        : d_file(file), d_message(message), d_signals(file.database.messages[message].signals) {
        for (SignalDefinition const& signal : d_signals)
            d_bits.push_back(bitsOf(signal));
        countOverlaps();
        rank();
    }

    // Each pair belongs to the signal that shares bits with more others; of two with as many, to the later one.
    void addTo(std::vector<Finding>& findings) const {
        std::vector<Finding> found;
        for (std::size_t i = 0; i < d_order.size() && d_counts[d_order[i]] != 0; ++i)
            add(i, found);
        std::stable_sort(found.begin(), found.end(),
                         [](Finding const& a, Finding const& b) { return a.line < b.line; });
        findings.insert(findings.end(), found.begin(), found.end());
    }

private:
    bool overlap(std::size_t a, std::size_t b) const {
        return shareBits(d_bits[a], d_bits[b]) && !areSeparated(d_signals, d_signals[a], d_signals[b]);
    }

    void countOverlaps() {
        d_counts.resize(d_signals.size());
        for (std::size_t i = 0; i < d_signals.size(); ++i)
            for (std::size_t j = 0; j < i; ++j)
                if (overlap(i, j)) {
                    ++d_counts[i];
                    ++d_counts[j];
                }
    }

    void rank() {
        d_order.resize(d_signals.size());
        std::iota(d_order.begin(), d_order.end(), 0U);
        std::sort(d_order.begin(), d_order.end(), [this](std::size_t a, std::size_t b) {
            return std::make_tuple(d_counts[b], d_signals[b].line, b) <
                   std::make_tuple(d_counts[a], d_signals[a].line, a);
        });
    }

    void add(std::size_t rank, std::vector<Finding>& findings) const {
        std::size_t const index = d_order[rank];
        std::vector<std::size_t> others;
        for (std::size_t i = rank + 1; i < d_order.size() && d_counts[d_order[i]] != 0; ++i)
            if (overlap(index, d_order[i]))
                others.push_back(d_order[i]);
        if (others.empty())
            return;
        std::sort(others.begin(), others.end());
        std::string list;
        for (std::size_t i = 0; i < std::min(others.size(), mostListed); ++i)
            list += (i == 0 ? "" : ", ") + quote(d_signals[others[i]].name) + " (line " +
                    std::to_string(d_signals[others[i]].line) + ")";
        if (others.size() > mostListed)
            list += " and " + std::to_string(others.size() - mostListed) + " more";
        findings.push_back(findingOf(CheckKind::Overlap, d_file, d_message, index,
                                     quote(nameOf(d_file, d_message, index)) + " shares bits with " + list));
        findings.back().count = others.size();
    }

    DefinitionSet::File const& d_file;
    std::size_t d_message;
    std::vector<SignalDefinition> const& d_signals;
    std::vector<SignalBits> d_bits;
    std::vector<std::size_t> d_counts; // of others that share bits with each signal
    std::vector<std::size_t> d_order;  // those with the most first
};

} // namespace

void checkOverlaps(DefinitionSet::File const& file, std::vector<Finding>& findings) {
    for (std::size_t i = 0; i < file.database.messages.size(); ++i)
        Overlaps(file, i).addTo(findings);
}

} // namespace qztool
