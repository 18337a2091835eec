// Processes that are killed at each instruction of what they do with a shared record: no process hangs, and the record
// shows a value that a frame carried, with that frame's timestamp.
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "tests/process/ErrorOutput.h"
#include "tests/process/RobustMutex.h"
#include "tests/process/SteppedProcess.h"
#include "tests/process/TestSignal.h"
#include "tests/support/CANSignalProbe.h"
#include "tests/support/Capture.h"
#include "tests/support/SharedName.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <iostream>
#include <linux/futex.h>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

struct Frame {
    unsigned long long d_raw;
    unsigned long long d_timestamp;
};

// No two bytes are the same; a double holds each value exactly.
constexpr Frame oldFrame = {0x0001020304050607, 0x1112131415161718};
constexpr Frame newFrame = {0x0008191a1b1c1d1e, 0x2122232425262728};
constexpr Frame nextFrame = {0x00092a2b2c2d2e2f, 0x3132333435363738};
constexpr Frame sameValueLater = {oldFrame.d_raw, newFrame.d_timestamp};

std::string textOf(Frame const& frame) {
    std::ostringstream text;
    text << std::hex << frame.d_raw << " at " << frame.d_timestamp;
    return text.str();
}
std::string const nothing = "nothing";

constexpr double usualScale = 0.5;
constexpr double otherScale = 0.25;
constexpr double offset = -1.0;

// The two kinds of records, with a value of all 64 bits.
struct ShmRecord {
    using Signal = TestSignal;
    static constexpr char const* label = "ShmSignal";
    static constexpr bool keepsTimeOfChange = false;

    static baseSignalDef_t definition(SharedName const& name, double scale) {
        baseSignalDef_t result = wordDefinition(name);
        result.bits = 64;
        result.scale = scale;
        result.offset = offset;
        return result;
    }
};
struct CANRecord {
    using Signal = CANSignalProbe;
    static constexpr char const* label = "CANSignal";
    static constexpr bool keepsTimeOfChange = true;

    static canSignal_t definition(SharedName const& name, double scale) {
        canSignal_t result = canDefinition(name.name(), 64);
        result.startbit = 7;
        result.endian = true;
        result.scale = scale;
        result.offset = offset;
        return result;
    }
};

// A definer that leaves its segment to others.
template <typename Signal>
class Definer : public Signal {
public:
    template <typename Definition>
    explicit Definer(Definition const& definition) : Signal(definition, true) {
        this->d_owner = false;
    }
};

// A process's path through a piece of work, and where on it the record changes.
struct Route {
    Path d_path;
    std::vector<std::size_t> d_changes; // by the number of instructions done

    std::vector<std::size_t> everyInstruction() const { return chosen(1); }

    // Those around a change, and few where nothing changes for long.
    std::vector<std::size_t> aroundChanges() const { return chosen(256); }

private:
    std::vector<std::size_t> chosen(std::size_t distance) const {
        std::vector<std::size_t> result;
        for (std::size_t number = 0; number <= d_path.size(); ++number)
            if (number % distance == 0 || number == d_path.size() || isNearChange(number))
                result.push_back(number);
        return result;
    }
    bool isNearChange(std::size_t number) const {
        constexpr std::size_t near = 8;
        auto const next = std::lower_bound(d_changes.begin(), d_changes.end(), number);
        return (next != d_changes.end() && *next - number <= near) ||
               (next != d_changes.begin() && number - *(next - 1) <= near);
    }
};

// Where a process begins to go step by step.
enum class From { Beginning, Report }; // of its work; on an owner's death

// Takes the place of standard error's buffer, and lets the process begin once a line is out.
class BeginAfterLine : public std::stringbuf {
protected:
    int sync() override {
        if (!d_begun)
            SteppedProcess::begin();
        d_begun = true;
        return 0;
    }

private:
    bool d_begun = false;
};

