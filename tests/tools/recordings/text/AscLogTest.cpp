// Lines of ASC logs, valid and damaged, and the state that goes from line to line.
#include "tools/recordings/text/AscLog.h"

#include "tests/tools/recordings/LocalZone.h"
#include "tests/tools/recordings/RecordingFixtures.h"

#include <gtest/gtest.h>

namespace qztool {
namespace {

std::string parsed(AscLog& log, std::string_view line) {
    Frame frame = usedFrame();
    ParsedLine const result = log.parse(line, frame);
    return textOf(result, frame);
}

struct Case {
    char const* line;
    char const* expected;
};

// Lines of one log, in order.
void check(std::initializer_list<Case> cases) {
    AscLog log;
    for (Case const& oneCase : cases)
        EXPECT_EQ(parsed(log, oneCase.line), oneCase.expected) << oneCase.line;
}

TEST(AscLogTest, frameFieldsAreRead) {
    check({
        {"   3.098426 1  18EBFF00x       Rx d 8 01 A0 0F A6 60 3B D1 40    Length = 273910 BitCount = 141",
         "3098426 1 18EBFF00#01A00FA6603BD140"},
        {"   0.019968 1  64              Rx   d 4 64 00 00 00  Length = 0 BitCount = 0 ID = 100",
         "19968 1 064#64000000"},
        {"0.5 255 7ff TxRq d 1 fF", "500000 255 7FF#FF"},
        {"0.5\t12\t7FFx\tTx\td\t2\t1\t2", "500000 12 000007FF#0102"},
        {"0.5 2 0 Tx d 0", "500000 2 000#"},
        {"7 2 1FFFFFFFx Tx d 0 Length = 0", "7000000 2 1FFFFFFF#"},
    });
}

TEST(AscLogTest, timeIsExactToTheMicrosecond) {
    check({
        {"9007199254.740993 1 64 Rx d 0", "9007199254740993 1 064#"},
        {"18446744073709.5516159 1 64 Rx d 0", "18446744073709551615 1 064#"},
        {"18446744073709.551616 1 64 Rx d 0", "malformed: time stamp too large"},
        {"0.0000019 1 64 Rx d 0", "1 1 064#"},
    });
}

TEST(AscLogTest, headersAndCommentsAreOther) {
    check({
        {"date Sam Sep 30 15:06:13.191 2017", "other"},
        {"base hex  timestamps absolute", "other"},
        {"internal events logged", "other"},
        {"no internal events logged", "other"},
        {"// version 9.0.0", "other"},
        {"//0.000000 previous log file: logfile_errorframes.asc", "other"},
        {"Begin Triggerblock Sam Sep 30 15:06:13.191 2017", "other"},
        {"begin triggerblock", "other"},
        {"BEGIN TriggerBlock", "other"},
        {"End TriggerBlock", "other"},
        {"end triggerblock", "other"},
        {"", "other"},
        {"  ", "other"},
    });
}

TEST(AscLogTest, eventsOfOtherKindsAreSkippedByKind) {
    check({
        {"   0.000000 Start of measurement", "skipped: start of measurement"},
        {"   0.015991 CAN 1 Status:chip status error passive - TxErr: 132 RxErr: 0", "skipped: CAN status"},
        {"   1.015991 1  Statistic: D 0 R 0 XD 0 XR 0 E 0 O 0 B 0.00%", "skipped: CAN statistics"},
        {"   3.297743 1  J1939TP FEE3p        6    0  0   -   Rx   d 23 A0 0F A6 60 3B D1 40",
         "skipped: J1939 transport"},
        {"   0.424674 Li 33           TransmErr    header time =  40, full time = 166", "skipped: LIN send error"},
        {"   0.424674 L2 SleepModeEvent", "skipped: LIN sleep"},
        {"   2.317671 Li WakeupFrame Tx 00 SOF = 2.317671 BR = 19230", "skipped: LIN wake-up"},
        {"   5.990902 L2 Spike Rx 56 microseconds", "skipped: LIN spike"},
        {"   1.000000 Li 33 8 RcvError: timeout while waiting", "skipped: LIN receive error"},
        {"   1.000000 Li 33 8 Unheard: of", "skipped: LIN event of another kind"},
        {"   1.000000 Fr * StartCycleEvent NM Vector: 2 00 00", "skipped: FlexRay cycle start"},
        {"   1.000000 Fr PDU 0 0 1", "skipped: FlexRay PDU"},
        {"   1.000000 Fr 1 V8 4 25", "skipped: FlexRay event of another kind"},
        {"   1.000000 Fr", "skipped: FlexRay event of another kind"},
        {"   1.000000 M2 AllocTab: 00", "skipped: MOST event"},
        {"   1.000000 COM2 Rx 10400", "skipped: serial event"},
        {"   1.000000 Mx AllocTab: 00", "skipped: event of another kind"},
        {"   1.000000 M", "skipped: event of another kind"},
        {"   1.000000 ETH 2 Tx 3c:FF", "skipped: Ethernet frame"},
        {"   5.000000 SV: 2 0 1 ::Variable = 1", "skipped: system variable"},
        {"   5.000000 log trigger event", "skipped: log trigger event"},
        {"   5.000000", "other"},
        {"   5.000000 1", "skipped: event of another kind"},
        {"   5.000000 1 64", "skipped: event of another kind"},
    });
}

TEST(AscLogTest, linFramesAreRead) {
    check({
        {"   0.073973 Li 2d              Tx       8 00 f0 f0 ff ff ff ff fe    checksum = 70",
         "73973 lin 1 45 tx 00F0F0FFFFFFFFFE"},
        {"1 L12 3f Rx 2 1 2 checksum = 70", "1000000 lin 12 63 rx 0102"},
        {"1 Li 0 Rx 0", "1000000 lin 1 0 rx "},
        {"1 Li 40 Rx 0", "malformed: LIN identifier is not a number of the log's base up to 63"},
        {"1 Li Door Rx 0", "malformed: LIN identifier is not a number of the log's base up to 63"},
        {"1 Li 3f Rx 9 1 2 3 4 5 6 7 8 9", "malformed: length of a LIN frame is not a number up to 8"},
        {"1 Li 3f Rx x", "malformed: length of a LIN frame is not a number up to 8"},
        {"1 Li 3f Rx 2 1", "malformed: fewer data bytes than the data length says"},
        {"1 L0 3f Rx 0", "malformed: channel number is not within 1 and 255"},
        {"1 L256 3f Rx 0", "malformed: channel number is not within 1 and 255"},
        {"base dec", "other"},
        {"1 Li 45 Tx 1 255", "1000000 lin 1 45 tx FF"},
    });
}

TEST(AscLogTest, otherFramesAreToldApart) {
    check({
        {"   2.510001 2 100 Tx r", "2510001 2 100#R0"},
        {"   2.520002 3 200 Tx r Length = 1704000 BitCount = 145 ID = 88888888x", "2520002 3 200#R0"},
        {"   2.584921 4 300x Rx r 8 Length = 1704000", "2584921 4 00000300#R8"},
        {"   2.501000 1 ErrorFrame", "error frame"},
        {"   2.501010 1 ErrorFrame ECC: 10100010", "error frame"},
        {"  30.806898 CANFD   5 Tx ErrorFrame Not Acknowledge error", "error frame"},
        {"  30.806898 CANFD   5 ErrorFrame", "error frame"},
        {"  30.005071 CANFD   2 Rx        300  Generic_Name_12   1 0 8  8 01 02 03 04 05 06 07 08",
         "30005071 2 300##1 0102030405060708"},
        {"  30.300981 CANFD   3 Tx     50005x     0 0 5 0 140000 73 200050 7a60", "30300981 3 00050005#R5"},
    });
}

TEST(AscLogTest, canFdLinesAreRead) {
    check({
        {"0.5 CANFD 1 Rx 4EE 0 0 9 12 01 02 03 04 05 06 07 08 09 0A 0B FF 102203 133 303000 e0006659",
         "500000 1 4EE##0 0102030405060708090A0BFF"},
        {"0.5 CANFD 255 Tx 1C4D80A7x Name_2 1 1 a 16 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F",
         "500000 255 1C4D80A7##3 000102030405060708090A0B0C0D0E0F"},
        // Classic frames on a CAN FD channel have the flag of the format clear.
        {"0.5 CANFD 1 Rx 4EE 0 0 2 2 01 02 102203 133 200000 e0006659", "500000 1 4EE#0102"},
        {"0.5 CANFD 1 Rx 4EE 0 0 f 8 01 02 03 04 05 06 07 08 102203 133 0 e0006659", "500000 1 4EE#0102030405060708"},
        {"0.5 CANFD 1 Rx 4EE 0 0 0 0 102203 133 0 e0006659", "500000 1 4EE#"},
        {"0.5 CANFD 1 Rx 4EE 0 0 f 0 102203 133 10 e0006659", "500000 1 4EE#R8"},
        {"0.5 CANFD 0 Rx 4EE 0 0 0 0", "malformed: channel number is not within 1 and 255"},
        {"0.5 CANFD 0 ErrorFrame", "malformed: channel number is not within 1 and 255"},
        {"0.5 CANFD 1 Up 4EE 0 0 0 0", "malformed: direction is none of Rx, Tx and TxRq"},
        {"0.5 CANFD 1 Rx", "malformed: identifier is not a number of the log's base"},
        {"0.5 CANFD 1 Rx 800 0 0 0 0", "malformed: identifier without x above 7FF"},
        {"0.5 CANFD 1 Rx 4EE a b 0 0 0", "malformed: bit rate switch and error state are not both 0 or 1"},
        {"0.5 CANFD 1 Rx 4EE 0 2 0 0", "malformed: bit rate switch and error state are not both 0 or 1"},
        {"0.5 CANFD 1 Rx 4EE 0 0 10 0", "malformed: data length code is not a number of the log's base up to 15"},
        {"0.5 CANFD 1 Rx 4EE 0 0 8 65", "malformed: data length is not a number up to 64"},
        {"0.5 CANFD 1 Rx 4EE 0 0 8 a", "malformed: data length is not a number up to 64"},
        {"0.5 CANFD 1 Rx 4EE 0 0 8 8 01", "malformed: fewer data bytes than the data length says"},
    });
}

TEST(AscLogTest, lengthsAboveEightAreToldByTheBytesThere) {
    check({
        // Length codes of classic frames.
        {"0.5 1 123 Rx d 9 00 01 02 03 04 05 06 07 Length = 9", "500000 1 123#0001020304050607"},
        {"0.5 1 123 Rx d f 00 01 02 03 04 05 06 07", "500000 1 123#0001020304050607"},
        // Of CAN FD frames.
        {"0.5 1 123 Rx d 9 00 01 02 03 04 05 06 07 08 09 0A 0B", "500000 1 123##0 000102030405060708090A0B"},
        {"0.5 1 123 Rx d a 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F Length = 2",
         "500000 1 123##0 000102030405060708090A0B0C0D0E0F"},
        // Lengths.
        {"0.5 1 123 Rx d c 00 01 02 03 04 05 06 07 08 09 0A 0B", "500000 1 123##0 000102030405060708090A0B"},
        {"0.5 1 123 Rx d 10 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F",
         "500000 1 123##0 000102030405060708090A0B0C0D0E0F"},
        {"0.5 1 123 Rx d 9 00 01 02", "malformed: fewer data bytes than the data length says"},
        {"0.5 1 123 Rx d 40 00 01 02 03", "malformed: fewer data bytes than the data length says"},
        {"0.5 1 123 Rx d 41 00 01 02 03", "malformed: data length above 64"},
        {"base dec", "other"},
        {"0.5 1 291 Rx d 15 0 1 2 3 4 5 6 255", "500000 1 123#00010203040506FF"},
    });
}

TEST(AscLogTest, decimalBaseAppliesToIdentifierLengthAndData) {
    check({
        {"0.5 1 100 Rx d 2 10 16", "500000 1 100#1016"},
        {"base dec  timestamps absolute", "other"},
        {"0.5 1 100 Rx d 2 10 255", "500000 1 064#0AFF"},
        {"0.5 1 418119424x Rx d 1 0", "500000 1 18EBFF00#00"},
        {"0.5 1 100 Rx d 64 1 2 3", "malformed: fewer data bytes than the data length says"},
        {"0.5 1 6F9 Rx d 1 1", "malformed: identifier is not a number of the log's base"},
        {"0.5 1 2048 Rx d 1 1", "malformed: identifier without x above 7FF"},
        {"0.5 1 100 Rx d 1 256", "malformed: data byte is not a number of the log's base up to 255"},
        {"0.5 1 100 Rx d 1 A0", "malformed: data byte is not a number of the log's base up to 255"},
        {"BASE Hex", "other"},
        {"0.5 1 100 Rx d 1 A0", "500000 1 100#A0"},
    });
}

TEST(AscLogTest, relativeTimesAddUpOverAllEvents) {
    check({
        {"base hex  timestamps relative", "other"},
        {"1.000000 Start of measurement", "skipped: start of measurement"},
        {"0.250000 1 64 Rx d 0", "1250000 1 064#"},
        {"0.000001 1 ErrorFrame", "error frame"},
        {"0.000001 CANFD 1 Rx 64 0 0 0 0", "1250002 1 064##0 "},
        {"0.000001 1 Statistic: D 0 R 0", "skipped: CAN statistics"},
        {"0.000001 1 64 Rx d 1 XX", "malformed: data byte is not a number of the log's base up to 255"},
        {"0.000001 1 64 Tx r", "1250005 1 064#R0"},
        {"0.1 1 64 Rx d 0", "1350005 1 064#"},
        {"18446744073709.551615 1 64 Rx d 0", "malformed: time stamp too large"},
        {"0.1 1 64 Rx d 0", "1450005 1 064#"},
    });
}

TEST(AscLogTest, baseLineChangesTimesInMidLog) {
    check({
        {"2.0 1 64 Rx d 0", "2000000 1 064#"},
        {"base hex timestamps relative", "other"},
        {"0.5 1 64 Rx d 0", "2500000 1 064#"},
        {"base hex", "other"},
        {"0.5 1 64 Rx d 0", "3000000 1 064#"},
        {"base hex timestamps absolute", "other"},
        {"0.5 1 64 Rx d 0", "500000 1 064#"},
    });
}

TEST(AscLogTest, damagedBaseLineChangesNothing) {
    check({
        {"base", "malformed: base is neither hex nor dec"},
        {"base oct timestamps relative", "malformed: base is neither hex nor dec"},
        {"base dec timestamps backward", "malformed: time stamps are neither absolute nor relative"},
        {"base dec timestamps", "malformed: time stamps are neither absolute nor relative"},
        {"2.0 1 64 Rx d 1 AA", "2000000 1 064#AA"},
        {"2.0 1 64 Rx d 1 AA", "2000000 1 064#AA"},
    });
}

TEST(AscLogTest, damagedLinesTellTheirCause) {
    check({
        {"hello", "malformed: neither a header nor an event"},
        {"/ comment", "malformed: neither a header nor an event"},
        {"-1.0 1 64 Rx d 0", "malformed: neither a header nor an event"},
        {"dates", "malformed: neither a header nor an event"},
        {"Begin", "malformed: neither a header nor an event"},
        {"no events", "malformed: neither a header nor an event"},
        {"(1.0) can0 123#01", "malformed: neither a header nor an event"},
        {"1.0x 1 64 Rx d 0", "malformed: time stamp is not a number"},
        {"1.0.0 1 64 Rx d 0", "malformed: time stamp is not a number"},
        {"1,5 1 64 Rx d 0", "malformed: time stamp is not a number"},
        {"1.0 0 64 Rx d 0", "malformed: channel number is not within 1 and 255"},
        {"1.0 256 64 Rx d 0", "malformed: channel number is not within 1 and 255"},
        {"1.0 4294967297 64 Rx d 0", "malformed: channel number is not within 1 and 255"},
        {"1.0 1 64xx Rx d 0", "malformed: identifier is not a number of the log's base"},
        {"1.0 1 -64 Rx d 0", "malformed: identifier is not a number of the log's base"},
        {"1.0 1 100000000x Rx d 0", "malformed: identifier is not a number of the log's base"},
        {"1.0 1 Engine-Data Rx d 0", "malformed: identifier is not a number of the log's base"},
        {"1.0 1 800 Rx d 0", "malformed: identifier without x above 7FF"},
        {"1.0 1 20000000x Rx d 0", "malformed: identifier above 1FFFFFFF"},
        {"1.0 1 64 Rx", "malformed: frame is marked neither as data (d) nor as remote (r)"},
        {"1.0 1 64 Rx q 1 01", "malformed: frame is marked neither as data (d) nor as remote (r)"},
        {"1.0 1 64 Rx d", "malformed: data length is not a number of the log's base"},
        {"1.0 1 64 Rx d z 01", "malformed: data length is not a number of the log's base"},
        {"1.0 1 64 Rx d 2 01", "malformed: fewer data bytes than the data length says"},
        {"1.0 1 64 Rx d 2", "malformed: fewer data bytes than the data length says"},
        {"1.0 1 64 Rx d 2 01 0G", "malformed: data byte is not a number of the log's base up to 255"},
        {"1.0 1 64 Rx d 2 01 100", "malformed: data byte is not a number of the log's base up to 255"},
        {"1.0 1 64 Rx d 2 01 Length = 3", "malformed: data byte is not a number of the log's base up to 255"},
    });
}

TEST(AscLogTest, namesInPlaceOfIdentifiersAreCountedUnlessTheyComeAtTheEnd) {
    constexpr char const* counted = "skipped: frame with a name in place of its identifier";
    check({
        {"1.0 1 EngineData Rx d 2 01 02", counted},
        {"1.0 1 EngineData Tx r", counted},
        {"1.0 1 x Rx d 0", counted},
        {"1.0 1 _1 Rx d 0", counted},
        {"1.0 CANFD 1 Rx EngineData 1 0 2 2 01 02", counted},
        {"1.0 1 EngineData Rx d 2 01 02 Length = 239910 BitCount = 124 ID = 100", "1000000 1 064#0102"},
        {"1.0 1 EngineData Rx d 2 01 02 Length = 239910 BitCount = 124 ID = 418119424x", "1000000 1 18EBFF00#0102"},
        {"1.0 1 EngineData Tx r Length = 0 BitCount = 0 ID = 100", "1000000 1 064#R0"},
        {"1.0 1 EngineData Rx d 0 Length = 0 BitCount = 0 ID = 2048", "malformed: identifier without x above 7FF"},
        {"1.0 1 EngineData Rx d 0 ID = none", "malformed: identifier is not a number of the log's base"},
        {"1.0 1 Dead Rx d 0", "malformed: identifier without x above 7FF"}, // is a number as well
        {"1.0 1 100 Rx d 0 Length = 0 BitCount = 0 ID = 5", "1000000 1 100#"},
        {"base dec", "other"},
        {"1.0 1 Dead Rx d 0", counted},
    });
}

TEST(AscLogTest, flexRayFramesAreRead) {
    check({
        {"0.039255 Fr RMSG 0 0 1 3 4 7 Rx 0 300002 5 20 151 Message_2 4 4 27 24 29 f1 0 0 0",
         "39255 flexray 1 4/7 AB rx 272429F1"},
        {"11.924238 Fr RMSG 0 12 1 1 d2 b Tx 0 304802 5 20 67c x 2 2 00 f0 0 0 0",
         "11924238 flexray 1 210/11 A tx 00F0"},
        {"1.0 Fr RMSG 0 0 2 2 7ff 3f Tx 0 304803 5 20 67c x 2 2 00 f0 0 0 0", "1000000 flexray 2 2047/63 B tx null"},
        {"1.0 Fr RMSG 0 0 1 1 1 0 Rx 0 2 5 20 0 x 0 0 0 0 0", "1000000 flexray 1 1/0 A rx "},
        {"0.042 Fr 1 V9 4 19 0 1 151 Ident_04 2 15 57 00d0 9a", "42000 flexray 1 4/25 A rx 1557"},
        {"base dec", "other"},
        {"0.042600 Fr 2 V9  13 25 0 0 620 x  4   2  89   0  13 0180 88", "42600 flexray 2 13/25 B rx 0259000D"},
        {"0.039255 Fr RMSG 0 0 1 1 4 7 Rx 0 14 5 32 151 Message_2 4 4 27 24 29 241 0 0 0",
         "39255 flexray 1 4/7 A rx 1B181DF1"},
    });
}

TEST(AscLogTest, damagedFlexRayFramesStateTheirCause) {
    check({
        {"1.0 Fr RMSG", "malformed: channel number is not within 1 and 255"},
        {"1.0 Fr RMSG 0 0 0 1 4 7 Rx 0 2 5 20 0 x 0 0", "malformed: channel number is not within 1 and 255"},
        {"1.0 Fr RMSG 0 0 1 0 4 7 Rx 0 2 5 20 0 x 0 0",
         "malformed: FlexRay channels are none of 1 (A), 2 (B) and 3 (both)"},
        {"1.0 Fr RMSG 0 0 1 4 4 7 Rx 0 2 5 20 0 x 0 0",
         "malformed: FlexRay channels are none of 1 (A), 2 (B) and 3 (both)"},
        {"1.0 Fr RMSG 0 0 1 1 0 7 Rx 0 2 5 20 0 x 0 0",
         "malformed: FlexRay slot is not a number of the log's base from 1 to 2047"},
        {"1.0 Fr RMSG 0 0 1 1 800 7 Rx 0 2 5 20 0 x 0 0",
         "malformed: FlexRay slot is not a number of the log's base from 1 to 2047"},
        {"1.0 Fr RMSG 0 0 1 1 1 40 Rx 0 2 5 20 0 x 0 0",
         "malformed: FlexRay cycle is not a number of the log's base up to 63"},
        {"1.0 Fr RMSG 0 0 1 1 1 0 Ax 0 2 5 20 0 x 0 0", "malformed: direction is none of Rx, Tx and TxRq"},
        {"1.0 Fr RMSG 0 0 1 1 1 0 Rx 0 z 5 20 0 x 0 0",
         "malformed: flags of a FlexRay frame are not a hexadecimal number"},
        {"1.0 Fr RMSG 0 0 1 1 1 0 Rx 0 2 5 20 0 x 0 ff",
         "malformed: length of a FlexRay frame is not a number of the log's base up to 254"},
        {"1.0 Fr RMSG 0 0 1 1 1 0 Rx 0 2 5 20 0 x 2 2 01", "malformed: fewer data bytes than the data length says"},
        {"1.0 Fr 3 V9 1 0 0 0 0 x 0", "malformed: FlexRay channel is neither 1 nor 2"},
        {"1.0 Fr 1 V9 1 0 0 0 0 x", "malformed: length of a FlexRay frame is not a number of the log's base up to 254"},
    });
}

// 15:06:13.191 in Berlin.
TEST(AscLogTest, dateIsThatOfTheStart) {
    LocalZone const zone;
    std::uint64_t const september = 1'506'776'773'191'000, march = 1'490'101'573'000'000;
    struct {
        char const* line;
        std::optional<std::uint64_t> start;
    } const cases[] = {
        {"date Sat Sep 30 15:06:13.191 2017", september},
        {"date Sam Sep 30 15:06:13.191 2017", september},
        {"date Sat Sep 30 03:06:13.191 PM 2017", september},
        {"date Sat Sep 30 03:06:13.191 pm 2017", september},
        {"DATE  sam.  sept.  30  15:06:13.191000  2017 ", september},
        {"Begin Triggerblock Sam Sep 30 15:06:13.191 2017", september},
        {"begin triggerblock sab set 30 15:06:13.191 2017", september},
        {"date Die M\xC3\xA4r 21 14:06:13 2017", march},
        {"date Die M\xE4r 21 14:06:13 2017", march},
        {"date Di Mrz 21 14:06:13 2017", march},
        {"date mar. mars 21 14:06:13 2017", march},
        {"date Tue Mar 21 14:06:13 2017", march},
        {"date Mon Jan 1 12:00:00 am 2018", 1'514'761'200'000'000},
        {"date Mon Jan 1 12:00:00 pm 2018", 1'514'804'400'000'000},
        {"date", std::nullopt},
        {"date Sat Sep 30 2017", std::nullopt},
        {"date Sat Xyz 30 15:06:13.191 2017", std::nullopt},
        {"date Sat Sep 31 15:06:13.191 2017 x", std::nullopt},
        {"date Sat Sep 32 15:06:13.191 2017", std::nullopt},
        {"date Sat Sep 30 25:06:13.191 2017", std::nullopt},
        {"date Sat Sep 30 15:06:13.191 pm 2017", std::nullopt},
        {"date Sat Sep 30 15:06 2017", std::nullopt},
        {"date Sat Sep 30 15:06:13.191 1917", std::nullopt},
        {"date Sat Sep 30 15:06:13.191 99999999999", std::nullopt},
        {"date 30.09.2017 15:06:13", std::nullopt},
        {"End Triggerblock", std::nullopt},
        {"1.0 1 64 Rx d 0", std::nullopt},
    };
    for (auto const& [line, start] : cases) {
        AscLog log;
        parsed(log, line);
        EXPECT_EQ(log.startTime(), start) << line;
    }
}

TEST(AscLogTest, dateThatIsNotUnderstoodIsCounted) {
    AscLog log;
    EXPECT_EQ(parsed(log, "date yesterday"), "skipped: date in a form that is not known");
    EXPECT_EQ(parsed(log, "Begin Triggerblock Sat Sep 30 15:06:13.191 2017"), "other");
    EXPECT_NE(log.startTime(), std::nullopt);
    std::optional<std::uint64_t> const start = log.startTime();
    EXPECT_EQ(parsed(log, "Begin Triggerblock Sat Sep 30 17:06:13.191 2017"), "other");
    EXPECT_EQ(log.startTime(), start);
}

TEST(AscLogTest, recognitionAsksForHeaderCommentOrEvent) {
    for (char const* line : {"date Sat", "base hex", "// version", "Begin Triggerblock", "  0.0 Start of measurement",
                             "12.5", "internal events logged"})
        EXPECT_TRUE(AscLog::fits(line)) << line;
    for (char const* line : {"", "  ", "hello", "12", "1 2501.000 DT 2 00C8", "1) 2.0 Rx", "0.5,1,64", "(1.0) can0 1#"})
        EXPECT_FALSE(AscLog::fits(line)) << line;
}

} // namespace
} // namespace qztool
