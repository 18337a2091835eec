// Problems, malformed lines, and recordings without a frame.
#include "tools/console/RecordingReport.h"

#include "tools/base/StopRequest.h"

namespace qztool {

ExitStatus report(Drive const& drive, std::string const& path, Console& console) {
    Findings const& findings = drive.recording().findings();
    bool const failed = !findings.problem().empty();
    if (failed)
        console.error(findings.problem());
    for (Malformed const& malformed : findings.malformed())
        console.error(path, ":", malformed.places.text(), ": ", malformed.cause);
    if (drive.counts().frames == 0 && !stopRequested()) {
        bool const bad = failed || findings.malformedCount() != 0;
        if (!failed)
            console.error(path, bad ? ": not one line holds a frame" : ": holds no frame");
        return bad ? exitBadData : exitNothingUsable;
    }
    return failed ? exitNothingUsable : exitSuccess;
}

} // namespace qztool
