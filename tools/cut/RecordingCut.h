// Writes the stretches of a recording around the moments of a condition, each to a file.
#pragma once

#include "tools/cut/CutFile.h"
#include "tools/cut/CutText.h"
#include "tools/cut/LineRing.h"
#include "tools/moments/MomentSearch.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace qztool {

// Times are in microseconds.
struct CutPlan {
    std::uint64_t before = 5'000'000;
    std::uint64_t after = 10'000'000;
    std::uint64_t least = 0; // for which the condition must have held; see MomentSearch
    // Name of the files: "%n" is the number of each, from 1. Without one, the second and further files have "-2" and so
    // on before their suffix. Empty: "event-%n" with the suffix of the format. What these files hold is overwritten.
    std::string pattern;
    std::string recording; // path of the recording, which is not overwritten
    FrameTimes times = FrameTimes::AsRecorded;
    std::string condition; // for the comments
};

// A file that is complete.
struct CutRecording {
    std::string path;
    std::uint64_t first = 0; // time of its first frame
    std::uint64_t last = 0;  // of its last one
    std::uint64_t frames = 0;
    std::uint64_t moments = 0;
    bool endsEarly = false; // the recording ended before the stretch did
};

class CutListener {
public:
    virtual ~CutListener() = default;

    virtual void onFile(CutRecording const& file) = 0;
    // Called once, at which the cut ends. `error` is the value of errno; 0: the file is the recording itself.
    virtual void onFailure(std::string const& path, int error) = 0;
    // Called now and then.
    virtual void onProgress() {}
};

// Listens to the drive that feeds the condition's signals. A stretch includes its ends, and is one with the stretch
// before if it overlaps or touches that. Each moment is a comment before the frame with which it was found. Where
// recorded time steps back by more than a second, or a further header comes, another recording begins: stretches do not
// reach across. The lines of the last `before` microseconds are kept in memory. Condition, recording and listener must
// outlive it.
class RecordingCut : public DriveListener, private MomentListener {
public:
    RecordingCut(CutPlan plan, Condition& condition, RecordingReader const& recording, CutListener& listener);

    bool onFrame(Frame const& frame) override;
    void onMessage(Frame const& frame, std::uint64_t message) override { d_search.onMessage(frame, message); }
    void onFed(Frame const& frame) override;
    void onFrameWithoutData(Frame const& frame) override;
    void onProgress(RecordingReader const& /*recording*/) override { d_listener.onProgress(); }
    void onEnd() override;

    bool found() const { return d_search.found(); }
    // Frames within stretches that the format of the files cannot hold.
    std::uint64_t leftOut() const { return d_leftOut; }

private:
    void onMoment(Moment const& moment) override;
    void arrive(Frame const& frame);
    void take(Frame const& frame);
    void open();
    void close(bool isEnd);
    void write(std::uint64_t time, std::string_view line);
    void takeFromRing(std::uint64_t begin);
    void checkFile();
    std::string nextPath() const;
    bool isRecording(std::string const& path) const;
    std::string commentOf(Moment const& moment) const;

    CutPlan d_plan;
    RecordingReader const& d_recording;
    CutListener& d_listener;
    MomentSearch d_search;
    CutText d_text;
    LineRing d_ring;
    std::string d_line;              // of the current frame
    std::size_t d_headers = 0;       // of the recording
    std::uint64_t d_now = 0;         // time of the last frame
    std::unique_ptr<CutFile> d_file; // of the stretch that is being written; null: there is none
    CutRecording d_cut;              // the same
    std::uint64_t d_end = 0;         // the same: last time in it
    std::size_t d_count = 0;         // files
    std::uint64_t d_leftOut = 0;
    bool d_failed = false;
};

} // namespace qztool
