// Lines about damage.
#include "tools/console/LiveReport.h"

#include "tools/console/RecordingReport.h"

namespace qztool {

LiveReport::LiveReport(RecordingReader& recording, std::string const& path, Console& console)
    : d_recording(recording), d_path(path), d_console(console) {
    if (recording.isLive())
        recording.setListener(this);
}

void LiveReport::malformed(Malformed const& group, std::uint64_t place) {
    if (group.places.count() <= mostOfACause)
        d_console.error(placesText(d_recording, d_path, std::to_string(place)), ": ", group.cause);
}

} // namespace qztool
