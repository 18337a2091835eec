// Writes messages of a model as definition files.
#pragma once

#include "tests/tools/definitions/fibex/FlexRayFibex.h"
#include "tests/tools/drive/random/Model.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace qztool {
namespace model {

using Messages = std::vector<Message>;

// Least significant bit of a little endian signal, most significant one of a big endian one.
inline unsigned startOf(Signal const& signal) {
    return signal.bigEndian ? signal.bits.front() : signal.bits.back();
}

inline std::string dbcText(Messages const& messages, std::string const& attributes) {
    std::ostringstream text, types;
    for (Message const& message : messages) {
        std::uint32_t const identifier = message.address | (message.extended ? 0x80000000U : 0U);
        text << "BO_ " << identifier << " " << message.name << ": " << message.length << " X\n";
        for (Signal const& signal : message.signals) {
            text << " SG_ " << signal.name << " "
                 << (signal.isMultiplexor     ? "M "
                     : signal.selectedBy >= 0 ? "m" + std::to_string(signal.selectedBy) + " "
                                              : "")
                 << ": " << startOf(signal) << "|" << signal.bits.size() << "@" << (signal.bigEndian ? 0 : 1)
                 << (signal.kind == Kind::Signed ? "-" : "+") << " (" << signal.factor << "," << signal.offset
                 << ") [0|0] \"\" X\n";
            if (signal.kind == Kind::Float || signal.kind == Kind::Double)
                types << "SIG_VALTYPE_ " << identifier << " " << signal.name << " : "
                      << (signal.kind == Kind::Float ? 1 : 2) << ";\n";
        }
    }
    return text.str() + types.str() + attributes;
}

inline std::string kcdPlace(Signal const& signal) {
    unsigned const start = startOf(signal);
    constexpr char const* types[] = {"unsigned", "signed", "single", "double"};
    std::ostringstream text;
    text << "name=\"" << signal.name << "\" offset=\"" << (signal.bigEndian ? start / 8 * 8 + 7 - start % 8 : start)
         << "\" length=\"" << signal.bits.size() << "\" endianess=\"" << (signal.bigEndian ? "big" : "little")
         << "\"><Value type=\"" << types[static_cast<std::size_t>(signal.kind)] << "\" slope=\"" << signal.factor
         << "\" intercept=\"" << signal.offset << "\"/>";
    return text.str();
}

inline std::string kcdText(Messages const& messages) {
    std::ostringstream text;
    text << "<NetworkDefinition><Bus name=\"B\">\n";
    for (Message const& message : messages) {
        text << "<Message id=\"" << message.address << "\" name=\"" << message.name << "\" format=\""
             << (message.extended ? "extended" : "standard") << "\" length=\"" << message.length << "\">\n";
        for (Signal const& signal : message.signals)
            if (!signal.isMultiplexor && signal.selectedBy < 0)
                text << "<Signal " << kcdPlace(signal) << "</Signal>\n";
        if (!message.signals.empty() && message.signals.front().isMultiplexor) {
            text << "<Multiplex " << kcdPlace(message.signals.front());
            for (int value = 0; value < 4; ++value) {
                text << "<MuxGroup count=\"" << value << "\">";
                for (Signal const& signal : message.signals)
                    if (signal.selectedBy == value)
                        text << "<Signal " << kcdPlace(signal) << "</Signal>";
                text << "</MuxGroup>\n";
            }
            text << "</Multiplex>\n";
        }
        text << "</Message>\n";
    }
    text << "</Bus></NetworkDefinition>\n";
    return text.str();
}

// Signals are unsigned and little endian, and those of all frames have names of their own.
inline std::string ldfText(Messages const& messages) {
    std::ostringstream signals, frames, codings, uses;
    for (Message const& message : messages) {
        frames << message.name << ": " << message.address << ", M, " << message.length << " {";
        for (Signal const& signal : message.signals) {
            signals << signal.name << ": " << signal.bits.size() << ", 0, M, S;\n";
            frames << signal.name << ", " << startOf(signal) << ";";
            codings << "C" << signal.name << " { physical_value, 0, 65535, " << signal.factor << ", " << signal.offset
                    << ", \"\"; }\n";
            uses << "C" << signal.name << ": " << signal.name << ";\n";
        }
        frames << "}\n";
    }
    return "LIN_description_file;\nLIN_protocol_version = \"2.1\";\nLIN_language_version = \"2.1\";\n"
           "LIN_speed = 19.2 kbps;\nSignals {\n" +
           signals.str() + "}\nFrames {\n" + frames.str() + "}\nSignal_encoding_types {\n" + codings.str() +
           "}\nSignal_representation {\n" + uses.str() + "}\n";
}

// Factors and offsets are 1 and 0.
inline std::string fibexText(Messages const& messages) {
    std::vector<FibexFrame> frames;
    for (Message const& message : messages) {
        FibexFrame& frame = frames.emplace_back(
            FibexFrame{message.name, message.address, message.baseCycle, message.repetition, "A", message.length, {}});
        for (Signal const& signal : message.signals)
            frame.signals.push_back({signal.name, startOf(signal), static_cast<unsigned>(signal.bits.size()),
                                     signal.bigEndian, signal.kind == Kind::Signed});
    }
    return flexRayFibex(frames);
}

} // namespace model
} // namespace qztool
