// Prints frames as candump does to a screen.
#pragma once

#include "tests/tools/recordings/RecordingFixtures.h"
#include "tools/recordings/Frame.h"

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>
#include <utility>

namespace qztool {

// The options of candump.
struct CandumpForm {
    char time = '-'; // a, A, z or d; -: without
    bool asText = false;
    bool extra = false;
    bool dropped = false;
    bool explained = false;
    bool binary = false;
    bool swapped = false;
    bool rawLength = false;
    unsigned colours = 0; // 0..3
    bool log2long = false;
};

inline std::string candumpNumber(char const* format, std::uint64_t number) {
    char text[32];
    std::snprintf(text, sizeof text, format, static_cast<unsigned long long>(number));
    return text;
}

// A frame after the other. Direction, bit rate switch and error state are not visible without `extra`.
class CandumpPrinter {
public:
    explicit CandumpPrinter(CandumpForm form) : d_form(form) {}

    std::string line(Frame const& frame) {
        bool const isError = frame.is(frameFlag::error);
        std::string const colour = d_form.colours == 0 ? "" : "\33[1m\33[34m";
        std::string line = d_form.log2long ? "" : " ";
        line += d_form.colours == 3 ? colour : "";
        line += timeOf(frame.timestamp) + " ";
        line += d_form.colours == 1 || d_form.colours == 2 ? colour : "";
        line += "can" + std::to_string(frame.channel);
        if (d_form.extra)
            line += std::string(frame.is(frameFlag::received) ? "  RX " : "  TX ") +
                    (frame.is(frameFlag::bitRateSwitch) ? "B " : "- ") + (frame.is(frameFlag::errorState) ? "E" : "-");
        line += d_form.colours == 1 ? "\33[0m" : "";
        line += "  " + std::string(frame.extended() ? 0 : 5, ' ') +
                hexText(frame.address | (isError ? 0x20000000U : 0U), frame.extended() ? 8 : 3) + lengthOf(frame);
        if (frame.is(frameFlag::remote))
            line += " remote request";
        else
            line += dataOf(frame);
        if (isError)
            line += "   ERRORFRAME";
        else if (d_form.asText && !frame.is(frameFlag::remote) && frame.length <= 8)
            line += "   " + text(frame);
        if (isError && d_form.explained)
            line += "\n\tprotocol-violation{{error-on-tx}{acknowledge-slot}}\n\terror-counter-tx-rx{{0}{10}}";
        line += d_form.colours > 1 ? "\33[0m\n" : "\n";
        if (d_form.dropped && ++d_lines % 3 == 0)
            line += "DROPCOUNT: dropped 1 CAN frame on 'can0' socket (total drops 1)\n";
        return line;
    }

private:
    static std::string seconds(char const* format, std::uint64_t time) {
        return "(" + candumpNumber(format, time / 1'000'000) + candumpNumber(".%06llu", time % 1'000'000) + ") ";
    }

    std::string timeOf(std::uint64_t time) {
        std::uint64_t const last = std::exchange(d_last, time);
        d_first = d_lines == 0 && d_first == 0 ? time : d_first;
        if (d_form.time == 'a')
            return seconds("%010llu", time);
        if (d_form.time == 'z')
            return seconds("%03llu", time - d_first);
        if (d_form.time == 'd')
            return seconds("%03llu", last == 0 ? 0 : time - last);
        if (d_form.time == '-')
            return "";
        auto const second = static_cast<std::time_t>(time / 1'000'000);
        char text[32];
        std::strftime(text, sizeof text, "(%Y-%m-%d %H:%M:%S", std::localtime(&second));
        return text + candumpNumber(".%06llu) ", time % 1'000'000);
    }

    std::string lengthOf(Frame const& frame) const {
        if (frame.is(frameFlag::fd))
            return candumpNumber("  [%02llu] ", frame.length);
        return candumpNumber(d_form.rawLength ? "   {%llX} " : "   [%llu] ", frame.length);
    }

    std::string dataOf(Frame const& frame) const {
        std::string data;
        for (std::size_t i = 0; i < frame.length; ++i) {
            unsigned const byte = frame.bytes[d_form.swapped ? frame.length - 1 - i : i];
            data += d_form.swapped && i != 0 ? '`' : ' ';
            if (d_form.binary)
                for (unsigned bit = 8; bit-- > 0;)
                    data += (byte >> bit & 1U) != 0 ? '1' : '0';
            else
                data += hexText(byte, 2);
        }
        return data;
    }

    std::string text(Frame const& frame) const {
        std::string text;
        for (std::size_t i = 0; i < frame.length; ++i) {
            char const byte = static_cast<char>(frame.bytes[d_form.swapped ? frame.length - 1 - i : i]);
            text += byte > 0x1F && byte < 0x7F ? byte : '.';
        }
        return d_form.swapped ? "`" + text + "`" : "'" + text + "'";
    }

    CandumpForm d_form;
    std::uint64_t d_first = 0;
    std::uint64_t d_last = 0;
    unsigned d_lines = 0;
};

} // namespace qztool
