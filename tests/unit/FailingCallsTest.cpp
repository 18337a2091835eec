// What shared signals do when the system refuses them any call that they make: they report it and go on. The calls are
// replaced when the program is linked, so it is a program of its own.
#include "tests/support/Capture.h"
#include "tests/support/RecordFamilies.h"
#include "tests/support/SharedName.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <optional>
#include <pthread.h>
#include <sys/shm.h>
#include <sys/stat.h>

namespace {

bool counting = false;
std::vector<std::string> calls;       // made while counting
std::optional<std::size_t> failingAt; // index of the call that is to fail

bool fails(char const* call) {
    if (!counting)
        return false;
    calls.emplace_back(call);
    return failingAt == calls.size() - 1;
}

// The value by which a call tells of its failure.
template <typename Result>
Result refused(Result result, int error) {
    errno = error;
    return result;
}

} // namespace

// The linker puts __wrap_call in place of each call, and the call itself in place of __real_call. Calls that deal with
// files go by other names where offsets have 64 bits.
extern "C" {

int __real_openat64(int folder, char const* path, int flags, ...);
int __wrap_openat64(int folder, char const* path, int flags, ...) {
    va_list more;
    va_start(more, flags);
    auto const mode = static_cast<mode_t>((flags & O_CREAT) != 0 ? va_arg(more, int) : 0);
    va_end(more);
    return fails("openat") ? refused(-1, ENOSPC) : __real_openat64(folder, path, flags, mode);
}

int __real_ftruncate64(int file, off_t size);
int __wrap_ftruncate64(int file, off_t size) {
    return fails("ftruncate") ? refused(-1, EIO) : __real_ftruncate64(file, size);
}

int __real_statx(int folder, char const* path, int flags, unsigned mask, struct statx* status);
int __wrap_statx(int folder, char const* path, int flags, unsigned mask, struct statx* status) {
    return fails("statx") ? refused(-1, EACCES) : __real_statx(folder, path, flags, mask, status);
}

int __real_shmget(key_t key, size_t size, int flags);
int __wrap_shmget(key_t key, size_t size, int flags) {
    return fails("shmget") ? refused(-1, ENOSPC) : __real_shmget(key, size, flags);
}

void* __real_shmat(int id, void const* address, int flags);
void* __wrap_shmat(int id, void const* address, int flags) {
    return fails("shmat") ? refused(reinterpret_cast<void*>(-1), ENOMEM) : __real_shmat(id, address, flags);
}

int __real_shmctl(int id, int operation, shmid_ds* status);
int __wrap_shmctl(int id, int operation, shmid_ds* status) {
    return fails("shmctl") ? refused(-1, EPERM) : __real_shmctl(id, operation, status);
}

// These two do their work and say that they did not: the test could not continue otherwise.
int __real_shmdt(void const* address);
int __wrap_shmdt(void const* address) {
    int const result = __real_shmdt(address);
    return fails("shmdt") ? refused(-1, EINVAL) : result;
}

int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
    int const result = __real_pthread_mutex_unlock(mutex);
    return fails("unlock") ? EPERM : result;
}

int __real_pthread_mutex_trylock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_trylock(pthread_mutex_t* mutex) {
    return fails("trylock") ? EINVAL : __real_pthread_mutex_trylock(mutex);
}

int __real_pthread_mutex_init(pthread_mutex_t* mutex, pthread_mutexattr_t const* attributes);
int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, pthread_mutexattr_t const* attributes) {
    return fails("init") ? ENOTSUP : __real_pthread_mutex_init(mutex, attributes);
}
}

namespace {

// Lets a signal be built, written, read twice and destroyed, and one call among those fail.
template <typename Family>
class FailingCallsTest : public testing::Test {
protected:
    using Signal = typename Family::Signal;

    struct Outcome {
        bool d_onRecordInside = false; // after it was built
        bool d_written = false;
        bool d_first = false, d_second = false; // reads
        unsigned long long d_value = 0;
        std::string d_errors;
    };

