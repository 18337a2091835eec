// The table of checks over frames.
#include "tools/check/TrafficChecks.h"

#include "tools/base/Numbers.h"
#include "tools/definitions/ProblemText.h"
#include "tools/drive/can/TransportProtocol.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

namespace qztool {

namespace {

constexpr double microseconds = 1e6; // in a second
constexpr double gapPeriods = 10;
constexpr double periodTolerance = 0.2;

std::string seconds(double time) { // of microseconds
    return numberText(std::round(time) / microseconds) + " s";
}

std::string framesText(std::uint64_t count) {
    return std::to_string(count) + (count == 1 ? " frame" : " frames");
}

// A message as findings call it, with the identifier of its frames.
std::string label(Identifier const& identifier, Stream const& stream) {
    return quote(stream.message->definition().name) + " (" + identifierText(identifier.frames) + ")";
}

template <typename Check>
void forEachStream(Traffic const& traffic, Check check) {
    for (Identifier const& identifier : traffic.identifiers())
        for (Stream const& stream : identifier.streams)
            if (Traffic::isServed(identifier, stream))
                check(identifier, stream);
}

Finding findingOf(CheckKind kind, Stream const& stream, std::string text, std::uint64_t count,
                  FramePlace const& first) {
    Finding finding = qztool::findingOf(kind, *stream.message->file, stream.message->definition(), std::move(text));
    finding.count = count;
    finding.first = first;
    return finding;
}

// Frames that belong to a protocol and not to an application: diagnostics of LIN, and packets of J1939, whose
// contents are messages of their own.
bool isProtocol(Traffic const& traffic, TalliedFrames const& frames) {
    constexpr std::uint32_t firstReserved = 60;
    constexpr std::uint32_t packetGroups[] = {transport::connection, transport::data, transport::extended,
                                              0x00C70000}; // packets of the extended protocol
    if (frames.bus == Bus::Lin)
        return frames.address >= firstReserved;
    return frames.bus == Bus::Can && frames.extended && traffic.isJ1939() &&
           std::find(std::begin(packetGroups), std::end(packetGroups), groupOf(frames.address)) !=
               std::end(packetGroups);
}

// The most frequent first.
void checkUndefined(Traffic const& traffic, std::string const& trace, std::vector<Finding>& findings) {
    std::vector<Identifier const*> undefined;
    for (Identifier const& identifier : traffic.identifiers())
        if (identifier.streams.back().count != 0 && !isProtocol(traffic, identifier.frames))
            undefined.push_back(&identifier);
    std::stable_sort(undefined.begin(), undefined.end(), [](Identifier const* a, Identifier const* b) {
        return a->streams.back().count > b->streams.back().count;
    });
    for (Identifier const* const each : undefined) {
        Stream const& stream = each->streams.back();
        // Of times that are rounded to more than that, the mean alone says something.
        double const median = stream.intervals.median();
        double const period = median >= static_cast<double>(traffic.tick()) ? median : stream.intervals.mean();
        std::string text = identifierText(each->frames) + " on channel " + std::to_string(each->frames.channel) + ": " +
                           framesText(stream.count);
        if (period > 0.0)
            text += ", every " + seconds(period);
        findings.push_back({CheckKind::Undefined, trace, static_cast<std::size_t>(stream.first.number), "",
                            std::move(text), stream.count, stream.first});
    }
}

void checkLengths(Traffic const& traffic, std::string const&, std::vector<Finding>& findings) {
    forEachStream(traffic, [&](Identifier const& identifier, Stream const& stream) {
        if (stream.otherLengths == 0)
            return;
        findings.push_back(
            findingOf(CheckKind::Length, stream,
                      label(identifier, stream) + " has " + std::to_string(stream.message->definition().length) +
                          " bytes, but " + (stream.otherLengths == stream.count ? "all " : "") +
                          framesText(stream.otherLengths) + (stream.otherLengths == 1 ? " has " : " have ") +
                          (stream.otherLengths == 1 ? "" : "others, first ") + std::to_string(stream.firstOtherLength),
                      stream.otherLengths, stream.firstOther));
    });
}

void checkUnseen(Traffic const& traffic, std::string const&, std::vector<Finding>& findings) {
    for (ListedMessage const& message : traffic.messages())
        if (!traffic.hasSeen(message.definition())) {
            MessageDefinition const& definition = message.definition();
            TalliedFrames const frames{definition.bus, 0, definition.extended, definition.address, 0};
            findings.push_back(
                qztool::findingOf(CheckKind::Unseen, *message.file, definition,
                                  "no frame of " + quote(definition.name) + " (" + identifierText(frames) + ")"));
        }
}

// Whether frames come at regular intervals, as far as these tell: most of them, and enough, are about as long as the
// median.
bool isPeriodic(Intervals const& intervals, double median) {
    constexpr std::uint64_t enough = 5;
    return intervals.count() >= enough && median > 0.0 &&
           static_cast<double>(intervals.countWithin(0.5 * median, 1.5 * median)) >=
               0.8 * static_cast<double>(intervals.count());
}

struct Gaps {
    double period = 0.0; // microseconds
    Intervals::Silences silences;
    bool upToTheEnd = false; // the last one
};

Gaps gapsOf(Traffic const& traffic, Stream const& stream) {
    Gaps result;
    double const stated = stream.message->definition().cycleTime * microseconds;
    double const median = stream.intervals.median();
    auto const tick = static_cast<double>(traffic.tick());
    result.period = stated > 0.0 ? stated : median;
    bool const isKnown = stated > 0.0 || isPeriodic(stream.intervals, median);
    // Times that are rounded to more than a period do not show it.
    if (stream.isEvent || !isKnown || tick == 0.0 || tick > result.period)
        return result;
    constexpr double arithmetic = 1 + 1e-9; // ten periods are none too many
    double const limit = gapPeriods * arithmetic * result.period;
    result.silences = stream.intervals.longerThan(limit);
    // Of a learned period: pauses between bursts, if there are many.
    constexpr std::uint64_t few = 3;
    if (stated <= 0.0 && result.silences.count >= few && result.silences.count * 10 > stream.intervals.count())
        result.silences = {};
    std::uint64_t const after = traffic.last().time > stream.last.time ? traffic.last().time - stream.last.time : 0;
    if (static_cast<double>(after) > limit) {
        if (result.silences.count++ == 0)
            result.silences.first = stream.last;
        result.silences.longest = std::max(result.silences.longest, after);
        result.upToTheEnd = true;
    }
    return result;
}

// The pause of the whole recording that is the one gap of a message; null if it has others, or there is none.
Pause const* pauseOf(Traffic const& traffic, Gaps const& gaps) {
    if (gaps.silences.count != 1 || gaps.upToTheEnd)
        return nullptr;
    FramePlace const& before = gaps.silences.first;
    for (Pause const& pause : traffic.pauses())
        // What is left of the gap is none by itself.
        if (pause.before.number >= before.number &&
            pause.before.time + pause.length <= before.time + gaps.silences.longest &&
            static_cast<double>(gaps.silences.longest - pause.length) < gapPeriods * gaps.period)
            return &pause;
    return nullptr;
}

Finding gapFinding(Identifier const& identifier, Stream const& stream, Gaps const& gaps) {
    Intervals::Silences const& silences = gaps.silences;
    bool const isOne = silences.count == 1;
    bool const isStated = stream.message->definition().cycleTime > 0.0;
    return findingOf(CheckKind::Gap, stream,
                     label(identifier, stream) + ": " + std::to_string(silences.count) + (isOne ? " gap" : " gaps") +
                         " of more than ten periods of " + seconds(gaps.period) +
                         (isStated ? " (stated)" : " (learned)") + ", " + (isOne ? "of " : "the longest ") +
                         seconds(static_cast<double>(silences.longest)) +
                         (!gaps.upToTheEnd ? ""
                          : isOne          ? ", up to the end"
                                           : ", the last one up to the end"),
                     silences.count, silences.first);
}

// Where the recording as a whole stands still, many messages have the same gap, which is one finding.
void checkGaps(Traffic const& traffic, std::string const& trace, std::vector<Finding>& findings) {
    constexpr std::size_t many = 3;
    std::map<std::uint64_t, std::pair<Pause const*, std::vector<Finding>>> common; // by place
    forEachStream(traffic, [&](Identifier const& identifier, Stream const& stream) {
        Gaps const gaps = gapsOf(traffic, stream);
        if (gaps.silences.count == 0)
            return;
        Pause const* const pause = pauseOf(traffic, gaps);
        std::vector<Finding>* own = &findings;
        if (pause != nullptr) {
            auto& entry = common[pause->before.number];
            entry.first = pause;
            own = &entry.second;
        }
        own->push_back(gapFinding(identifier, stream, gaps));
    });
    for (auto const& [place, entry] : common) {
        Pause const& pause = *entry.first;
        std::vector<Finding> const& gaps = entry.second;
        if (gaps.size() < many)
            findings.insert(findings.end(), gaps.begin(), gaps.end());
        else
            findings.push_back({CheckKind::Gap, trace, static_cast<std::size_t>(place), "",
                                "no frame at all for " + seconds(static_cast<double>(pause.length)) +
                                    ", more than ten periods of " + std::to_string(gaps.size()) + " messages",
                                gaps.size(), pause.before});
    }
}

void checkPeriods(Traffic const& traffic, std::string const&, std::vector<Finding>& findings) {
    forEachStream(traffic, [&](Identifier const& identifier, Stream const& stream) {
        constexpr std::uint64_t enough = 3;
        double const stated = stream.message->definition().cycleTime * microseconds;
        if (stated <= 0.0 || stream.isEvent || traffic.tick() == 0 || stream.intervals.count() < enough)
            return;
        auto const tick = static_cast<double>(traffic.tick());
        double const median = stream.intervals.median();
        double const mean = stream.intervals.meanUpTo(std::max({gapPeriods * stated, gapPeriods * median, 2 * tick}));
        auto const deviates = [stated](double period) {
            // What is measured as a fifth may be a little more, by the arithmetic.
            constexpr double arithmetic = 1e-9;
            return period > stated * (1 + periodTolerance + arithmetic)   ? 1
                   : period < stated * (1 - periodTolerance - arithmetic) ? -1
                                                                          : 0;
        };
        // Either alone may deviate for other reasons: the mean by gaps and bursts, the median by rounded times, of
        // which the mean then is uncertain as well.
        bool const isMedianKnown = tick <= stated * periodTolerance;
        double const error = isMedianKnown ? 0.0 : tick / static_cast<double>(stream.intervals.count());
        int const deviation = deviates(isMedianKnown ? median : mean);
        if (deviation == 0 || deviates(mean - error) != deviation || deviates(mean + error) != deviation)
            return;
        findings.push_back(findingOf(CheckKind::Period, stream,
                                     label(identifier, stream) + ": a frame every " +
                                         seconds(isMedianKnown ? median : mean) + ", but the stated period is " +
                                         seconds(stated),
                                     stream.count, stream.first));
    });
}

using TrafficCheck = void (*)(Traffic const& traffic, std::string const& trace, std::vector<Finding>& findings);

constexpr TrafficCheck checks[] = {checkUndefined, checkLengths, checkUnseen, checkGaps, checkPeriods};

} // namespace

void checkTraffic(Traffic const& traffic, std::string const& trace, std::vector<Finding>& findings) {
    for (TrafficCheck const check : checks)
        check(traffic, trace, findings);
}

} // namespace qztool
