// The registry of signals and the services over it.
#include "qzsignal/signal/BaseSignal.h"

#include "tests/support/Capture.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

// A signal that counts what is done to it.
class FakeSignal : public BaseSignal {
public:
    explicit FakeSignal(char const* name, char const* signalName = "", unsigned long long message = 0)
        : BaseSignal(name, signalName) {
        messageId = message;
    }

    char const* getUnit() const override { return ""; }
    double getScaleFactor() const override { return 1; }
    double getOffset() const override { return 0; }
    unsigned char getBits() const override { return 8; }
    signalValue_t getType() const override { return signalUnsigned; }
    bool read(double& phys, unsigned long long& timestamp) override {
        phys = 0;
        timestamp = d_timestamp;
        return d_used;
    }
    bool read(unsigned long long& value, unsigned long long& timestamp) override {
        ++d_reads;
        value = 0;
        timestamp = d_timestamp;
        return d_used;
    }
    bool write(unsigned long long, unsigned long long timestamp) override {
        d_timestamp = timestamp;
        return d_used = true;
    }
    bool isModified() const override { return false; }
    void print(std::ostream& out) const override { out << "fake " << instance; }
    void clear() override {
        d_used = false;
        d_order.push_back(instance);
    }

    std::string const& signalName() const { return signal; }
    unsigned long long message() const { return messageId; }

    static std::vector<std::string> d_order; // names of cleared signals
    int d_reads = 0;

private:
    bool d_used = false;
    unsigned long long d_timestamp = 0;
};

std::vector<std::string> FakeSignal::d_order;

using Keys = std::vector<unsigned long long>;

Keys silentBefore(unsigned long long time) {
    Keys silent;
    EXPECT_EQ(BaseSignal::checkTimeout(time, silent), 0);
    return silent;
}

class BaseSignalTest : public testing::Test {
protected:
    void SetUp() override { FakeSignal::d_order.clear(); }
    void TearDown() override {
        BaseSignal::debug = 0;
        EXPECT_TRUE(BaseSignal::instances.empty());
    }
};

TEST_F(BaseSignalTest, debugIsOffAtFirst) {
    EXPECT_EQ(BaseSignal::debug, 0);
}

TEST_F(BaseSignalTest, entersAndLeavesTheRegistry) {
    {
        FakeSignal signal("one");
        EXPECT_EQ(BaseSignal::getInstance("one"), &signal);
    }
    EXPECT_EQ(BaseSignal::getInstance("one"), nullptr);
}

TEST_F(BaseSignalTest, getInstanceOfAnUnknownNameIsNullAndAddsNothing) {
    EXPECT_EQ(BaseSignal::getInstance("unknown"), nullptr);
    EXPECT_EQ(BaseSignal::getInstance(nullptr), nullptr);
    EXPECT_EQ(BaseSignal::instances.size(), 0U);
}

TEST_F(BaseSignalTest, nullNameCountsAsEmpty) {
    FakeSignal const signal(nullptr, nullptr);
    EXPECT_EQ(BaseSignal::getInstance(""), &signal);
    EXPECT_EQ(signal.signalName(), "");
}

TEST_F(BaseSignalTest, isCalledLikeItsInstanceUnlessNamedOtherwise) {
    FakeSignal const plain("plain");
    FakeSignal const named("named", "Speed");
    EXPECT_EQ(plain.signalName(), "plain");
    EXPECT_EQ(named.signalName(), "Speed");
}

TEST_F(BaseSignalTest, startsWithoutMessage) {
    FakeSignal const signal("one");
    EXPECT_EQ(signal.message(), 0U);
}

TEST_F(BaseSignalTest, registryIsOrderedByBytesOfTheNames) {
    FakeSignal const lower("b"), accented("\xc3\xa4"), upper("C"), longer("ba");
    std::vector<std::string> names;
    for (auto const& entry : BaseSignal::instances)
        names.push_back(entry.first);
    EXPECT_EQ(names, (std::vector<std::string>{"C", "b", "ba", "\xc3\xa4"}));
}

TEST_F(BaseSignalTest, duplicateNameIsReportedAndTheFirstStaysRegistered) {
    FakeSignal first("twin");
    Capture errors(std::cerr);
    FakeSignal second("twin");
    EXPECT_EQ(errors.text(), "[WARNING] BaseSignal: signal twin already exists\n");
    EXPECT_EQ(BaseSignal::getInstance("twin"), &first);
    EXPECT_TRUE(second.write(1, 2)) << "the second works all the same";
}

TEST_F(BaseSignalTest, destroyingADuplicateUnregistersTheFirst) {
    FakeSignal const first("twin");
    Capture const errors(std::cerr);
    auto second = std::make_unique<FakeSignal>("twin");
    second.reset();
    EXPECT_EQ(BaseSignal::getInstance("twin"), nullptr);
}

TEST_F(BaseSignalTest, debugLinesReportCreationAndDeletion) {
    Capture output(std::cout);
    BaseSignal::debug = 1;
    {
        FakeSignal const signal("one");
        EXPECT_EQ(output.take(), "[DEBUG] BaseSignal: one created\n");
    }
    EXPECT_EQ(output.take(), "[DEBUG] ~BaseSignal: one deleted\n");
}

