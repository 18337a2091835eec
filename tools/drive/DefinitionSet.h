// All definition files that a drive is decoded by.
#pragma once

#include "tools/base/Reporter.h"
#include "tools/definitions/Database.h"
#include "tools/drive/Channels.h"
#include "tools/drive/FrameTally.h"
#include "tools/drive/Names.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

namespace qztool {

// How the files are to be understood, beyond what they say themselves.
struct Decoding {
    bool byParameterGroup = false; // all extended identifiers are those of J1939
    bool channelPrefix = false;    // instance names begin with the channel: "can0.Message.Signal"
};

// Loads files, reports what is wrong with them, and names their signals. Instance names are "Message.Signal", as far as
// an expression can hold that (Names.h); of names that become equal, one that was spelled so keeps it, the others get
// "_2", "_3" in the order of the files.
//
// One definition may stand for several signals: of J1939, for one of each source address, where that of the first
// source has the plain name, and others are called "Message_SA0B.Signal", after the address; with `channelPrefix`, for
// one of each channel that the file serves. Until the channel is known, it is `*` in the name: "can*.Message.Signal".
class DefinitionSet {
public:
    struct File {
        std::string path;
        Database database;
        std::vector<Network*> networks; // by the indices of the database's channels
        // By the indices of message and signal; empty: the signal is left out, which has been reported.
        std::vector<std::vector<std::string>> instances;
    };

    explicit DefinitionSet(Reporter& reporter, Decoding decoding = {})
        : d_reporter(reporter), d_decoding(decoding), d_channels(decoding.channelPrefix) {}

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
    // Instance names of a message's signals on the network, which serves a channel, by the indices of signals; empty:
    // the signal is left out. `source`: those of this source address; nothing: those with the plain names. Valid as
    // long as the set.
    std::vector<std::string> const& namesOf(Network const& network, std::size_t message,
                                            std::optional<std::uint8_t> source);
    // What an instance name stands for that has a source address, or a channel out of those that a file serves.
    struct LateName {
        Network* network;                    // one that serves each channel, or the one that is meant
        std::optional<std::uint8_t> channel; // nothing: that of the network
        std::size_t message;                 // index in the network's file
        std::optional<std::uint8_t> source;
    };
    std::optional<LateName> lateName(std::string const& instance) const;
    // True if one of those names passes the test, given as instance name and original spelling, or if that cannot be
    // found out, as there are too many.
    bool anyLateName(std::function<bool(std::string const&, std::string const&)> const& test) const;

    // The files' spelling of an instance name.
    std::string const& originalOf(std::string const& instance) const { return d_origins.at(instance).original; }
    enum class Defined { No, OtherChannel, Yes }; // the more there is, the higher
    // Whether frames of a recorded channel are of a message that is defined: OtherChannel if only in files that are
    // restricted to others.
    Defined defines(TalliedFrames const& frames) const;
    // True if a frame of this address is of a message of the network.
    bool defines(Network const& network, bool extended, std::uint32_t address) const;

    bool hasSignals() const { return !d_origins.empty(); }
    std::size_t problems() const { return d_problems; }     // in the files that could be read
    std::size_t unreadable() const { return d_unreadable; } // files

private:
    struct Origin {
        File* file;
        std::size_t message, signal; // indices
        std::string original;        // spelling of the file
        std::string* instance;       // in its file; null: named after a channel or a source address
    };
    static SignalDefinition const& signalOf(Origin const& origin) {
        return origin.file->database.messages[origin.message].signals[origin.signal];
    }
    static std::string place(Origin const& origin);
    Network& networkOf(Origin const& origin) const;
    void addNetworks(DefinitionFile const& named, File& file);
    void addAddresses(MessageDefinition const& message, std::size_t index, Network& network);
    void nameSignals(File& file, std::vector<Problem>& problems);
    void nameSignal(File& file, std::size_t message, std::size_t index, std::string original,
                    std::vector<Problem>& problems);
    void renameHolder(std::string const& name, std::size_t line, std::vector<Problem>& problems);
    std::string freeName(std::string const& name) const;
    std::string prefixOf(Network const& network) const;
    std::string lateSpelling(std::string name, Origin const& origin, bool isOriginal, NameReading const& reading) const;
    std::string lateInstance(std::string const& base, NameReading const& reading) const;
    void addByOwnName(NameReading const& reading, std::vector<std::string>& result) const;
    void addLate(NameReading const& reading, std::vector<std::string>& result) const;

    Reporter& d_reporter;
    Decoding d_decoding;
    Channels d_channels;
    std::vector<std::unique_ptr<File>> d_files;
    std::unordered_map<std::string, Origin> d_origins;        // of instance names
    std::unordered_map<std::string, std::string> d_respelled; // instance names of original spellings that differ
    std::unordered_map<std::uint64_t, std::vector<Network const*>> d_messages; // by bus, kind and address
    std::map<std::tuple<Network const*, std::size_t, std::optional<std::uint8_t>>, std::vector<std::string>> d_late;
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
