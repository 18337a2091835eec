// Conditions over short recordings, and what is found in these.
#pragma once

#include "tests/tools/drive/DriveFixture.h"
#include "tools/drive/Drive.h"
#include "tools/moments/Condition.h"
#include "tools/moments/MomentSearch.h"

#include <cstdint>
#include <string>

namespace qztool {

// Message "A" with identifier 0x100: "Speed" in its first byte, "Load" in its second one.
class MomentsFixture : public DriveFixture {
protected:
    // A line for each moment: its time, its place, how long the condition held (microseconds), and how that ended. What
    // was reported comes first.
    std::string found(std::string const& text, std::string const& log, std::uint64_t least = 0) {
        TextReporter reporter;
        CurrentFrame frame;
        DefinitionSet definitionSet(reporter);
        definitionSet.load({std::nullopt, dbcFile(d_definitions)});
        SignalSet signals(definitionSet, frame, reporter);
        DerivedSignals derived;
        Condition condition(text, definitionSet, derived, reporter);
        if (!condition.resolve())
            return reporter.text();
        signals.buildNamed({condition.signals().begin(), condition.signals().end()});
        if (condition.compile() != Condition::Compiled::Ready)
            return reporter.text() + "not compiled\n";
        NeverStop stop;
        RecordingReader recording(file("drive.log", log), stop);
        Drive drive(recording, definitionSet.channels(), frame, stop);
        Moments moments;
        MomentSearch search(condition, recording, moments, least);
        drive.run(search);
        EXPECT_EQ(search.found(), !moments.d_text.empty());
        return reporter.text() + moments.d_text;
    }

    std::string d_definitions = "BO_ 256 A: 8 X\n SG_ Speed : 0|8@1+ (0.5,-10) [0|0] \"km/h\" X\n"
                                " SG_ Load : 8|8@1- (1,0) [0|0] \"%\" X\n";

private:
    // Each moment is heard of twice, in this order.
    struct Moments : MomentListener {
        void onMoment(Moment const& moment) override {
            EXPECT_FALSE(d_isOpen);
            EXPECT_FALSE(moment.ended);
            d_isOpen = true;
            d_last = moment;
        }
        void onMomentOver(Moment const& moment) override {
            EXPECT_TRUE(d_isOpen);
            EXPECT_EQ(moment.timestamp, d_last.timestamp);
            EXPECT_EQ(moment.place, d_last.place);
            d_isOpen = false;
            d_text += std::to_string(moment.timestamp) + " line " + std::to_string(moment.place) + " held " +
                      std::to_string(moment.held) + (moment.ended ? " ended" : " open") + "\n";
        }
        std::string d_text;
        bool d_isOpen = false;
        Moment d_last;
    };
};

} // namespace qztool
