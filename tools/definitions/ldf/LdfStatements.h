// The elements of a LIN description file that are read, each for itself: nothing is compared with other elements yet.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace qztool {

// Names refer to the text of the file.

// InternalLightsRequest: 2, 0, CEM, LSM, RSM;
struct LdfSignal {
    std::size_t line = 0;
    std::string_view name;
    std::uint64_t bits = 0;
};

// InternalLightsRequest, 0;
struct LdfPlace {
    std::size_t line = 0;
    std::string_view signal;
    std::uint64_t offset = 0; // of the least significant bit
};

// CEM_Frm1: 0x01, CEM, 1 { ... }
struct LdfFrame {
    std::size_t line = 0;
    std::string_view name;
    std::uint64_t identifier = 0;
    std::optional<std::uint64_t> length; // bytes; nothing: the identifier implies it
    std::vector<LdfPlace> places;
};

// Node_Status_Event: Collision_resolver, 0x06, RSM_Frm1, LSM_Frm1;
struct LdfEventFrame {
    std::size_t line = 0;
    std::string_view name;
    std::string_view collisionTable; // empty before LIN 2.1
    std::uint64_t identifier = 0;
    std::vector<std::string_view> frames;
};

// CEM_Frm1 delay 15 ms;    or    AssignNAD { LSM } delay 15 ms;
struct LdfSlot {
    std::size_t line = 0;
    std::string_view frame; // empty for commands
    double delay = 0.0;     // milliseconds
};

struct LdfTable {
    std::size_t line = 0;
    std::string_view name;
    std::vector<LdfSlot> slots;
    bool complete = true; // all slots were understood
};

// physical_value, 0, 250, 0.5, -40, "degree";
struct LdfRange {
    std::size_t line = 0;
    std::uint64_t first = 0; // raw values
    std::uint64_t last = 0;
    double factor = 1.0;
    double offset = 0.0;
    std::string_view unit;
};

// logical_value, 254, "out of range";
struct LdfWord {
    std::size_t line = 0;
    std::uint64_t value = 0;
    std::string_view text;
};

struct LdfEncoding {
    std::size_t line = 0;
    std::string_view name;
    std::vector<LdfRange> ranges;
    std::vector<LdfWord> words;
};

// Dig2Bit: InternalLightsRequest, InternalLightsSwitch;
struct LdfRepresentation {
    std::size_t line = 0;
    std::string_view encoding;
    std::vector<std::string_view> signals;
};

struct LdfFile {
    std::string channelName;
    std::vector<LdfSignal> signals; // diagnostic ones as well
    std::vector<LdfFrame> frames;   // diagnostic ones as well
    std::vector<std::string_view> sporadicFrames;
    std::vector<LdfEventFrame> eventFrames;
    std::vector<LdfTable> tables;
    std::vector<LdfEncoding> encodings;
    std::vector<LdfRepresentation> representations;
    // Names of what was reported as left out, so that what refers to it needs no report of its own.
    std::unordered_set<std::string_view> leftOut;
};

} // namespace qztool
