// All definition files that a drive is decoded by.
#pragma once

#include "tools/base/Reporter.h"
#include "tools/definitions/Database.h"
#include "tools/drive/Channels.h"
#include "tools/drive/FrameTally.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace qztool {

// Loads files, reports what is wrong with them, and names their signals. Instance names are "Message.Signal", as far as
// an expression can hold that (Names.h); of names that become equal, one that was spelled so keeps it, the others get
// "_2", "_3" in the order of the files.
class DefinitionSet {
public:
    struct File {
        std::string path;
        Database database;
        std::vector<Network*> networks; // by the indices of the database's channels
        // By the indices of message and signal; empty: the signal is left out, which has been reported.
        std::vector<std::vector<std::string>> instances;
    };

    explicit DefinitionSet(Reporter& reporter) : d_reporter(reporter) {}

    // False if the file cannot be read, which is reported.
    bool load(DefinitionFile const& file);

    std::vector<std::unique_ptr<File>> const& files() const { return d_files; }
    Channels& channels() { return d_channels; }
    Channels const& channels() const { return d_channels; }
    // Instance names of all signals, sorted.
    std::vector<std::string> names() const;
    // The instance names that may be meant by a name: itself, or that of the signal with this original spelling,
    // or those of all signals whose own name, without the message's, it is. Sorted.
    std::vector<std::string> meantBy(std::string const& name) const;
    // The files' spelling of an instance name.
    std::string const& originalOf(std::string const& instance) const { return d_origins.at(instance).original; }
    // Null: no file defines a signal of this instance name.
    SignalDefinition const* definitionOf(std::string const& instance) const;
    enum class Defined { No, OtherChannel, Yes };
    // Whether frames of a recorded channel are of a message that is defined: OtherChannel if only in files that are
    // restricted to others.
    Defined defines(TalliedFrames const& frames) const;

    bool hasSignals() const { return !d_origins.empty(); }
    std::size_t problems() const { return d_problems; }     // in the files that could be read
    std::size_t unreadable() const { return d_unreadable; } // files

private:
    struct Origin {
        File const* file;
        std::size_t line;
        std::string original; // spelling of the file
        SignalDefinition const* signal;
        std::string* instance; // in its file
    };

    void addNetworks(DefinitionFile const& named, File& file);
    void nameSignals(File& file, std::vector<Problem>& problems);
    void nameSignal(File& file, std::size_t message, std::size_t index, std::string original,
                    std::vector<Problem>& problems);
    void renameHolder(std::string const& name, std::size_t line, std::vector<Problem>& problems);
    std::string freeName(std::string const& name) const;

    Reporter& d_reporter;
    Channels d_channels;
    std::vector<std::unique_ptr<File>> d_files;
    std::unordered_map<std::string, Origin> d_origins;        // of instance names
    std::unordered_map<std::string, std::string> d_respelled; // instance names of original spellings that differ
    std::unordered_map<std::uint64_t, std::vector<Network const*>> d_messages; // by bus, kind and address
    std::size_t d_problems = 0;
    std::size_t d_unreadable = 0;
};

// Data frames that no signal was fed from, by their reasons.
struct UnfedFrames {
    std::uint64_t notDefined = 0;
    std::uint64_t otherChannel = 0;         // of messages in files that are restricted to other channels
    std::uint64_t notPicked = 0;            // of messages without a signal that is there
    std::vector<TalliedFrames> identifiers; // of those that are not defined, the most frequent first
};
UnfedFrames sortOut(FrameTally const& tally, DefinitionSet const& definitions);

// "car.dbc:12", or the file alone for line 0.
std::string placeText(std::string const& file, std::size_t line);

} // namespace qztool