    template <typename Build>
    Outcome run(std::optional<std::size_t> failing, Build build) {
        BaseSignal::instances.clear(); // as if the signals were in processes of their own
        Capture errors(std::cerr);
        Outcome outcome;
        calls.clear();
        failingAt = failing;
        counting = true;
        {
            std::unique_ptr<Signal> const signal = build();
            outcome.d_onRecordInside = signal->d_data == &signal->d_localData;
            outcome.d_written = signal->write(0x1200000000000000ULL, 5ULL);
            unsigned long long timestamp = 0;
            outcome.d_first = signal->read(outcome.d_value, timestamp);
            outcome.d_second = signal->read(outcome.d_value, timestamp);
        }
        counting = false;
        outcome.d_errors = errors.text();
        return outcome;
    }
    Outcome define(std::optional<std::size_t> failing) {
        return run(failing, [this] { return std::make_unique<Signal>(Family::definition(d_name.name()), true); });
    }
    Outcome open(std::optional<std::size_t> failing) {
        return run(failing, [this] { return std::make_unique<Signal>(d_name.c_str()); });
    }

    // Removes what a run left, so that the next one starts from scratch.
    void cleanUp() {
        int const id = d_name.segmentId();
        if (id != -1)
            shmctl(id, IPC_RMID, nullptr);
        unlink(d_name.path().c_str());
    }
    // How many processes, or objects in this one, are attached to the signal's segment.
    unsigned long attached() {
        shmid_ds status{};
        int const id = d_name.segmentId();
        return id != -1 && shmctl(id, IPC_STAT, &status) == 0 ? status.shm_nattch : 0;
    }
    static int lowestFreeFile() {
        int const file = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        close(file);
        return file;
    }

    // The n-th call of its kind in the last run.
    static std::size_t place(std::string const& call, int occurrence) {
        std::size_t at = 0;
        for (; at < calls.size(); ++at)
            if (calls[at] == call && occurrence-- == 0)
                break;
        EXPECT_LT(at, calls.size()) << call;
        return at;
    }

    std::string line(std::string const& text) const { return "[ERROR] " + std::string(Family::label) + text + "\n"; }
    std::string about(std::string const& operation, int error) const {
        return line(operation + " (" + d_name.name() + "): " + std::strerror(error));
    }
    std::string waiting(std::string const& what) const {
        return "[WARNING] " + std::string(Family::label) + ": " + d_name.name() + ": Waiting for " + what + " (" +
               d_name.path() + ")\n";
    }
    std::string missing() const { return line(": " + d_name.name() + ": Missing File (" + d_name.path() + ")"); }

