// What the tests of the log readers share: pipes, files, interruptions, and the texts they expect.
#pragma once

#include "tools/recordings/Frame.h"
#include "tools/recordings/text/ParsedLine.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

#include <sys/time.h>
#include <unistd.h>

namespace qztool {

inline std::string hexText(std::uint32_t value, int digits) {
    char text[9];
    std::snprintf(text, sizeof text, "%0*lX", digits, static_cast<unsigned long>(value));
    return text;
}

// "1500000 2 7FF#0102" of timestamp, channel, identifier (8 digits: extended) and data. CAN FD: "7FF##3 0102", with the
// flags as candump writes them; remote: "7FF#R2"; error frames: "error frame"; LIN: "1500000 lin 2 45 tx 0102";
// FlexRay, with slot, cycle and its channels: "1500000 flexray 1 4/25 AB rx 0102", or "null" in place of data.
inline std::string textOf(Frame const& frame) {
    if (frame.is(frameFlag::error))
        return "error frame";
    if (frame.bus != Bus::Can) {
        constexpr std::uint16_t ofFlexRay = frameFlag::channelA | frameFlag::channelB | frameFlag::null;
        bool const isLin = frame.bus == Bus::Lin;
        auto const direction = static_cast<std::uint16_t>(frame.flags & ~(isLin ? 0U : ofFlexRay));
        std::string text = std::to_string(frame.timestamp) + (isLin ? " lin " : " flexray ") +
                           std::to_string(frame.channel) + ' ' + std::to_string(frame.address);
        if (!isLin)
            text += '/' + std::to_string(frame.cycle) + ' ' + (frame.is(frameFlag::channelA) ? "A" : "") +
                    (frame.is(frameFlag::channelB) ? "B" : "");
        text += direction == frameFlag::received ? " rx " : direction == frameFlag::transmitted ? " tx " : " ? ";
        if (frame.is(frameFlag::null))
            return text + (frame.length == 0 ? "null" : "null with data");
        for (std::size_t i = 0; i < frame.length; ++i)
            text += hexText(frame.bytes[i], 2);
        return text;
    }
    std::string text = std::to_string(frame.timestamp) + ' ' + std::to_string(frame.channel) + ' ';
    text += hexText(frame.address, frame.extended() ? 8 : 3) + '#';
    if (frame.is(frameFlag::remote))
        return text + 'R' + std::to_string(frame.length);
    if (frame.is(frameFlag::fd))
        text +=
            std::string("#") +
            std::to_string((frame.is(frameFlag::bitRateSwitch) ? 1 : 0) + (frame.is(frameFlag::errorState) ? 2 : 0)) +
            " ";
    for (std::size_t i = 0; i < frame.length; ++i)
        text += hexText(frame.bytes[i], 2);
    return text;
}

// What became of a line: the frame, "other", "skipped: CAN statistics", or "malformed: odd number of data digits".
inline std::string textOf(ParsedLine const& line, Frame const& frame) {
    if (line.kind == LineKind::Frame)
        return textOf(frame);
    if (line.cause == nullptr)
        return "other";
    return (line.kind == LineKind::Other ? "skipped: " : "malformed: ") + std::string(line.cause);
}

// A frame that was used before, so that what a reader fails to set shows.
inline Frame usedFrame() {
    Frame frame;
    frame.timestamp = 77;
    frame.bus = Bus::FlexRay;
    frame.address = 0x77;
    frame.flags = 0xFFFF;
    frame.channel = 77;
    frame.length = 7;
    frame.bytes.fill(0x77);
    return frame;
}

class Pipe {
public:
    Pipe() {
        if (pipe(d_ends) != 0)
            std::abort();
    }
    ~Pipe() {
        close(d_ends[0]);
        closeWriter();
    }
    Pipe(Pipe const&) = delete;
    Pipe& operator=(Pipe const&) = delete;

    int reader() const { return d_ends[0]; }
    bool write(std::string_view text) {
        while (!text.empty()) {
            ssize_t const count = ::write(d_ends[1], text.data(), text.size());
            if (count < 0 && errno != EINTR)
                return false;
            text.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
        }
        return true;
    }
    void closeWriter() {
        if (d_ends[1] >= 0) {
            close(d_ends[1]);
            d_ends[1] = -1;
        }
    }

private:
    int d_ends[2] = {-1, -1};
};

// A file with the given content, which goes with the object.
class TemporaryFile {
public:
    explicit TemporaryFile(std::string_view content) {
        int const descriptor = mkstemp(d_path);
        if (descriptor < 0)
            std::abort();
        close(descriptor);
        std::ofstream(d_path, std::ios::binary) << content;
    }
    ~TemporaryFile() { unlink(d_path); }
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;

    std::string path() const { return d_path; }

private:
    char d_path[32] = "/tmp/qzsignal-trace-XXXXXX";
};

// Interrupts system calls of this process again and again, so that one that waits for ever ends in EINTR.
class Interruptions {
public:
    explicit Interruptions(int milliseconds) {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, &d_previous);
        set(milliseconds);
    }
    ~Interruptions() {
        set(0);
        sigaction(SIGALRM, &d_previous, nullptr);
    }
    Interruptions(Interruptions const&) = delete;
    Interruptions& operator=(Interruptions const&) = delete;

private:
    static void set(int milliseconds) {
        itimerval timer{};
        timer.it_interval.tv_sec = milliseconds / 1000;
        timer.it_interval.tv_usec = milliseconds % 1000 * 1000;
        timer.it_value = timer.it_interval;
        setitimer(ITIMER_REAL, &timer, nullptr);
    }

    struct sigaction d_previous {};
};

} // namespace qztool
