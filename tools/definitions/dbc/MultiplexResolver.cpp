// The tree of multiplexors within one message.
#include "tools/definitions/dbc/MultiplexResolver.h"

#include "tools/definitions/ProblemText.h"

#include <algorithm>
#include <limits>
#include <string>
#include <unordered_map>

namespace qztool {

namespace {

constexpr std::size_t none = std::numeric_limits<std::size_t>::max();

bool marksMultiplexor(MultiplexMark mark) {
    return mark != MultiplexMark::None && mark != MultiplexMark::Selected;
}

bool marksSelected(MultiplexMark mark) {
    return mark == MultiplexMark::Selected || mark == MultiplexMark::SelectedMultiplexor;
}

bool isPlain(SignalDraft const& signal) {
    return signal.mark == MultiplexMark::None && signal.selection == nullptr;
}

class Resolver {
public:
    Resolver(MessageDraft& message, std::vector<Problem>& problems)
        : d_message(message), d_signals(message.signals), d_problems(problems), d_parents(d_signals.size(), none) {}

    void run() {
        findRoot();
        indexNames();
        for (std::size_t i = 0; i < d_signals.size(); ++i)
            if (!d_signals[i].leftOut)
                findParent(i);
        leaveOutCircles();
        leaveOutOrphans();
        for (std::size_t i = 0; i < d_signals.size(); ++i)
            if (!d_signals[i].leftOut)
                define(i);
        sort();
    }

private:
    // The root is the multiplexor that is always present. It counts even if it was left out: then so is what it
    // selects.
    void findRoot() {
        std::size_t second = none;
        bool rootIsNeeded = false;
        for (std::size_t i = 0; i < d_signals.size(); ++i) {
            SignalDraft const& signal = d_signals[i];
            if (marksMultiplexor(signal.mark) && !marksSelected(signal.mark) && signal.selection == nullptr) {
                if (d_root == none)
                    d_root = i;
                else if (second == none)
                    second = i;
            }
            rootIsNeeded =
                rootIsNeeded || (marksSelected(signal.mark) && signal.selection == nullptr && !signal.leftOut);
        }
        if (second != none && rootIsNeeded) {
            report(d_signals[second], Severity::Warning,
                   "message " + quote(d_message.name) + " has another multiplexor " + nameAndLine(d_root) +
                       " already; signals without SG_MUL_VAL_ are taken as selected by that one");
        }
    }

    void indexNames() {
        for (std::size_t i = 0; i < d_signals.size(); ++i) {
            auto const [entry, isNew] = d_indexes.emplace(d_signals[i].name, i);
            if (!isNew && d_signals[entry->second].leftOut)
                entry->second = i;
        }
    }

    void findParent(std::size_t index) {
        SignalDraft& signal = d_signals[index];
        if (signal.selection != nullptr) {
            auto const found = d_indexes.find(signal.selection->multiplexor);
            if (found == d_indexes.end()) {
                reportSelection(signal, "message " + quote(d_message.name) + " has no signal " +
                                            quote(signal.selection->multiplexor) + " that could select it");
                return;
            }
            d_parents[index] = found->second;
        } else if (marksSelected(signal.mark)) {
            d_parents[index] = d_root;
            if (d_root == none) {
                leaveOut(signal, "marked as selected by a multiplexor, but message " + quote(d_message.name) +
                                     " has none; left out");
            }
        }
    }

    // Follows every signal's multiplexors upward; who meets a signal of the same walk again has found a circle.
    void leaveOutCircles() {
        std::vector<std::size_t> walkOf(d_signals.size(), none);
        for (std::size_t start = 0; start < d_signals.size(); ++start) {
            std::size_t i = start;
            while (i != none && walkOf[i] == none) {
                walkOf[i] = start;
                i = d_parents[i];
            }
            if (i != none && walkOf[i] == start)
                leaveOutCircle(i);
        }
    }

    void leaveOutCircle(std::size_t first) {
        std::size_t i = first;
        do {
            const std::size_t parent = d_parents[i];
            d_parents[i] = none;
            reportSelection(d_signals[i], parent == i ? "it would have to select itself"
                                                      : "its multiplexor " + nameAndLine(parent) +
                                                            " is itself selected, in a circle, by this signal");
            i = parent;
        } while (i != first);
    }

