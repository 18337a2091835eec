// Which definition files fit a recording.
#include "tools/fits/Ranking.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace qztool {

namespace {

class RankingTest : public testing::Test {
protected:
    RankingTest() {
        char folder[] = "/tmp/qzsignal-test-XXXXXX";
        d_folder = mkdtemp(folder);
    }
    ~RankingTest() override { std::filesystem::remove_all(d_folder); }

    std::string file(std::string const& name, std::string const& text) const {
        std::filesystem::create_directories(std::filesystem::path(d_folder + "/" + name).parent_path());
        std::ofstream(d_folder + "/" + name) << text;
        return d_folder + "/" + name;
    }
    // A definition file with messages of these identifiers.
    static std::string dbc(std::vector<unsigned> const& identifiers) {
        std::string text;
        for (unsigned const each : identifiers)
            text += "BO_ " + std::to_string(each) + " M" + std::to_string(each) + ": 8 X\n";
        return text;
    }
    std::string names(std::vector<Fit> const& fits) const {
        std::string text;
        for (Fit const& fit : fits)
            text += fit.file.substr(d_folder.size() + 1) + " ";
        return text;
    }

    std::string d_folder;
    std::vector<TalliedFrames> d_recording = {
        {Bus::Can, 0, false, 0x100, 60}, {Bus::Can, 0, false, 0x101, 30}, {Bus::Can, 1, false, 0x102, 10}};
    Ranking d_ranking;
};

TEST_F(RankingTest, sharesAreThoseOfFramesAndIdentifiers) {
    d_ranking.add(file("a.dbc", dbc({0x100, 0x102, 0x500})));
    Fit const fit = d_ranking.rank(d_recording).at(0);
    EXPECT_EQ(fit.frames, 0.7);
    EXPECT_EQ(fit.identifiers, 2.0 / 3.0);
    EXPECT_EQ(fit.messages, 3U);
    EXPECT_EQ(d_ranking.rank({}).at(0).frames, 0.0);
}

TEST_F(RankingTest, theBestFileComesFirst) {
    file("none.dbc", dbc({0x500}));
    file("few.dbc", dbc({0x102}));
    file("sub/most.dbc", dbc({0x100, 0x101}));
    file("all.dbc", dbc({0x100, 0x101, 0x102}));
    file("more.dbc", dbc({0x100, 0x101, 0x102, 0x103}));
    d_ranking.add(d_folder);
    EXPECT_EQ(names(d_ranking.rank(d_recording)), "all.dbc more.dbc sub/most.dbc few.dbc none.dbc ");
}

TEST_F(RankingTest, filesOfNoUseAreNamedWithTheirCause) {
    d_ranking.add(file("notes.txt", "nothing\n"));
    d_ranking.add(d_folder + "/missing.dbc");
    EXPECT_TRUE(d_ranking.rank(d_recording).empty());
    ASSERT_EQ(d_ranking.unranked().size(), 2U);
    EXPECT_EQ(d_ranking.unranked()[0].cause, "no message is defined in it");
    EXPECT_EQ(d_ranking.unranked()[1].file, d_folder + "/missing.dbc");
    EXPECT_EQ(d_ranking.unranked()[1].cause, "No such file or directory");
}

TEST_F(RankingTest, messagesOfJ1939FitByTheirParameterGroup) {
    d_ranking.add(file("j1939.dbc", "BO_ 2565866496 EEC1: 8 X\nBO_ 2348810251 TSC1: 8 X\n"
                                    "BA_DEF_ \"ProtocolType\" STRING;\nBA_ \"ProtocolType\" \"J1939\";\n"));
    // EEC1 from another source; TSC1 to another destination; another group; EEC1's number as a standard identifier.
    EXPECT_EQ(d_ranking
                  .rank({{Bus::Can, 0, true, 0x18F00400U | 0x21U, 1},
                         {Bus::Can, 0, true, 0x0C00270B, 1},
                         {Bus::Can, 0, true, 0x18F00500, 1},
                         {Bus::Can, 0, false, 0x400, 1}})
                  .at(0)
                  .frames,
              0.5);
}

TEST(RankingOfPublicFiles, recordingsAreFoundToFitTheirCars) {
    char const* const data = std::getenv("QZSIGNAL_DATA");
    if (data == nullptr)
        GTEST_SKIP() << "QZSIGNAL_DATA names no folder of public files";
    Ranking ranking;
    ranking.add(std::string(data) + "/dbc");
    EXPECT_GT(ranking.size(), 70U);
    EXPECT_TRUE(ranking.unranked().empty());
}

} // namespace

} // namespace qztool
