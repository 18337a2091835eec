// Reading the recording once, and printing the ranking.
#include "tools/commands/Fits.h"

#include "tools/base/Numbers.h"
#include "tools/base/Printable.h"
#include "tools/base/StopRequest.h"
#include "tools/drive/Channels.h"
#include "tools/fits/Ranking.h"
#include "tools/machine/StateJson.h"
#include "tools/recordings/RecordingReader.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <iomanip>

namespace qztool {

namespace {

// Of data frames.
FrameTally tallyOf(RecordingReader& recording, Stop& stop) {
    FrameTally tally;
    Frame frame;
    while (!stop.requested()) {
        RecordingReader::Next const next = recording.next(frame);
        if (next == RecordingReader::Next::End)
            break;
        if (next == RecordingReader::Next::Frame && !frame.is(frameFlag::withoutData))
            tally.add(frame);
    }
    return tally;
}

void printJson(std::vector<Fit> const& fits, Console& console) {
    nlohmann::ordered_json json = nlohmann::ordered_json::array();
    for (Fit const& fit : fits)
        json.push_back(
            {{"file", fit.file}, {"frames", fit.frames}, {"identifiers", fit.identifiers}, {"messages", fit.messages}});
    console.results() << jsonText(json) << std::endl;
}

void printText(std::vector<Fit> const& fits, Console& console) {
    auto const percent = [](double share) { return numberText(std::round(share * 1000) / 10) + " %"; };
    console.results() << " frames  identifiers  file\n";
    for (Fit const& fit : fits)
        console.results() << std::setw(7) << percent(fit.frames) << std::setw(13) << percent(fit.identifiers) << "  "
                          << printable(fit.file) << "\n";
}

} // namespace

ExitStatus printFits(std::vector<std::string> const& paths, std::string const& trace, bool json, Console& console) {
    SignalStop stop;
    RecordingReader recording(trace, stop);
    if (!recording.isOpen()) {
        console.error(recording.problem());
        return exitNotThere;
    }
    Ranking ranking;
    for (std::string const& path : paths)
        ranking.add(parseDefinitionFile(path).path);
    for (Unranked const& each : ranking.unranked())
        console.warning(each.file, ": ", each.cause, "; left out");
    if (ranking.size() == 0) {
        console.error("none of the files defines a message");
        return exitNotThere;
    }
    noteStopRequests();
    std::vector<TalliedFrames> const tally = tallyOf(recording, stop).all();
    if (!recording.problem().empty())
        console.error(recording.problem());
    std::vector<Fit> const fits = ranking.rank(tally);
    if (json)
        printJson(fits, console);
    else
        printText(fits, console);
    if (tally.empty()) {
        console.error(trace, ": contains no frame");
        return recording.findings().malformedCount() != 0 ? exitBadData : exitNothingUsable;
    }
    return fits.front().frames > 0.0 ? exitSuccess : exitNothingUsable;
}

} // namespace qztool