    SharedName d_name;
};

TYPED_TEST_SUITE(FailingCallsTest, RecordFamilies, FamilyNames);

TYPED_TEST(FailingCallsTest, definerGoesOnWhateverFails) {
    int const file = this->lowestFreeFile();
    for (std::size_t failing = 0;; ++failing) {
        auto const outcome = this->define(failing);
        if (calls.size() <= failing) {
            EXPECT_GT(failing, 15U) << "calls that failed";
            break;
        }
        SCOPED_TRACE(calls[failing] + ", call " + std::to_string(failing));
        EXPECT_TRUE(outcome.d_written && outcome.d_first && outcome.d_second);
        EXPECT_EQ(outcome.d_value, 0x12U);
        EXPECT_EQ(this->attached(), 0U);
        EXPECT_EQ(this->lowestFreeFile(), file) << "no file is left open";
        EXPECT_TRUE(BaseSignal::instances.empty());
        this->cleanUp();
    }
}

TYPED_TEST(FailingCallsTest, readerGoesOnWhateverFails) {
    auto const definer = std::make_unique<typename TypeParam::Signal>(TypeParam::definition(this->d_name.name()), true);
    for (std::size_t failing = 0;; ++failing) {
        auto const outcome = this->open(failing);
        if (calls.size() <= failing) {
            EXPECT_GT(failing, 10U) << "calls that failed";
            break;
        }
        SCOPED_TRACE(calls[failing] + ", call " + std::to_string(failing));
        EXPECT_TRUE(outcome.d_written && outcome.d_first && outcome.d_second);
        EXPECT_EQ(outcome.d_value, 0x12U);
        EXPECT_EQ(this->attached(), 1U) << "the definer";
        EXPECT_TRUE(BaseSignal::instances.empty());
    }
}

TYPED_TEST(FailingCallsTest, definerReportsWhatFailed) {
    struct {
        char const* d_call;
        int d_occurrence;
        bool d_onRecordInside;
        std::string d_errors;
    } const cases[] = {
        {"openat", 0, true, this->missing()},
        {"statx", 0, false, ""}, // of the file that was made; it is not emptied then
        {"statx", 1, true, this->missing()},
        {"shmget", 0, true, this->about("::ctor: shmget", ENOSPC)},
        {"shmat", 0, true, this->about("::ctor: shmat", ENOMEM) + this->about("::dtor: shmdt", EINVAL)},
        {"init", 0, false, ""}, // of the record inside; without robustness then
        {"init", 1, false, ""},
        {"trylock", 0, false, ""}, // the new record is filled without its lock
        {"unlock", 0, false, ""},
        {"trylock", 1, false, this->about("::lock", EINVAL) + this->about("::unlock", EPERM)},
        {"unlock", 1, false, this->about("::unlock", EPERM)},
        {"shmdt", 0, false, this->about("::dtor: shmdt", EINVAL)},
        {"shmctl", 0, false, this->about("::dtor: shmctl", EPERM)},
    };
    for (auto const& each : cases) {
        this->define(std::nullopt);
        std::size_t const failing = this->place(each.d_call, each.d_occurrence);
        this->cleanUp();
        SCOPED_TRACE(std::string(each.d_call) + " " + std::to_string(each.d_occurrence));
        auto const outcome = this->define(failing);
        EXPECT_EQ(outcome.d_errors, each.d_errors);
        EXPECT_EQ(outcome.d_onRecordInside, each.d_onRecordInside);
        this->cleanUp();
    }
}

#ifdef __GLIBC__
TYPED_TEST(FailingCallsTest, mutexIsSharedByProcessesEvenIfItCannotBeRobust) {
    this->define(std::nullopt);
    std::size_t const failing = this->place("init", 1);
    this->cleanUp();
    int kind = -1;
    this->run(failing, [&] {
        auto signal = std::make_unique<typename TypeParam::Signal>(TypeParam::definition(this->d_name.name()), true);
        kind = signal->d_data->mutex.__data.__kind;
        return signal;
    });
    constexpr int sharedNotRobust = 0x80;
    EXPECT_EQ(kind, sharedNotRobust);
}
#endif

TYPED_TEST(FailingCallsTest, readerReportsWhatFailedAndTriesAgain) {
    auto const definer = std::make_unique<typename TypeParam::Signal>(TypeParam::definition(this->d_name.name()), true);
    struct {
        char const* d_call;
        bool d_onRecordInside;
        std::string d_errors;
    } const cases[] = {
        {"statx", true, this->waiting("key")},
        {"shmget", true, this->waiting("shared memory region id")},
        {"shmctl", false, ""}, // attaching tells what is wrong, if anything is
        {"shmat", true, this->about(": shmat", ENOMEM)},
        {"trylock", false, this->about("::lock", EINVAL) + this->about("::unlock", EPERM)},
        {"unlock", false, this->about("::unlock", EPERM)},
        {"shmdt", false, this->about("::dtor: shmdt", EINVAL)},
    };
    for (auto const& each : cases) {
        this->open(std::nullopt);
        std::size_t const failing = this->place(each.d_call, 0);
        SCOPED_TRACE(each.d_call);
        auto const outcome = this->open(failing);
        EXPECT_EQ(outcome.d_errors, each.d_errors);
        EXPECT_EQ(outcome.d_onRecordInside, each.d_onRecordInside);
    }
}

// Of a segment that is no record, and which it does not stay attached to.
TYPED_TEST(FailingCallsTest, readerSaysNothingIfItCannotDetachFromAForeignSegment) {
    close(::open(this->d_name.path().c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666));
    ASSERT_NE(shmget(this->d_name.key(), TypeParam::recordSize, IPC_CREAT | 0666), -1);
    this->open(std::nullopt);
    std::size_t const failing = this->place("shmdt", 0);
    auto const outcome = this->open(failing);
    std::string const once = this->waiting("shared memory region id");
    EXPECT_EQ(outcome.d_errors, once + once + once + once);
    EXPECT_FALSE(outcome.d_written || outcome.d_first || outcome.d_second);
}

TYPED_TEST(FailingCallsTest, keyFileThatCannotBeEmptiedDoesAsWell) {
    auto const fillFile = [this] { std::ofstream(this->d_name.path()) << "full"; };
    fillFile();
    this->define(std::nullopt);
    std::size_t const failing = this->place("ftruncate", 0);
    fillFile();
    auto const outcome = this->define(failing);
    EXPECT_EQ(outcome.d_errors, "");
    EXPECT_FALSE(outcome.d_onRecordInside);
}

} // namespace
