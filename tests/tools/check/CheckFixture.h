// Findings about definition files and recordings that a test writes.
#pragma once

#include "tests/tools/drive/DriveFixture.h"
#include "tools/base/Numbers.h"
#include "tools/check/DefinitionChecks.h"
#include "tools/check/FindingList.h"
#include "tools/check/FoundProblems.h"
#include "tools/check/RecordingCheck.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qztool {

class CheckFixture : public DriveFixture {
protected:
    // Loads the files and checks them, without the signals' prefix in texts.
    std::vector<Finding> check(std::vector<std::string> const& definitions, std::string const& recording = "") {
        FoundProblems problems(d_others);
        DefinitionSet set(problems);
        CurrentFrame frame;
        SignalSet signals(set, frame, problems);
        for (std::string const& file : definitions)
            EXPECT_TRUE(set.load(parseDefinitionFile(file)));
        if (set.hasSignals())
            EXPECT_EQ(signals.build({}), SignalSet::Built::Ready) << d_others.text();
        std::vector<Finding> findings;
        if (recording.empty()) {
            checkDefinitions(set, findings);
            problems.addTo(findings);
        } else {
            NeverStop stop;
            RecordingReader reader(recording, stop);
            Drive drive(reader, set.channels(), frame, stop);
            RecordingCheck checking(set, signals, frame, reader);
            drive.run(checking);
            checking.addTo(findings, "recording");
            d_coverage = checking.traffic().coverage();
        }
        sortFindings(findings, set);
        for (Finding& finding : findings)
            for (std::string* const text : {&finding.text, &finding.signal})
                for (std::size_t at = 0; (at = text->find(d_prefix)) != std::string::npos;)
                    text->erase(at, d_prefix.size());
        return findings;
    }
    // The same of one DBC file, whose statements may follow those of one message M of 8 bytes, and of candump lines.
    std::vector<Finding> checkDbc(std::string const& text, std::string const& log = "") {
        return check({dbcFile(text)}, log.empty() ? "" : file("drive.log", log));
    }

    // A line for each finding of the kind, such as "2 M.B 1: 'M.B' shares bits with ..."
    static std::string textOf(std::vector<Finding> const& findings, CheckKind kind) {
        std::string text;
        for (Finding const& finding : findings)
            if (finding.kind == kind)
                text += std::to_string(finding.line) + " " + (finding.signal.empty() ? "-" : finding.signal) + " " +
                        std::to_string(finding.count) + ": " + finding.text +
                        (finding.first ? " (" + secondsText(finding.first->time) + ", " +
                                             std::to_string(finding.first->number) + ")"
                                       : "") +
                        "\n";
        return text;
    }

    TextReporter d_others; // what is no finding
    Traffic::Coverage d_coverage;
};

// A line of candump.
inline std::string frameLine(double time, std::string const& frame) {
    char text[64];
    std::snprintf(text, sizeof text, "(%.6f) can0 %s\n", time, frame.c_str());
    return text;
}

// Frames of an identifier at these times, with a data byte that counts.
inline std::string everyFrame(std::string const& identifier, double begin, double end, double period) {
    std::string text;
    for (unsigned i = 0; begin + i * period < end; ++i) {
        char data[8];
        std::snprintf(data, sizeof data, "%02X", i & 0xFFU);
        text += frameLine(begin + i * period, identifier + "#" + data + "00000000000000");
    }
    return text;
}

} // namespace qztool
