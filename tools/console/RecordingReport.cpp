// Problems, malformed lines, and recordings without a frame of use.
#include "tools/console/RecordingReport.h"

#include "tools/base/StopRequest.h"

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

} // namespace

ExitStatus report(Drive const& drive, UnfedFrames const& unfed, std::string const& path, Console& console) {
    Findings const& findings = drive.recording().findings();
    std::uint64_t const frames = drive.counts().frames;
    bool const failed = !findings.problem().empty();
    if (failed)
        console.error(findings.problem());
    bool const hasLines = std::string_view(drive.recording().placeKind()) == "line";
    for (Malformed const& malformed : findings.malformed())
        console.error(path, hasLines ? ":" : ": " + std::string(drive.recording().placeKind()) + " ",
                      malformed.places.text(), ": ", malformed.cause);
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
            console.error(path, bad && hasLines ? ": no line contains a frame" : ": contains no frame");
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
