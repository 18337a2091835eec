// The signals of frames and PDUs of a FIBEX file, each at its place in the frame.
#pragma once

#include "tools/definitions/Database.h"
#include "tools/definitions/fibex/FibexCodings.h"
#include "tools/definitions/fibex/FibexFile.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qztool {

// How a cluster counts bits. The standard gives a signal the position of the bit that it starts with: the least
// significant one of a little endian signal, the most significant one of a big endian signal, as here. Sawtooth numbers
// rise within each byte from the least to the most significant bit, as here, so that they jump where a big endian
// signal grows into the next byte:
//     7 6 5 4 3 2 1 0 | 15 14 13 12 11 10 9 8
// Monotone numbers rise along with any signal, so those of big endian signals count from the most significant bit:
//     0 1 2 3 4 5 6 7 | 8 9 10 11 12 13 14 15
enum class FibexBitCounting { Sawtooth, Monotone };

class FibexFrames {
public:
    FibexFrames(FibexFile& file, FibexCodings& codings) : d_file(file), d_codings(codings) {}

    // Fills `message.signals` from the frame; its bus and length are set.
    void readSignals(pugi::xml_node frame, FibexBitCounting counting, MessageDefinition& message);

private:
    // Where positions in a PDU, or in a part of one, count from.
    struct Segment {
        unsigned begin = 0; // position in the PDU of the first bit here
        unsigned bits = 0;
        unsigned startBit = 0; // of that bit in the frame
    };
    struct Container {
        std::string pdu; // its name; empty for a frame without PDUs
        std::vector<Segment> segments;
        std::optional<std::size_t> multiplexor; // which selects all in the container
        std::vector<SelectorRange> selectedBy;
        bool inMultiplexer = false;
    };

    void readPduInstance(pugi::xml_node instance);
    unsigned startOf(pugi::xml_node instance) const;
    std::string uniquePdu(std::string const& name);
    void readContents(pugi::xml_node element, Container const& container);
    void readInstance(pugi::xml_node instance, Container const& container);
    void readMultiplexer(pugi::xml_node multiplexer, Container const& container);
    std::optional<std::size_t> readSwitch(pugi::xml_node element, Container const& container);
    void readStaticPart(pugi::xml_node part, Container const& container);
    void readDynamicPart(pugi::xml_node part, Container const& container, std::size_t multiplexor);
    void readSwitched(pugi::xml_node instance, Container const& part);
    std::vector<Segment> segmentsOf(pugi::xml_node part, Container const& container) const;
    void place(pugi::xml_node element, Container const& container, SignalDefinition& signal) const;
    unsigned normalised(std::uint64_t position, bool bigEndian) const;
    std::optional<std::size_t> add(pugi::xml_node element, SignalDefinition&& signal);
    std::string label(pugi::xml_node element) const;
    bool spend(pugi::xml_node element, std::size_t amount);

    FibexFile& d_file;
    FibexCodings& d_codings;
    FibexBitCounting d_counting = FibexBitCounting::Sawtooth;
    MessageDefinition* d_message = nullptr;
    std::map<std::pair<std::string, std::string>, std::size_t> d_indices; // in the message, by PDU and name
    std::map<std::string, unsigned> d_pdus;                               // how often each is in the frame
    // Frames refer to PDUs and these to signals, so a small file can stand for any number of them. Far more than any
    // network has is not read.
    std::size_t d_left = 400'000; // PDUs and signals, and words by the dozen
};

} // namespace qztool
