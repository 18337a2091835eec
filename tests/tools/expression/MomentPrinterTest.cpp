// Lines of found moments in each form.
#include "tools/expression/MomentPrinter.h"

#include <gtest/gtest.h>

#include <sstream>

namespace qztool {
namespace {

constexpr Moment ended = {1700000007000042, 12, 4320000, true};
constexpr Moment unended = {15991, 1, 0, false};

std::string printed(MomentFormat format, bool withHeld, char const* placeKind = "line") {
    std::ostringstream out;
    MomentPrinter printer(out, format, withHeld);
    printer.begin(placeKind);
    printer.begin(placeKind);
    printer.print(ended);
    printer.print(unended);
    return out.str();
}

TEST(MomentPrinterTest, textHasTimeAndLine) {
    EXPECT_EQ(printed(MomentFormat::Text, false), "1700000007.000042 true (line 12)\n0.015991 true (line 1)\n");
}

TEST(MomentPrinterTest, textHasTheTimeThatTheConditionHeld) {
    EXPECT_EQ(printed(MomentFormat::Text, true),
              "1700000007.000042 true for 4.320000 s (line 12)\n"
              "0.015991 true for 0.000000 s, to the end of the recording (line 1)\n");
}

TEST(MomentPrinterTest, csvHasColumnNamesAndSeconds) {
    EXPECT_EQ(printed(MomentFormat::Csv, false), "time,line\n1700000007.000042,12\n0.015991,1\n");
    EXPECT_EQ(printed(MomentFormat::Csv, true),
              "time,line,held,ended\n1700000007.000042,12,4.320000,true\n0.015991,1,0.000000,false\n");
}

TEST(MomentPrinterTest, jsonHasAnObjectALineAndMicroseconds) {
    EXPECT_EQ(printed(MomentFormat::Json, false),
              "{\"timestamp\":1700000007000042,\"line\":12}\n{\"timestamp\":15991,\"line\":1}\n");
    EXPECT_EQ(printed(MomentFormat::Json, true),
              "{\"timestamp\":1700000007000042,\"line\":12,\"held\":4320000,\"ended\":true}\n"
              "{\"timestamp\":15991,\"line\":1,\"held\":0,\"ended\":false}\n");
}

TEST(MomentPrinterTest, placesOfOtherRecordingsAreObjectsOrPackets) {
    EXPECT_EQ(printed(MomentFormat::Text, false, "packet"),
              "1700000007.000042 true (packet 12)\n0.015991 true (packet 1)\n");
    for (char const* const kind : {"object", "packet"}) {
        EXPECT_EQ(printed(MomentFormat::Csv, false, kind), "time,object\n1700000007.000042,12\n0.015991,1\n");
        EXPECT_EQ(printed(MomentFormat::Json, false, kind),
                  "{\"timestamp\":1700000007000042,\"object\":12}\n{\"timestamp\":15991,\"object\":1}\n");
    }
}

} // namespace
} // namespace qztool
