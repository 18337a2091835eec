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

TEST(DemoDrive, isReplayedWithoutComplaintAndEndsAtRest) {
    Folder folder;
    std::string const definitions = folder.path("drive.dbc"), recording = folder.path("drive.log");
    Child generator(QZSIGNAL_TEST_DRIVE, {folder.name()});
    ASSERT_EQ(generator.wait(), 0) << generator.errors();

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

} // namespace
