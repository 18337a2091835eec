// Problems, malformed lines, and recordings without a frame.
#include "tools/console/RecordingReport.h"

#include "tools/base/StopRequest.h"

namespace qztool {

ExitStatus report(RecordingReader const& trace, std::string const& path, Console& console) {
    bool const failed = !trace.problem().empty();
    if (failed)
        console.error(trace.problem());
    for (MalformedLines const& lines : trace.malformed())
        console.error(path, ":", lines.lines.text(), ": ", lines.cause);
    if (trace.count(LineKind::Frame) == 0 && !stopRequested()) {
        bool const bad = failed || trace.count(LineKind::Malformed) != 0;
        if (!failed)
            console.error(path, bad ? ": not one line holds a frame" : ": holds no frame");
        return bad ? exitBadData : exitNothingUsable;
    }
    return failed ? exitNothingUsable : exitSuccess;
}

} // namespace qztool
