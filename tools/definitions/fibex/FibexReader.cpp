// Clusters, channels and frame triggerings of FIBEX files.
#include "tools/definitions/fibex/FibexReader.h"

#include "tools/definitions/Numerals.h"
#include "tools/definitions/ProblemText.h"
#include "tools/definitions/fibex/FibexCodings.h"
#include "tools/definitions/fibex/FibexFile.h"
#include "tools/definitions/fibex/FibexFrames.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace qztool {

namespace {

constexpr std::uint64_t highestStandard = 0x7FF;
constexpr std::uint64_t highestExtended = 0x1FFFFFFF;
constexpr std::uint64_t highestSlot = 2047;
constexpr std::uint64_t cycles = 64; // of FlexRay, if the cluster states no other number

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; });
    return text;
}

struct Cluster {
    pugi::xml_node element; // null for a channel that belongs to none
    std::optional<Bus> bus;
    std::string protocol;
    FibexBitCounting counting = FibexBitCounting::Sawtooth;
    std::optional<std::size_t> channel; // of a FlexRay cluster, once one of its channels has been read
};

class Reader {
public:
    explicit Reader(std::string_view bytes) : d_file(bytes), d_codings(d_file), d_frames(d_file, d_codings) {}

    Database run() {
        d_database.channels.clear();
        for (pugi::xml_node const element : d_file.all("CLUSTER"))
            readCluster(element);
        for (pugi::xml_node const channel : d_file.all("CHANNEL")) {
            try {
                readChannel(channel);
            } catch (FibexLeftOut const& leftOut) {
                d_file.leaveOut(channel, "channel " + quotedFibexName(channel) + ": " + leftOut.cause, leftOut.kind);
            }
        }
        if (d_database.channels.empty())
            d_database.channels.emplace_back();
        d_database.problems = std::move(d_file.problems());
        std::stable_sort(d_database.problems.begin(), d_database.problems.end(),
                         [](Problem const& a, Problem const& b) { return a.line < b.line; });
        return std::move(d_database);
    }

private:
    using Slot =
        std::tuple<std::size_t, void const*, std::uint32_t, unsigned, unsigned>; // channel, frame, slot, cycles

    void readCluster(pugi::xml_node element) {
        Cluster cluster;
        cluster.element = element;
        cluster.protocol = textOf(childOf(element, "PROTOCOL"));
        const std::string type = attributeOf(childOf(element, "PROTOCOL"), "type");
        const std::string protocol =
            lowerCase(cluster.protocol.empty() ? type.substr(0, type.find(':')) : cluster.protocol);
        if (protocol.compare(0, 3, "can") == 0)
            cluster.bus = Bus::Can;
        else if (protocol.compare(0, 7, "flexray") == 0)
            cluster.bus = Bus::FlexRay;
        if (textOf(childOf(element, "BIT-COUNTING-POLICY")) == "MONOTONE")
            cluster.counting = FibexBitCounting::Monotone;
        d_clusters.push_back(cluster);
        for (pugi::xml_node const reference : childrenOf(childOf(element, "CHANNEL-REFS"), "CHANNEL-REF"))
            d_clusterOfChannel.emplace(attributeOf(reference, "ID-REF"), d_clusters.size() - 1);
    }

    void readChannel(pugi::xml_node channel) {
        Cluster& cluster = clusterOf(channel);
        const std::vector<pugi::xml_node> triggerings =
            childrenOf(childOf(channel, "FRAME-TRIGGERINGS"), "FRAME-TRIGGERING");
        Bus const bus = cluster.bus ? *cluster.bus : busOf(cluster, triggerings);
        std::size_t const index = channelIndex(channel, cluster, bus);
        readPduTriggerings(channel);
        d_isA = bus != Bus::FlexRay || isChannelA(channel);
        for (pugi::xml_node const triggering : triggerings) {
            const std::string label = "frame triggering " + quotedFibexName(triggering) + ": ";
            try {
                pugi::xml_node const frame = d_file.referred(triggering, "FRAME");
                if (bus == Bus::Can)
                    readCan(triggering, frame, cluster, index, label);
                else
                    readFlexRay(triggering, frame, cluster, index, label);
            } catch (FibexLeftOut const& leftOut) {
                d_file.leaveOut(triggering, label + leftOut.cause, leftOut.kind);
            }
        }
    }

