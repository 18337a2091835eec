// qzsignal list.
#include "tests/cli/Drive.h"

#include "qzsignal/can/CANSignal.h"
#include "tests/support/ShmProbe.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <nlohmann/json.hpp>

namespace {

std::string lineOf(std::string const& output, std::string const& start) {
    std::size_t const begin = output.find(start);
    return begin == std::string::npos ? "" : output.substr(begin, output.find('\n', begin) - begin);
}

std::uint64_t microsecondsNow() {
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch())
            .count());
}

// "name type value unit time age attached feeder" with the columns' spaces folded.
std::string folded(std::string const& line) {
    std::string result;
    for (char const c : line)
        if (c != ' ' || (!result.empty() && result.back() != ' '))
            result += c;
    return result;
}

// The rest of the row of a signal that this process made and is attached to.
std::string const fedHere = " 1 " + std::to_string(getpid());

bool startsWith(std::string const& text, std::string const& start) {
    return text.rfind(start, 0) == 0;
}

nlohmann::json entryOf(std::string const& output, std::string const& name) {
    for (nlohmann::json const& each : nlohmann::json::parse(output))
        if (each["name"] == name)
            return each;
    return nullptr;
}

class ListTest : public testing::Test {
protected:
    ListTest() {
        baseSignalDef_t definition = plainDefinition(d_name.name(), 8);
        definition.unit = "rpm";
        definition.scale = 0.5;
        d_signal = std::make_unique<ShmProbe>(definition, true);
    }

    SharedName d_name;
    std::unique_ptr<ShmProbe> d_signal;
};

