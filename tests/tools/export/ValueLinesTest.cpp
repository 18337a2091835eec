// CSV and JSON lines, to the byte.
#include "tests/tools/definitions/fibex/FlexRayFibex.h"
#include "tests/tools/export/ExportFixture.h"

namespace qztool {
namespace {

class ValueLinesTest : public ExportFixture {};

ExportOptions jsonl() {
    ExportOptions options;
    options.format = ExportFormat::Jsonl;
    return options;
}

constexpr char car[] = "BO_ 256 M: 8 X\n"
                       " SG_ Speed : 0|16@1+ (0.5,-40) [0|0] \"km/h\" X\n"
                       " SG_ Load : 16|8@1- (1,0) [0|0] \"%\" X\n"
                       " SG_ Gear : 24|4@1- (1,0) [0|0] \"\" X\n"
                       "VAL_ 256 Gear 0 \"Park\" -1 \"Reverse, slow\" 15 \"none such\" 1 \"\" ;\n";

TEST_F(ValueLinesTest, csvHasALineForEachValue) {
    load(car);
    begin({});
    feed(1700000000123456, 256, {0xC8, 0, 0xFD, 0});
    feed(1700000000200000, 256, {0xC8, 0, 0xFD, 0x0F});
    feed(1700000000300000, 256, {0xC9, 0, 0x7F, 0x01});
    EXPECT_EQ(written(), "time,signal,value,unit,text\n"
                         "1700000000.123456,M.Speed,60,km/h,\n"
                         "1700000000.123456,M.Load,-3,%,\n"
                         "1700000000.123456,M.Gear,0,,Park\n"
                         "1700000000.200000,M.Speed,60,km/h,\n"
                         "1700000000.200000,M.Load,-3,%,\n"
                         "1700000000.200000,M.Gear,-1,,\"Reverse, slow\"\n"
                         "1700000000.300000,M.Speed,60.5,km/h,\n"
                         "1700000000.300000,M.Load,127,%,\n"
                         "1700000000.300000,M.Gear,1,,\n");
    EXPECT_EQ(d_exporter->values(), 9U);
}

TEST_F(ValueLinesTest, jsonLinesHaveTheRawValueAsWell) {
    load(car);
    begin(jsonl());
    feed(123456, 256, {0xC9, 0, 0xFD, 0x0F});
    EXPECT_EQ(
        written(),
        "{\"time\":0.123456,\"signal\":\"M.Speed\",\"value\":60.5,\"unit\":\"km/h\",\"raw\":201}\n"
        "{\"time\":0.123456,\"signal\":\"M.Load\",\"value\":-3,\"unit\":\"%\",\"raw\":-3}\n"
        "{\"time\":0.123456,\"signal\":\"M.Gear\",\"value\":-1,\"unit\":\"\",\"text\":\"Reverse, slow\",\"raw\":-1}\n");
}

TEST_F(ValueLinesTest, floatingPointValuesHaveTheirPatternsAsRawValues) {
    load("BO_ 256 M: 8 X\n SG_ F : 0|32@1- (2,0) [0|0] \"\" X\nSIG_VALTYPE_ 256 F : 1;\n"
         "BO_ 257 N: 8 X\n SG_ D : 0|64@1- (1,0) [0|0] \"\" X\nSIG_VALTYPE_ 257 D : 2;\n");
    begin(jsonl());
    feed(1, 256, {0, 0, 0x80, 0xBF, 0, 0, 0, 0});
    feed(2, 256, {0, 0, 0x80, 0x7F, 0, 0, 0, 0});
    feed(3, 257, {0, 0, 0, 0, 0, 0, 0xF8, 0xFF});
    feed(4, 257, {0, 0, 0, 0, 0, 0, 0xF0, 0xFF});
    EXPECT_EQ(written(),
              "{\"time\":0.000001,\"signal\":\"M.F\",\"value\":-2,\"unit\":\"\",\"raw\":3212836864}\n"
              "{\"time\":0.000002,\"signal\":\"M.F\",\"value\":null,\"unit\":\"\",\"raw\":2139095040}\n"
              "{\"time\":0.000003,\"signal\":\"N.D\",\"value\":null,\"unit\":\"\",\"raw\":18444492273895866368}\n"
              "{\"time\":0.000004,\"signal\":\"N.D\",\"value\":null,\"unit\":\"\",\"raw\":18442240474082181120}\n");
    begin({});
    feed(2, 256, {0, 0, 0x80, 0x7F, 0, 0, 0, 0});
    feed(3, 257, {0, 0, 0, 0, 0, 0, 0xF8, 0xFF});
    feed(4, 257, {0, 0, 0, 0, 0, 0, 0xF0, 0xFF});
    std::string const text = written();
    EXPECT_NE(text.find("\ntime,signal,value,unit,text\n"
                        "0.000002,M.F,inf,,\n0.000003,N.D,nan,,\n0.000004,N.D,-inf,,\n"),
              std::string::npos)
        << text;
}

TEST_F(ValueLinesTest, rawValuesTakeThePlaceOfPhysicalOnes) {
    load("BO_ 256 M: 8 X\n SG_ All : 0|64@1+ (0.5,7) [0|0] \"\" X\nVAL_ 256 All 0 \"none\" ;\n"
         "BO_ 257 N: 8 X\n SG_ Signed : 0|64@1- (0.5,7) [0|0] \"\" X\n");
    ExportOptions options;
    options.raw = true;
    begin(options);
    feed(1, 256, std::vector<std::uint8_t>(8, 0xFF));
    feed(2, 257, std::vector<std::uint8_t>(8, 0xFF));
    feed(3, 256, std::vector<std::uint8_t>(8, 0));
    EXPECT_EQ(written(), "time,signal,value,unit,text\n"
                         "0.000001,M.All,18446744073709551615,,\n"
                         "0.000002,N.Signed,-1,,\n"
                         "0.000003,M.All,0,,none\n");
}

TEST_F(ValueLinesTest, textsAreQuoted) {
    std::string text = "BO_ 256 M: 8 X\n SG_ S : 0|8@1+ (1,0) [0|0] \"a,b\\c\" X\n"
                       "VAL_ 256 S 1 \"two\nlines\" 2 \"\xC3\xA9\" 3 \"tab\there\" ;\n";
    load(text);
    begin({});
    for (std::uint8_t value = 1; value <= 3; ++value)
        feed(value, 256, {value});
    EXPECT_EQ(written(), "time,signal,value,unit,text\n"
                         "0.000001,M.S,1,\"a,b\\c\",\"two\nlines\"\n"
                         "0.000002,M.S,2,\"a,b\\c\",\xC3\xA9\n"
                         "0.000003,M.S,3,\"a,b\\c\",tab\there\n");
    begin(jsonl());
    for (std::uint8_t value = 1; value <= 3; ++value)
        feed(value, 256, {value});
    std::string const lines = written();
    EXPECT_NE(
        lines.find("{\"time\":0.000001,\"signal\":\"M.S\",\"value\":1,\"unit\":\"a,b\\\\c\",\"text\":\"two\\nlines\","
                   "\"raw\":1}\n"
                   "{\"time\":0.000002,\"signal\":\"M.S\",\"value\":2,\"unit\":\"a,b\\\\c\",\"text\":\"\xC3\xA9\","
                   "\"raw\":2}\n"
                   "{\"time\":0.000003,\"signal\":\"M.S\",\"value\":3,\"unit\":\"a,b\\\\c\",\"text\":\"tab\\there\","
                   "\"raw\":3}\n"),
        std::string::npos)
        << lines;
}

TEST_F(ValueLinesTest, signalsOfAFrameAreInTheOrderOfTheFile) {
    load("BO_ 256 M: 8 X\n"
         " SG_ One m1 : 8|8@1+ (1,0) [0|0] \"\" X\n"
         " SG_ Two m2 : 8|8@1+ (1,0) [0|0] \"\" X\n"
         " SG_ Always : 16|8@1+ (1,0) [0|0] \"\" X\n"
         " SG_ Switch M : 0|8@1+ (1,0) [0|0] \"\" X\n"
         " SG_ Last : 24|8@1+ (1,0) [0|0] \"\" X\n");
    begin({});
    feed(1, 256, {1, 11, 3, 4});
    feed(2, 256, {2, 22, 3, 4});
    feed(3, 256, {2, 22});
    EXPECT_EQ(written(), "time,signal,value,unit,text\n"
                         "0.000001,M.One,11,,\n0.000001,M.Always,3,,\n0.000001,M.Switch,1,,\n0.000001,M.Last,4,,\n"
                         "0.000002,M.Two,22,,\n0.000002,M.Always,3,,\n0.000002,M.Switch,2,,\n0.000002,M.Last,4,,\n"
                         "0.000003,M.Two,22,,\n0.000003,M.Switch,2,,\n")
        << "and only what the frame carries";
}

TEST_F(ValueLinesTest, timesMayBeLimitedAndRelative) {
    load(car);
    ExportOptions options;
    options.from = 2000000;
    options.to = 3000000;
    options.relative = true;
    begin(options);
    for (std::uint64_t const time : {1500000, 1999999, 2000000, 3000000, 3000001, 2500000})
        feed(time, 256, {0, 0});
    EXPECT_EQ(written(), "time,signal,value,unit,text\n"
                         "0.500000,M.Speed,-40,km/h,\n"
                         "1.500000,M.Speed,-40,km/h,\n"
                         "1.000000,M.Speed,-40,km/h,\n");
}

TEST_F(ValueLinesTest, timesBeforeTheFirstFrameAreNegative) {
    load(car);
    ExportOptions options;
    options.relative = true;
    begin(options);
    feed(1500000, 999, {0, 0});
    feed(1000000, 256, {0, 0});
    EXPECT_EQ(written(), "time,signal,value,unit,text\n-0.500000,M.Speed,-40,km/h,\n");
}

TEST_F(ValueLinesTest, frameOfBothChannelsOfFlexRayIsTwoMessages) {
    build(definitionFile("cluster.xml", flexRayFibex({{d_prefix + "A", 17, 1, 4, "A", 4, {{"Level", 0, 8, false}}},
                                                      {d_prefix + "B", 17, 1, 4, "B", 4, {{"Level", 8, 8, false}}}})));
    if (d_signals.signals().empty())
        GTEST_SKIP() << "built without pugixml";
    begin({});
    Frame frame = frameOf(17, {7, 8, 0, 0});
    frame.bus = Bus::FlexRay;
    frame.cycle = 1;
    frame.flags = frameFlag::channelA | frameFlag::channelB;
    feed(frame);
    EXPECT_EQ(written(), "time,signal,value,unit,text\n0.001000,A.Level,7,,\n0.001000,B.Level,8,,\n");
}

} // namespace
} // namespace qztool
