// From definition files to shared signals, and what is reported on the way.
#include "tests/tools/drive/DriveFixture.h"

#include "tests/support/Namespaces.h"
#include "tools/machine/SharedSignals.h"

#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/stat.h>

namespace qztool {
namespace {

class SignalSetTest : public DriveFixture {
protected:
    // The library reports nothing of its own.
    ~SignalSetTest() override { EXPECT_EQ(d_library.text(), ""); }

    Capture d_library{std::cerr};
    TextReporter d_errors;
};

constexpr char two[] = "BO_ 256 M: 8 X\n SG_ A : 0|8@1+ (0.5,-40) [0|0] \"km/h\" X\n"
                       "BO_ 2147483904 N: 8 X\n SG_ B : 7|16@0- (1,0) [0|0] \"\" X\n";

TEST_F(SignalSetTest, sharesEachSignalUnderMessageAndSignalName) {
    DrivenSet set(d_errors);
    ASSERT_TRUE(set.load({std::nullopt, dbcFile(two)}));
    EXPECT_EQ(set.share(), SignalSet::Built::Ready);
    EXPECT_EQ(set.d_signals.sharedCount(), 2U);
    BaseSignal const* const a = BaseSignal::getInstance(instance("M.A").c_str());
    ASSERT_NE(a, nullptr);
    EXPECT_STREQ(a->getUnit(), "km/h");
    EXPECT_EQ(a->getScaleFactor(), 0.5);
    EXPECT_EQ(a->getOffset(), -40);
    EXPECT_TRUE(segmentExists(instance("M.A")));
    set.feed(frameOf(256, {1, 2}, 0, true));
    EXPECT_EQ(rawValue(instance("N.B")), 0x0102U) << "the extended identifier";
    EXPECT_EQ(rawValue(instance("M.A")), std::nullopt);
    EXPECT_EQ(d_errors.text(), "");
}

TEST_F(SignalSetTest, segmentsGoWithTheSetUnlessKept) {
    std::string const path = dbcFile(two);
    {
        DrivenSet set(d_errors);
        set.load({std::nullopt, path});
        set.share();
    }
    EXPECT_FALSE(segmentExists(instance("M.A")));
    {
        DrivenSet set(d_errors);
        set.load({std::nullopt, path});
        set.share();
        set.d_signals.keep({instance("M.A"), instance("M.none")});
    }
    EXPECT_TRUE(segmentExists(instance("M.A")));
    EXPECT_FALSE(segmentExists(instance("N.B"))) << "each for itself";
    DrivenSet set(d_errors); // takes them over, and removes them in the end
    set.load({std::nullopt, path});
    EXPECT_EQ(set.share(), SignalSet::Built::Ready);
}

TEST_F(SignalSetTest, nothingIsMadeIfTheCallerObjects) {
    DrivenSet set(d_errors);
    set.load({std::nullopt, dbcFile(two)});
    std::vector<std::string> asked;
    EXPECT_EQ(set.d_signals.share({},
                                  [&asked](std::vector<std::string> const& names) {
                                      asked = names;
                                      return false;
                                  }),
              SignalSet::Built::NotFree);
    EXPECT_EQ(asked, (std::vector<std::string>{instance("M.A"), instance("N.B")}));
    EXPECT_EQ(keyOf(instance("M.A")), std::nullopt);
}

TEST_F(SignalSetTest, onlyPickedSignalsAreShared) {
    DrivenSet set(d_errors);
    set.load({std::nullopt, dbcFile(two)});
    EXPECT_EQ(set.share("*.B"), SignalSet::Built::Ready);
    EXPECT_EQ(set.d_signals.sharedCount(), 1U);
    EXPECT_FALSE(segmentExists(instance("M.A")));
    EXPECT_TRUE(segmentExists(instance("N.B")));
}

TEST_F(SignalSetTest, onePatternOfSeveralIsEnoughAndMayBeTheOriginalSpelling) {
    std::string const path = dbcFile("BO_ 256 M: 8 X\n SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                     " SG_ B : 0|8@1+ (1,0) [0|0] \"\" X\n SG_ C : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                     "BA_ \"SystemSignalLongSymbol\" SG_ 256 B \"Oil Temp\";\n");
    DrivenSet set(d_errors);
    set.load({std::nullopt, path});
    EXPECT_EQ(set.d_signals.share({"*.A", "*.Oil Temp"}), SignalSet::Built::Ready);
    EXPECT_TRUE(segmentExists(instance("M.A")));
    EXPECT_TRUE(segmentExists(instance("M.Oil_Temp")));
    EXPECT_FALSE(segmentExists(instance("M.C")));
}

TEST_F(SignalSetTest, patternMayBeTheOwnNameOfOneSignal) {
    std::string const path = dbcFile("BO_ 1 M: 8 X\n SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                     " SG_ Both : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                     "BO_ 2 N: 8 X\n SG_ Both : 0|8@1+ (1,0) [0|0] \"\" X\n");
    DrivenSet set(d_errors);
    set.load({std::nullopt, path});
    EXPECT_EQ(set.d_signals.build(std::vector<std::string>{"A"}), SignalSet::Built::Ready);
    ASSERT_EQ(set.d_signals.signals().size(), 1U);
    EXPECT_EQ(set.d_signals.signals().front()->instance(), instance("M.A"));
    EXPECT_EQ(d_errors.text(), "");
    SignalSet others(set.d_definitions, set.d_frame, d_errors);
    EXPECT_EQ(others.build(std::vector<std::string>{"Both"}), SignalSet::Built::NoMatch);
    EXPECT_EQ(d_errors.text(), "error: 'Both' may be any of " + instance("M.Both") + ", " + instance("N.Both") + "\n");
}

TEST_F(SignalSetTest, patternWithoutMatchIsReported) {
    DrivenSet set(d_errors);
    set.load({std::nullopt, dbcFile(two)});
    EXPECT_EQ(set.share("nothing*"), SignalSet::Built::NoMatch);
    EXPECT_EQ(d_errors.text(), "error: no signal matches 'nothing*'\n");
}

TEST_F(SignalSetTest, missingFileIsReported) {
    DrivenSet set(d_errors);
    EXPECT_FALSE(set.load({std::nullopt, "/no/such.dbc"}));
    EXPECT_EQ(d_errors.text(), "error: /no/such.dbc: No such file or directory\n");
    EXPECT_EQ(set.share(), SignalSet::Built::NoSignals);
}

TEST_F(SignalSetTest, folderInPlaceOfAFileIsReported) {
    DrivenSet set(d_errors);
    EXPECT_FALSE(set.load({std::nullopt, "/tmp"}));
    EXPECT_EQ(d_errors.text(), "error: /tmp: Is a directory\n");
}

TEST_F(SignalSetTest, badDefinitionIsReportedWithItsPlaceAndTheRestWorks) {
    std::string const path = dbcFile("BO_ 256 M: 8 X\n SG_ Bad : 0|65@1+ (1,0) [0|0] \"\" X\n"
                                     " SG_ Good : 0|8@1+ (1,0) [0|0] \"\" X\n");
    DrivenSet set(d_errors);
    set.load({std::nullopt, path});
    EXPECT_EQ(d_errors.text().find("error: " + path + ":2: "), 0U) << d_errors.text();
    EXPECT_EQ(set.share(), SignalSet::Built::Ready);
    EXPECT_EQ(set.d_signals.sharedCount(), 1U);
}

TEST_F(SignalSetTest, fileThatIsBadThroughoutIsBadData) {
    DrivenSet set(d_errors);
    set.load({std::nullopt, dbcFile("BO_ 256 M: 8 X\n SG_ Bad : 0|0@1+ (1,0) [0|0] \"\" X\n")});
    EXPECT_EQ(set.share(), SignalSet::Built::BadFiles);
}

TEST_F(SignalSetTest, fileWithoutSignalsIsNothingUsable) {
    DrivenSet set(d_errors);
    set.load({std::nullopt, dbcFile("VERSION \"\"\n")});
    EXPECT_EQ(set.share(), SignalSet::Built::NoSignals);
    EXPECT_EQ(d_errors.text(), "error: the definition files hold no usable signal\n");
}

TEST_F(SignalSetTest, nameInTwoFilesIsTakenFromTheFirst) {
    std::string const first = dbcFile(two), second = dbcFile(two);
    DrivenSet set(d_errors);
    set.load({std::uint8_t{1}, first});
    set.load({std::uint8_t{2}, second});
    EXPECT_EQ(d_errors.text(), "error: " + second + ":2: '" + instance("M.A") + "' is defined already, at " + first +
                                   ":2\n" + "error: " + second + ":4: '" + instance("N.B") +
                                   "' is defined already, at " + first + ":4\n");
    EXPECT_EQ(set.share(), SignalSet::Built::Ready);
    EXPECT_EQ(set.d_signals.sharedCount(), 2U);
}

TEST_F(SignalSetTest, fileWithChannelServesThatChannelAlone) {
    DrivenSet set(d_errors);
    set.load({std::uint8_t{2}, dbcFile("BO_ 256 M: 8 X\n SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n")});
    set.load({std::nullopt, dbcFile("BO_ 256 Other: 8 X\n SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n")});
    set.share();
    set.feed(frameOf(256, {1}, 2));
    EXPECT_EQ(rawValue(instance("M.A")), 1U);
    EXPECT_EQ(rawValue(instance("Other.A")), std::nullopt);
    set.feed(frameOf(256, {5}, 3));
    EXPECT_EQ(rawValue(instance("M.A")), 1U);
    EXPECT_EQ(rawValue(instance("Other.A")), 5U);
}

TEST_F(SignalSetTest, nameThatCannotBeAFileNameIsLeftOut) {
    std::string const longName(256, 'x');
    std::string const path = dbcFile("BO_ 256 M: 8 X\n SG_ " + longName +
                                     " : 0|8@1+ (1,0) [0|0] \"\" X\n SG_ Good : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                     "BO_ 257 A: 8 X\n SG_ Short : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                     "BA_ \"SystemSignalLongSymbol\" SG_ 257 Short \"a/b\";\n");
    DrivenSet set(d_errors);
    set.load({std::nullopt, path});
    EXPECT_EQ(set.share(), SignalSet::Built::Ready);
    std::string const text = d_errors.text();
    EXPECT_NE(text.find("error: " + path + ":2: '" + instance("M." + longName) +
                        "' cannot be shared: the name is longer than 255 characters\n"),
              std::string::npos)
        << text;
    EXPECT_TRUE(segmentExists(instance("A.a_b"))) << "a '/' is in no instance name";
    EXPECT_EQ(set.d_signals.sharedCount(), 2U);
}

TEST_F(SignalSetTest, namedSignalsAreBuiltForThisProcessAlone) {
    DrivenSet set(d_errors);
    set.load({std::nullopt, dbcFile(two)});
    EXPECT_EQ(set.build({instance("N.B"), instance("N.Unknown")}), SignalSet::Built::Ready);
    EXPECT_EQ(set.d_definitions.names(), (std::vector<std::string>{instance("M.A"), instance("N.B")}));
    EXPECT_EQ(set.d_signals.sharedCount(), 0U);
    EXPECT_EQ(BaseSignal::getInstance(instance("M.A").c_str()), nullptr);
    ASSERT_NE(BaseSignal::getInstance(instance("N.B").c_str()), nullptr);
    EXPECT_EQ(set.feed(frameOf(256, {1, 2})), 0U);
    EXPECT_NE(set.feed(frameOf(256, {1, 2}, 0, true)), 0U);
    EXPECT_EQ(rawValue(instance("N.B")), 0x0102U);
    EXPECT_NE(access(("/tmp/" + instance("N.B")).c_str(), F_OK), 0) << "there is no key file";
    EXPECT_EQ(d_errors.text(), "");
}

TEST_F(SignalSetTest, patternsPickSignalsOfThisProcess) {
    DrivenSet set(d_errors);
    set.load({std::nullopt, dbcFile(two)});
    EXPECT_EQ(set.d_signals.build(std::vector<std::string>{"*N.?"}), SignalSet::Built::Ready);
    ASSERT_EQ(set.d_signals.signals().size(), 1U);
    EXPECT_EQ(set.d_signals.signals().front()->instance(), instance("N.B"));
    EXPECT_EQ(set.d_signals.sharedCount(), 0U);
    EXPECT_EQ(d_errors.text(), "");
}

TEST_F(SignalSetTest, patternThatMatchesNothingIsReported) {
    DrivenSet set(d_errors);
    set.load({std::nullopt, dbcFile(two)});
    EXPECT_EQ(set.d_signals.build(std::vector<std::string>{"X.*"}), SignalSet::Built::NoMatch);
    EXPECT_EQ(d_errors.text(), "error: no signal matches 'X.*'\n");
}

// Names and raw values of the wanted signals that the last message carried.
std::string carriedText(CurrentFrame const& frame, std::string const& prefix) {
    std::string text;
    for (DrivenSignal* const signal : frame.carried)
        text += signal->instance().substr(prefix.size()) + " " + std::to_string(signal->raw()) + " " +
                std::to_string(signal->physical()) + "\n";
    return text;
}

TEST_F(SignalSetTest, frameNotesTheWantedSignalsThatItCarried) {
    DrivenSet set(d_errors);
    set.load({std::nullopt, dbcFile("BO_ 1 M: 3 X\n SG_ Mux M : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                    " SG_ A m1 : 8|8@1- (0.5,1) [0|0] \"\" X\n"
                                    " SG_ B m2 : 8|8@1+ (1,0) [0|0] \"\" X\n"
                                    " SG_ C : 16|8@1+ (1,0) [0|0] \"\" X\n")});
    ASSERT_EQ(set.d_signals.build(std::vector<std::string>{"*.A", "*.B", "*.C"}), SignalSet::Built::Ready);
    set.feed(frameOf(1, {1, 0xFE, 7}));
    EXPECT_EQ(carriedText(set.d_frame, d_prefix), "M.A 254 0.000000\nM.C 7 7.000000\n") << "the selector is not wanted";
    set.feed(frameOf(1, {2, 3}));
    EXPECT_EQ(carriedText(set.d_frame, d_prefix), "M.B 3 3.000000\n") << "the frame is short";
}

TEST_F(SignalSetTest, namedSignalsNeedNoFileNames) {
    std::string const longName(256, 'x');
    DrivenSet set(d_errors);
    set.load({std::nullopt, dbcFile("BO_ 256 M: 8 X\n SG_ " + longName + " : 0|8@1+ (1,0) [0|0] \"\" X\n")});
    EXPECT_EQ(set.build({instance("M." + longName)}), SignalSet::Built::Ready);
    EXPECT_NE(BaseSignal::getInstance(instance("M." + longName).c_str()), nullptr);
    EXPECT_EQ(d_errors.text(), "");
}

TEST_F(SignalSetTest, namedSignalsInFilesWithoutAnyAreReported) {
    DrivenSet set(d_errors);
    set.load({std::nullopt, dbcFile("VERSION \"\"\n")});
    EXPECT_EQ(set.build({"A"}), SignalSet::Built::NoSignals);
    EXPECT_EQ(d_errors.text(), "error: the definition files hold no usable signal\n");
}

TEST_F(SignalSetTest, longUnitIsCutBetweenCharacters) {
    // 30 letters and a character of two bytes: the record holds 31 bytes.
    std::string const unit(30, 'u');
    DrivenSet set(d_errors);
    set.load({std::nullopt, dbcFile("BO_ 256 M: 8 X\n SG_ A : 0|8@1+ (1,0) [0|0] \"" + unit + "\xc2\xb0\" X\n")});
    set.share();
    EXPECT_EQ(BaseSignal::getInstance(instance("M.A").c_str())->getUnit(), unit);
}

TEST_F(SignalSetTest, keyThatAnotherSignalHasIsNotShared) {
    // A hard link gives two names one inode, and so one key, as two files can have by chance.
    std::string const path = dbcFile(two);
    std::string const a = "/tmp/" + instance("M.A"), b = "/tmp/" + instance("N.B");
    std::ofstream(a).close();
    ASSERT_EQ(link(a.c_str(), b.c_str()), 0);
    DrivenSet set(d_errors);
    set.load({std::nullopt, path});
    EXPECT_EQ(set.share(), SignalSet::Built::Ready);
    EXPECT_EQ(d_errors.text(), "error: " + path + ":4: '" + instance("N.B") +
                                   "' cannot be shared: its key file has the same key as that of '" + instance("M.A") +
                                   "'; remove " + b + " and start again\n" +
                                   "error: 1 of 2 signals could not be shared\n");
    EXPECT_EQ(set.d_signals.sharedCount(), 1U);
}

// Makes files in a file system that counts inode numbers up, until the next one is to have the key of `first`. False if
// it does not count.
bool nextFileHasKeyOf(std::string const& first) {
    struct stat status {};
    if (stat(first.c_str(), &status) != 0)
        return false;
    ino_t const wanted = status.st_ino + 0x10000 - 1; // keys have 16 bits of it
    for (ino_t last = status.st_ino; last < wanted; last = status.st_ino) {
        std::string const path = first + "-other";
        int const file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        bool const counts = file != -1 && fstat(file, &status) == 0 && status.st_ino == last + 1;
        close(file);
        unlink(path.c_str());
        if (!counts)
            return false;
    }
    return true;
}

TEST_F(SignalSetTest, keyThatTwoFilesHaveByChanceIsSharedOnce) {
    std::string const path = dbcFile(two);
    std::string const a = "/tmp/" + instance("M.A"), b = "/tmp/" + instance("N.B");
    DrivenSet set(d_errors);
    set.load({std::nullopt, path});
    PrivateTmp const tmp("size=64k");
    if (!tmp.isThere())
        GTEST_SKIP() << "/tmp cannot be replaced here";
    std::ofstream(a).close();
    if (!nextFileHasKeyOf(a))
        GTEST_SKIP() << "inode numbers are not counted up here";
    std::ofstream(b).close();
    ASSERT_EQ(keyOf(instance("M.A")), keyOf(instance("N.B")));
    EXPECT_EQ(set.share(), SignalSet::Built::Ready);
    EXPECT_NE(d_errors.text().find("'" + instance("N.B") +
                                   "' cannot be shared: its key file has the same key as that of '" + instance("M.A")),
              std::string::npos)
        << d_errors.text();
    EXPECT_EQ(set.d_signals.sharedCount(), 1U);
    std::vector<ListedSignal> const listed = sharedSignals();
    ASSERT_EQ(listed.size(), 2U);
    EXPECT_EQ(listed[0].segment.key, listed[1].segment.key) << "for the list to report";
}

TEST_F(SignalSetTest, newKeyFileDoesNotGetTheKeyOfAnotherByChance) {
    PrivateTmp const tmp("size=64k");
    if (!tmp.isThere())
        GTEST_SKIP() << "/tmp cannot be replaced here";
    std::unordered_map<key_t, std::string> taken;
    auto const key = claimKey("first", taken);
    ASSERT_TRUE(key);
    taken.emplace(*key, "first");
    if (!nextFileHasKeyOf("/tmp/first"))
        GTEST_SKIP() << "inode numbers are not counted up here";
    auto const other = claimKey("second", taken);
    ASSERT_TRUE(other);
    EXPECT_NE(*other, *key);
    EXPECT_EQ(keyOf("second"), other);
}

TEST_F(SignalSetTest, newKeyFileAvoidsKeysInUse) {
    std::unordered_map<key_t, std::string> taken;
    std::string const first = instance("first"), second = instance("second");
    auto const key = claimKey(first, taken);
    ASSERT_TRUE(key);
    EXPECT_EQ(claimKey(first, taken), key) << "the file is there already";
    // A file that is made next gets the inode of one just removed; its key is then already in use.
    taken.emplace(*key, first);
    unlink(("/tmp/" + first).c_str());
    auto const other = claimKey(second, taken);
    ASSERT_TRUE(other);
    EXPECT_NE(*other, *key);
    unlink(("/tmp/" + second).c_str());
    EXPECT_EQ(claimKey("no-such-folder/name", taken), std::nullopt);
}

TEST_F(SignalSetTest, linkIsNoKeyFile) {
    std::string const file = instance("file"), link = instance("link");
    ASSERT_TRUE(claimKey(file, {}));
    ASSERT_EQ(symlink(("/tmp/" + file).c_str(), ("/tmp/" + link).c_str()), 0);
    EXPECT_EQ(claimKey(link, {}), std::nullopt);
    EXPECT_EQ(keyOf(link), std::nullopt);
    unlink(("/tmp/" + link).c_str());
    unlink(("/tmp/" + file).c_str());
}

} // namespace
} // namespace qztool
