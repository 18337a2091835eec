// qzsignal read.
#include "tests/cli/Drive.h"

#include "qzsignal/can/CANSignal.h"
#include "tests/support/ShmProbe.h"

#include <nlohmann/json.hpp>

namespace {

TEST(ReadTest, printsValueUnitRawValueAndTime) {
    SharedName const name;
    baseSignalDef_t definition = plainDefinition(name.name(), 8);
    definition.type = signalSigned;
    definition.unit = "Nm";
    definition.scale = 0.25;
    ShmProbe signal(definition, true);
    Result const unwritten({"read", name.name()});
    EXPECT_EQ(unwritten.status, 0);
    EXPECT_EQ(unwritten.output, name.name() + " = - (no value yet)\n");
    signal.write(word(0xff), 1234567);
    Result const result({"read", name.name()});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, name.name() + " = -0.25 Nm (raw -1, timestamp 1234567)\n");
    EXPECT_EQ(result.errors, "");
}

TEST(ReadTest, readsSelfContainedCanSignalsAlike) {
    SharedName const name;
    CANSignal signal(1, 0x123, name.c_str(), "Nm", canSigned, 0, 8, 0.25, 1, false, true);
    EXPECT_EQ(Result({"read", name.name()}).output, name.name() + " = - (no value yet)\n");
    signal.write(word(0xfd), 7ULL);
    EXPECT_EQ(Result({"read", name.name()}).output, name.name() + " = 0.25 Nm (raw -3, timestamp 7)\n");
    EXPECT_EQ(nlohmann::json::parse(Result({"read", "--json", name.name()}).output)[0]["type"], "signed");
    EXPECT_EQ(Result({"eval", name.name() + " < 1"}).output, "1 (trigger true, timestamp 7)\n");
}

TEST(ReadTest, jsonIsOneArrayWithNullsForNoValue) {
    SharedName const first("first"), second("second");
    ShmProbe a(plainDefinition(first.name()), true), b(plainDefinition(second.name()), true);
    a.write(word(0x12, 0x34), ~0ULL);
    Result const result({"read", "--json", first.name(), second.name()});
    EXPECT_EQ(result.status, 0);
    nlohmann::json const json = nlohmann::json::parse(result.output);
    ASSERT_EQ(json.size(), 2U);
    EXPECT_EQ(json[0], (nlohmann::json{{"name", first.name()},
                                       {"type", "unsigned"},
                                       {"unit", ""},
                                       {"value", 0x3412},
                                       {"raw", 0x3412},
                                       {"timestamp", ~std::uint64_t{0}}}));
    EXPECT_TRUE(json[1]["value"].is_null());
    EXPECT_TRUE(json[1]["raw"].is_null());
    EXPECT_TRUE(json[1]["timestamp"].is_null());
}

TEST(ReadTest, jsonHoldsForAnyBytesAndNumbers) {
    SharedName const name;
    baseSignalDef_t definition = plainDefinition(name.name(), 64);
    definition.unit = "\xb0"
                      "C"; // not UTF-8
    definition.type = signalDouble;
    ShmProbe signal(definition, true);
    unsigned char const notANumber[8] = {0, 0, 0, 0, 0, 0, 0xf8, 0x7f};
    signal.write(notANumber, 1);
    Result const result({"read", "--json", name.name()});
    nlohmann::json const json = nlohmann::json::parse(result.output);
    EXPECT_EQ(json[0]["unit"], "\xef\xbf\xbd"
                               "C");
    EXPECT_TRUE(json[0]["value"].is_null());
    EXPECT_EQ(json[0]["raw"], 0x7ff8000000000000U);
}

