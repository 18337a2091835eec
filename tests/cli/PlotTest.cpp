// qzsignal plot: what is in the page and in the picture. How the page behaves is tested in a browser (tests/page).
#include "tests/cli/Drive.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;

// The drive that a page holds.
Json driveOf(std::string const& page) {
    std::string const begin = "<script type=\"application/json\" id=\"drive\">";
    std::size_t const first = page.find(begin);
    if (first == std::string::npos)
        return {};
    std::size_t const text = first + begin.size();
    return Json::parse(page.substr(text, page.find("</script>", text) - text));
}

// Base64 of doubles, least significant byte first.
std::vector<double> doublesOf(std::string const& text) {
    std::string const digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::vector<std::uint8_t> bytes;
    std::uint32_t group = 0;
    unsigned bits = 0;
    for (char const character : text.substr(0, text.find('='))) {
        group = group << 6 | static_cast<std::uint32_t>(digits.find(character));
        bits += 6;
        if (bits >= 8)
            bytes.push_back(static_cast<std::uint8_t>(group >> (bits -= 8)));
    }
    std::vector<double> numbers;
    for (std::size_t i = 0; i + 8 <= bytes.size(); i += 8) {
        std::uint64_t pattern = 0;
        for (unsigned byte = 8; byte-- > 0;)
            pattern = pattern << 8 | bytes[i + byte];
        double number = 0;
        std::memcpy(&number, &pattern, sizeof number);
        numbers.push_back(number);
    }
    return numbers;
}

class PlotTest : public testing::Test {
protected:
    Result plot(std::vector<std::string> const& more, std::string const& log) {
        std::vector<std::string> all = {"plot", "-d", d_drive.definitions(), d_drive.folder().file("drive.log", log)};
        all.insert(all.end(), more.begin(), more.end());
        return Result(all);
    }
    // A build without npm has no page.
    static bool hasPage(Result const& result) { return result.errors.find("writes no pages") == std::string::npos; }

    Drive d_drive;
};

constexpr char three[] = "(1700000000.000001) can0 100#C800FD\n"
                         "(1700000001.000000) can0 200#00\n"
                         "(1700000001.500001) can0 100#F00005\n"
                         "(1700000002.500001) can0 100#C900\n";

TEST_F(PlotTest, pageHoldsAllValuesWithTheirTimes) {
    Result const result = plot({d_drive.load(), d_drive.speed()}, three);
    if (!hasPage(result))
        GTEST_SKIP() << "built without npm";
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    Json const drive = driveOf(result.output);
    EXPECT_EQ(drive["beginning"], "1700000000000001");
    ASSERT_EQ(drive["signals"].size(), 2U);
    Json const& load = drive["signals"][0];
    Json const& speed = drive["signals"][1];
    EXPECT_EQ(load["name"], d_drive.load()) << "in the order of the command line";
    EXPECT_EQ(load["unit"], "%");
    EXPECT_EQ(speed["unit"], "km/h");
    EXPECT_EQ(doublesOf(load["values"]), (std::vector<double>{-3, 5}));
    EXPECT_EQ(doublesOf(drive["times"][load["times"].get<std::size_t>()]), (std::vector<double>{0, 1.5}));
    EXPECT_EQ(doublesOf(speed["values"]), (std::vector<double>{60, 80, 60.5}));
    EXPECT_EQ(doublesOf(drive["times"][speed["times"].get<std::size_t>()]), (std::vector<double>{0, 1.5, 2.5}));
    EXPECT_EQ(result.output.find("http"), result.output.find("https://github.com/leeoniya/uPlot"))
        << "nothing is fetched: the one address is in the library's licence";
}

TEST_F(PlotTest, timesThatStepBackAreSorted) {
    Result const result = plot({d_drive.speed()}, "(5.000000) can0 100#C800FD\n(4.000000) can0 100#F00005\n");
    if (!hasPage(result))
        GTEST_SKIP() << "built without npm";
    Json const drive = driveOf(result.output);
    EXPECT_EQ(doublesOf(drive["times"][0]), (std::vector<double>{0, 1}));
    EXPECT_EQ(doublesOf(drive["signals"][0]["values"]), (std::vector<double>{80, 60}));
}

TEST_F(PlotTest, marksAreTheStretchesInWhichAConditionHeld) {
    Result const result =
        plot({d_drive.speed(), "--mark", d_drive.speed() + " > 70", "--mark", d_drive.load() + " > 100"}, three);
    if (!hasPage(result))
        GTEST_SKIP() << "built without npm";
    Json const drive = driveOf(result.output);
    EXPECT_EQ(drive["marks"],
              Json::parse(R"([{"expression":")" + d_drive.speed() + R"( > 70","spans":[[1.5,2.5]]},{"expression":")" +
                          d_drive.load() + R"( > 100","spans":[]}])"));
    EXPECT_EQ(drive["signals"].size(), 1U) << "what only a condition needs is not drawn";
}

