// Ages, raw values and words in conditions.
#include "tests/tools/moments/MomentsFixture.h"

namespace qztool {
namespace {

class DerivedNamesTest : public MomentsFixture {
protected:
    // Each derived name of a signal, and the values of words.
    std::string namesOf(std::string const& signal) {
        TextReporter reporter;
        DefinitionSet definitions(reporter);
        definitions.load({std::nullopt, dbcFile(d_definitions)});
        std::string text;
        for (DerivedName const& each : derivedNamesOf(instance(signal), definitions)) {
            EXPECT_EQ(each.signal, instance(signal));
            text += each.name.substr(instance(signal).size() + 1);
            if (each.kind == DerivedName::Kind::Word)
                text += " " + std::to_string(static_cast<int>(each.value * 10));
            text += each.namesakes.empty() ? "\n" : " beside " + each.namesakes + "\n";
        }
        return text;
    }
};

TEST_F(DerivedNamesTest, ageIsTheTimeSinceTheLastWriteAfterEveryFrame) {
    EXPECT_EQ(found("Speed.age >= 2", "(1.0) can0 200#00\n(2.0) can0 100#00\n(3.5) can0 200#00\n(4.0) can0 200#00\n"
                                      "(5.0) can0 200#00\n(5.5) can0 100#00\n(7.5) can0 200#R\n(8.0) can0 200#00\n"),
              "4000000 line 4 held 1500000 ended\n7500000 line 7 held 500000 open\n");
    EXPECT_EQ(found("Speed.age > 0", "(1.0) can0 200#00\n(2.0) can0 200#00\n"), "") << "it was never written";
    EXPECT_EQ(found("Speed.age < 1", "(5.0) can0 100#00\n(2.0) can0 200#00\n(7.0) can0 200#00\n"),
              "5000000 line 1 held 2000000 ended\n")
        << "time that steps back passes for none";
}

TEST_F(DerivedNamesTest, ageCountsFromWritesThatChangeNothing) {
    EXPECT_EQ(found("Speed.age > 1.5 && Load == 5", "(1.0) can0 100#0005\n(2.0) can0 100#0005\n(3.0) can0 100#0005\n"
                                                    "(4.0) can0 200#00\n(5.0) can0 200#00\n"),
              "5000000 line 5 held 0 open\n");
}

TEST_F(DerivedNamesTest, ageMayHaveToHoldAsWell) {
    EXPECT_EQ(found("Speed.age > 1", "(1.0) can0 100#00\n(2.5) can0 200#00\n(5.0) can0 200#00\n", 2'000'000),
              "4500000 line 2 held 2500000 open\n");
}

TEST_F(DerivedNamesTest, rawValuesAreNumbersWithTheirSign) {
    std::string const log = "(1.0) can0 100#28FD\n(2.0) can0 100#C8FE\n";
    EXPECT_EQ(found("Speed.raw == 40 && Speed == 10", log), "1000000 line 1 held 1000000 ended\n");
    EXPECT_EQ(found("Speed.raw > 199", log), "2000000 line 2 held 0 open\n") << "it is read unsigned";
    EXPECT_EQ(found("Load.raw == -3", log), "1000000 line 1 held 1000000 ended\n");
    EXPECT_EQ(found(instance("A.Load.raw") + " == -3", log), "1000000 line 1 held 1000000 ended\n");
}

TEST_F(DerivedNamesTest, wordsAreWhatTheSignalReads) {
    d_definitions += "VAL_ 256 Speed 40 \"Slow\" 200 \"Fast\" ;\nVAL_ 256 Load -3 \"Low-er\" 3 \"high\" ;\n";
    std::string const log = "(1.0) can0 100#28FD\n(2.0) can0 100#C803\n";
    EXPECT_EQ(found("Speed == Speed.Slow", log), "1000000 line 1 held 1000000 ended\n");
    EXPECT_EQ(found("Speed == " + instance("A.Speed.Fast"), log), "2000000 line 2 held 0 open\n");
    EXPECT_EQ(found("Load == Load.Low_er", log), "1000000 line 1 held 1000000 ended\n");
    EXPECT_EQ(found("Load == Load.high", log), "2000000 line 2 held 0 open\n");
    EXPECT_EQ(found("Load < Speed.Slow && Speed.Slow == 10 && Load.age == 0", log),
              "1000000 line 1 held 1000000 open\n")
        << "several derived names";
}

TEST_F(DerivedNamesTest, wordsBecomeNamesAsSignalsDo) {
    d_definitions +=
        "VAL_ 256 Speed 20 \"\" 22 \"not set\" 24 \"1st\" 26 \"not-set\" 28 \"SNA\" 30 \"not_set\" 32 \"SNA\" "
        "34 \"age\" 36 \"raw\" 38 \"Raw\" ;\n";
    EXPECT_EQ(namesOf("A.Speed"), "age\nraw\n"
                                  "1st 20\n"
                                  "SNA 40 beside '" +
                                      instance("A.Speed.SNA_2") +
                                      "'\n"
                                      "not_set 50 beside '" +
                                      instance("A.Speed.not_set_2") + "', '" + instance("A.Speed.not_set_3") +
                                      "'\n"
                                      "Raw 90\n"
                                      "not_set_2 10 beside '" +
                                      instance("A.Speed.not_set") + "', '" + instance("A.Speed.not_set_3") +
                                      "'\n"
                                      "not_set_3 30 beside '" +
                                      instance("A.Speed.not_set") + "', '" + instance("A.Speed.not_set_2") +
                                      "'\n"
                                      "SNA_2 60 beside '" +
                                      instance("A.Speed.SNA") +
                                      "'\n"
                                      "age_2 70\nraw_2 80\n");
    EXPECT_EQ(found("Speed == Speed.SNA || Speed.SNA < 0", "(1.0) can0 100#1C00\n"),
              "warning: 'Speed.SNA' is one of several words that are spelled alike; see also '" +
                  instance("A.Speed.SNA_2") + "'\n1000000 line 1 held 0 open\n")
        << "said once";
}

TEST_F(DerivedNamesTest, signalsComeBeforeWhatIsDerived) {
    d_definitions = "BO_ 256 A: 8 X\n SG_ Speed : 0|8@1+ (1,0) [0|0] \"\" X\nBO_ 257 B: 8 X\n"
                    " SG_ Ratio : 0|8@1+ (1,0) [0|0] \"\" X\n"
                    "BA_ \"SystemSignalLongSymbol\" SG_ 257 Ratio \"Speed.age\";\n";
    EXPECT_EQ(found("Speed.age == 7", "(1.0) can0 101#07\n(2.0) can0 100#00\n"),
              "warning: 'Speed.age' is the signal '" + instance("B.Speed.age") + "', not what '" +
                  instance("A.Speed.age") + "' would be of '" + instance("A.Speed") +
                  "'\n1000000 line 1 held 1000000 open\n");
}

TEST_F(DerivedNamesTest, namesOfSeveralSignalsAreAmbiguous) {
    d_definitions += "BO_ 257 B: 8 X\n SG_ Speed : 0|8@1+ (1,0) [0|0] \"\" X\nVAL_ 257 Speed 3 \"Park\" ;\n";
    EXPECT_EQ(found("Speed.raw > 3", ""),
              "error: 'Speed.raw' may be any of " + instance("A.Speed.raw") + ", " + instance("B.Speed.raw") + "\n");
    EXPECT_EQ(found(instance("A.Speed") + " == Speed.Park", "(1.0) can0 100#1A\n"), "1000000 line 1 held 0 open\n")
        << "only one of them has the word";
}

TEST_F(DerivedNamesTest, wordsThatAreNotThereHaveNearOnes) {
    d_definitions += "VAL_ 256 Speed 40 \"Slow\" 200 \"Fast\" ;\n";
    EXPECT_EQ(found("Speed == Speed.Slwo", ""),
              "error: the definition files hold no signal 'Speed.Slwo', did you mean 'Speed.Slow'?\nnot compiled\n");
}

TEST_F(DerivedNamesTest, wordsAloneAreNoCondition) {
    d_definitions += "VAL_ 256 Speed 40 \"Slow\" ;\n";
    EXPECT_EQ(found("Speed.Slow > 3", ""), "not compiled\n");
}

TEST_F(DerivedNamesTest, conditionsShareDerivedSignals) {
    TextReporter reporter;
    CurrentFrame frame;
    DefinitionSet definitions(reporter);
    definitions.load({std::nullopt, dbcFile(d_definitions)});
    SignalSet signals(definitions, frame, reporter);
    signals.buildNamed({instance("A.Speed")});
    std::size_t const before = BaseSignal::instances.size();
    {
        DerivedSignals derived;
        Condition first("Speed.age > 1", definitions, derived, reporter);
        Condition second("Speed.age > 2", definitions, derived, reporter);
        for (Condition* const each : {&first, &second}) {
            EXPECT_TRUE(each->resolve());
            EXPECT_EQ(each->compile(), Condition::Compiled::Ready);
        }
        EXPECT_EQ(BaseSignal::instances.size(), before + 1);
    }
    EXPECT_EQ(BaseSignal::instances.size(), before);
    EXPECT_EQ(reporter.text(), "");
}

} // namespace
} // namespace qztool