    // A channel that no cluster refers to gets one of its own.
    Cluster& clusterOf(pugi::xml_node channel) {
        auto const found = d_clusterOfChannel.find(attributeOf(channel, "ID"));
        if (found != d_clusterOfChannel.end())
            return d_clusters[found->second];
        d_lone = Cluster();
        // The only cluster stands for a channel that has no ID to be referred to.
        if (d_clusters.size() == 1 && d_file.all("CHANNEL").size() == 1)
            return d_clusters.front();
        return d_lone;
    }

    // The bus of a channel whose protocol is not stated, from what triggers its frames.
    static Bus busOf(Cluster const& cluster, std::vector<pugi::xml_node> const& triggerings) {
        if (!cluster.protocol.empty())
            throw FibexLeftOut{"its protocol " + quote(cluster.protocol) + " is neither CAN nor FlexRay"};
        if (!triggerings.empty() && childOf(triggerings.front(), "IDENTIFIER"))
            return Bus::Can;
        if (!triggerings.empty() && descendantOf(triggerings.front(), {"TIMINGS", "ABSOLUTELY-SCHEDULED-TIMING"}))
            return Bus::FlexRay;
        throw FibexLeftOut{"its protocol is not stated"};
    }

    // Both channels of a FlexRay cluster are one.
    std::size_t channelIndex(pugi::xml_node channel, Cluster& cluster, Bus bus) {
        if (bus == Bus::FlexRay && cluster.channel)
            return *cluster.channel;
        pugi::xml_node const named = bus == Bus::FlexRay && cluster.element ? cluster.element : channel;
        d_database.channels.push_back({textOf(childOf(named, "SHORT-NAME"))});
        std::size_t const index = d_database.channels.size() - 1;
        cluster.channel = index;
        return index;
    }

    bool isChannelA(pugi::xml_node channel) {
        const std::string name = textOf(childOf(channel, "FLEXRAY-CHANNEL-NAME"));
        if (name != "A" && name != "B") {
            d_file.report(channel, Severity::Warning,
                          "channel " + quotedFibexName(channel) + ": it is not stated whether it is A or B; read as A");
        }
        return name != "B";
    }

    // Since FIBEX 3, cycle times are those of PDUs.
    void readPduTriggerings(pugi::xml_node channel) {
        d_pduCycles.clear();
        for (pugi::xml_node const triggering : childrenOf(childOf(channel, "PDU-TRIGGERINGS"), "PDU-TRIGGERING")) {
            double const cycle = cyclicTime(childOf(triggering, "TIMINGS"));
            if (cycle > 0.0)
                d_pduCycles[attributeOf(childOf(triggering, "PDU-REF"), "ID-REF")] = cycle;
        }
    }

    // Seconds; 0 if none is stated, or not as a number or a duration such as PT0.02S, which is reported.
    double cyclicTime(pugi::xml_node timings) {
        pugi::xml_node const value = descendantOf(timings, {"CYCLIC-TIMING", "REPEATING-TIME-RANGE", "VALUE"});
        const std::string text = textOf(value);
        std::string_view numeral = text;
        if (numeral.size() > 3 && numeral.substr(0, 2) == "PT" && numeral.back() == 'S')
            numeral = numeral.substr(2, numeral.size() - 3);
        double seconds = 0.0;
        if (readReal(numeral, seconds).empty() && seconds > 0.0)
            return seconds;
        if (value)
            d_file.report(value, Severity::Warning,
                          "the cycle time " + quote(text) + " is not a number of seconds above 0; not used",
                          ProblemKind::Cycle);
        return 0.0;
    }

