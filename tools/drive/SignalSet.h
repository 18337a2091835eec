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
        NotFree,   // the caller does not agree
        NoSegments // none can be shared
    };

    SignalSet(DefinitionSet const& definitions, CurrentFrame& frame, Reporter& reporter)
        : d_definitions(definitions), d_frame(frame), d_reporter(reporter) {}

    // Builds shared signals: those whose instance name or original spelling matches one of the patterns (as for file
    // names); no pattern: all. To be called once, as the next. Whatever the result, its reason is reported.
    // `isFree` is asked with their names before anything is made; what it objects to, it reports.
    Built share(std::vector<std::string> const& only,
                std::function<bool(std::vector<std::string> const& names)> const& isFree = {});
    // Builds signals of this process alone: those with these instance names, as far as the files define them.
    Built build(std::unordered_set<std::string> const& names);

    // The segments of these signals are to outlive the process.
    void keep(std::vector<std::string> const& names);

    std::size_t sharedCount() const { return d_sharedCount; } // signals that have a segment
    std::size_t writtenCount() const;                         // of these, the ones that were ever written

private:
    using File = DefinitionSet::File;

    // What is to become of the signals of one file, by the indices of message and signal.
    enum class Fate : unsigned char { None, Private, Shared };
    using Plan = std::vector<std::vector<Fate>>;

    Built checkDefinitions() const;
    Plan pick(File const& file, std::function<bool(std::string const&)> const& picked) const;
    void addMultiplexors(File const& file, Plan& plan) const;
    std::vector<Problem> leaveOutUnshareable(File const& file, Plan& plan) const;
    void buildFile(File const& file, Plan const& plan, std::vector<Problem>& problems);
    void buildMessage(File const& file, std::size_t index, std::vector<Fate> const& fates,
                      std::vector<Problem>& problems);

    DefinitionSet const& d_definitions;
    CurrentFrame& d_frame;
    Reporter& d_reporter;
    std::vector<std::unique_ptr<DrivenSignal>> d_signals; // a multiplexor before those that it selects
    std::size_t d_sharedCount = 0;
};

} // namespace qztool
