// Reports what is wrong with a live recording while it comes.
#pragma once

#include "tools/base/Console.h"
#include "tools/recordings/RecordingReader.h"

#include <string>

namespace qztool {

// A line for each thing that is malformed, as soon as it is read, if the recording is live. `report` says the rest in
// the end: of causes that come up too often to print each, all places. In a file, the end comes soon, and one
// line for each cause is clearer.
class LiveReport : private FindingsListener {
public:
    // The recording must not read on without this object; `path` is its name in messages.
    LiveReport(RecordingReader& recording, std::string const& path, Console& console);
    ~LiveReport() override { d_recording.setListener(nullptr); }
    LiveReport(LiveReport const&) = delete;
    LiveReport& operator=(LiveReport const&) = delete;

    // So many of a cause are printed.
    static constexpr std::size_t mostOfACause = 10;

private:
    void malformed(Malformed const& group, std::uint64_t place) override;

    RecordingReader& d_recording;
    std::string const& d_path;
    Console& d_console;
};

} // namespace qztool