    // There are no circles any more, so every walk upward ends. Signals are judged from the top of the walk downward.
    void leaveOutOrphans() {
        std::vector<char> judged(d_signals.size(), 0);
        std::vector<std::size_t> walk;
        for (std::size_t start = 0; start < d_signals.size(); ++start) {
            for (std::size_t i = start; i != none && judged[i] == 0; i = d_parents[i]) {
                walk.push_back(i);
                judged[i] = 1;
            }
            for (; !walk.empty(); walk.pop_back()) {
                const std::size_t i = walk.back();
                const std::size_t parent = d_parents[i];
                if (!d_signals[i].leftOut && parent != none && d_signals[parent].leftOut)
                    leaveOut(d_signals[i], "its multiplexor " + nameAndLine(parent) + " is left out; left out, too");
            }
        }
    }

    void define(std::size_t index) {
        SignalDraft& signal = d_signals[index];
        signal.definition.isMultiplexor = signal.definition.isMultiplexor || marksMultiplexor(signal.mark);
        if (d_parents[index] == none)
            return;
        SignalDraft& parent = d_signals[d_parents[index]];
        parent.definition.isMultiplexor = true;
        if (signal.selection != nullptr)
            signal.definition.selectedBy = signal.selection->ranges;
        else
            signal.definition.selectedBy = {{signal.selector, signal.selector}};
        warnIfUnreachable(signal, parent);
    }

    void warnIfUnreachable(SignalDraft const& signal, SignalDraft const& multiplexor) {
        unsigned const bits = multiplexor.definition.bits;
        if (bits >= 64)
            return;
        for (SelectorRange const& range : signal.definition.selectedBy) {
            if ((range.first >> bits) != 0) {
                report(signal, Severity::Warning,
                       "selected by value " + std::to_string(range.first) + ", which multiplexor " +
                           quote(multiplexor.name) + " with " + std::to_string(bits) + (bits == 1 ? " bit" : " bits") +
                           " never has",
                       ProblemKind::DeadSelector);
                return;
            }
        }
    }

    void sort() {
        std::vector<SignalDraft> sorted;
        sorted.reserve(d_signals.size());
        std::vector<std::size_t> places(d_signals.size(), none); // in `sorted`; `none`: not there yet
        std::vector<std::size_t> walk;
        for (std::size_t start = 0; start < d_signals.size(); ++start) {
            for (std::size_t i = start; i != none && places[i] == none; i = d_parents[i])
                walk.push_back(i);
            for (; !walk.empty(); walk.pop_back()) {
                std::size_t const i = walk.back();
                places[i] = sorted.size();
                sorted.push_back(std::move(d_signals[i]));
                if (d_parents[i] != none && !sorted.back().leftOut)
                    sorted.back().definition.multiplexor = places[d_parents[i]];
            }
        }
        d_signals = std::move(sorted);
    }

    std::string nameAndLine(std::size_t index) const {
        return quote(d_signals[index].name) + " (line " + std::to_string(d_signals[index].definition.line) + ")";
    }

    void report(SignalDraft const& signal, Severity severity, std::string const& text,
                ProblemKind kind = ProblemKind::Other) {
        d_problems.push_back({signal.definition.line, severity, "SG_ " + quote(signal.name) + ": " + text, kind});
    }

    void leaveOut(SignalDraft& signal, std::string const& text) {
        signal.leftOut = true;
        report(signal, Severity::Error, text, ProblemKind::DeadSelector);
    }

    // Circles and unknown multiplexors come from SG_MUL_VAL_ alone, so that is the line to look at.
    void reportSelection(SignalDraft& signal, std::string const& text) {
        signal.leftOut = true;
        d_problems.push_back({signal.selection->reference.line, Severity::Error,
                              "SG_MUL_VAL_ " + quote(signal.name) + ": " + text + "; the signal is left out",
                              ProblemKind::DeadSelector});
    }

    MessageDraft& d_message;
    std::vector<SignalDraft>& d_signals;
    std::vector<Problem>& d_problems;
    std::vector<std::size_t> d_parents; // index of each signal's multiplexor
    std::unordered_map<std::string_view, std::size_t> d_indexes;
    std::size_t d_root = none;
};

} // namespace

void resolveMultiplexing(MessageDraft& message, std::vector<Problem>& problems) {
    if (!std::all_of(message.signals.begin(), message.signals.end(), isPlain))
        Resolver(message, problems).run();
}

} // namespace qztool
