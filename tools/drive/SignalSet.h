// The signals that a recording feeds, built from definition files.
#pragma once

#include "tools/base/Reporter.h"
#include "tools/drive/CurrentFrame.h"
#include "tools/drive/DefinitionSet.h"
#include "tools/drive/DrivenSignal.h"
#include "tools/drive/LateSignals.h"
#include "tools/drive/SegmentPlan.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <unordered_set>
#include <vector>

namespace qztool {

// Owns the signals. Definitions and frame must outlive it.
//
// Some signals are built while the recording is read (LateSignals.h); what was picked holds for them as well.
class SignalSet : private LateSignals {
public:
    enum class Built {
        Ready,
        NoSignals, // the definition files hold none
        BadFiles,  // the same, and problems instead
        NoMatch,   // none is picked
        NotFree,   // the caller does not agree
        NoSegments // none can be shared
    };

    SignalSet(DefinitionSet& definitions, CurrentFrame& frame, Reporter& reporter);
    ~SignalSet() override;
    SignalSet(SignalSet const&) = delete;
    SignalSet& operator=(SignalSet const&) = delete;

    // Builds shared signals: those whose instance name or original spelling matches one of the patterns (as for file
    // names); no pattern: all. A pattern that matches none may be the own name of one signal. To be called once, as the
    // next. Whatever the result, its reason is reported. `isFree` is asked with their names before any is made, also
    // those that are made late; what it objects to, it reports.
    using FreeTest = std::function<bool(std::vector<std::string> const& names)>;
    Built share(std::vector<std::string> const& only, FreeTest isFree = {});
    // The same, of this process alone.
    Built build(std::vector<std::string> const& only);
    // Builds signals of this process alone: those with these instance names, as far as the files define them.
    Built buildNamed(std::unordered_set<std::string> const& names);

    // In the order of files, messages and signals, a multiplexor before those that it selects; also multiplexors
    // that were not asked for (`DrivenSignal::isWanted`). Those that are built late follow.
    std::vector<std::unique_ptr<DrivenSignal>> const& signals() const { return d_signals; }

    // The segments of these signals are to outlive the process.
    void keep(std::vector<std::string> const& names);

    std::size_t sharedCount() const { return d_sharedCount; } // signals that have a segment
    std::size_t writtenCount() const;                         // of these, the ones that were ever written

private:
    using File = DefinitionSet::File;

    // What is to become of a signal. Helper: one that was not asked for, but that selects others.
    enum class Fate : unsigned char { None, Helper, Private, Shared };
    // The signals of one message that are to be built, by their indices.
    struct Part {
        Network const& network;
        std::size_t message;   // index in the network's file
        std::uint32_t address; // under which they are filed
        std::vector<std::string> const& names;
        std::vector<Fate> fates;
    };
    using Parts = std::vector<Part>;
    using Problems = std::vector<std::vector<Problem>>; // by the numbers of files
    using Test = std::function<bool(std::string const& instance)>;

    bool isOf(Network const& network, Frame const& frame) const override;
    void onChannel(Network& network) override;
    void onSource(Network& network, std::size_t message, std::uint8_t source, bool hasPlainNames) override;

    Built begin(Fate fate, std::vector<std::string> const& only);
    Built checkDefinitions() const;
    bool resolve(std::vector<std::string>& patterns) const;
    bool matches(std::string const& pattern, std::string const& instance) const;
    Built noMatch(std::vector<std::string> const& only) const;
    bool couldMatchLate(std::vector<std::string> const& only) const;
    void buildLate(std::string const& instance);
    void buildSource(Network& network, std::size_t message, std::uint8_t source, bool hasPlainNames);

    File const& fileOf(Part const& part) const { return *d_definitions.files()[part.network.file]; }
    MessageDefinition const& messageOf(Part const& part) const { return fileOf(part).database.messages[part.message]; }
    Part partOf(Network const& network, std::size_t message, std::optional<std::uint8_t> source);
    Parts partsOf(Network const& network);
    Parts earlyParts();
    // The number of signals that are there, or are to be.
    static std::size_t countOf(Parts const& parts, Fate fate);
    void build(Parts& parts);
    void leaveOutUnshareable(Parts& parts, Problems& problems) const;
    static std::vector<std::string> sharedNames(Parts const& parts);
    bool hasSegmentsFor(std::vector<std::string> const& names);
    void claimKeys(Parts& parts, Problems& problems);
    void addMultiplexors(Part& part) const;
    void buildPart(Part const& part, std::vector<Problem>& problems);

    DefinitionSet& d_definitions;
    CurrentFrame& d_frame;
    Reporter& d_reporter;
    std::vector<std::unique_ptr<DrivenSignal>> d_signals;
    std::size_t d_sharedCount = 0;
    Fate d_fate = Fate::Private; // of what is picked
    Test d_picked = [](std::string const&) { return false; };
    bool d_picksAll = false;
    SegmentKeys d_keys;
    bool d_hasReportedShortage = false;
    FreeTest d_isFree;
    bool d_isRefused = false;                                                  // by it
    std::set<std::tuple<Network const*, std::size_t, std::uint8_t>> d_sources; // of messages, whose signals are built
};

} // namespace qztool
