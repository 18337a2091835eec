// qzsignal eval.
#include "tests/cli/Command.h"
#include "tests/support/SharedName.h"
#include "tests/support/ShmProbe.h"

#include <nlohmann/json.hpp>

#include <memory>

namespace {

// The lines of an output that is still growing; only whole ones.
std::vector<std::string> linesOf(std::string const& text) {
    std::vector<std::string> lines;
    for (std::size_t begin = 0, end = 0; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1)
        lines.push_back(text.substr(begin, end - begin));
    return lines;
}

class EvalTest : public testing::Test {
protected:
    EvalTest() : d_signal(makeSignal()) {}

    std::unique_ptr<ShmProbe> makeSignal() const {
        return std::make_unique<ShmProbe>(plainDefinition(d_name.name()), true);
    }
    Result eval(std::string const& expression, std::vector<std::string> const& more = {}) const {
        std::vector<std::string> arguments = {"eval", expression};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Result(arguments);
    }
    // Waits for that many lines; the last of them.
    static std::string line(Command& command, std::size_t count) {
        EXPECT_TRUE(waitUntil([&] { return linesOf(command.output()).size() >= count || !command.running(); }));
        std::vector<std::string> const lines = linesOf(command.output());
        EXPECT_EQ(lines.size(), count) << command.output() << command.errors();
        return lines.empty() ? "" : lines.back();
    }
    static void endBySignal(Command& command, int number = SIGINT) {
        EXPECT_TRUE(command.running()) << command.errors();
        command.signal(number);
        EXPECT_EQ(command.wait(), 0);
    }

    SharedName d_name;
    std::unique_ptr<ShmProbe> d_signal;
};

TEST_F(EvalTest, printsValueAndTriggerAndExitsByTheTrigger) {
    d_signal->write(word(5), 6);
    std::string const name = d_name.name();
    struct {
        std::string expression;
        int status;
        char const* output;
    } const cases[] = {
        {name + " > 3", 0, "1 (trigger true, timestamp 6)\n"},
        {name + " > 30", 1, "0 (trigger false, timestamp 6)\n"},
        {name + " * 2.5", 0, "12.5 (trigger true, timestamp 6)\n"},
        {"-" + name, 1, "-5 (trigger false, timestamp 6)\n"},
        {name + " == 5 && " + name + "<6", 0, "1 (trigger true, timestamp 6)\n"},
        {name + " / 0", 0, "inf (trigger true, timestamp 6)\n"},
        {"pressed_long + high", 0, "3 (trigger true)\n"},
    };
    for (auto const& each : cases) {
        Result const result({"eval", "--", each.expression});
        EXPECT_EQ(result.status, each.status) << each.expression;
        EXPECT_EQ(result.output, each.output) << each.expression;
        EXPECT_EQ(result.errors, "") << each.expression;
    }
}

TEST_F(EvalTest, timestampIsThatOfTheNewestSignal) {
    SharedName const second("second");
    ShmProbe other(plainDefinition(second.name()), true);
    d_signal->write(word(5), 60);
    other.write(word(7), 50);
    EXPECT_EQ(eval(d_name.name() + " + " + second.name()).output, "12 (trigger true, timestamp 60)\n");
    other.write(word(8), 70);
    EXPECT_EQ(eval(d_name.name() + " + " + second.name()).output, "13 (trigger true, timestamp 70)\n");
}

TEST_F(EvalTest, signalWithoutAValueGivesNoneAndNoTrigger) {
    Result const result = eval("!" + d_name.name());
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "- (trigger false, no value yet of '" + d_name.name() + "')\n");
    EXPECT_EQ(result.errors, "");
    nlohmann::json const json = nlohmann::json::parse(eval("!" + d_name.name(), {"--json"}).output);
    EXPECT_EQ(json, (nlohmann::json{{"value", nullptr},
                                    {"trigger", false},
                                    {"timestamp", 0},
                                    {"missing", nlohmann::json::array()},
                                    {"unwritten", {d_name.name()}}}));
}

TEST_F(EvalTest, jsonIsAnObjectInOneLine) {
    d_signal->write(word(5), ~0ULL);
    Result const result = eval(d_name.name() + " / 2", {"--json"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output,
              "{\"value\":2.5,\"trigger\":true,\"timestamp\":18446744073709551615,\"missing\":[],\"unwritten\":[]}\n");
    EXPECT_TRUE(nlohmann::json::parse(eval(d_name.name() + " / 0", {"--json"}).output)["value"].is_null());
}

TEST_F(EvalTest, badExpressionIsShownWithItsPlace) {
    Result const result = eval(d_name.name() + " > 3 no.such.signal");
    EXPECT_EQ(result.status, 65);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "[ERROR] expression parser: line 1 syntax error at '3 no.such.signal'\n"
                             "    " +
                                 d_name.name() + " > 3 no.such.signal\n" + std::string(d_name.name().size() + 9, ' ') +
                                 "^\n");
    EXPECT_EQ(eval("").status, 65);
}

