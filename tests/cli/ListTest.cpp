// qzsignal list.
#include "tests/cli/Drive.h"

#include "qzsignal/can/CANSignal.h"
#include "tests/support/ShmProbe.h"

#include <chrono>
#include <cstring>
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

// "name type value unit age" with the columns' spaces folded.
std::string folded(std::string const& line) {
    std::string result;
    for (char const c : line)
        if (c != ' ' || (!result.empty() && result.back() != ' '))
            result += c;
    return result;
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
    EXPECT_EQ(folded(result.output.substr(0, result.output.find('\n'))), "NAME TYPE VALUE UNIT AGE");
    EXPECT_EQ(folded(lineOf(result.output, d_name.name())), d_name.name() + " unsigned - rpm -");
    EXPECT_LT(result.output.find(d_name.name()), result.output.find(second.name()));
}

TEST_F(ListTest, showsSelfContainedCanSignalsAlike) {
    SharedName const second("store");
    CANSignal other(1, 0x123, second.c_str(), "Nm", canSigned, 0, 8, 0.25, 1, false, true);
    other.write(word(0xfd), 7ULL);
    EXPECT_EQ(folded(lineOf(Result({"list"}).output, second.name())), second.name() + " signed 0.25 Nm -");
}

TEST_F(ListTest, showsValueAndAge) {
    d_signal->write(word(5), microsecondsNow() - 3 * 3600 * 1000000ULL - 1000000);
    EXPECT_EQ(folded(lineOf(Result({"list"}).output, d_name.name())), d_name.name() + " unsigned 2.5 rpm 3 h");
}

TEST_F(ListTest, timeThatDoesNotCountFrom1970HasNoAge) {
    d_signal->write(word(5), 15991);
    EXPECT_EQ(folded(lineOf(Result({"list"}).output, d_name.name())), d_name.name() + " unsigned 2.5 rpm -");
    EXPECT_TRUE(entryOf(Result({"list", "--json"}).output, d_name.name())["age"].is_null());
}

TEST_F(ListTest, jsonIsOneArray) {
    d_signal->write(word(5), microsecondsNow() - 2000000);
    Result const result({"list", "--json"});
    EXPECT_EQ(result.status, 0);
    nlohmann::json const entry = entryOf(result.output, d_name.name());
    EXPECT_EQ(entry["type"], "unsigned");
    EXPECT_EQ(entry["unit"], "rpm");
    EXPECT_EQ(entry["value"], 2.5);
    EXPECT_EQ(entry["raw"], 5);
    EXPECT_GE(entry["age"].get<double>(), 2.0);
    EXPECT_LT(entry["age"].get<double>(), 2.0 + 2 * patience);
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
    EXPECT_EQ(folded(lineOf(result.output, d_name.name())), d_name.name() + " unsigned - rpm -");
    EXPECT_TRUE(contains(result.errors, "'" + d_name.name() + "' is locked by another process"));
}

TEST_F(ListTest, textsOfOthersDoNothingToTheTerminal) {
    SharedName const second("\x1b[2J\n");
    baseSignalDef_t definition = plainDefinition(second.name(), 8);
    definition.unit = "\x1b[31m\x7f\xc2\xb0";
    ShmProbe const other(definition, true);
    std::string const name = second.name().substr(0, second.name().find('\x1b'));
    EXPECT_EQ(folded(lineOf(Result({"list"}).output, name)), name + "?[2J? unsigned - ?[31m?\xc2\xb0 -");
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

} // namespace