TEST_F(PlotTest, wordsThatOccurAreInThePage) {
    SharedName const name("Plotted");
    std::string const definitions =
        d_drive.folder().file("words.dbc", "BO_ 256 " + name.name() +
                                               ": 8 X\n SG_ Gear : 0|8@1- (2,1) [0|0] \"\" X\n"
                                               "VAL_ 256 Gear -1 \"R </script>\" 0 \"N\" 1 \"D\" ;\n");
    Result const result(
        {"plot", "-d", definitions,
         d_drive.folder().file("words.log", "(1.0) can0 100#FF\n(2.0) can0 100#00\n(3.0) can0 100#FF\n"), "Gear"});
    if (!hasPage(result))
        GTEST_SKIP() << "built without npm";
    EXPECT_EQ(driveOf(result.output)["signals"][0]["words"], Json::parse(R"([[-1.0,"R </script>"],[1.0,"N"]])"));
}

TEST_F(PlotTest, namesThatFitNothingAreReported) {
    Result const unknown = plot({"--svg", "Sped"}, three);
    EXPECT_EQ(unknown.status, 69);
    EXPECT_NE(unknown.errors.find("the definition files hold no signal 'Sped'"), std::string::npos) << unknown.errors;
    EXPECT_EQ(unknown.output, "");
    Result const pattern = plot({"--svg", "*.Lo?d", "Speed"}, three);
    EXPECT_EQ(pattern.status, 0) << pattern.errors;
    EXPECT_NE(pattern.output.find(d_drive.load()), std::string::npos);
    EXPECT_NE(pattern.output.find(d_drive.speed()), std::string::npos);
}

TEST_F(PlotTest, signalsWithoutAValueAreNamed) {
    Result const some = plot({"--svg", d_drive.speed(), d_drive.load()}, "(1.0) can0 100#C800\n(2.0) can0 100#C900\n");
    EXPECT_EQ(some.status, 0);
    EXPECT_EQ(some.errors, "qzsignal: warning: '" + d_drive.load() + "' has no value in this recording\n");
    Result const none = plot({"--svg", d_drive.load()}, "(1.0) can0 100#C800\n");
    EXPECT_EQ(none.status, 1);
    EXPECT_NE(none.errors.find("none of its frames carries one of these signals"), std::string::npos) << none.errors;
    EXPECT_EQ(none.output, "");
}

TEST_F(PlotTest, conditionThatIsWrongEndsBeforeTheRecordingIsRead) {
    Result const result = plot({"--svg", d_drive.speed(), "--mark", d_drive.speed() + " >"}, three);
    EXPECT_EQ(result.status, 65);
    EXPECT_EQ(result.output, "");
}

// Lowest and highest point of the line, in pixels from the top.
std::pair<double, double> heightsOf(std::string const& picture) {
    std::size_t const line = picture.find("class=\"line\"");
    std::size_t const begin = picture.find(" d=\"", line) + 4;
    std::string const path = picture.substr(begin, picture.find('"', begin) - begin);
    double top = std::numeric_limits<double>::infinity();
    double bottom = -top;
    for (std::size_t i = 0; i < path.size(); ++i) {
        double height = std::numeric_limits<double>::quiet_NaN();
        if (path[i] == 'V')
            height = std::strtod(path.c_str() + i + 1, nullptr);
        else if (path[i] == 'M')
            height = std::strtod(path.c_str() + path.find(' ', i), nullptr);
        if (std::isfinite(height)) {
            top = std::min(top, height);
            bottom = std::max(bottom, height);
        }
    }
    return {top, bottom};
}

TEST_F(PlotTest, pictureLosesNoSpike) {
    std::string log;
    for (int i = 0; i < 20000; ++i)
        log += "(" + std::to_string(1000000 + i) + ".0) can0 100#" + (i == 12345 ? "FFFF" : "0000") + "\n";
    Result const result = plot({"--svg", d_drive.speed()}, log);
    EXPECT_EQ(result.status, 0) << result.errors;
    auto const [top, bottom] = heightsOf(result.output);
    EXPECT_NEAR(bottom - top, 140 / 1.12, 0.2) << "the range of values, with its room above and below";
    EXPECT_LT(result.output.size(), 100000U) << "what a pixel cannot show is left out";
}

TEST_F(PlotTest, pictureShadesMarksAndQuotesTexts) {
    Result const result = plot({"--svg", d_drive.speed(), "--mark", d_drive.speed() + " > 70 && 1 < 2"}, three);
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.output.substr(0, 5), "<svg ");
    EXPECT_NE(result.output.find(" &gt; 70 &amp;&amp; 1 &lt; 2</title></rect>"), std::string::npos) << result.output;
}

TEST_F(PlotTest, fileThatCannotBeWrittenIsReported) {
    Result const result = plot({"--svg", d_drive.speed(), "-o", "/dev/full"}, three);
    EXPECT_EQ(result.status, 74);
    EXPECT_NE(result.errors.find("to '/dev/full': "), std::string::npos) << result.errors;
    std::string const path = d_drive.folder().path("drive.svg");
    EXPECT_EQ(plot({"--svg", d_drive.speed(), "-o", path}, three).status, 0);
    EXPECT_EQ(contentsOf(path).substr(0, 5), "<svg ");
}

} // namespace
