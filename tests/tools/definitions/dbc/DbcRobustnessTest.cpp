// Damaged definition files: whatever their bytes are, reading ends, and what comes out keeps its promises.
#include "tests/tools/definitions/Damage.h"
#include "tests/tools/definitions/dbc/DatabaseText.h"
#include "tests/tools/definitions/dbc/Promises.h"
#include "tools/definitions/dbc/DbcReader.h"

#include <gtest/gtest.h>

#include <ctime>
#include <random>
#include <string>
#include <utility>

namespace qztool {

namespace {

std::string const file = "\xEF\xBB\xBFVERSION \"1\"\r\nNS_ :\r\n\tCM_\r\n\tSG_MUL_VAL_\r\n\r\nBS_:\r\nBU_: A B\r\n"
                         "VAL_TABLE_ T 1 \"on\" 0 \"off\" ;\r\n"
                         "BO_ 100 Engine: 8 A\r\n"
                         " SG_ Mux M : 7|4@0+ (1,0) [0|0] \"\" A,B\r\n"
                         " SG_ Low m0M : 8|8@1- (0.5,-40) [-40|87.5] \"\xC2\xB0"
                         "C\" B\r\n"
                         " SG_ Deep m1 : 16|32@1- (1,0) [0|0] \"\" B // comment\r\n"
                         "BO_ 2566844926 Truck: 8 A\r\n"
                         " SG_ Speed : 0|64@1- (1,0) [0|0] \"km/h\" B\r\n"
                         "CM_ SG_ 100 Low \"say \\\"x\\\";\r\nsecond line\";\r\n"
                         "BA_DEF_ BO_ \"Cycle\" ENUM \"a\",\"b\";\r\n"
                         "BA_DEF_ BO_ \"VFrameFormat\" ENUM \"StandardCAN\",\"J1939PG\";\r\n"
                         "BA_DEF_DEF_ \"GenMsgCycleTime\" 100;\r\nBA_ \"ProtocolType\" \"J1939\";\r\n"
                         "BA_ \"VFrameFormat\" BO_ 2566844926 1;\r\nBA_ \"GenMsgCycleTime\" BO_ 100 2.5;\r\n"
                         "BA_ \"SystemSignalLongSymbol\" SG_ 100 Low \"Lowest\";\r\n"
                         "BA_ \"SystemMessageLongSymbol\" BO_ 100 \"EngineData\";\r\n"
                         "VAL_ 100 Low T ;\r\nVAL_ 100 Mux 0 \"zero\" 1 \"one\" ;\r\n"
                         "SIG_VALTYPE_ 100 Deep : 1;\r\nSIG_VALTYPE_ 2566844926 Speed : 2;\r\n"
                         "SG_MUL_VAL_ 100 Low Mux 0-0, 3-5;\r\nSG_MUL_VAL_ 100 Deep Low 1-1;\r\n";

void expectPromises(std::string const& text) {
    ASSERT_STREQ(nullptr, brokenPromise(readDatabase(text), text));
}

} // namespace

TEST(DbcRobustness, wholeFileIsReadWithoutProblems) {
    Database const database = readDatabase(file);
    EXPECT_EQ("", problemsOf(database));
    EXPECT_EQ("EngineData: Mux Lowest Deep ; Truck: Speed ; ", namesOf(database));
}

TEST(DbcRobustness, fileCutAnywhereKeepsItsPromises) {
    for (std::size_t size = 0; size <= file.size(); ++size) {
        SCOPED_TRACE(size);
        // A copy of its own, so that an access past the end is one past the allocation.
        expectPromises(std::string(file.data(), size));
    }
}

TEST(DbcRobustness, fileWithAnyByteLeftOutKeepsItsPromises) {
    for (std::size_t at = 0; at < file.size(); ++at) {
        SCOPED_TRACE(at);
        expectPromises(file.substr(0, at) + file.substr(at + 1));
    }
}

TEST(DbcRobustness, randomDamageKeepsThePromises) {
    std::mt19937 random(20240607);
    std::string const likely = "\"\\;:|@,()[]-+.0129mM_ \r\n/SGBOVAL\x80\xFF\t";
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        expectPromises(damaged(file, likely, random));
    }
}

// Each of these takes minutes if every damaged statement searches ahead to the end of the file.
TEST(DbcRobustness, hostileFilesTakeLinearTime) {
    std::pair<char const*, char const*> const patterns[] = {
        {"CM_ \"\\\"\n", "a text whose quotes are all escaped"},
        {"CM_ \"\n", "texts that are not closed"},
        {"CM_ x\n", "no semicolons"},
        {"BO_ 1 A: 8 X\n", "one identifier and name"},
        {"VAL_ 1 S 0 \"a\" 1 \"\n", "values that are not closed"},
        {"x\n", "no statements"},
        {"NS_ :\n", "symbol blocks"},
        {"//\n", "comments"},
    };
    for (auto const& [pattern, name] : patterns) {
        std::string text;
        while (text.size() < 500000)
            text += pattern;
        std::clock_t const start = std::clock(); // of the processor: others may be busy, too
        expectPromises(text);
        EXPECT_LT((std::clock() - start) / CLOCKS_PER_SEC, 10) << name;
    }
}

} // namespace qztool