    // The shortest of its PDUs.
    double cycleOfPdus(pugi::xml_node frame) const {
        double shortest = 0.0;
        for (pugi::xml_node const instance : childrenOf(childOf(frame, "PDU-INSTANCES"), "PDU-INSTANCE")) {
            auto const cycle = d_pduCycles.find(attributeOf(childOf(instance, "PDU-REF"), "ID-REF"));
            if (cycle != d_pduCycles.end() && (shortest == 0.0 || cycle->second < shortest))
                shortest = cycle->second;
        }
        return shortest;
    }

    MessageDefinition frameOf(pugi::xml_node frame, Bus bus, std::size_t channel) const {
        MessageDefinition message;
        message.bus = bus;
        message.channel = channel;
        message.name = fibexName(frame);
        message.line = d_file.lineOf(frame);
        std::uint64_t const length = fibexCount(frame, "BYTE-LENGTH", 0);
        std::uint64_t const most = bus == Bus::FlexRay ? 254 : 1785;
        if (length > most)
            throw FibexLeftOut{"frame " + quote(message.name) + " has " + std::to_string(length) + " bytes"};
        message.length = static_cast<unsigned>(length);
        return message;
    }

    void readCan(pugi::xml_node triggering, pugi::xml_node frame, Cluster const& cluster, std::size_t channel,
                 std::string const& label) {
        pugi::xml_node const identifierElement = childOf(triggering, "IDENTIFIER");
        std::uint64_t const identifier = fibexCount(identifierElement, "IDENTIFIER-VALUE");
        if (identifier > highestExtended)
            throw FibexLeftOut{"its identifier has more than 29 bits"};
        MessageDefinition message = frameOf(frame, Bus::Can, channel);
        message.address = static_cast<std::uint32_t>(identifier);
        const std::string extended = attributeOf(childOf(identifierElement, "IDENTIFIER-VALUE"), "EXTENDED-ADDRESSING");
        message.extended = extended == "true" || extended == "1";
        if (!message.extended && identifier > highestStandard) {
            d_file.report(triggering, Severity::Warning,
                          label + "its identifier has more than 11 bits, but no EXTENDED-ADDRESSING; read as extended");
            message.extended = true;
        }
        double const cycle = cyclicTime(childOf(triggering, "TIMINGS"));
        message.cycleTime = cycle > 0.0 ? cycle : cycleOfPdus(frame);
        add(std::move(message), triggering, frame, cluster, label);
    }

    void readFlexRay(pugi::xml_node triggering, pugi::xml_node frame, Cluster const& cluster, std::size_t channel,
                     std::string const& label) {
        const std::vector<pugi::xml_node> timings =
            childrenOf(childOf(triggering, "TIMINGS"), "ABSOLUTELY-SCHEDULED-TIMING");
        if (timings.empty())
            throw FibexLeftOut{"it has no ABSOLUTELY-SCHEDULED-TIMING"};
        for (pugi::xml_node const timing : timings) {
            try {
                readTiming(timing, frame, cluster, channel, label);
            } catch (FibexLeftOut const& leftOut) {
                d_file.leaveOut(timing, label + leftOut.cause, leftOut.kind);
            }
        }
    }

    void readTiming(pugi::xml_node timing, pugi::xml_node frame, Cluster const& cluster, std::size_t channel,
                    std::string const& label) {
        MessageDefinition message = frameOf(frame, Bus::FlexRay, channel);
        std::uint64_t const slot = fibexCount(timing, "SLOT-ID");
        if (slot == 0 || slot > highestSlot)
            throw FibexLeftOut{"its SLOT-ID " + std::to_string(slot) + " is not one of 1 to 2047"};
        message.address = static_cast<std::uint32_t>(slot);
        setCycles(timing, cluster, message.flexRay);
        message.flexRay.channelA = d_isA;
        message.flexRay.channelB = !d_isA;
        setSegmentAndTime(cluster, message);
        Slot const key{channel, frame.internal_object(), message.address, message.flexRay.baseCycle,
                       message.flexRay.repetition};
        auto const [other, isNew] = d_slots.emplace(key, d_database.messages.size());
        if (isNew) {
            add(std::move(message), timing, frame, cluster, label);
        } else {
            FlexRayTiming& both = d_database.messages[other->second].flexRay;
            both.channelA = both.channelA || d_isA;
            both.channelB = both.channelB || !d_isA;
        }
    }