TEST_F(ListTest, showsSignalsOfTheMachineInOrder) {
    SharedName const second("a");
    ShmProbe const other(plainDefinition(second.name()), true);
    Result const result({"list"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(folded(result.output.substr(0, result.output.find('\n'))),
              "NAME TYPE VALUE UNIT TIME AGE ATTACHED FED BY");
    EXPECT_TRUE(
        startsWith(folded(lineOf(result.output, d_name.name())), d_name.name() + " unsigned - rpm - -" + fedHere + " "))
        << result.output;
    EXPECT_LT(result.output.find(d_name.name()), result.output.find(second.name()));
}

TEST_F(ListTest, showsSelfContainedCanSignalsAlike) {
    SharedName const second("store");
    CANSignal other(1, 0x123, second.c_str(), "Nm", canSigned, 0, 8, 0.25, 1, false, true);
    other.write(word(0xfd), 7ULL);
    EXPECT_TRUE(startsWith(folded(lineOf(Result({"list"}).output, second.name())),
                           second.name() + " signed 0.25 Nm 0.000007 -" + fedHere));
}

TEST_F(ListTest, showsValueTimeAndAge) {
    setenv("TZ", "UTC", 1);
    std::uint64_t const written = microsecondsNow();
    d_signal->write(word(5), written);
    auto const seconds = static_cast<std::time_t>(written / 1000000);
    std::array<char, 32> date{};
    std::strftime(date.data(), date.size(), "%Y-%m-%d %H:%M:%S.", std::gmtime(&seconds));
    std::string const row = folded(lineOf(Result({"list"}).output, d_name.name()));
    EXPECT_TRUE(startsWith(row, d_name.name() + " unsigned 2.5 rpm " + date.data())) << row;
    EXPECT_TRUE(contains(row, " s" + fedHere)) << row;
}

// A value of an old recording that is written now has a time, but no age.
TEST_F(ListTest, timeBeforeTheSegmentWasMadeHasNoAge) {
    d_signal->write(word(5), 1700000000123456);
    EXPECT_TRUE(entryOf(Result({"list", "--json"}).output, d_name.name())["age"].is_null());
    setenv("TZ", "UTC", 1);
    EXPECT_TRUE(startsWith(folded(lineOf(Result({"list"}).output, d_name.name())),
                           d_name.name() + " unsigned 2.5 rpm 2023-11-14 22:13:20.123 -" + fedHere));
    d_signal->write(word(6), microsecondsNow() + 3600 * 1000000ULL);
    EXPECT_TRUE(entryOf(Result({"list", "--json"}).output, d_name.name())["age"].is_null()) << "one to come";
}

TEST_F(ListTest, timeThatDoesNotCountFrom1970HasNoAge) {
    d_signal->write(word(5), 15991);
    EXPECT_TRUE(startsWith(folded(lineOf(Result({"list"}).output, d_name.name())),
                           d_name.name() + " unsigned 2.5 rpm 0.015991 -" + fedHere));
    EXPECT_TRUE(entryOf(Result({"list", "--json"}).output, d_name.name())["age"].is_null());
}

TEST_F(ListTest, jsonIsOneArray) {
    std::uint64_t const written = microsecondsNow();
    d_signal->write(word(5), written);
    ShmSignal const reader(d_name.c_str());
    Result const result({"list", "--json"});
    EXPECT_EQ(result.status, 0);
    nlohmann::json const entry = entryOf(result.output, d_name.name());
    EXPECT_EQ(entry["type"], "unsigned");
    EXPECT_EQ(entry["unit"], "rpm");
    EXPECT_EQ(entry["value"], 2.5);
    EXPECT_EQ(entry["raw"], 5);
    EXPECT_EQ(entry["timestamp"], written);
    EXPECT_GT(entry["age"].get<double>(), 0.0);
    EXPECT_LT(entry["age"].get<double>(), 2.0 * patience);
    EXPECT_EQ(entry["creator"]["pid"], getpid());
    EXPECT_TRUE(entry["creator"]["command"].is_string());
    EXPECT_EQ(entry["creator"]["alive"], true);
    EXPECT_EQ(entry["creator"].size(), 3U);
    EXPECT_EQ(entry["orphan"], false);
    EXPECT_EQ(entry["attached"], 2);
    EXPECT_EQ(entry.size(), 10U) << entry;
}

TEST_F(ListTest, leavesOutWhatIsNoSignal) {
    // A segment of a record's size that no process initialised, one of another size, and a key file without any.
    SharedName const unfinished("unfinished"), foreign("foreign"), lonely("lonely");
    for (SharedName const* const each : {&unfinished, &foreign, &lonely})
        close(open(each->path().c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0666));
    ASSERT_NE(shmget(unfinished.key(), sizeof(shmSignalData_t), IPC_CREAT | 0666), -1);
    ASSERT_NE(shmget(foreign.key(), 4096, IPC_CREAT | 0666), -1);
    Result const result({"list"});
    EXPECT_EQ(result.status, 0);
    EXPECT_FALSE(contains(result.output, unfinished.name()));
    EXPECT_FALSE(contains(result.output, foreign.name()));
    EXPECT_FALSE(contains(result.output, lonely.name()));
    EXPECT_TRUE(contains(result.output, d_name.name()));
}

TEST_F(ListTest, isNotHeldUpByALockedSignal) {
    d_signal->write(word(5), 15991);
    d_signal->lock();
    Result const result({"list"});
    d_signal->unlock();
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(startsWith(folded(lineOf(result.output, d_name.name())), d_name.name() + " unsigned - rpm - -"));
    EXPECT_TRUE(contains(result.errors, "'" + d_name.name() + "' is locked by another process"));
}

TEST_F(ListTest, textsOfOthersDoNothingToTheTerminal) {
    SharedName const second("\x1b[2J\n");
    baseSignalDef_t definition = plainDefinition(second.name(), 8);
    definition.unit = "\x1b[31m\x7f\xc2\xb0";
    ShmProbe const other(definition, true);
    std::string const name = second.name().substr(0, second.name().find('\x1b'));
    EXPECT_TRUE(
        startsWith(folded(lineOf(Result({"list"}).output, name)), name + "?[2J? unsigned - ?[31m?\xc2\xb0 - -"));
    EXPECT_FALSE(entryOf(Result({"list", "--json"}).output, second.name()).is_null()) << "there it is escaped";
    std::string const asked = second.name() + "x";
    Result const missing({"read", asked});
    EXPECT_TRUE(contains(missing.errors, "did you mean '" + name + "?[2J?'")) << missing.errors;
}

TEST_F(ListTest, unitWithoutEndIsReadNoFurtherThanItsField) {
    d_signal->d_data->type = signalSigned; // what follows
    std::memset(d_signal->d_data->unit, 'u', sizeof d_signal->d_data->unit);
    EXPECT_EQ(entryOf(Result({"list", "--json"}).output, d_name.name())["unit"],
              std::string(sizeof d_signal->d_data->unit, 'u'));
}

TEST_F(ListTest, warnsOfNamesThatShowOneSegment) {
    SharedName const twin("twin");
    ASSERT_EQ(link(d_name.path().c_str(), twin.path().c_str()), 0);
    Result const result({"list"});
    EXPECT_TRUE(contains(result.errors, "'" + d_name.name() + "' and '" + twin.name() + "' show one segment"))
        << result.errors;
}

TEST_F(ListTest, patternsPickSignals) {
    SharedName const second("second");
    ShmProbe const other(plainDefinition(second.name()), true);
    Result const result({"list", "*_second", "no such"});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(contains(result.output, second.name()));
    EXPECT_FALSE(contains(result.output, d_name.name()));
    Result const none({"list", d_name.name() + "x*"});
    EXPECT_EQ(none.status, 69);
    EXPECT_EQ(none.errors, "qzsignal: error: no signal matches '" + d_name.name() + "x*'\n");
}

TEST_F(ListTest, staleShowsWhatWasNotWrittenForSoLong) {
    SharedName const unwritten("unwritten");
    ShmProbe const other(plainDefinition(unwritten.name()), true);
    d_signal->write(word(5), microsecondsNow());
    std::vector<std::string> const arguments = {"list", "qzsignal_test_" + std::to_string(getpid()) + "_*", "--stale"};
    auto const listed = [&arguments](std::string const& seconds) {
        std::vector<std::string> all = arguments;
        all.push_back(seconds);
        Result const result(all);
        EXPECT_EQ(result.status, 0) << result.errors;
        return result.output;
    };
    EXPECT_FALSE(contains(listed("1000"), d_name.name()));
    EXPECT_TRUE(contains(listed("0"), d_name.name()));
    EXPECT_FALSE(contains(listed("0"), unwritten.name())) << "without a value there is no age";
}

// What is attached when its process is killed is not any more, and its creator is gone.
TEST_F(ListTest, killedFeederLeavesOrphans) {
    Drive drive;
    Command feeder({"replay", "-d", drive.definitions(), "-"});
    feeder.feed(drivingFrame);
    ASSERT_EQ(Result({"read", drive.speed(), "--wait", "60"}).status, 0);
    nlohmann::json const live = entryOf(Result({"list", "--json"}).output, drive.speed());
    EXPECT_EQ(live["creator"]["pid"], feeder.id());
    EXPECT_EQ(live["orphan"], false);
    EXPECT_EQ(live["attached"], 1);
#ifndef QZSIGNAL_EMULATED // the emulator's name is shown there
    EXPECT_EQ(live["creator"]["command"], "qzsignal replay");
    EXPECT_TRUE(
        contains(lineOf(Result({"list"}).output, drive.speed()), std::to_string(feeder.id()) + " qzsignal replay"));
#endif
    {
        ShmSignal const reader(drive.speed().c_str());
        feeder.signal(SIGKILL);
        feeder.wait();
        nlohmann::json const read = entryOf(Result({"list", "--json"}).output, drive.speed());
        EXPECT_EQ(read["creator"]["alive"], false);
        EXPECT_EQ(read["orphan"], false) << "a reader is attached";
    }
    nlohmann::json const orphan = entryOf(Result({"list", "--json"}).output, drive.speed());
    EXPECT_EQ(orphan["orphan"], true);
    EXPECT_EQ(orphan["attached"], 0);
    EXPECT_EQ(orphan["creator"]["alive"], false);
    EXPECT_TRUE(orphan["creator"]["command"].is_null());
    EXPECT_TRUE(contains(lineOf(Result({"list"}).output, drive.speed()), "orphan of " + std::to_string(feeder.id())));
}

} // namespace
