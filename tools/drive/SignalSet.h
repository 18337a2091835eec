// The signals that a recording feeds, built from definition files.
#pragma once

#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/definitions/Database.h"
#include "tools/drive/CanDriveSignal.h"
#include "tools/drive/Channels.h"

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace qztool {

// Reads definition files, reports what is wrong with them, and owns the signals. Instance names are "Message.Signal".
class SignalSet {
public:
    // Shared signals: those whose instance names match the pattern `only` (as for file names); empty: all.
    SignalSet(Console& console, FrameInHand& frame, std::string only);
    // Signals of this process alone: those with these instance names, as far as the files define them.
    SignalSet(Console& console, FrameInHand& frame, std::set<std::string> names);
    ~SignalSet();

    // Reads a file and takes its definitions in. False if the file cannot be read.
    bool load(DefinitionFile const& file);

    // Builds the signals. If the files define none at all, or none can be shared, that is reported and the exit status
    // that it gives is returned; otherwise `exitSuccess`.
    ExitStatus define();

    // Instance names of all signals that the files define, built or not.
    std::vector<std::string> names() const;

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
    ExitStatus share();
    void defineMessages();
    void defineMessage(Source const& source, MessageDefinition const& message);
    std::vector<bool> neededIn(MessageDefinition const& message) const;
    bool ownKey(std::string const& instance, Origin const& origin);

    Console& d_console;
    FrameInHand& d_frame;
    std::string d_only;
    std::optional<std::set<std::string>> d_names; // nothing: the signals are shared
    Channels d_channels;
    std::vector<std::unique_ptr<Source>> d_sources;
    std::unordered_map<std::string, Origin> d_origins;      // instance names and where they stand
    std::set<SignalDefinition const*> d_unusable;           // reported
    std::unordered_map<key_t, std::string> d_keys;          // instance name of each segment's key
    std::vector<std::unique_ptr<CanDriveSignal>> d_signals; // a multiplexor before those that it selects
    std::size_t d_picked = 0;
    std::size_t d_sharedCount = 0;
    std::size_t d_problems = 0; // in the files
    std::size_t d_unreadable = 0;
};

} // namespace qztool