    // A cycle alone is one of all.
    static void setCycles(pugi::xml_node timing, Cluster const& cluster, FlexRayTiming& result) {
        bool const single = static_cast<bool>(childOf(timing, "CYCLE-COUNTER"));
        std::uint64_t const all = single ? fibexCount(cluster.element, "NUMBER-OF-CYCLES", cycles) : 1;
        std::uint64_t const base = fibexCount(timing, single ? "CYCLE-COUNTER" : "BASE-CYCLE", 0);
        std::uint64_t const repetition = single ? all : fibexCount(timing, "CYCLE-REPETITION", 1);
        if (base >= cycles)
            throw FibexLeftOut{"its cycle " + std::to_string(base) + " is above 63"};
        if (repetition == 0 || repetition > cycles || (repetition & (repetition - 1)) != 0)
            throw FibexLeftOut{"its CYCLE-REPETITION " + std::to_string(repetition) + " is not one of 1, 2, 4, ... 64"};
        result.baseCycle = static_cast<std::uint8_t>(base);
        result.repetition = static_cast<std::uint8_t>(repetition);
    }

    // The length of a communication cycle is in microseconds. Frames of the dynamic segment are sent when there is
    // need.
    static void setSegmentAndTime(Cluster const& cluster, MessageDefinition& message) {
        std::uint64_t const staticSlots = fibexCount(cluster.element, "NUMBER-OF-STATIC-SLOTS", highestSlot);
        message.flexRay.staticSegment = message.address <= staticSlots;
        std::uint64_t const length = fibexCount(cluster.element, "CYCLE", 0);
        if (message.flexRay.staticSegment)
            message.cycleTime = static_cast<double>(length) * message.flexRay.repetition / 1e6;
    }

    void add(MessageDefinition&& message, pugi::xml_node triggering, pugi::xml_node frame, Cluster const& cluster,
             std::string const& label) {
        giveUniqueName(message, triggering, label);
        d_frames.readSignals(frame, cluster.counting, message);
        d_database.messages.push_back(std::move(message));
    }

    // A frame may be triggered several times on a channel.
    void giveUniqueName(MessageDefinition& message, pugi::xml_node triggering, std::string const& label) {
        const std::string name = message.name;
        auto const isTaken = [&] { return !d_names.insert({message.channel, message.name}).second; };
        if (!isTaken())
            return;
        unsigned& number = d_numbers[{message.channel, name}];
        number = std::max(number, 1U);
        do {
            message.name = name + "_" + std::to_string(++number);
        } while (isTaken());
        d_file.report(triggering, Severity::Warning,
                      label + "the channel has a frame " + quote(name) + " already; named " + quote(message.name));
    }

    FibexFile d_file;
    FibexCodings d_codings;
    FibexFrames d_frames;
    Database d_database;
    std::vector<Cluster> d_clusters;
    Cluster d_lone;
    std::unordered_map<std::string, std::size_t> d_clusterOfChannel;
    bool d_isA = true; // of FlexRay: the channel that is being read
    std::unordered_map<std::string, double> d_pduCycles;
    std::map<Slot, std::size_t> d_slots; // index of the message
    std::set<std::pair<std::size_t, std::string>> d_names;
    std::map<std::pair<std::size_t, std::string>, unsigned> d_numbers;
};

} // namespace

Database readFibex(std::string_view bytes) {
    return Reader(bytes).run();
}

} // namespace qztool
