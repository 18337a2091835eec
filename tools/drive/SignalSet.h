// The signals that a recording feeds, built from definition files.
#pragma once

#include "tools/base/Reporter.h"
#include "tools/drive/CurrentFrame.h"
#include "tools/drive/DefinitionSet.h"
#include "tools/drive/DrivenSignal.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

namespace qztool {

// Owns the signals. Definitions and frame must outlive it.
class SignalSet {
public:
    enum class Built {
        Ready,
        NoSignals, // the definition files hold none
        BadFiles,  // the same, and problems instead
        NoMatch,   // none is picked
        NoSegments // none can be shared
    };

    SignalSet(DefinitionSet const& definitions, CurrentFrame& frame, Reporter& reporter)
        : d_definitions(definitions), d_frame(frame), d_reporter(reporter) {}

    // Builds shared signals: those whose instance name or original spelling matches one of the patterns (as for file
    // names); no pattern: all. To be called once, as the next. Whatever the result, its reason is reported.
    Built share(std::vector<std::string> const& only);
    // The same, of this process alone.
    Built build(std::vector<std::string> const& only);
    // Builds signals of this process alone: those with these instance names, as far as the files define them.
    Built buildNamed(std::unordered_set<std::string> const& names);

    // In the order of files, messages and signals, a multiplexor before those that it selects; also multiplexors
    // that nobody asked for (`DrivenSignal::isWanted`).
    std::vector<std::unique_ptr<DrivenSignal>> const& signals() const { return d_signals; }

    // The segments are to outlive the process.
    void keep();

    std::size_t sharedCount() const { return d_sharedCount; } // signals that have a segment
    std::size_t writtenCount() const;                         // of these, the ones that were ever written

private:
    using File = DefinitionSet::File;

    // What is to become of the signals of one file, by the indices of message and signal. Helper: one that nobody asked
    // for, but that selects others.
    enum class Fate : unsigned char { None, Helper, Private, Shared };
    using Plan = std::vector<std::vector<Fate>>;

    Built checkDefinitions() const;
    using Test = std::function<bool(std::string const& instance)>;
    Test matching(std::vector<std::string> const& only) const;
    Built noMatch(std::vector<std::string> const& only) const;
    Plan pick(File const& file, Test const& picked, Fate fate) const;
    std::size_t buildPrivate(Test const& picked);
    void addMultiplexors(File const& file, Plan& plan) const;
    std::vector<Problem> leaveOutUnshareable(File const& file, Plan& plan) const;
    void buildFile(File const& file, Plan const& plan, std::vector<Problem>& problems);
    void buildMessage(File const& file, std::size_t index, std::vector<Fate> const& fates,
                      std::vector<Problem>& problems);

    DefinitionSet const& d_definitions;
    CurrentFrame& d_frame;
    Reporter& d_reporter;
    std::vector<std::unique_ptr<DrivenSignal>> d_signals;
    std::size_t d_sharedCount = 0;
};

} // namespace qztool
