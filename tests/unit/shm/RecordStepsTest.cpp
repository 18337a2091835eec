// What is done to a record, stopped at each instruction: what is then printed of the record, and what is left of it
// once it is put in order, is what it held before or what it holds afterwards. The records are plain memory, without a
// lock and without signals.
#include "qzsignal/can/CANRecord.h"
#include "qzsignal/shm/ShmRecord.h"

#include "tests/process/Shared.h"
#include "tests/process/SteppedProcess.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace qzsignal {
namespace {

// A signed number in bytes 1 and 2, between two others.
struct ShmKind {
    using Record = shmSignalData_t;
    static baseSignalDef_t definition() {
        baseSignalDef_t result;
        result.instance = result.signal = "Steps";
        result.unit = "V";
        result.type = signalSigned;
        result.startbit = 8;
        result.bits = 16;
        result.scale = 0.5;
        result.offset = -1.0;
        return result;
    }
    // What a reader finds: the physical value is always that of the value.
    static std::string shown(Record record) {
        if (record.used != 0)
            convertOnce(record);
        std::ostringstream text;
        describe(text, record, false, record.timestamp, nullptr);
        return text.str();
    }
};
struct CANKind {
    using Record = canSignalData_t;
    static canSignal_t definition() {
        canSignal_t result;
        result.name = "Steps";
        result.unit = "V";
        result.type = canSigned;
        result.startbit = 8;
        result.bits = 16;
        result.scale = 0.5;
        result.offset = -1.0;
        return result;
    }
    static std::string shown(Record const& record) { return describe(record, false, nullptr); }
};

constexpr std::uint64_t oldPayload = 0x00fe7f0000000000; // bytes fe and 7f
constexpr std::uint64_t newPayload = 0x77018144000000ff;
constexpr std::uint64_t otherBits = 0x77fe7f44000000ff;
constexpr std::uint64_t nextPayload = 0x0005060000000000;

struct Times {
    std::uint64_t d_old, d_new;
};
// They differ in one half, from one half to the other, not at all.
constexpr Times times[] = {
    {0x1112131415161718, 0x2122232425262728}, {1, 2}, {0xffffffff, 0x100000000}, {0x8000000000000000, 0}, {7, 7}};

template <typename Kind>
class RecordStepsTest : public testing::Test {
protected:
    using Record = typename Kind::Record;
    using Action = std::function<void(Record&)>;

    void SetUp() override {
        if (char const* const reason = whyNoSteps())
            GTEST_SKIP() << reason;
    }

    static void define(Record& record) {
        std::memset(static_cast<void*>(&record), 0, sizeof record);
        fill(record, Kind::definition());
        record.size = sizeof record;
    }
    static bool write(Record& record, std::uint64_t payload, std::uint64_t time) {
        return update(record, layoutOf(record), payload, time);
    }
    static std::string settled(Record record) {
        settle(record);
        return Kind::shown(record);
    }
    static std::string textOf(Record const& record) {
        return std::string(reinterpret_cast<char const*>(&record), sizeof record);
    }

    // Has a process do the work on the record, which the caller has prepared, and looks whenever the record has
    // changed.
    void walk(Action const& work, std::function<void()> const& look) {
        SteppedProcess process([&] {
            SteppedProcess::begin();
            work(*d_record);
        });
        std::size_t steps = 0;
        std::string last;
        process.walk([&](std::size_t number) {
            steps = number;
            std::string now = textOf(*d_record);
            if (now == last || HasFailure())
                return;
            SCOPED_TRACE("instruction " + std::to_string(number));
            look();
            last = std::move(now);
        });
        EXPECT_GT(steps, 0U);
    }

    // `shown` is what the record shows first, and then, once and for good, what it shows in the end.
    void expectOneTurn(std::vector<std::string>& seen, std::string const& shown) {
        if (seen.empty() || seen.back() != shown)
            seen.push_back(shown);
        EXPECT_LE(seen.size(), 2U) << seen.front() << "\n" << shown;
    }

    // The work turns what `before` holds into something else, at one moment: for those that print the record as for
    // those that put it in order. Returns what the record contained meanwhile.
    std::set<std::string> expectOneMoment(Record const& before, Action const& work) {
        Record after = before;
        work(after);
        EXPECT_TRUE(isWhole(after.pending));
        EXPECT_NE(Kind::shown(before), Kind::shown(after));

        *d_record = before;
        std::vector<std::string> printed, left;
        std::set<std::string> contents;
        walk(work, [&] {
            expectOneTurn(printed, Kind::shown(snapshot(*d_record)));
            expectOneTurn(left, settled(*d_record));
            contents.insert(textOf(*d_record));
        });
        std::vector<std::string> const both = {Kind::shown(before), Kind::shown(after)};
        EXPECT_EQ(printed, both);
        EXPECT_EQ(left, both);
        EXPECT_GT(contents.size(), 4U);
        return contents;
    }

    // Nor does it matter how often putting the record in order is interrupted, and the next write is as any other.
    void expectOneMomentEvenIfRepairsStop(Record const& before, Action const& work) {
        Record next = before;
        work(next);
        EXPECT_TRUE(write(next, nextPayload, 99));
        for (std::string const& content : expectOneMoment(before, work)) {
            if (HasFailure())
                break;
            std::memcpy(static_cast<void*>(&*d_record), content.data(), content.size());
            std::string const expected = settled(*d_record);
            walk([](Record& record) { settle(record); },
                 [&] {
                     EXPECT_EQ(Kind::shown(snapshot(*d_record)), expected);
                     EXPECT_EQ(settled(*d_record), expected);
                 });
            EXPECT_TRUE(isWhole(d_record->pending));
            EXPECT_TRUE(write(*d_record, nextPayload, 99));
            EXPECT_EQ(Kind::shown(*d_record), Kind::shown(next));
        }
    }

