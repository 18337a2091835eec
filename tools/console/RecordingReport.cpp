// Problems, malformed lines, and recordings without a frame of use.
#include "tools/console/RecordingReport.h"

#include "tools/base/StopRequest.h"
#include "tools/console/LiveReport.h"

#include <algorithm>
#include <string_view>

namespace qztool {

namespace {

std::string mostFrequent(UnfedFrames const& unfed) {
    std::string text;
    std::size_t const count = std::min(unfed.identifiers.size(), mostIdentifiers);
    for (std::size_t i = 0; i < count; ++i)
        text += (text.empty() ? "" : ", ") + identifierText(unfed.identifiers[i]) + " (" +
                std::to_string(unfed.identifiers[i].count) + ")";
    return text;
}

bool hasLines(RecordingReader const& recording) {
    return std::string_view(recording.placeKind()) == "line";
}

} // namespace

std::string placesText(RecordingReader const& recording, std::string const& path, std::string const& places) {
    return path + (hasLines(recording) ? ":" : ": " + std::string(recording.placeKind()) + " ") + places;
}

ExitStatus report(Drive const& drive, UnfedFrames const& unfed, RecordingOptions const& options, Console& console) {
    std::string const& path = options.path;
    Findings const& findings = drive.recording().findings();
    std::uint64_t const frames = drive.counts().frames;
    bool const failed = !findings.problem().empty();
    if (failed)
        console.error(findings.problem());
    for (Malformed const& malformed : findings.malformed())
        if (!findings.hasListener() || malformed.places.count() > LiveReport::mostOfACause)
            console.error(placesText(drive.recording(), path, malformed.places.text()), ": ", malformed.cause);
    if (options.absolute && drive.recording().place() != 0 && !drive.recording().startTime())
        console.warning(path,
                        ": does not say when it began, or not in a form that is known; its times are as recorded");
    TransportCounts const transport = drive.transport();
    if (transport.lost != 0)
        console.warning(path, ": packets are missing of ", transport.lost, " J1939 messages, which were left out");
    if (transport.extended != 0)
        console.warning(path, ": ", transport.extended,
                        " J1939 messages of more than 1785 bytes (extended transport protocol) were left out");
    if (stopRequested())
        return failed ? exitNothingUsable : exitSuccess;
    if (frames == 0) {
        bool const bad = failed || findings.malformedCount() != 0;
        if (!failed)
            console.error(path,
                          bad && hasLines(drive.recording()) ? ": no line contains a frame" : ": contains no frame");
        return bad ? exitBadData : exitNothingUsable;
    }
    if (unfed.notDefined == frames) {
        console.error(path, ": the definitions define none of its ", frames,
                      " frames; most frequent identifiers: ", mostFrequent(unfed));
        return exitNothingUsable;
    }
    if (drive.counts().decoded == 0 && drive.counts().otherChannel + unfed.otherChannel != 0) {
        console.error(path, ": the definitions serve none of its channels");
        return exitNothingUsable;
    }
    return failed ? exitNothingUsable : exitSuccess;
}

} // namespace qztool
