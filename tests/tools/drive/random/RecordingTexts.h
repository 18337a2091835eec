// Writes frames of a model as recordings.
#pragma once

#include "tests/tools/drive/random/Model.h"
#include "tests/tools/recordings/blf/BlfBytes.h"
#include "tests/tools/recordings/pcap/PcapBytes.h"

#include <cstdio>
#include <string>
#include <vector>

namespace qztool {
namespace model {

using Frames = std::vector<SentFrame>;

template <typename... Arguments>
std::string format(char const* pattern, Arguments... arguments) {
    char text[200];
    std::snprintf(text, sizeof text, pattern, arguments...);
    return text;
}

inline std::string seconds(SentFrame const& frame) {
    return format("%lu.%06lu", static_cast<unsigned long>(frame.time / 1000000),
                  static_cast<unsigned long>(frame.time % 1000000));
}

inline std::string identifier(SentFrame const& frame, int standardDigits = 3) {
    return format("%0*lX", frame.extended ? 8 : standardDigits, static_cast<unsigned long>(frame.address));
}

inline std::string hexBytes(SentFrame const& frame, char const* between) {
    std::string text;
    for (std::uint8_t const byte : frame.payload)
        text += between + format("%02X", static_cast<unsigned>(byte));
    return text;
}

// Data length code of a number of bytes.
inline unsigned codeOf(std::size_t bytes) {
    unsigned code = 8;
    for (std::size_t const each : {12, 16, 20, 24, 32, 48, 64})
        code += bytes >= each ? 1 : 0;
    return bytes <= 8 ? static_cast<unsigned>(bytes) : code;
}

inline std::string bytesOf(SentFrame const& frame) {
    return {frame.payload.begin(), frame.payload.end()};
}

inline std::string candumpText(Frames const& frames) {
    std::string text;
    for (SentFrame const& frame : frames)
        text += "(" + seconds(frame) + ") can1 " + identifier(frame) + (frame.fd ? "##1" : "#") + hexBytes(frame, "") +
                "\n";
    return text;
}

inline std::string ascText(Frames const& frames) {
    std::string text = "date Sat Jan 1 00:00:00.000 2022\nbase hex timestamps absolute\n";
    for (SentFrame const& frame : frames) {
        auto const length = static_cast<unsigned>(frame.payload.size());
        std::string const name = format("%lX%s", static_cast<unsigned long>(frame.address), frame.extended ? "x" : "");
        if (frame.bus == Bus::Lin)
            text += seconds(frame) + " Li " + name + format(" Rx %u", length) + hexBytes(frame, " ") + "\n";
        else if (frame.fd)
            text += seconds(frame) + " CANFD 1 Rx " + name + format(" 1 0 %x %u", codeOf(length), length) +
                    hexBytes(frame, " ") + " 0 0 1000 0 0 0 0 0\n";
        else
            text += seconds(frame) + " 1 " + name + format(" Rx d %u", length) + hexBytes(frame, " ") + "\n";
    }
    return text;
}

inline std::string trcText(Frames const& frames) {
    std::string text = ";$FILEVERSION=2.1\n;$STARTTIME=0\n;$COLUMNS=N,O,T,B,I,d,R,L,D\n";
    unsigned number = 0;
    for (SentFrame const& frame : frames)
        text += format("%u %lu.%03lu ", ++number, static_cast<unsigned long>(frame.time / 1000),
                       static_cast<unsigned long>(frame.time % 1000)) +
                (frame.fd ? "FD" : "DT") + " 1 " + identifier(frame, 4) +
                format(" Rx - %u", codeOf(frame.payload.size())) + hexBytes(frame, " ") + "\n";
    return text;
}

inline std::string pcapText(Frames const& frames) {
    pcap::File const file;
    std::string bytes = file.header(227);
    for (SentFrame const& frame : frames)
        bytes += file.packet(
            pcap::frame(frame.address | (frame.extended ? 0x80000000U : 0U), bytesOf(frame), frame.fd ? 4 : 0),
            static_cast<std::uint32_t>(frame.time / 1000000), static_cast<std::uint32_t>(frame.time % 1000000));
    return bytes;
}

inline std::string blfObject(SentFrame const& frame) {
    std::uint64_t const time = frame.time * 1000;
    std::size_t const length = frame.payload.size();
    if (frame.bus == Bus::Lin)
        return blf::object(
            11, Fields(20).set(0, 2, 1).set(2, 1, frame.address).set(3, 1, length).set(4, bytesOf(frame)).bytes(),
            time);
    if (frame.bus == Bus::FlexRay) {
        Fields fields(44 + length);
        fields.set(0, 2, 1).set(4, 2, 1).set(16, 2, frame.address).set(24, 2, length).set(26, 2, frame.cycle);
        return blf::object(50, fields.set(44, bytesOf(frame)).bytes(), time);
    }
    std::uint32_t const address = frame.address | (frame.extended ? 0x80000000U : 0U);
    if (!frame.fd)
        return blf::object(
            1, Fields(16).set(0, 2, 1).set(3, 1, length).set(4, 4, address).set(8, bytesOf(frame)).bytes(), time);
    Fields fields(84);
    fields.set(0, 2, 1).set(3, 1, codeOf(length)).set(4, 4, address).set(13, 1, 1).set(14, 1, length);
    return blf::object(100, fields.set(20, bytesOf(frame)).bytes(), time);
}

inline std::string blfText(Frames const& frames) {
    std::string objects;
    for (SentFrame const& frame : frames)
        objects += blfObject(frame);
    return blf::fileHeader() + blf::stored(objects);
}

} // namespace model
} // namespace qztool