// How many processes were killed, and what they left.
struct Tally {
    unsigned d_killed = 0;
    unsigned d_locked = 0;                   // held the lock
    unsigned d_reports = 0;                  // made others say that an owner died
    std::map<std::string, unsigned> d_shown; // left this to see
};

template <typename Record>
class KilledStepsTest : public testing::Test {
protected:
    using Signal = typename Record::Signal;
    using Action = std::function<void()>;
    using Look = std::function<std::string(unsigned)>;

    void SetUp() override {
        SKIP_WITHOUT_ROBUST_MUTEXES();
        if (char const* const reason = whyNoSteps())
            GTEST_SKIP() << reason;
        alarm(2 * patience);
        define();
        d_reader = std::make_unique<Signal>(d_name.c_str());
        BaseSignal::instances.clear();
    }
    void TearDown() override { alarm(0); }

    // Defines the signal; after the first time, again and under the reader.
    void define(double scale = usualScale) {
        d_writer = std::make_unique<Definer<Signal>>(Record::definition(d_name, scale));
        BaseSignal::instances.clear();
    }
    void write(Frame const& frame) { d_writer->write(frame.d_raw, frame.d_timestamp); }

    // A process that stands where it begins. It has its signals from the test.
    std::unique_ptr<SteppedProcess> started(Action const& work, From from) const {
        return std::make_unique<SteppedProcess>([&, from] {
            d_errors.take();
            static BeginAfterLine beginAfterLine;
            if (from == From::Report)
                std::cerr.rdbuf(&beginAfterLine);
            else
                SteppedProcess::begin();
            work();
        });
    }

    // Leaves the work prepared.
    Route routeOf(Action const& prepare, Action const& work, From from = From::Beginning) const {
        if (from == From::Beginning) {
            // Done here first, so that the functions of libraries are found once for all processes.
            Capture const errors(std::cerr);
            prepare();
            work();
        }
        prepare();
        Route route;
        std::string last = recordBytes();
        route.d_path = started(work, from)->walk([&](std::size_t done) {
            std::string now = recordBytes();
            if (now != last)
                route.d_changes.push_back(done);
            last = std::move(now);
        });
        return route;
    }

    // A process that has done so many instructions of `work`, after `prepare`.
    std::unique_ptr<SteppedProcess> arrived(Route& route, std::size_t number, Action const& prepare, Action const& work,
                                            From from) const {
        for (unsigned detours = 0; detours < 10; ++detours) {
            prepare();
            std::unique_ptr<SteppedProcess> process = started(work, from);
            if (process->reach(route.d_path, number))
                return process;
            // Definers ask for the time, which leads now along one path, now along another.
            route = routeOf(prepare, work, from);
        }
        throw std::runtime_error("processes take another path each time");
    }

    // Kills a process at each of these instructions of `work`, after `prepare`; `look` tells what it left.
    Tally kill(Route route, std::vector<std::size_t> const& numbers, Action const& prepare, Action const& work,
               Look const& look, From from = From::Beginning) const {
        Tally tally;
        for (std::size_t const number : numbers) {
            SCOPED_TRACE(testing::Message() << "after " << number << " of " << route.d_path.size() << " instructions");
            alarm(2 * patience); // again for each process: how many there are in a minute depends on the machine
            std::unique_ptr<SteppedProcess> const process = arrived(route, number, prepare, work, from);
            tally.d_locked += owner() == process->id() ? 1 : 0;
            process->kill();
            tally.d_reports += ownerDied() ? 1 : 0;
            EXPECT_EQ(owner(), 0) << "nobody will get the lock any more";
            if (testing::Test::HasFailure())
                break;
            ++tally.d_shown[look(tally.d_killed++)];
        }
        std::cout << tally.d_killed << " killed, " << tally.d_locked << " of them with the lock;";
        for (auto const& [shown, times] : tally.d_shown)
            std::cout << ' ' << times << " left " << shown;
        std::cout << std::endl;
        return tally;
    }

