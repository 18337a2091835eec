// The drive that the demonstration replays.
#include "tests/cli/Command.h"
#include "tests/support/SharedName.h"

#include <nlohmann/json.hpp>

#include <dirent.h>
#include <sstream>

namespace {

// Removes the key files of all signals whose names begin like this.
void removeKeyFiles(std::string const& prefix) {
    DIR* const folder = opendir("/tmp");
    while (dirent const* const entry = readdir(folder))
        if (std::string(entry->d_name).compare(0, prefix.size(), prefix) == 0)
            unlink(("/tmp/" + std::string(entry->d_name)).c_str());
    closedir(folder);
}

// Writes the drive into a folder; the paths of its definitions and its recording.
std::pair<std::string, std::string> generate(Folder& folder) {
    std::pair<std::string, std::string> const paths(folder.path("drive.dbc"), folder.path("drive.log"));
    Child generator(QZSIGNAL_TEST_DRIVE, {folder.name()});
    EXPECT_EQ(generator.wait(), 0) << generator.errors();
    return paths;
}

TEST(DemoDrive, isReplayedWithoutComplaintAndEndsAtRest) {
    Folder folder;
    auto const [definitions, recording] = generate(folder);

    // The messages get names of the test's own, so that a demonstration elsewhere on the machine is left alone.
    SharedName const prefix("Demo");
    std::string renamed;
    std::istringstream lines(contentsOf(definitions));
    for (std::string line; std::getline(lines, line); renamed += line + "\n")
        if (line.compare(0, 4, "BO_ ") == 0)
            line.insert(line.find(' ', 4) + 1, prefix.name());
    Command command({"replay", "--dbc", folder.file("renamed.dbc", renamed), "--fast", "-"});
    std::string const text = contentsOf(recording);
    command.feed(text);
    Result const read(
        {"read", "--json", "--wait", "60", prefix.name() + "VehicleSpeed.Speed", prefix.name() + "Transmission.Gear"});
    EXPECT_EQ(read.status, 0) << read.errors;
    nlohmann::json const json = nlohmann::json::parse(read.output);
    EXPECT_EQ(json[0]["unit"], "km/h");
    Result const key({"eval", "--wait", "60", prefix.name() + "RemoteControl.Trigger == released"});
    EXPECT_EQ(key.output.substr(0, 16), "1 (trigger true,") << key.errors;
    command.endInput();
    EXPECT_EQ(command.wait(), 0);
    EXPECT_FALSE(contains(command.errors(), "error")) << command.errors();
    EXPECT_FALSE(contains(command.errors(), "warning")) << command.errors();
    auto const frames = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    EXPECT_TRUE(contains(command.output(), "decoded: " + std::to_string(frames) + "\n")) << command.output();
    EXPECT_TRUE(contains(command.output(), "malformed lines: 0\n"));
    EXPECT_TRUE(contains(command.output(), "values beyond the end of short frames: 0\n"));
    removeKeyFiles(prefix.name());
}

TEST(DemoDrive, triggersWhileTheKeyIsHeld) {
    Folder folder;
    auto const [definitions, recording] = generate(folder);
    Result const result({"trigger", "--dbc", definitions, "--level", "--format", "json",
                         "VehicleSpeed.Speed > 50 && RemoteControl.Trigger == pressed", recording});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    std::istringstream lines(result.output);
    std::vector<nlohmann::json> moments;
    for (std::string line; std::getline(lines, line);)
        moments.push_back(nlohmann::json::parse(line));
    ASSERT_EQ(moments.size(), 2U) << result.output;
    // Faster than 50 km/h from 7.6 to 15.6 seconds on; the key is held from 7 to 12 and from 13 to 14.6.
    auto const between = [](nlohmann::json const& time, double first, double last) {
        double const seconds = time.get<double>() / 1e6;
        return first <= seconds && seconds <= last;
    };
    constexpr double start = 1700000000;
    EXPECT_TRUE(between(moments[0]["timestamp"], start + 7.5, start + 7.8)) << moments[0];
    EXPECT_TRUE(between(moments[0]["held"], 4.2, 4.6)) << moments[0];
    EXPECT_TRUE(between(moments[1]["timestamp"], start + 13.0, start + 13.1)) << moments[1];
    EXPECT_TRUE(between(moments[1]["held"], 1.5, 1.7)) << moments[1];
    EXPECT_EQ(moments[1]["ended"], true);
}

} // namespace