    Shared<Record> d_record;
};

using Kinds = testing::Types<ShmKind, CANKind>;
struct KindNames {
    template <typename Kind>
    static std::string GetName(int) {
        return familyOf(typename Kind::Record{}).d_label;
    }
};
TYPED_TEST_SUITE(RecordStepsTest, Kinds, KindNames);

TYPED_TEST(RecordStepsTest, firstValueIsThereAtOneMoment) {
    typename TypeParam::Record record;
    this->define(record);
    this->expectOneMomentEvenIfRepairsStop(record, [this](auto& each) { this->write(each, newPayload, 5); });
}

TYPED_TEST(RecordStepsTest, valueChangesAtOneMomentEvenIfRepairsStop) {
    typename TypeParam::Record record;
    this->define(record);
    this->write(record, oldPayload, 0x1112131415161718);
    this->expectOneMomentEvenIfRepairsStop(record,
                                           [this](auto& each) { this->write(each, newPayload, 0x2122232425262728); });
}

TYPED_TEST(RecordStepsTest, valueChangesAtOneMomentWhateverTheTimes) {
    for (Times const& each : times) {
        SCOPED_TRACE(each.d_old);
        typename TypeParam::Record record;
        this->define(record);
        this->write(record, oldPayload, each.d_old);
        this->expectOneMoment(record, [&](auto& written) { this->write(written, newPayload, each.d_new); });
    }
}

// The marks are used up, and begin again.
TYPED_TEST(RecordStepsTest, valueChangesAtOneMomentWhateverTheMark) {
    for (int const mark : {1, recordCounts - 2, recordCounts - 1}) {
        SCOPED_TRACE(mark);
        typename TypeParam::Record record;
        this->define(record);
        this->write(record, oldPayload, 1);
        record.pending = static_cast<std::uint8_t>(mark);
        this->expectOneMoment(record, [&](auto& written) { this->write(written, newPayload, 2); });
    }
}

// A definer sets the mark before, and the size when it is done: a process that finds the record meanwhile finds no
// value.
TYPED_TEST(RecordStepsTest, recordThatIsFilledHasNoValue) {
    auto& record = *this->d_record;
    this->define(record);
    this->write(record, oldPayload, 1);
    record.used = 0;
    record.pending = recordDeriving;
    auto definition = TypeParam::definition();
    definition.startbit = 24;
    this->walk([&](auto& each) { fill(each, definition); },
               [&] {
                   auto copy = record;
                   settle(copy);
                   EXPECT_TRUE(isWhole(copy.pending));
                   EXPECT_EQ(copy.used, 0);
                   EXPECT_TRUE(this->write(copy, nextPayload, 9));
                   EXPECT_EQ(copy.used, 1);
                   EXPECT_EQ(copy.timestamp, 9U);
               });
    EXPECT_EQ(record.startbit, 24);
    EXPECT_EQ(record.timestamp, unwrittenTimestamp);
}

using ShmRecordStepsTest = RecordStepsTest<ShmKind>;

TEST_F(ShmRecordStepsTest, valueIsForgottenAtOneMoment) {
    shmSignalData_t record;
    define(record);
    write(record, oldPayload, 0x1112131415161718);
    for (bool const converted : {false, true}) {
        if (converted)
            convertOnce(record);
        expectOneMomentEvenIfRepairsStop(record, [](shmSignalData_t& cleared) { clear(cleared); });
    }
}

// Other signals' bits change nothing: there is one moment, that of the timestamp, and no mark.
TEST_F(ShmRecordStepsTest, timeChangesAtOneMoment) {
    define(*d_record);
    write(*d_record, oldPayload, 0xffffffff);
    std::uint8_t const mark = d_record->pending;
    std::vector<std::string> printed, left;
    walk([](shmSignalData_t& record) { write(record, otherBits, 0x100000000); },
         [&] {
             EXPECT_EQ(d_record->pending, mark);
             expectOneTurn(printed, ShmKind::shown(snapshot(*d_record)));
             expectOneTurn(left, settled(*d_record));
         });
    EXPECT_EQ(printed.size(), 2U);
    EXPECT_EQ(printed, left);
}

// It is converted again if need be, and never taken for the physical value of another one.
TEST_F(ShmRecordStepsTest, physicalValueIsThatOfTheValue) {
    shmSignalData_t before;
    define(before);
    write(before, oldPayload, 1);
    ASSERT_EQ(before.conv, 0);
    double const physical = 0.5 * 0x7ffe - 1;
    *d_record = before;
    std::set<int> seen;
    walk([](shmSignalData_t& record) { convertOnce(record); },
         [&] {
             for (shmSignalData_t copy : {snapshot(*d_record), *d_record}) {
                 settle(copy);
                 seen.insert(copy.conv);
                 if (copy.conv != 0)
                     EXPECT_EQ(copy.phys, physical);
                 EXPECT_EQ(ShmKind::shown(copy), ShmKind::shown(before));
             }
         });
    EXPECT_EQ(seen, (std::set<int>{0, 1}));
    EXPECT_EQ(d_record->phys, physical);
}

using CANRecordStepsTest = RecordStepsTest<CANKind>;

// Not even the time.
TEST_F(CANRecordStepsTest, sameValueChangesNothing) {
    define(*d_record);
    write(*d_record, oldPayload, 1);
    std::string const before = textOf(*d_record);
    walk([](canSignalData_t& record) { EXPECT_FALSE(write(record, otherBits, 2)); },
         [&] { EXPECT_EQ(textOf(*d_record), before); });
}

} // namespace
} // namespace qzsignal