TEST_F(EvalTest, programIsPrintedAnInstructionALine) {
    SharedName const missing("missing");
    Result const result = eval(missing.name() + " * 0.1 > 3 && RC.F1 == pressed", {"--program"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "opsignal " + missing.name() +
                                 "\nopdouble 0.1\nopmult\nopdouble 3\nopgt\n"
                                 "opsignal RC.F1\nopdouble 1\nopdeq\nopland\n");
    EXPECT_EQ(result.errors, "") << "signals need not exist";
    Result const falseCondition({"eval", "--program", "0"});
    EXPECT_EQ(falseCondition.status, 0);
    EXPECT_EQ(falseCondition.output, "opdouble 0\n");
}

TEST_F(EvalTest, programAsJsonIsAnArrayOfInstructions) {
    Result const result({"eval", "--json", "--program", "--", "-a.b >= 1e999"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(nlohmann::json::parse(result.output),
              nlohmann::json::array({{{"operation", "opsignal"}, {"signal", "a.b"}},
                                     {{"operation", "opneg"}},
                                     {{"operation", "opdouble"}, {"constant", nullptr}},
                                     {{"operation", "opge"}}}));
}

TEST_F(EvalTest, programOfABadExpressionIsNotPrinted) {
    Result const result({"eval", "--program", "a b"});
    EXPECT_EQ(result.status, 65);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "[ERROR] expression parser: line 1 syntax error at 'a b'\n    a b\n      ^\n");
}

TEST_F(EvalTest, programIsNotForOptionsOfEvaluation) {
    for (std::vector<std::string> const& other :
         {std::vector<std::string>{"--follow"}, {"--edge"}, {"--wait", "1"}, {"--interval", "1"}}) {
        std::vector<std::string> options = {"--program"};
        options.insert(options.end(), other.begin(), other.end());
        Result const result = eval("1", options);
        EXPECT_EQ(result.status, 64) << other.front();
        EXPECT_EQ(result.output, "");
        EXPECT_NE(result.errors.find(other.front()), std::string::npos) << result.errors;
    }
}

TEST_F(EvalTest, missingSignalIsReportedWithTheNearestName) {
    Result const result = eval(d_name.name() + "x > " + d_name.name());
    EXPECT_EQ(result.status, 69);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors,
              "qzsignal: error: there is no signal '" + d_name.name() + "x', did you mean '" + d_name.name() + "'?\n");
    EXPECT_EQ(eval(d_name.name() + "x", {"--follow", "--wait", "0.1"}).status, 69);
}

TEST_F(EvalTest, waitsForSignalsAndTheirValues) {
    SharedName const later("later");
    Command command({"eval", later.name() + " + 1", "--wait", "60"});
    ShmProbe signal(plainDefinition(later.name()), true);
    EXPECT_TRUE(command.running());
    signal.write(word(5), 6);
    EXPECT_EQ(command.wait(), 0);
    EXPECT_EQ(command.output(), "6 (trigger true, timestamp 6)\n");
    EXPECT_EQ(command.errors(), "");
}

TEST_F(EvalTest, lockedSignalIsReportedInPlaceOfAValue) {
    d_signal->write(word(5), 6);
    d_signal->lock();
    Result const result = eval(d_name.name());
    d_signal->unlock();
    EXPECT_EQ(result.status, 69);
    EXPECT_EQ(result.errors,
              "qzsignal: error: '" + d_name.name() + "' is locked by another process, its value is not known\n");
}

TEST_F(EvalTest, followPrintsChangesUntilInterrupted) {
    for (int const number : {SIGINT, SIGTERM}) {
        d_signal->write(word(5), 6);
        Command command({"eval", "--follow", "--interval", "0.001", d_name.name() + " > 3 && 1"});
        EXPECT_EQ(line(command, 1), "1 (trigger true, timestamp 6)");
        d_signal->write(word(4), 7); // makes no difference
        d_signal->write(word(2), 8);
        EXPECT_EQ(line(command, 2), "0 (trigger false, timestamp 8)");
        d_signal->write(word(9), 9);
        EXPECT_EQ(line(command, 3), "1 (trigger true, timestamp 9)");
        endBySignal(command, number);
        EXPECT_EQ(linesOf(command.output()).size(), 3U);
        EXPECT_EQ(command.errors(), "");
    }
}

// A look every 20 ms would see 50 of them.
TEST_F(EvalTest, followLooksOftenEnoughForShortStates) {
    d_signal->write(word(1), 1);
    Command command({"eval", "--follow", d_name.name()});
    ASSERT_EQ(line(command, 1), "1 (trigger true, timestamp 1)");
    constexpr timespec pause = {0, 5000000};
    for (unsigned i = 2; i <= 201; ++i) {
        d_signal->write(word(static_cast<std::uint8_t>(i)), i);
        nanosleep(&pause, nullptr);
    }
    endBySignal(command);
    EXPECT_GT(linesOf(command.output()).size(), 80U);
}

TEST_F(EvalTest, followPrintsChangesOfAFormula) {
    d_signal->write(word(5), 6);
    Command command({"eval", "--follow", "--json", d_name.name() + " * 2"});
    EXPECT_EQ(nlohmann::json::parse(line(command, 1))["value"], 10);
    d_signal->write(word(6), 7);
    nlohmann::json const second = nlohmann::json::parse(line(command, 2));
    EXPECT_EQ(second["value"], 12);
    EXPECT_EQ(second["timestamp"], 7);
    endBySignal(command);
}

TEST_F(EvalTest, followSeesSignalsGoAndComeBack) {
    std::string const unwritten = "- (trigger false, no value yet of '" + d_name.name() + "')";
    Command command({"eval", "--follow", "--interval", "0.001", d_name.name()});
    EXPECT_EQ(line(command, 1), unwritten);
    d_signal->write(word(5), 6);
    EXPECT_EQ(line(command, 2), "5 (trigger true, timestamp 6)");
    d_signal.reset();
    EXPECT_EQ(line(command, 3), "- (trigger false, no signal '" + d_name.name() + "')");
    d_signal = makeSignal();
    EXPECT_EQ(line(command, 4), unwritten);
    d_signal->write(word(7), 8);
    EXPECT_EQ(line(command, 5), "7 (trigger true, timestamp 8)");
    endBySignal(command);
    EXPECT_EQ(command.errors(), "");
}

TEST_F(EvalTest, followWithEdgePrintsOnlyWhenTheConditionBecomesTrue) {
    d_signal->write(word(5), 6);
    Command command({"eval", "--follow", "--edge", "--interval", "0.001", d_name.name() + " > 3"});
    EXPECT_EQ(line(command, 1), "1 (trigger true, timestamp 6)") << "true from the start";
    // What is not printed cannot be waited for: until the command has seen one fall and one rise.
    bool high = true;
    EXPECT_TRUE(waitUntil([&] {
        high = !high;
        d_signal->write(word(high ? 5 : 2), high ? 9 : 8);
        return linesOf(command.output()).size() > 1;
    }));
    EXPECT_EQ(linesOf(command.output())[1], "1 (trigger true, timestamp 9)");
    endBySignal(command);
    d_signal->write(word(5), 9);
    EXPECT_EQ(eval(d_name.name() + " > 3", {"--edge"}).status, 0);
    EXPECT_EQ(eval(d_name.name() + " > 9", {"--edge"}).status, 1);
}

TEST_F(EvalTest, followEndsWhenItIsInterruptedBeforeItsSignalsAreThere) {
    SharedName const missing("missing");
    d_signal->write(word(5), 6);
    for (int const number : {SIGINT, SIGTERM}) {
        Command command({"eval", "--follow", "--wait", "1000", d_name.name() + " + " + missing.name()});
        // Only a lock that comes after its first look, and stays, makes it say something while it waits: a second
        // without the lock, a second with it, and so on.
        int polls = 0;
        bool locked = false;
        EXPECT_TRUE(waitUntil([&] {
            if (++polls % 200 == 0) {
                locked ? d_signal->unlock() : d_signal->lock();
                locked = !locked;
            }
            return !command.errors().empty();
        }));
        if (locked)
            d_signal->unlock();
        endBySignal(command, number);
        EXPECT_EQ(command.output(), "");
        EXPECT_EQ(command.errors(),
                  "qzsignal: warning: '" + d_name.name() + "' is locked by another process, its last value stays\n");
    }
}

TEST_F(EvalTest, followKeepsTheLastValueOfALockedSignal) {
    d_signal->write(word(5), 6);
    Command command({"eval", "--follow", d_name.name()});
    EXPECT_EQ(line(command, 1), "5 (trigger true, timestamp 6)");
    d_signal->lock();
    EXPECT_TRUE(waitUntil([&] { return !command.errors().empty(); }));
    d_signal->unlock();
    d_signal->write(word(7), 8);
    EXPECT_EQ(line(command, 2), "7 (trigger true, timestamp 8)");
    endBySignal(command);
    EXPECT_EQ(command.errors(),
              "qzsignal: warning: '" + d_name.name() + "' is locked by another process, its last value stays\n");
}

TEST_F(EvalTest, followEndsWhenItsReaderIsGone) {
    d_signal->write(word(5), 6);
    std::string command = QZSIGNAL_TEST_COMMAND;
    std::replace(command.begin(), command.end(), '|', ' ');
    Child pipeline("sh", {"-c", command + " eval --follow " + d_name.name() + " | head -n 1"});
    EXPECT_TRUE(waitUntil([&] { return !pipeline.output().empty(); }));
    std::uint8_t value = 0;
    EXPECT_TRUE(waitUntil([&] {
        d_signal->write(word(++value), 7);
        return !pipeline.running();
    }));
    EXPECT_EQ(pipeline.wait(), 0);
    EXPECT_EQ(pipeline.output(), "5 (trigger true, timestamp 6)\n");
}

} // namespace