TEST(ReadTest, valueTablesGiveWords) {
    SharedName const message("Message");
    Folder folder;
    std::string const definitions = folder.file("words.dbc", "BO_ 256 " + message.name() +
                                                                 ": 8 X\n SG_ Gear : 0|8@1- (2,0) [0|0] \"\" X\n"
                                                                 "VAL_ 256 Gear -1 \"reverse\" 0 \"neutral\" ;\n");
    baseSignalDef_t definition = plainDefinition(message.name() + ".Gear", 8);
    definition.type = signalSigned;
    definition.scale = 2;
    ShmProbe signal(definition, true);
    std::vector<std::string> const arguments = {"read", definition.instance, "--dbc", definitions};
    EXPECT_EQ(Result(arguments).output, definition.instance + " = - (no value yet)\n");
    signal.write(word(0xff), 7);
    EXPECT_EQ(Result(arguments).output, definition.instance + " = -2 'reverse' (raw -1, timestamp 7)\n");
    EXPECT_EQ(Result({"read", "--dbc", definitions, definition.instance}).output, Result(arguments).output)
        << "what follows the file is a name";
    signal.write(word(3), 8);
    EXPECT_EQ(Result(arguments).output, definition.instance + " = 6 (raw 3, timestamp 8)\n");
    signal.write(word(0), 9);
    Result const json({"read", definition.instance, "--json", "--dbc", definitions});
    EXPECT_EQ(nlohmann::json::parse(json.output)[0]["text"], "neutral");
    Result const missing({"read", definition.instance, "--dbc", "/no/such.dbc"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.errors, "qzsignal: error: /no/such.dbc: No such file or directory\n");
    EXPECT_EQ(missing.output, definition.instance + " = 0 (raw 0, timestamp 9)\n");
    unlink(("/tmp/" + definition.instance).c_str());
}

TEST(ReadTest, missingSignalIsReportedWithTheNearestNameAndTheOthersArePrinted) {
    SharedName const name;
    ShmProbe const signal(plainDefinition(name.name()), true);
    Result const result({"read", name.name() + "x", name.name()});
    EXPECT_EQ(result.status, 69);
    EXPECT_EQ(result.output, name.name() + " = - (no value yet)\n");
    EXPECT_EQ(result.errors,
              "qzsignal: error: there is no signal '" + name.name() + "x', did you mean '" + name.name() + "'?\n");
}

TEST(ReadTest, waitsForASignalThatIsNotThereYet) {
    SharedName const name;
    Command command({"read", name.name(), "--wait", "60"});
    ShmProbe signal(plainDefinition(name.name()), true);
    signal.write(word(5), 6);
    EXPECT_EQ(command.wait(), 0);
    EXPECT_EQ(command.output(), name.name() + " = 5 (raw 5, timestamp 6)\n");
    EXPECT_EQ(command.errors(), "") << "asking again and again leaves no trace";
}

TEST(ReadTest, givesUpWhenTimeIsUp) {
    SharedName const name;
    Result const result({"read", name.name(), "--wait", "0.1"});
    EXPECT_EQ(result.status, 69);
    EXPECT_EQ(result.output, "");
}

TEST(ReadTest, lockedSignalIsReportedInPlaceOfAValue) {
    SharedName const name;
    ShmProbe signal(plainDefinition(name.name()), true);
    signal.write(word(5), 6);
    signal.lock();
    Result const result({"read", name.name()});
    signal.unlock();
    EXPECT_EQ(result.status, 69);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors,
              "qzsignal: error: '" + name.name() + "' is locked by another process, its value is not known\n");
}

TEST(ReadTest, waitsForALockInSilence) {
    SharedName const name;
    ShmProbe signal(plainDefinition(name.name()), true);
    signal.write(word(5), 6);
    signal.lock();
    Command command({"read", name.name(), "--wait", "60"});
    constexpr timespec longerThanALook = {0, 700000000};
    nanosleep(&longerThanALook, nullptr);
    EXPECT_TRUE(command.running());
    signal.unlock();
    EXPECT_EQ(command.wait(), 0);
    EXPECT_EQ(command.output(), name.name() + " = 5 (raw 5, timestamp 6)\n");
    EXPECT_EQ(command.errors(), "");
}

} // namespace