    // The record then shows one of `allowed`, and each of them now and then. Each death with the lock is reported once.
    void killAtEveryInstruction(std::vector<std::string> const& allowed, Action const& prepare, Action const& work) {
        Route const route = routeOf(prepare, work);
        expectAll(allowed, kill(route, route.everyInstruction(), prepare, work, lookFor(allowed)));
    }
    void killAroundChanges(std::vector<std::string> const& allowed, Action const& prepare, Action const& work) {
        Route const route = routeOf(prepare, work);
        expectAll(allowed, kill(route, route.aroundChanges(), prepare, work, lookFor(allowed)));
    }
    void expectAll(std::vector<std::string> const& allowed, Tally const& tally) const {
        for (std::string const& each : allowed)
            EXPECT_EQ(tally.d_shown.count(each), 1U) << each;
        EXPECT_GT(tally.d_locked, 0U);
        EXPECT_LT(tally.d_locked, tally.d_killed);
        EXPECT_EQ(tally.d_reports, tally.d_locked);
        EXPECT_EQ(d_errors.text(), "");
    }
    Look lookFor(std::vector<std::string> const& allowed) {
        return [this, &allowed](unsigned turn) {
            std::string shown = look(turn);
            EXPECT_NE(std::find(allowed.begin(), allowed.end(), shown), allowed.end()) << shown;
            return shown;
        };
    }

    // What others see in the record after a process died. Each of them comes first in turn, and all see the same. Then
    // the next frame comes, if need be from a writer that starts again.
    std::string look(unsigned turn) {
        std::string const report = ownerDied() ? ownerDiedLine() : "";
        Capture const output(std::cout);
        Capture errors(std::cerr);
        std::string shown = shownTo(turn % ways);
        expectShown(shown);
        EXPECT_EQ(withoutWaiting(errors.take()), report);
        if (d_reader->record().size == 0 || d_reader->getScaleFactor() != usualScale)
            define();
        write(nextFrame);
        expectShown(textOf(nextFrame));
        EXPECT_EQ(errors.text(), "");
        EXPECT_EQ(output.text(), "");
        return shown;
    }

    // To those who know the signal and to those who come now, in either form.
    static constexpr unsigned ways = 4;
    std::string shownTo(unsigned way) const {
        bool const physical = way % 2 != 0;
        std::optional<Signal> fresh;
        if (way >= 2)
            fresh.emplace(d_name.c_str());
        Signal& signal = fresh ? *fresh : *d_reader;
        auto const reading = physical ? signal.readPhys() : signal.readRaw();
        if (!reading.d_there)
            return nothing;
        auto const raw =
            physical ? static_cast<unsigned long long>((reading.d_phys - offset) / usualScale) : reading.d_raw;
        return textOf({raw, reading.d_timestamp});
    }
    void expectShown(std::string const& shown) const {
        for (unsigned way = 0; way < ways; ++way)
            EXPECT_EQ(shownTo(way), shown) << way;
    }

    std::string ownerDiedLine() const {
        return std::string("[ERROR] ") + Record::label + "::lock (" + d_name.name() + "): Owner died\n";
    }

    // Fresh readers wait for a record that is not there, and say so.
    std::string withoutWaiting(std::string text) const {
        removeLines(text, std::string("[WARNING] ") + Record::label + ": " + d_name.name() +
                              ": Waiting for shared memory region id (" + d_name.path() + ")\n");
        return text;
    }

    std::string recordBytes() const {
        return std::string(reinterpret_cast<char const*>(&d_reader->record()), sizeof d_reader->record());
    }

    // The process that holds the lock, 0: none; and whether the last one died with it.
    pid_t owner() const { return d_reader->record().mutex.__data.__lock & FUTEX_TID_MASK; }
    bool ownerDied() const { return (d_reader->record().mutex.__data.__lock & FUTEX_OWNER_DIED) != 0; }

