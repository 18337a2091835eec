// Which definitions serve which bus channel of a recording.
#pragma once

#include "tools/base/Bus.h"
#include "tools/drive/LateSignals.h"
#include "tools/drive/can/ParameterGroups.h"
#include "tools/drive/lin/EventTriggered.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qztool {

// A definition file as it is named on the command line: FILE, or CHANNEL:FILE for one channel alone.
struct DefinitionFile {
    std::optional<std::uint8_t> channel;
    std::string path;
};

// CHANNEL is a number or an interface name that ends in one (can0); everything else before a colon belongs to the path.
DefinitionFile parseDefinitionFile(std::string const& argument);

// One bus that a definition file describes, and the recorded channel that it stands for.
struct Network {
    Bus bus = Bus::Can;
    std::size_t file = 0;                // number of its definition file, as the owner counts them
    std::size_t index = 0;               // of its channel in the file
    std::optional<std::uint8_t> channel; // that it serves; nothing: none yet
    bool isRestricted = false;           // to that channel, from the beginning
    bool servesEach = false;             // serves no channel itself, but each one by a network that is made of it
    Network* madeOf = nullptr;           // such a network; null: it was added
    unsigned filed = 0;              // channel number under which the library files its signals, its own for each bus
    std::uint64_t foreignFrames = 0; // frames of its messages on other channels, which were not fed
    EventTriggered eventTriggered;   // of a LIN cluster
    std::unique_ptr<ParameterGroups> groups; // of J1939; null: none of its messages is
};

// A network that was restricted to a channel serves that one. Any other serves the first channel on which one of its
// frames is seen, out of those to which no network was restricted. A signal lives on exactly one channel; frames of
// further ones are counted.
//
// If signals have the channel in their names, each of those channels is served by a network of its own instead.
class Channels {
public:
    // `inNames`: signals have the channel in their names.
    explicit Channels(bool inNames = false) : d_inNames(inNames) {}
    bool inNames() const { return d_inNames; }

    // Adds a network, and returns it; it stays where it is.
    Network& add(Bus bus, std::size_t file, std::optional<std::uint8_t> channel);

    // The networks whose messages frames of a recorded channel may be, valid until the next `add` or `open`.
    std::vector<Network*> const& candidates(Bus bus, std::uint8_t recorded) const {
        return d_candidates[static_cast<std::size_t>(bus)][recorded].serving;
    }
    // The same for a frame, which may be the first one of a network on its channel.
    std::vector<Network*> const& candidates(Frame const& frame) {
        Candidates const& candidates = d_candidates[static_cast<std::size_t>(frame.bus)][frame.channel];
        if (!candidates.unopened.empty())
            openFor(frame);
        return candidates.serving;
    }
    // The network for one channel out of one that serves each.
    Network& open(Network& network, std::uint8_t channel);

    // Hears of first frames, until it is replaced; null: nothing does.
    void setLateSignals(LateSignals* late) { d_late = late; }
    LateSignals* lateSignals() const { return d_late; }

    // A frame of one of the network's messages is there. True if the network serves the channel, from now on if need
    // be.
    static bool claim(Network& network, std::uint8_t recorded);

    std::deque<Network> const& networks() const { return d_networks; }

private:
    struct Candidates {
        std::vector<Network*> serving;
        std::vector<Network*> unopened; // that serve each channel, but not this one yet
    };

    void fillCandidates(Bus bus);
    void openFor(Frame const& frame);
    unsigned nextFiled(Bus bus) const;

    bool d_inNames;
    std::deque<Network> d_networks;
    std::array<std::array<Candidates, 256>, busKinds> d_candidates;
    LateSignals* d_late = nullptr;
};

} // namespace qztool
