// A definer that starts again while a process holds the record's lock: one that was stopped and goes on, one that was
// killed, or the definer's own. The definer is done at once and prints nothing, and the lock goes on working.
#include "tests/process/Process.h"
#include "tests/process/RobustMutex.h"
#include "tests/process/Shared.h"
#include "tests/process/Steps.h"
#include "tests/support/Capture.h"
#include "tests/support/RecordFamilies.h"
#include "tests/support/SharedName.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

namespace {

template <typename Family>
class LockHolderTest : public testing::Test {
protected:
    using Signal = typename Family::Signal;

    // What a process saw, for the test.
    struct Report {
        Steps d_steps;
        char d_printed[400];
    };

    std::unique_ptr<Signal> defined() const {
        return std::make_unique<Signal>(Family::definition(d_name.name()), true);
    }

    // By a definer that is killed.
    void leaveRecord() {
        Process definer([this] {
            auto const signal = defined();
            signal->write(payload(0x11), 100ULL);
            kill(getpid(), SIGKILL);
        });
        ASSERT_TRUE(definer.died());
    }

    // Without a line printed, and without waiting: a busy machine may take its time now and then, but not every time.
    std::unique_ptr<Signal> definedAtOnce() {
        Capture const output(std::cout);
        Capture const errors(std::cerr);
        std::unique_ptr<Signal> signal;
        EXPECT_TRUE(waitUntil([&] {
            if (signal)
                signal->d_owner = false; // the record stays
            signal.reset();
            double const begin = secondsNow();
            signal = defined();
            return secondsNow() - begin < 0.5;
        }));
        EXPECT_EQ(output.text() + errors.text(), "");
        EXPECT_NE(signal->d_data, &signal->d_localData);
        EXPECT_EQ(signal->d_data->size, Family::recordSize);
        EXPECT_EQ(signal->d_data->used, 0);
        EXPECT_EQ(signal->d_data->timestamp, 0x55555555U);
        return signal;
    }

    static unsigned long long payload(unsigned value) { return static_cast<unsigned long long>(value) << 56; }

    static void expectReading(Signal& signal, unsigned value, unsigned long long time) {
        unsigned long long found = 0, foundTime = 0;
        EXPECT_TRUE(signal.read(found, foundTime));
        EXPECT_EQ(found, value);
        EXPECT_EQ(foundTime, time);
    }

    // The signal and another process use the record in turn, without a line printed.
    void expectWorkingLock(Signal& signal) {
        Shared<Report> other;
        Process user([&] { use(*other); });
        Capture const output(std::cout);
        Capture const errors(std::cerr);
        ASSERT_TRUE(other->d_steps.reach(1));
        signal.lock();
        Process attempt([&] { _exit(pthread_mutex_trylock(&signal.d_data->mutex) == EBUSY ? 0 : 1); });
        EXPECT_TRUE(attempt.finished());
        signal.unlock();
        signal.write(payload(0x21), 201ULL);
        ASSERT_TRUE(other->d_steps.reach(2));
        expectReading(signal, 0x22, 202);
        other->d_steps.d_asked = 3;
        EXPECT_TRUE(user.finished());
        EXPECT_STREQ(other->d_printed, "");
        EXPECT_EQ(output.text() + errors.text(), "");
    }
    void use(Report& report) {
        Capture const output(std::cout);
        Capture const errors(std::cerr);
        Signal signal(d_name.c_str());
        report.d_steps.next();
        expectReading(signal, 0x21, 201);
        signal.write(payload(0x22), 202ULL);
        report.d_steps.next();
        finish(report, output.text() + errors.text());
    }
    static void finish(Report& report, std::string const& printed) {
        (testing::Test::HasFailure() ? "unexpected reading" : printed)
            .copy(report.d_printed, sizeof report.d_printed - 1);
    }