    // A process is stopped after each instruction of `work`, with the lock or without. The signal prints what it did
    // before, and, once and for good, what it does afterwards.
    void expectPrintedAtOneMoment(Action const& prepare, Action const& work) {
        Capture output(std::cout);
        auto const print = [&] {
            std::ostringstream text;
            d_reader->print(text); // or on standard output
            return text.str() + output.take();
        };
        prepare();
        work();
        std::string const after = print();
        prepare();
        std::vector<std::string> texts = {print()};
        std::string last = recordBytes();
        std::unique_ptr<SteppedProcess> const process = started(work, From::Beginning);
        process->walk([&](std::size_t) {
            std::string now = recordBytes(); // the mutex included
            if (now == last)
                return;
            last = std::move(now);
            std::string text = print();
            if (text != texts.back())
                texts.push_back(std::move(text));
        });
        EXPECT_EQ(texts, (std::vector<std::string>{texts.front(), after}));
    }

    // A change of the value, and a process that dies in the middle of it.
    Action const d_prepare = [this] {
        define();
        write(oldFrame);
        d_reader->readPhys();
    };
    Action const d_change = [this] { write(newFrame); };
    struct Death {
        Action d_die;
        std::string d_shown; // afterwards
    };
    // One wherever the record changes while the lock is held, in order.
    std::vector<Death> deathsInChange() {
        Route const route = routeOf(d_prepare, d_change);
        std::vector<Death> deaths;
        for (std::size_t const number : route.d_changes) {
            auto const die = [this, route, number] {
                d_prepare();
                std::unique_ptr<SteppedProcess> const process = started(d_change, From::Beginning);
                EXPECT_TRUE(process->reach(route.d_path, number));
                process->kill();
            };
            die();
            if (ownerDied())
                deaths.push_back({die, look(0)});
        }
        return deaths;
    }
    // The last of them that leaves the old value and the first that leaves the new one.
    std::vector<Death> decisiveDeaths() {
        std::vector<Death> const deaths = deathsInChange();
        auto const turn = std::adjacent_find(deaths.begin(), deaths.end(),
                                             [](Death const& a, Death const& b) { return a.d_shown != b.d_shown; });
        return turn != deaths.end() ? std::vector<Death>(turn, turn + 2) : std::vector<Death>();
    }

    SharedName const d_name;
    std::unique_ptr<Definer<Signal>> d_writer;
    std::unique_ptr<Signal> d_reader; // attached all the time
    ErrorOutput d_errors;             // of those who are killed
};

using Records = testing::Types<ShmRecord, CANRecord>;
TYPED_TEST_SUITE(KilledStepsTest, Records);

} // namespace

TYPED_TEST(KilledStepsTest, firstValueIsThereAsAWholeOrNotAtAll) {
    this->killAtEveryInstruction(
        {nothing, textOf(newFrame)}, [&] { this->define(); }, this->d_change);
}

TYPED_TEST(KilledStepsTest, changeIsThereAsAWholeOrNotAtAll) {
    this->killAtEveryInstruction({textOf(oldFrame), textOf(newFrame)}, this->d_prepare, this->d_change);
}

TYPED_TEST(KilledStepsTest, changeThatHadBegunIsNoObstacleToTheNextOne) {
    Route const route = this->routeOf(this->d_prepare, this->d_change);
    this->kill(route, route.everyInstruction(), this->d_prepare, this->d_change, [&](unsigned) {
        std::string const report = this->ownerDied() ? this->ownerDiedLine() : "";
        Capture const errors(std::cerr);
        this->write(nextFrame);
        this->expectShown(textOf(nextFrame));
        EXPECT_EQ(errors.text(), report);
        return textOf(nextFrame);
    });
}

