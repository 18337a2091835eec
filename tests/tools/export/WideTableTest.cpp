// Columns and rows, to the byte.
#include "tests/tools/export/ExportFixture.h"

namespace qztool {
namespace {

constexpr char car[] = "BO_ 256 M: 8 X\n"
                       " SG_ A : 0|8@1+ (0.5,0) [0|0] \"\" X\n"
                       " SG_ B : 8|8@1- (1,0) [0|0] \"\" X\n"
                       "BO_ 257 N: 8 X\n"
                       " SG_ C : 0|8@1+ (1,0) [0|0] \"\" X\n"
                       "VAL_ 257 C 1 \"on, now\" ;\n";

class WideTableTest : public ExportFixture {
protected:
    static ExportOptions wide(std::uint64_t step = 0) {
        ExportOptions options;
        options.format = ExportFormat::Wide;
        options.step = step;
        return options;
    }
};

TEST_F(WideTableTest, thereIsARowForEachTimeAtWhichAValueWasWritten) {
    load(car);
    begin(wide());
    feed(1, 999, {1});
    feed(2, 256, {1, 2});
    feed(3, 257, {3});
    feed(4, 999, {1});
    feed(5, 256, {4, 0xFF});
    EXPECT_EQ(written(), "time,M.A,M.B,N.C\n"
                         "0.000002,0.5,2,\n"
                         "0.000003,0.5,2,3\n"
                         "0.000005,2,-1,3\n");
    EXPECT_EQ(d_exporter->values(), 8U);
}

TEST_F(WideTableTest, framesOfOneTimeAreOneRowWithTheLastValues) {
    load(car);
    begin(wide());
    feed(2, 256, {1, 2});
    feed(2, 257, {3});
    feed(2, 256, {5, 6});
    feed(2, 999, {0});
    feed(2, 257, {4});
    EXPECT_EQ(written(), "time,M.A,M.B,N.C\n0.000002,2.5,6,4\n");
}

TEST_F(WideTableTest, withoutAStepRowsFollowTimesThatStepBack) {
    load(car);
    begin(wide());
    feed(5, 256, {1, 2});
    feed(3, 257, {3});
    feed(5, 257, {4});
    EXPECT_EQ(written(), "time,M.A,M.B,N.C\n0.000005,0.5,2,\n0.000003,0.5,2,3\n0.000005,0.5,2,4\n");
}

TEST_F(WideTableTest, aStepMakesAGridFromTheFirstFrameToTheLast) {
    load(car);
    begin(wide(10));
    feed(100, 999, {1});
    feed(115, 256, {1, 2});
    feed(120, 257, {3});
    feed(120, 256, {7, 2});
    feed(121, 257, {4});
    feed(150, 999, {1});
    EXPECT_EQ(written(), "time,M.A,M.B,N.C\n"
                         "0.000100,,,\n"
                         "0.000110,,,\n"
                         "0.000120,3.5,2,3\n"
                         "0.000130,3.5,2,4\n"
                         "0.000140,3.5,2,4\n"
                         "0.000150,3.5,2,4\n");
    EXPECT_EQ(d_exporter->values(), 12U);
}

TEST_F(WideTableTest, gridEndsBeforeTheLastFrameIfItDoesNotMeetIt) {
    load(car);
    begin(wide(10));
    feed(100, 257, {1});
    feed(119, 257, {2});
    EXPECT_EQ(written(), "time,M.A,M.B,N.C\n0.000100,,,1\n0.000110,,,1\n");
}

TEST_F(WideTableTest, framesOfAnyKindAreTheFirstAndTheLast) {
    load(car);
    begin(wide(10));
    Frame frame = frameOf(256, {});
    frame.flags = frameFlag::error;
    frame.timestamp = 10;
    d_exporter->onRead(frame);
    feed(25, 257, {1});
    frame.timestamp = 30;
    d_exporter->onRead(frame);
    EXPECT_EQ(written(), "time,M.A,M.B,N.C\n0.000010,,,\n0.000020,,,\n0.000030,,,1\n");
}

TEST_F(WideTableTest, cellsHoldValuesFromBeforeTheFirstRow) {
    load(car);
    ExportOptions options = wide();
    options.from = 10;
    options.to = 20;
    begin(options);
    feed(5, 256, {1, 2});
    feed(9, 257, {3});
    feed(10, 257, {4});
    feed(20, 257, {5});
    feed(21, 257, {6});
    EXPECT_EQ(written(), "time,M.A,M.B,N.C\n0.000010,0.5,2,4\n0.000020,0.5,2,5\n");
}

TEST_F(WideTableTest, gridOfGivenTimesGoesPastTheRecordingOnBothSides) {
    load(car);
    ExportOptions options = wide(10);
    options.from = 5;
    options.to = 45;
    begin(options);
    feed(12, 257, {1});
    feed(33, 257, {2});
    EXPECT_EQ(written(), "time,M.A,M.B,N.C\n"
                         "0.000005,,,\n0.000015,,,1\n0.000025,,,1\n0.000035,,,2\n0.000045,,,2\n");
}

TEST_F(WideTableTest, gridOfGivenTimesHoldsValuesFromBefore) {
    load(car);
    ExportOptions options = wide(10);
    options.from = 20;
    options.to = 30;
    options.relative = true;
    begin(options);
    feed(12, 257, {1});
    feed(29, 256, {2, 3});
    feed(30, 257, {4});
    feed(31, 257, {5});
    EXPECT_EQ(written(), "time,M.A,M.B,N.C\n0.000008,,,1\n0.000018,1,3,4\n");
}

TEST_F(WideTableTest, gridNeverStepsBack) {
    load(car);
    begin(wide(10));
    feed(100, 257, {1});
    feed(125, 257, {2});
    feed(50, 257, {3});
    feed(131, 256, {2, 4});
    EXPECT_EQ(written(), "time,M.A,M.B,N.C\n0.000100,,,1\n0.000110,,,1\n0.000120,,,1\n0.000130,,,3\n");
}

TEST_F(WideTableTest, gridEndsWhereNumbersDo) {
    load(car);
    begin(wide(10));
    std::uint64_t const last = ~std::uint64_t{0};
    feed(last - 15, 257, {1});
    feed(last, 257, {2});
    EXPECT_EQ(written(), "time,M.A,M.B,N.C\n18446744073709.551600,,,1\n18446744073709.551610,,,1\n");
}

TEST_F(WideTableTest, cellsMayBeRawValuesAndWords) {
    load(car);
    ExportOptions options = wide();
    options.raw = true;
    options.words = true;
    begin(options);
    feed(1, 256, {5, 0xFF});
    feed(2, 257, {1});
    feed(3, 257, {2});
    EXPECT_EQ(written(), "time,M.A,M.B,N.C\n0.000001,5,-1,\n0.000002,5,-1,\"on, now\"\n0.000003,5,-1,2\n");
}

TEST_F(WideTableTest, columnsAreInTheOrderOfTheFile) {
    load("BO_ 300 Z: 8 X\n"
         " SG_ One m1 : 8|8@1+ (1,0) [0|0] \"\" X\n"
         " SG_ Switch M : 0|8@1+ (1,0) [0|0] \"\" X\n"
         "BO_ 256 A: 8 X\n"
         " SG_ S : 0|8@1+ (1,0) [0|0] \"\" X\n");
    begin(wide());
    feed(1, 300, {1, 5});
    feed(2, 300, {2, 6});
    feed(3, 256, {9});
    EXPECT_EQ(written(), "time,Z.One,Z.Switch,A.S\n0.000001,5,1,\n0.000002,5,2,\n0.000003,5,2,9\n");
}

TEST_F(WideTableTest, withoutAnyValueThereAreEmptyRowsOnAGridAndNoneOtherwise) {
    load(car);
    begin(wide());
    feed(1, 999, {1});
    EXPECT_EQ(written(), "time,M.A,M.B,N.C\n");
    begin(wide(1));
    feed(1, 999, {1});
    EXPECT_EQ(written(), "time,M.A,M.B,N.C\ntime,M.A,M.B,N.C\n0.000001,,,\n");
    EXPECT_EQ(d_exporter->values(), 0U);
}

} // namespace
} // namespace qztool
