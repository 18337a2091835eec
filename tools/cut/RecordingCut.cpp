// Stretches, and the names of their files.
#include "tools/cut/RecordingCut.h"

#include "tools/base/Numbers.h"
#include "tools/base/Printable.h"

#include <algorithm>
#include <limits>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace qztool {

namespace {

std::uint64_t sum(std::uint64_t a, std::uint64_t b) {
    return a + std::min(b, std::numeric_limits<std::uint64_t>::max() - a);
}

std::uint64_t difference(std::uint64_t a, std::uint64_t b) {
    return a - std::min(a, b);
}

} // namespace

RecordingCut::RecordingCut(CutPlan plan, Condition& condition, RecordingReader const& recording, CutListener& listener)
    : d_plan(std::move(plan)),
      d_recording(recording),
      d_listener(listener),
      d_search(condition, recording, *this, d_plan.least),
      d_text(recording, d_plan.times) {}

bool RecordingCut::onFrame(Frame const& frame) {
    d_search.onFrame(frame);
    arrive(frame);
    return !d_failed;
}

void RecordingCut::onFed(Frame const& frame) {
    d_search.onFed(frame);
    take(frame);
}

void RecordingCut::onFrameWithoutData(Frame const& frame) {
    d_search.onFrameWithoutData(frame);
    arrive(frame);
    take(frame);
}

void RecordingCut::onEnd() {
    d_search.onEnd();
    close(true);
}

void RecordingCut::arrive(Frame const& frame) {
    constexpr std::uint64_t disorder = 1'000'000; // of frames of one recording, such as on several channels
    bool const isSeam = d_recording.headers() != d_headers || sum(frame.timestamp, disorder) < d_now;
    d_now = frame.timestamp;
    if (!isSeam)
        return;
    d_headers = d_recording.headers();
    close(true);
    d_ring.clear();
}

void RecordingCut::take(Frame const& frame) {
    d_line.clear();
    bool const isHeld = d_text.append(frame, d_line);
    bool const isWithin = d_file && frame.timestamp <= d_end;
    if (!isHeld)
        d_leftOut += isWithin ? 1 : 0;
    else if (isWithin)
        write(frame.timestamp, d_line);
    else
        d_ring.push(frame.timestamp, d_line);
    d_ring.removeBefore(difference(frame.timestamp, d_plan.before));
    // A stretch of a moment to come would begin after it.
    if (d_file && difference(frame.timestamp, d_plan.before) > d_end)
        close(false);
    checkFile();
}

void RecordingCut::onMoment(Moment const& moment) {
    if (d_failed)
        return;
    std::uint64_t const begin = difference(moment.timestamp, d_plan.before);
    if (d_file && begin > d_end)
        close(false);
    d_end = d_file ? std::max(d_end, sum(moment.timestamp, d_plan.after)) : sum(moment.timestamp, d_plan.after);
    if (!d_file)
        open();
    takeFromRing(begin);
    if (d_file)
        d_file->write(d_text.comment(commentOf(moment)));
    ++d_cut.moments;
    if (d_recording.isLive() && d_file)
        d_file->flush();
    checkFile();
}

void RecordingCut::open() {
    std::string const path = nextPath();
    d_cut = {path};
    if (isRecording(path)) {
        d_failed = true;
        d_listener.onFailure(path, 0);
        return;
    }
    d_file = std::make_unique<CutFile>(path);
    ++d_count;
    d_file->write(d_text.header());
}

// What the stretch holds of the frames so far.
void RecordingCut::takeFromRing(std::uint64_t begin) {
    d_ring.forEach([this, begin](std::uint64_t time, std::string_view line) {
        if (time >= begin && time <= d_end)
            write(time, line);
    });
    d_ring.clear();
}

void RecordingCut::write(std::uint64_t time, std::string_view line) {
    if (!d_file)
        return;
    d_file->write(line);
    d_cut.first = d_cut.frames == 0 ? time : d_cut.first;
    d_cut.last = time;
    ++d_cut.frames;
}

void RecordingCut::close(bool isEnd) {
    if (!d_file)
        return;
    d_file->write(d_text.footer());
    d_file->close();
    checkFile();
    d_file.reset();
    d_cut.endsEarly = isEnd && d_now < d_end;
    if (!d_failed)
        d_listener.onFile(d_cut);
}

void RecordingCut::checkFile() {
    if (d_failed || !d_file || d_file->error() == 0)
        return;
    d_failed = true;
    d_listener.onFailure(d_cut.path, d_file->error());
}

std::string RecordingCut::nextPath() const {
    std::string const number = std::to_string(d_count + 1);
    std::string path = d_plan.pattern.empty() ? std::string("event-%n") + d_text.suffix() : d_plan.pattern;
    constexpr std::string_view mark = "%n";
    std::size_t place = path.find(mark);
    if (place == std::string::npos && d_count != 0) {
        std::size_t const name = path.rfind('/') + 1; // npos + 1 is 0
        std::size_t const suffix = path.rfind('.');
        path.insert(suffix == std::string::npos || suffix <= name ? path.size() : suffix, "-" + number);
    }
    for (; place != std::string::npos; place = path.find(mark, place + number.size()))
        path.replace(place, mark.size(), number);
    return path;
}

bool RecordingCut::isRecording(std::string const& path) const {
    struct stat file {};
    struct stat recording {};
    if (stat(path.c_str(), &file) != 0 || !S_ISREG(file.st_mode))
        return false;
    int const result =
        d_plan.recording == "-" ? fstat(STDIN_FILENO, &recording) : stat(d_plan.recording.c_str(), &recording);
    return result == 0 && file.st_dev == recording.st_dev && file.st_ino == recording.st_ino;
}

std::string RecordingCut::commentOf(Moment const& moment) const {
    std::string condition = d_plan.condition;
    std::replace_if(condition.begin(), condition.end(), isControlCharacter, ' ');
    return secondsText(moment.timestamp) + " true (" + d_recording.placeKind() + " " + std::to_string(moment.place) +
           "): " + condition;
}

} // namespace qztool