TYPED_TEST(KilledStepsTest, newTimeOfTheSameValueIsThereAsAWholeOrNotAtAll) {
    std::vector<std::string> allowed = {textOf(oldFrame)};
    if (!TypeParam::keepsTimeOfChange)
        allowed.push_back(textOf(sameValueLater));
    this->killAtEveryInstruction(allowed, this->d_prepare, [&] { this->write(sameValueLater); });
}

TYPED_TEST(KilledStepsTest, readersLeaveTheValueAsItIs) {
    auto const prepare = [&] {
        this->define();
        this->write(oldFrame); // the physical value was not read yet
    };
    this->killAtEveryInstruction({textOf(oldFrame)}, prepare, [&] { this->d_reader->readRaw(); });
    this->killAtEveryInstruction({textOf(oldFrame)}, prepare, [&] { this->d_reader->readPhys(); });
}

TYPED_TEST(KilledStepsTest, readersThatComeLeaveTheValueAsItIs) {
    this->killAroundChanges({textOf(oldFrame)}, this->d_prepare,
                            [&] { typename TestFixture::Signal(this->d_name.c_str()).readPhys(); });
}

TYPED_TEST(KilledStepsTest, definersLeaveTheLastRecordOrNoValue) {
    this->killAroundChanges({textOf(oldFrame), nothing}, this->d_prepare, [&] { this->define(otherScale); });
}

TYPED_TEST(KilledStepsTest, definersOfANewRecordLeaveItToOthers) {
    auto const newSegment = [&] { std::memset(&this->d_reader->record(), 0, sizeof this->d_reader->record()); };
    auto const definition = [&] { this->define(otherScale); };
    Route const route = this->routeOf(newSegment, definition);
    Tally const tally = this->kill(route, route.aroundChanges(), newSegment, definition, [&](unsigned) {
        Capture const errors(std::cerr);
        this->define();
        this->expectShown(nothing);
        this->write(nextFrame);
        this->expectShown(textOf(nextFrame));
        EXPECT_EQ(errors.text(), "");
        return nothing;
    });
    EXPECT_GT(tally.d_locked, 0U);
    EXPECT_LT(tally.d_locked, tally.d_killed);
}

TYPED_TEST(KilledStepsTest, whatADeathLeftIsThereAfterTheNextOne) {
    auto const read = [&] { this->d_reader->readRaw(); };
    for (auto const& death : this->deathsInChange()) {
        Route const route = this->routeOf(death.d_die, read, From::Report);
        Tally const tally =
            this->kill(route, route.aroundChanges(), death.d_die, read, this->lookFor({death.d_shown}), From::Report);
        EXPECT_GT(tally.d_locked, 0U);
        EXPECT_LT(tally.d_locked, tally.d_killed);
        EXPECT_EQ(tally.d_reports, tally.d_locked);
    }
}

TYPED_TEST(KilledStepsTest, ofTwoDeathsOneAtLeastIsReported) {
    auto const read = [&] { this->d_reader->readRaw(); };
    auto const deaths = this->decisiveDeaths();
    ASSERT_EQ(deaths.size(), 2U);
    for (auto const& death : deaths) {
        Route const route = this->routeOf(death.d_die, read);
        std::size_t const before = this->d_errors.text().size();
        Tally const tally = this->kill(route, route.aroundChanges(), death.d_die, read, this->lookFor({death.d_shown}));
        EXPECT_GT(tally.d_locked, 0U);
        EXPECT_LT(tally.d_locked, tally.d_killed);
        // The first one, by the second process.
        std::size_t const reports = (this->d_errors.text().size() - before) / this->ownerDiedLine().size();
        EXPECT_GT(reports, 0U);
        EXPECT_GE(reports + tally.d_reports, tally.d_killed);
    }
}

