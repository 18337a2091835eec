// Names that expressions can hold, and names that signals are found by.
#include "tools/drive/Names.h"

#include "qzsignal/expression/ExpParser.h"
#include "tests/tools/drive/DriveFixture.h"

namespace qztool {
namespace {

using Names = std::vector<std::string>;

TEST(ExpressionName, charactersThatAnExpressionCannotHoldBecomeUnderscores) {
    struct {
        char const* original;
        char const* name;
    } const cases[] = {
        {"Engine.Speed", "Engine.Speed"},
        {"Gear Box.Oil Temp", "Gear_Box.Oil_Temp"},
        {"M.!(a)*+,-/:<=>", "M.__a__________"},
        {"M.a&b|c#d%", "M.a&b|c#d%"},
        {"3Way.Valve", "_3Way.Valve"},
        {"-Way.Valve", "_Way.Valve"},
        {"_M.S", "_M.S"},
        {"\xC3\x96l.Druck", "_\xC3\x96l.Druck"},
    };
    for (auto const& each : cases) {
        EXPECT_EQ(expressionName(each.original), each.name);
        EXPECT_EQ(ExpParser::signalNames(expressionName(each.original).c_str()), Names{each.name})
            << "as the parser reads it";
    }
}

TEST(OriginalName, pduTellsSignalsOfOneNameApart) {
    MessageDefinition message;
    message.name = "Frame";
    message.signals.resize(3);
    message.signals[0].name = message.signals[1].name = "Speed";
    message.signals[2].name = "Load";
    message.signals[0].pdu = "Front";
    message.signals[1].pdu = "Rear";
    message.signals[2].pdu = "Rear";
    EXPECT_EQ(originalName(message, 0), "Frame.Front.Speed");
    EXPECT_EQ(originalName(message, 1), "Frame.Rear.Speed");
    EXPECT_EQ(originalName(message, 2), "Frame.Load");
}

class SignalNamesTest : public DriveFixture {
protected:
    // A file of signals in message "M" of the prefix, by their long names.
    std::string fileOf(Names const& signals, char const* message = "M") {
        std::string text = std::string("BO_ 256 ") + message + ": 8 X\n";
        for (std::size_t i = 0; i < signals.size(); ++i)
            text += " SG_ s" + std::to_string(i) + " : 0|8@1+ (1,0) [0|0] \"\" X\n";
        for (std::size_t i = 0; i < signals.size(); ++i)
            text += "BA_ \"SystemSignalLongSymbol\" SG_ 256 s" + std::to_string(i) + " \"" + signals[i] + "\";\n";
        return dbcFile(text);
    }
    Names prefixed(Names names) const {
        for (std::string& name : names)
            name = instance(name);
        return names;
    }

    TextReporter d_reporter;
    DefinitionSet d_definitions{d_reporter};
};

TEST_F(SignalNamesTest, signalThatIsSpelledSoKeepsItsName) {
    std::string const path = fileOf({"a b", "a-b", "a_b", "a+b"});
    ASSERT_TRUE(d_definitions.load({std::nullopt, path}));
    EXPECT_EQ(d_definitions.names(), prefixed({"M.a_b", "M.a_b_2", "M.a_b_3", "M.a_b_4"}));
    EXPECT_EQ(d_definitions.files().front()->instances.front(), prefixed({"M.a_b_2", "M.a_b_3", "M.a_b", "M.a_b_4"}));
    EXPECT_EQ(d_definitions.originalOf(instance("M.a_b_3")), instance("M.a-b"));
    EXPECT_EQ(d_reporter.text(), "warning: " + path + ":2: '" + instance("M.a b") + "' is called '" +
                                     instance("M.a_b_2") + "', as another signal is called '" + instance("M.a_b") +
                                     "'\n"
                                     "warning: " +
                                     path + ":3: '" + instance("M.a-b") + "' is called '" + instance("M.a_b_3") +
                                     "', as another signal is called '" + instance("M.a_b") +
                                     "'\n"
                                     "warning: " +
                                     path + ":5: '" + instance("M.a+b") + "' is called '" + instance("M.a_b_4") +
                                     "', as another signal is called '" + instance("M.a_b") + "'\n");
}

TEST_F(SignalNamesTest, signalThatIsSpelledSoInALaterFileKeepsItsName) {
    std::string const first = fileOf({"a b"}), second = fileOf({"a_b"});
    ASSERT_TRUE(d_definitions.load({std::nullopt, first}));
    EXPECT_EQ(d_definitions.names(), prefixed({"M.a_b"}));
    ASSERT_TRUE(d_definitions.load({std::nullopt, second}));
    EXPECT_EQ(d_definitions.files()[0]->instances.front(), prefixed({"M.a_b_2"}));
    EXPECT_EQ(d_definitions.files()[1]->instances.front(), prefixed({"M.a_b"}));
    EXPECT_EQ(d_reporter.text(), "warning: " + second + ":2: '" + instance("M.a b") + "' (" + first +
                                     ":2) is called '" + instance("M.a_b_2") + "', as another signal is called '" +
                                     instance("M.a_b") + "'\n");
}

TEST_F(SignalNamesTest, signalsAreFoundByOwnNameAndOriginalSpelling) {
    ASSERT_TRUE(d_definitions.load({std::nullopt, fileOf({"Oil Temp", "Speed"})}));
    ASSERT_TRUE(d_definitions.load({std::nullopt, fileOf({"Speed", "Load"}, "N")}));
    EXPECT_EQ(d_definitions.meantBy(instance("M.Oil_Temp")), prefixed({"M.Oil_Temp"}));
    EXPECT_EQ(d_definitions.meantBy(instance("M.Oil Temp")), prefixed({"M.Oil_Temp"}));
    EXPECT_EQ(d_definitions.meantBy("Oil_Temp"), prefixed({"M.Oil_Temp"}));
    EXPECT_EQ(d_definitions.meantBy("Oil Temp"), prefixed({"M.Oil_Temp"}));
    EXPECT_EQ(d_definitions.meantBy("Load"), prefixed({"N.Load"}));
    EXPECT_EQ(d_definitions.meantBy("Speed"), prefixed({"M.Speed", "N.Speed"}));
    EXPECT_EQ(d_definitions.meantBy("Nothing"), Names{});
}

} // namespace
} // namespace qztool