    SharedName d_name;
};

TYPED_TEST_SUITE(LockHolderTest, RecordFamilies, FamilyNames);

TYPED_TEST(LockHolderTest, stoppedHolderGoesOn) {
    this->leaveRecord();
    Shared<typename TestFixture::Report> report;
    Process holder([&] {
        Capture const output(std::cout);
        Capture const errors(std::cerr);
        typename TypeParam::Signal signal(this->d_name.c_str());
        signal.lock();
        raise(SIGSTOP);
        signal.unlock();
        signal.write(this->payload(0x33), 300ULL);
        this->expectReading(signal, 0x33, 300);
        report->d_steps.next();
        this->expectReading(signal, 0x44, 400);
        signal.lock();
        signal.unlock();
        // Another mutex: what was done to the first one must not show in the list of what this thread holds.
        SharedName const other;
        typename TypeParam::Signal own(TypeParam::definition(other.name()), true);
        own.write(this->payload(0x55), 500ULL);
        this->expectReading(own, 0x55, 500);
        this->finish(*report, output.text() + errors.text());
    });
    int status = 0;
    ASSERT_EQ(waitpid(holder.id(), &status, WUNTRACED), holder.id());
    ASSERT_TRUE(WIFSTOPPED(status));

    auto const signal = this->definedAtOnce();
    kill(holder.id(), SIGCONT);
    ASSERT_TRUE(report->d_steps.reach(1));
    this->expectReading(*signal, 0x33, 300);
    signal->write(this->payload(0x44), 400ULL);
    report->d_steps.d_asked = 2;
    EXPECT_TRUE(holder.finished());
    EXPECT_STREQ(report->d_printed, "");
    this->expectWorkingLock(*signal);
}

TYPED_TEST(LockHolderTest, definersOneAfterAnotherLeaveTheMutexOfAStoppedHolderAlone) {
    this->leaveRecord();
    Shared<int> unlocked;
    Process holder([&] {
        typename TypeParam::Signal signal(this->d_name.c_str());
        signal.lock();
        raise(SIGSTOP);
        *unlocked = pthread_mutex_unlock(&signal.d_data->mutex) == 0 ? 1 : 2;
    });
    int status = 0;
    ASSERT_EQ(waitpid(holder.id(), &status, WUNTRACED), holder.id());
    ASSERT_TRUE(WIFSTOPPED(status));

    std::string before;
    for (int i = 0; i < 3; ++i) {
        Process definer([&] {
            this->definedAtOnce().release(); // the record stays
            _exit(testing::Test::HasFailure() ? 1 : 0);
        });
        EXPECT_TRUE(definer.finished());
        BaseSignal::instances.clear();
        typename TypeParam::Signal const reader(this->d_name.c_str());
        std::string const mutex(reinterpret_cast<char const*>(&reader.d_data->mutex), sizeof(pthread_mutex_t));
        EXPECT_TRUE(before.empty() || mutex == before);
        before = mutex;
    }
    kill(holder.id(), SIGCONT);
    ASSERT_TRUE(holder.finished());
    EXPECT_EQ(*unlocked, 1);
    BaseSignal::instances.clear();
    this->expectWorkingLock(*this->definedAtOnce());
}

TYPED_TEST(LockHolderTest, deathOfAHolderGoesUnmentioned) {
    this->leaveRecord();
    Process holder([&] {
        typename TypeParam::Signal signal(this->d_name.c_str());
        signal.lock();
        kill(getpid(), SIGKILL);
    });
    ASSERT_TRUE(holder.died());
    this->expectWorkingLock(*this->definedAtOnce());
}

TYPED_TEST(LockHolderTest, definersOwnLockIsGivenBack) {
    SKIP_WITHOUT_ROBUST_MUTEXES();
    SharedName const other;
    typename TypeParam::Signal outer(TypeParam::definition(other.name()), true);
    auto const first = this->defined();
    outer.lock(); // beside which the other one must not get lost
    first->lock();
    BaseSignal::instances.clear();
    {
        auto const second = this->definedAtOnce();
        EXPECT_NE(first->d_data, second->d_data);
        outer.unlock();
        this->expectWorkingLock(*second);
        second->d_owner = false; // the segment is the first one's
    }
    BaseSignal::instances.clear();
    this->expectWorkingLock(*first);
    outer.write(this->payload(0x55), 500ULL);
    this->expectReading(outer, 0x55, 500);
}

TYPED_TEST(LockHolderTest, unusableMutexIsMadeAgainAndRobust) {
    void (*const damages[])(pthread_mutex_t&) = {
        [](pthread_mutex_t& mutex) { std::memset(&mutex, 0, sizeof mutex); },
        [](pthread_mutex_t& mutex) { std::memset(&mutex, 0x60, sizeof mutex); },
        [](pthread_mutex_t& mutex) { std::memset(&mutex, 0xff, sizeof mutex); },
        [](pthread_mutex_t& mutex) { pthread_mutex_init(&mutex, nullptr); },
        [](pthread_mutex_t& mutex) {
            pthread_mutex_init(&mutex, nullptr);
            pthread_mutex_lock(&mutex); // by a process that then ends
        },
    };
    for (auto const damage : damages) {
        this->leaveRecord();
        Process stranger([&] {
            typename TypeParam::Signal signal(this->d_name.c_str());
            damage(signal.d_data->mutex);
        });
        ASSERT_TRUE(stranger.finished());
        BaseSignal::instances.clear();
        auto const signal = this->definedAtOnce();
        this->expectWorkingLock(*signal);
        if (!robustMutexesWork())
            continue;
        Process owner([&] {
            signal->lock();
            kill(getpid(), SIGKILL);
        });
        ASSERT_TRUE(owner.died());
        EXPECT_EQ(pthread_mutex_trylock(&signal->d_data->mutex), EOWNERDEAD);
        pthread_mutex_consistent(&signal->d_data->mutex);
        pthread_mutex_unlock(&signal->d_data->mutex);
    }
}

// The holder finds the mutex that it locked; the next definer makes a robust one of it.
TYPED_TEST(LockHolderTest, plainMutexIsLeftToItsLiveHolder) {
    this->leaveRecord();
    Shared<Steps> steps;
    Shared<int> unlocked;
    Process stranger([&] {
        typename TypeParam::Signal signal(this->d_name.c_str());
        pthread_mutex_init(&signal.d_data->mutex, nullptr);
        pthread_mutex_lock(&signal.d_data->mutex);
        steps->next();
        *unlocked = pthread_mutex_unlock(&signal.d_data->mutex) == 0 ? 1 : 2;
    });
    ASSERT_TRUE(steps->reach(1));
    {
        auto const signal = this->definedAtOnce();
        signal->d_owner = false;
    }
    steps->d_asked = 2;
    ASSERT_TRUE(stranger.finished());
    EXPECT_EQ(*unlocked, 1);
    BaseSignal::instances.clear();
    auto const signal = this->definedAtOnce();
    this->expectWorkingLock(*signal);
    EXPECT_EQ(pthread_mutex_unlock(&signal->d_data->mutex), EPERM) << "only a robust mutex refuses";
}

} // namespace
