// Writes FIBEX files of FlexRay frames for tests.
#pragma once

#include <string>
#include <vector>

namespace qztool {

struct FibexSignal {
    std::string name; // unique in the file
    unsigned position;
    unsigned bits;
    bool bigEndian = false;
    bool isSigned = false;
};

struct FibexFrame {
    std::string name;
    unsigned slot, baseCycle, repetition;
    std::string channels; // "A", "B" or "AB"
    unsigned length;
    std::vector<FibexSignal> signals;
};

inline std::string flexRayFibex(std::vector<FibexFrame> const& frames) {
    auto const named = [](std::string const& element, std::string const& id, std::string const& name) {
        return "<fx:" + element + " ID=\"" + id + "\"><ho:SHORT-NAME>" + name + "</ho:SHORT-NAME>";
    };
    std::string triggerings[2], frameTexts, signals, codings;
    for (FibexFrame const& frame : frames) {
        for (char const channel : frame.channels)
            triggerings[channel - 'A'] +=
                "<fx:FRAME-TRIGGERING ID=\"T" + frame.name + channel +
                "\"><fx:TIMINGS><fx:ABSOLUTELY-SCHEDULED-TIMING><fx:SLOT-ID>" + std::to_string(frame.slot) +
                "</fx:SLOT-ID><fx:BASE-CYCLE>" + std::to_string(frame.baseCycle) +
                "</fx:BASE-CYCLE><fx:CYCLE-REPETITION>" + std::to_string(frame.repetition) +
                "</fx:CYCLE-REPETITION></fx:ABSOLUTELY-SCHEDULED-TIMING></fx:TIMINGS><fx:FRAME-REF ID-REF=\"F" +
                frame.name + "\"/></fx:FRAME-TRIGGERING>\n";
        frameTexts += named("FRAME", "F" + frame.name, frame.name) + "<fx:BYTE-LENGTH>" + std::to_string(frame.length) +
                      "</fx:BYTE-LENGTH><fx:SIGNAL-INSTANCES>\n";
        for (FibexSignal const& signal : frame.signals) {
            frameTexts += "<fx:SIGNAL-INSTANCE><fx:BIT-POSITION>" + std::to_string(signal.position) +
                          "</fx:BIT-POSITION><fx:IS-HIGH-LOW-BYTE-ORDER>" + (signal.bigEndian ? "true" : "false") +
                          "</fx:IS-HIGH-LOW-BYTE-ORDER><fx:SIGNAL-REF ID-REF=\"S" + signal.name +
                          "\"/></fx:SIGNAL-INSTANCE>\n";
            signals += named("SIGNAL", "S" + signal.name, signal.name) + "<fx:CODING-REF ID-REF=\"C" + signal.name +
                       "\"/></fx:SIGNAL>\n";
            codings += named("CODING", "C" + signal.name, "C" + signal.name) + "<ho:CODED-TYPE ho:BASE-DATA-TYPE=\"" +
                       (signal.isSigned ? "A_INT64" : "A_UINT64") + "\"><ho:BIT-LENGTH>" + std::to_string(signal.bits) +
                       "</ho:BIT-LENGTH></ho:CODED-TYPE></fx:CODING>\n";
        }
        frameTexts += "</fx:SIGNAL-INSTANCES></fx:FRAME>\n";
    }
    auto const channel = [&named, &triggerings](char name) {
        return named("CHANNEL", std::string("CH") + name, std::string("Channel") + name) +
               "<flexray:FLEXRAY-CHANNEL-NAME>" + name + "</flexray:FLEXRAY-CHANNEL-NAME><fx:FRAME-TRIGGERINGS>" +
               triggerings[name - 'A'] + "</fx:FRAME-TRIGGERINGS></fx:CHANNEL>";
    };
    return "<?xml version=\"1.0\"?>\n<fx:FIBEX VERSION=\"2.0.1\"><fx:ELEMENTS>\n<fx:CLUSTERS>" +
           named("CLUSTER", "N", "Net") +
           "<fx:BIT-COUNTING-POLICY>SAWTOOTH</fx:BIT-COUNTING-POLICY><fx:PROTOCOL>FlexRay</fx:PROTOCOL>"
           "<flexray:CYCLE>5000</flexray:CYCLE><flexray:NUMBER-OF-STATIC-SLOTS>60</flexray:NUMBER-OF-STATIC-SLOTS>"
           "<fx:CHANNEL-REFS><fx:CHANNEL-REF ID-REF=\"CHA\"/><fx:CHANNEL-REF ID-REF=\"CHB\"/></fx:CHANNEL-REFS>"
           "</fx:CLUSTER></fx:CLUSTERS>\n<fx:CHANNELS>" +
           channel('A') + channel('B') + "</fx:CHANNELS>\n<fx:FRAMES>" + frameTexts + "</fx:FRAMES>\n<fx:SIGNALS>" +
           signals + "</fx:SIGNALS></fx:ELEMENTS>\n<fx:PROCESSING-INFORMATION><fx:CODINGS>" + codings +
           "</fx:CODINGS></fx:PROCESSING-INFORMATION></fx:FIBEX>\n";
}

} // namespace qztool