TYPED_TEST(KilledStepsTest, definersThatFindADeathLeaveWhatItLeftOrNoValue) {
    auto const define = [&] { this->define(otherScale); };
    auto const deaths = this->decisiveDeaths();
    ASSERT_EQ(deaths.size(), 2U);
    for (auto const& death : deaths) {
        Route const route = this->routeOf(death.d_die, define);
        Tally const tally =
            this->kill(route, route.aroundChanges(), death.d_die, define, this->lookFor({death.d_shown, nothing}));
        EXPECT_GT(tally.d_locked, 0U);
        EXPECT_LT(tally.d_locked, tally.d_killed);
        EXPECT_EQ(tally.d_shown.size(), 2U);
    }
}

TYPED_TEST(KilledStepsTest, definersHoldTheLockOfARecordThatIsWithdrawn) {
    this->d_prepare();
    unsigned withdrawn = 0;
    auto const process = this->started([&] { this->define(otherScale); }, From::Beginning);
    process->walk([&](std::size_t) {
        if (this->d_reader->record().size != 0)
            return;
        ++withdrawn;
        EXPECT_EQ(this->owner(), process->id());
    });
    EXPECT_GT(withdrawn, 0U);
}

TYPED_TEST(KilledStepsTest, firstValueIsPrintedAtOneMoment) {
    this->expectPrintedAtOneMoment([&] { this->define(); }, this->d_change);
}

TYPED_TEST(KilledStepsTest, changeIsPrintedAtOneMoment) {
    this->expectPrintedAtOneMoment(this->d_prepare, this->d_change);
}

using KilledShmStepsTest = KilledStepsTest<ShmRecord>;

TEST_F(KilledShmStepsTest, newTimeIsPrintedAtOneMoment) {
    expectPrintedAtOneMoment(d_prepare, [&] { write(sameValueLater); });
}

TEST_F(KilledShmStepsTest, forgottenValueIsPrintedAtOneMoment) {
    expectPrintedAtOneMoment(d_prepare, [&] { d_writer->clear(); });
}

TEST_F(KilledShmStepsTest, clearForgetsTheValueOrLeavesIt) {
    auto const clear = [&] { d_writer->clear(); };
    Route const route = routeOf(d_prepare, clear);
    Tally const tally = kill(route, route.everyInstruction(), d_prepare, clear, lookFor({textOf(oldFrame), nothing}));
    EXPECT_EQ(tally.d_locked, 0U);
    EXPECT_EQ(tally.d_shown.size(), 2U);
}

// On a way of their own, shorter than that through `write`.
class KilledFeedStepsTest : public KilledShmStepsTest {
protected:
    void SetUp() override {
        KilledShmStepsTest::SetUp();
        if (IsSkipped())
            return;
        canSignalDef_t definition;
        static_cast<baseSignalDef_t&>(definition) = ShmRecord::definition(d_name, usualScale);
        definition.msgId = 0x123;
        BaseSignal::instances.clear();
        d_fed.emplace(definition, true);
        BaseSignal::instances.clear();
    }

    static void feed(Frame const& frame) {
        CANExtTraceMessage message;
        message.identifier = 0x123;
        message.length = 8;
        message.timestamp = frame.d_timestamp;
        for (unsigned i = 0; i < 8; ++i)
            message.payload[i] = static_cast<unsigned char>(frame.d_raw >> (56 - 8 * i));
        EXPECT_NE(CANSignalExt::decodeMessage(message), 0U);
    }
    Action const d_feedOld = [] { feed(oldFrame); };

    std::optional<CANSignalExt> d_fed;
};

TEST_F(KilledFeedStepsTest, changedFrameIsTakenAsAWholeOrNotAtAll) {
    killAtEveryInstruction({textOf(oldFrame), textOf(newFrame)}, d_feedOld, [] { feed(newFrame); });
}

TEST_F(KilledFeedStepsTest, unchangedFrameIsTakenAsAWholeOrNotAtAll) {
    killAtEveryInstruction({textOf(oldFrame), textOf(sameValueLater)}, d_feedOld, [] { feed(sameValueLater); });
}
