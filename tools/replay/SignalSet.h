// The signals that a replay feeds: defined from definition files, one shared signal each.
#pragma once

#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/dbc/Database.h"
#include "tools/replay/Channels.h"
#include "tools/replay/ReplaySignal.h"

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace qztool {

// Reads definition files, reports what is wrong with them, and owns the signals. Instance names are "Message.Signal".
class SignalSet {
public:
    // `only` is a pattern (as for file names) that instance names must match to be shared; empty: all.
    SignalSet(Console& console, FrameInHand& frame, std::string only);
    ~SignalSet();

    // Reads a file and takes its definitions in. False if the file cannot be read.
    bool load(DefinitionFile const& file);

    // Defines the signals in shared memory. If nothing can be shared, that is reported and the exit status that it
    // gives is returned; otherwise `exitSuccess`.
    ExitStatus define();

    // The segments are to outlive the process.
    void keep();

    Channels const& channels() const { return d_channels; }
    std::size_t sharedCount() const { return d_sharedCount; } // signals that have a segment
    std::size_t writtenCount() const;                         // of these, the ones that were ever written

private:
    struct Source {
        std::string path;
        std::optional<std::uint8_t> channel;
        Database database;
    };
    struct Origin {
        Source const* source;
        std::size_t line;
    };

    void report(Source const& source, std::size_t line, Severity severity, std::string const& text);
    bool usable(Source const& source, std::string const& instance, std::size_t line);
    bool picked(std::string const& instance) const;
    bool withinSegmentLimit() const;
    void defineMessage(Source const& source, MessageDefinition const& message);
    bool ownKey(std::string const& instance, Origin const& origin);

    Console& d_console;
    FrameInHand& d_frame;
    std::string d_only;
    Channels d_channels;
    std::vector<std::unique_ptr<Source>> d_sources;
    std::unordered_map<std::string, Origin> d_origins;    // instance names and where they stand
    std::unordered_map<key_t, std::string> d_keys;        // instance name of each segment's key
    std::vector<std::unique_ptr<ReplaySignal>> d_signals; // a multiplexor before those that it selects
    std::size_t d_picked = 0;
    std::size_t d_sharedCount = 0;
    std::size_t d_problems = 0; // in the files
    std::size_t d_unreadable = 0;
};

} // namespace qztool