TEST_F(BaseSignalTest, isSilentWithoutDebug) {
    Capture const output(std::cout);
    Capture const errors(std::cerr);
    { FakeSignal const signal("one"); }
    EXPECT_EQ(output.text(), "");
    EXPECT_EQ(errors.text(), "");
}

TEST_F(BaseSignalTest, clearAllClearsInOrderOfNames) {
    BaseSignal::clearAll(); // of nothing
    FakeSignal const second("b"), first("a");
    BaseSignal::clearAll();
    EXPECT_EQ(FakeSignal::d_order, (std::vector<std::string>{"a", "b"}));
}

TEST_F(BaseSignalTest, clearOfMessagesFollowsTheListThenTheNames) {
    FakeSignal const one("a", "", 1), two("b", "", 2), another("c", "", 1), none("d", "", 0);
    BaseSignal::clear({});
    EXPECT_TRUE(FakeSignal::d_order.empty());
    BaseSignal::clear({2, 1, 5});
    EXPECT_EQ(FakeSignal::d_order, (std::vector<std::string>{"b", "a", "c"}));
}

TEST_F(BaseSignalTest, clearOfAMessageListedTwiceClearsTwice) {
    FakeSignal const one("a", "", 1);
    BaseSignal::clear({1, 1});
    EXPECT_EQ(FakeSignal::d_order, (std::vector<std::string>{"a", "a"}));
}

TEST_F(BaseSignalTest, checkTimeoutOfUnwrittenSignalsFindsNothing) {
    FakeSignal unwritten("a", "", 7);
    std::vector<unsigned long long> silent = {1, 2, 3};
    EXPECT_EQ(BaseSignal::checkTimeout(~0ULL, silent), 0);
    EXPECT_TRUE(silent.empty()) << "earlier contents are dropped";
    EXPECT_EQ(unwritten.d_reads, 1);
}

TEST_F(BaseSignalTest, checkTimeoutReportsOnlyWhatIsOlder) {
    FakeSignal signal("a", "", 7);
    signal.write(0, 1000);
    std::vector<unsigned long long> silent;
    EXPECT_EQ(BaseSignal::checkTimeout(1000, silent), 0);
    EXPECT_TRUE(silent.empty());
    EXPECT_EQ(BaseSignal::checkTimeout(1001, silent), 0);
    EXPECT_EQ(silent, (std::vector<unsigned long long>{7}));
}

TEST_F(BaseSignalTest, checkTimeoutComparesUnsigned) {
    FakeSignal late("a", "", 7);
    late.write(0, 0x8000000000000000);
    std::vector<unsigned long long> silent;
    BaseSignal::checkTimeout(1, silent);
    EXPECT_TRUE(silent.empty());
}

TEST_F(BaseSignalTest, checkTimeoutListsAMessageOncePerSignalInOrderOfNames) {
    FakeSignal second("b", "", 9), first("a", "", 7), third("c", "", 7), silentOne("d", "", 8);
    for (FakeSignal* const signal : {&first, &second, &third})
        signal->write(0, 5);
    std::vector<unsigned long long> silent;
    BaseSignal::checkTimeout(6, silent);
    EXPECT_EQ(silent, (std::vector<unsigned long long>{7, 9, 7}));
}

TEST_F(BaseSignalTest, checkTimeoutFollowsSignalsThatComeAndGo) {
    FakeSignal first("b", "", 2);
    first.write(0, 1);
    EXPECT_EQ(silentBefore(2), Keys{2});
    {
        FakeSignal second("a", "", 1);
        second.write(0, 1);
        EXPECT_EQ(silentBefore(2), (Keys{1, 2}));
    }
    EXPECT_EQ(silentBefore(2), Keys{2});
}

TEST_F(BaseSignalTest, whatAProgramChangesInTheRegistryCountsAtOnce) {
    FakeSignal first("a", "", 1), second("b", "", 2), spare("c", "", 3);
    for (FakeSignal* const signal : {&first, &second, &spare})
        signal->write(0, 1);
    BaseSignal::instances.erase("c");
    EXPECT_EQ(silentBefore(2), (Keys{1, 2}));
    BaseSignal::instances["b"] = &spare; // another object; the number of entries stays the same
    EXPECT_EQ(silentBefore(2), (Keys{1, 3}));
    BaseSignal::instances.erase("a");
    BaseSignal::instances["z"] = &first;
    EXPECT_EQ(silentBefore(2), (Keys{3, 1})) << "in the order of the keys, whatever the signals are called";
    BaseSignal::instances.clear();
    EXPECT_EQ(silentBefore(2), Keys());
}

TEST_F(BaseSignalTest, outputOperatorCallsPrintAndReturnsTheStream) {
    FakeSignal const signal("one");
    std::ostringstream out;
    EXPECT_EQ(&(out << static_cast<BaseSignal const&>(signal)), &out);
    EXPECT_EQ(out.str(), "fake one");
}

} // namespace
