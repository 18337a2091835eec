// What a recording has of each identifier and each message, in memory that grows with these alone.
#pragma once

#include "tools/check/Finding.h"
#include "tools/check/Intervals.h"
#include "tools/check/MessageIndex.h"
#include "tools/drive/DefinitionSet.h"
#include "tools/recordings/Frame.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace qztool {

// A message of a definition file.
struct ListedMessage {
    DefinitionSet::File const* file = nullptr;
    std::size_t index = 0; // in the file
    MessageDefinition const& definition() const { return file->database.messages[index]; }
    Network const& network() const { return *file->networks[definition().channel]; }
};

// The frames of one identifier that are of one message, or of none.
struct Stream {
    ListedMessage const* message = nullptr; // null: none
    bool isEvent = false;                   // LIN: carried by event-triggered frames
    std::uint64_t count = 0;
    FramePlace first;
    FramePlace last;
    Intervals intervals;
    std::uint64_t otherLengths = 0; // frames whose length differs from what is stated
    FramePlace firstOther;
    unsigned firstOtherLength = 0; // bytes
};

// The frames of one identifier on one channel of the recording.
struct Identifier {
    TalliedFrames frames;
    std::vector<Stream> streams; // of the messages that it may be; the last one has what is none of them
};

// A time without any frame.
struct Pause {
    FramePlace before;        // the last frame
    std::uint64_t length = 0; // microseconds
};

class Traffic {
public:
    explicit Traffic(DefinitionSet const& definitions);
    Traffic(Traffic const&) = delete;
    Traffic& operator=(Traffic const&) = delete;

    void add(Frame const& frame, std::uint64_t number);
    // A message came in several frames, as those of J1939 may.
    void addInPackets(MessageDefinition const& message) { d_inPackets.insert(&message); }
    // True if the recording has a frame of the message, or the message in several frames.
    bool hasSeen(MessageDefinition const& message) const;

    std::vector<ListedMessage> const& messages() const { return d_messages; }
    // In the order in which they were first seen.
    std::vector<Identifier> const& identifiers() const { return d_identifiers; }
    std::uint64_t frames() const { return d_frames; }
    FramePlace const& last() const { return d_last; }
    // The smallest step of the recorded times, in microseconds; 0: they never change.
    std::uint64_t tick() const { return d_tick; }
    // The longest times without any frame, a few of them, in no particular order.
    std::vector<Pause> const& pauses() const { return d_pauses; }
    bool isJ1939() const;

    // True if frames of the stream are those of its message: if its definitions serve the channel.
    static bool isServed(Identifier const& identifier, Stream const& stream);

    // Shares, from 0 to 1, of what is defined; both 0 without frames.
    struct Coverage {
        double frames = 0.0;
        double identifiers = 0.0;
    };
    Coverage coverage() const;

private:
    Identifier& identifierOf(Frame const& frame);
    void addStep(FramePlace const& place);
    static bool belongs(Frame const& frame, Stream const& stream);
    static void count(Stream& stream, Frame const& frame, FramePlace const& place);

    std::vector<ListedMessage> d_messages;                    // does not change
    std::vector<MessageIndex> d_indices;                      // of the files
    std::unordered_map<std::uint64_t, std::size_t> d_numbers; // of identifiers, by their keys
    std::vector<Identifier> d_identifiers;
    std::unordered_set<MessageDefinition const*> d_inPackets;
    std::uint64_t d_frames = 0;
    FramePlace d_last;
    std::uint64_t d_tick = 0;
    std::vector<Pause> d_pauses;
    std::uint64_t d_shortestPause = 0; // that is worth an entry
};

} // namespace qztool
