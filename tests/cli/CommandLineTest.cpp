// What the command says of itself, and of a command line that is wrong.
#include "tests/cli/Command.h"

namespace {

TEST(CommandLine, versionIsTheProjects) {
    Result const result({"--version"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "qzsignal " QZSIGNAL_TEST_VERSION "\n");
}

TEST(CommandLine, helpNamesSubcommandsExitStatusesAndExamples) {
    Result const result({"--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    for (char const* const part :
         {"replay", "read", "list", "eval", "trigger", "Exit status:", "  64  ", "  65  ", "  69  ", "Examples:"})
        EXPECT_TRUE(contains(result.output, part)) << part;
}

TEST(CommandLine, subcommandsHaveHelpOfTheirOwn) {
    for (char const* const subcommand : {"replay", "read", "list", "eval", "trigger", "export", "signals"}) {
        Result const result({subcommand, "--help"});
        EXPECT_EQ(result.status, 0);
        EXPECT_TRUE(contains(result.output, "Examples:\n  qzsignal " + std::string(subcommand))) << result.output;
    }
}

TEST(CommandLine, mistakesAreUsageErrorsWithNothingOnStandardOutput) {
    struct {
        std::vector<std::string> arguments;
        char const* part;
    } const cases[] = {
        {{}, "subcommand"},
        {{"raed", "x"}, "unknown subcommand 'raed', did you mean 'read'?"},
        {{"frobnicate"}, "unknown subcommand 'frobnicate'; see qzsignal --help"},
        {{"read"}, "NAME"},
        {{"list", "surplus"}, "surplus"},
        {{"replay", "drive.log"}, "--definitions"},
        {{"replay", "--dbc", "car.dbc"}, "TRACE"},
        {{"replay", "--dbc", "car.dbc", "--speed", "0", "drive.log"}, "--speed"},
        {{"replay", "--dbc", "car.dbc", "--speed", "fast", "drive.log"}, "--speed"},
        {{"replay", "--dbc", "car.dbc", "--speed", "2", "--fast", "drive.log"}, "--fast"},
        {{"read", "x", "--wait", "-1"}, "--wait"},
        {{"eval"}, "EXPR"},
        {{"eval", "1", "2"}, "2"},
        {{"eval", "1", "--wait", "-1"}, "--wait"},
        {{"eval", "1", "--follow", "--interval", "0"}, "--interval"},
        {{"trigger", "1", "drive.log"}, "--definitions"},
        {{"trigger", "--dbc", "car.dbc", "1"}, "TRACE"},
        {{"trigger", "--dbc", "car.dbc", "--format", "xml", "1", "drive.log"}, "--format"},
        {{"--surplus"}, "subcommand"},
    };
    for (auto const& each : cases) {
        Result const result(each.arguments);
        EXPECT_EQ(result.status, 64) << each.part;
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.errors.find("qzsignal: error: "), 0U) << result.errors;
        EXPECT_TRUE(contains(result.errors, each.part)) << result.errors;
    }
}

// What it would say of a condition that is false, status 1, is not what it may end with.
TEST(CommandLine, withoutMemoryItSaysSo) {
#if defined QZSIGNAL_EMULATED || defined __SANITIZE_ADDRESS__ || defined __SANITIZE_THREAD__
    GTEST_SKIP() << "the emulator, or the sanitizer, needs the memory itself";
#endif
    Folder folder;
    std::string const endless = folder.file("endless.dbc", "");
    ASSERT_EQ(truncate(endless.c_str(), 1 << 30), 0);
    Child command("sh|-c|ulimit -v 200000 && exec \"$0\" \"$@\"" QZSIGNAL_TEST_COMMAND,
                  {"trigger", "--dbc", endless, "1", "-"});
    EXPECT_EQ(command.wait(), 70);
    EXPECT_EQ(command.output(), "");
    EXPECT_EQ(command.errors(), "qzsignal: error: out of memory\n");
}

} // namespace
