// Shared signals whose record cannot be had, for whatever reason: the reason is reported, and they work without.
#include "tests/support/Capture.h"
#include "tests/support/Namespaces.h"
#include "tests/support/Observe.h"
#include "tests/support/OtherUser.h"
#include "tests/support/RecordFamilies.h"
#include "tests/support/SharedName.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <optional>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

// Leaves this process no address space beyond what it has, where that is possible.
class NoAddressSpace {
public:
    NoAddressSpace() {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // which need it themselves
        if (getrlimit(RLIMIT_AS, &d_before) != 0)
            return;
        // What is free stays with the allocator, which cannot get any more.
        void* const volatile room = std::malloc(100000);
        std::free(room);
        rlimit none = d_before;
        none.rlim_cur = 4096;
        d_limited = setrlimit(RLIMIT_AS, &none) == 0;
#endif
    }
    ~NoAddressSpace() {
        if (d_limited)
            setrlimit(RLIMIT_AS, &d_before);
    }
    NoAddressSpace(NoAddressSpace const&) = delete;
    NoAddressSpace& operator=(NoAddressSpace const&) = delete;

    static bool isPossible() {
        NoAddressSpace const none;
        void* const memory = mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory != MAP_FAILED)
            munmap(memory, 4096);
        return memory == MAP_FAILED;
    }

private:
    rlimit d_before{};
    bool d_limited = false;
};

template <typename Family>
class RefusedRecordTest : public testing::Test {
protected:
    using Signal = typename Family::Signal;

    static std::unique_ptr<Signal> defined(std::string const& instance) {
        return std::make_unique<Signal>(Family::definition(instance), true);
    }
    std::unique_ptr<Signal> defined() const { return defined(d_name.name()); }
    // Opened by name, as if in a process of its own.
    std::unique_ptr<Signal> opened() const {
        BaseSignal::instances.clear();
        return std::make_unique<Signal>(d_name.c_str());
    }

    // A definer that works although it got no segment, and says no more than `last` when it is destroyed.
    void expectOwnRecord(std::unique_ptr<Signal> signal, std::string const& last = "") {
        EXPECT_EQ(signal->d_data, &signal->d_localData);
        EXPECT_TRUE(signal->d_shared);
        EXPECT_TRUE(signal->write(0x1200000000000000ULL, 5ULL));
        EXPECT_EQ(valueOf(*signal), 0x12U);
        EXPECT_EQ(signal->read(d_phys, d_time), true);
        EXPECT_EQ(d_phys, 0x12);
        std::string const before = d_errors.text();
        signal.reset();
        EXPECT_EQ(d_errors.text(), before + last);
    }

    // A segment under the key of the name that another program has made.
    void foreignSegment(std::size_t size, int permissions) {
        std::ofstream(d_name.path()).close();
        ASSERT_NE(shmget(d_name.key(), size, IPC_CREAT | permissions), -1);
    }

    // What is reported while another user does the work.
    template <typename Work>
    std::string asOtherUser(Work work) {
        return errorsAsOtherUser([&] {
            work();
            fputs(d_errors.text().c_str(), stderr);
            if (testing::Test::HasFailure())
                fputs("failed there\n", stderr);
        });
    }

    std::string error(std::string const& call, std::string const& reason) const {
        return std::string("[ERROR] ") + Family::label + call + " (" + d_name.name() + "): " + reason + "\n";
    }
    static std::string missingFile(std::string const& instance) {
        return std::string("[ERROR] ") + Family::label + ": " + instance + ": Missing File (/tmp/" + instance + ")\n";
    }
    std::string waitingForKey() const {
        return std::string("[WARNING] ") + Family::label + ": " + d_name.name() + ": Waiting for key (" +
               d_name.path() + ")\n";
    }

    double d_phys = 0;
    unsigned long long d_time = 0;
    SharedName d_name;
    Capture d_errors{std::cerr};
};

TYPED_TEST_SUITE(RefusedRecordTest, RecordFamilies, FamilyNames);

TYPED_TEST(RefusedRecordTest, limitOfSegmentsIsReported) {
    PrivateSegments const one(1);
    if (!one.isThere())
        GTEST_SKIP() << "the limit cannot be lowered here";
    SharedName const other;
    auto const first = this->defined(other.name());
    EXPECT_EQ(this->d_errors.take(), "");
    auto second = this->defined();
    EXPECT_EQ(this->d_errors.take(), this->error("::ctor: shmget", "No space left on device"));
    this->expectOwnRecord(std::move(second));
}

TYPED_TEST(RefusedRecordTest, fullFolderIsReported) {
    PrivateTmp const full("nr_inodes=1");
    if (!full.isThere())
        GTEST_SKIP() << "/tmp cannot be replaced here";
    auto definer = this->defined();
    EXPECT_EQ(this->d_errors.take(), this->missingFile(this->d_name.name()));
    this->expectOwnRecord(std::move(definer));
    auto const reader = this->opened();
    EXPECT_EQ(this->d_errors.take(), this->waitingForKey());
}

TYPED_TEST(RefusedRecordTest, readOnlyFolderIsReportedUnlessTheKeyFileIsThere) {
    PrivateTmp const tmp("size=64k");
    if (!tmp.isThere())
        GTEST_SKIP() << "/tmp cannot be replaced here";
    std::ofstream(this->d_name.path()) << "full";
    ASSERT_TRUE(tmp.makeReadOnly());
    auto const definer = this->defined();
    EXPECT_EQ(this->d_errors.take(), "");
    EXPECT_NE(definer->d_data, &definer->d_localData);
    SharedName const other;
    auto second = this->defined(other.name());
    EXPECT_EQ(this->d_errors.take(), this->missingFile(other.name()));
    this->expectOwnRecord(std::move(second));
}

TYPED_TEST(RefusedRecordTest, nameThatLeadsOutOfTheFolderIsReported) {
    char folder[] = "/var/tmp/qzsignal-test-XXXXXX";
    if (mkdtemp(folder) == nullptr)
        GTEST_SKIP() << "no folder outside /tmp can be made";
    ASSERT_EQ(symlink(folder, this->d_name.path().c_str()), 0);
    for (std::string const& instance : {".." + std::string(folder) + "/new", this->d_name.name() + "/new"}) {
        auto definer = this->defined(instance);
        EXPECT_EQ(this->d_errors.take(), this->missingFile(instance));
        this->expectOwnRecord(std::move(definer));
    }
    EXPECT_EQ(rmdir(folder), 0) << "it is empty";
}

TYPED_TEST(RefusedRecordTest, linkDoesNotLeadToTheSegmentOfAnotherSignal) {
    SharedName const other;
    auto const victim = this->defined(other.name());
    victim->write(0x3400000000000000ULL, 5ULL);
    ASSERT_EQ(symlink(other.path().c_str(), this->d_name.path().c_str()), 0);
    ASSERT_EQ(this->d_name.segmentId(), other.segmentId()) << "ftok follows it";

    auto definer = this->defined();
    EXPECT_EQ(this->d_errors.take(), this->missingFile(this->d_name.name()));
    this->expectOwnRecord(std::move(definer));
    auto const reader = this->opened();
    EXPECT_EQ(this->d_errors.take(), this->waitingForKey());
    EXPECT_TRUE(reader->d_waiting);
    EXPECT_EQ(valueOf(*victim), 0x34U);
    unlink(this->d_name.path().c_str()); // lest the segment be removed by way of it
}

TYPED_TEST(RefusedRecordTest, nameThatIsTooLongForAFileIsReported) {
    std::string const name = this->d_name.name() + std::string(300, 'x');
    auto definer = this->defined(name);
    EXPECT_EQ(this->d_errors.take(), this->missingFile(name));
    this->expectOwnRecord(std::move(definer));
}

TYPED_TEST(RefusedRecordTest, folderOrPipeInPlaceOfTheKeyFileDoesAsWell) {
    int (*const kinds[])(char const*, mode_t) = {mkdir, mkfifo};
    for (auto const make : kinds) {
        std::string const path = this->d_name.path();
        ASSERT_EQ(make(path.c_str(), 0777), 0);
        auto const definer = this->defined();
        auto const reader = this->opened();
        definer->write(0x1200000000000000ULL, 5ULL);
        EXPECT_EQ(valueOf(*reader), 0x12U);
        EXPECT_EQ(remove(path.c_str()), 0);
    }
    EXPECT_EQ(this->d_errors.text(), "");
}

TYPED_TEST(RefusedRecordTest, largerSegmentIsUsed) {
    this->foreignSegment(10000, 0666);
    auto const definer = this->defined();
    auto const reader = this->opened();
    definer->write(0x1200000000000000ULL, 5ULL);
    EXPECT_EQ(valueOf(*reader), 0x12U);
    EXPECT_EQ(this->d_errors.text(), "");
}

TYPED_TEST(RefusedRecordTest, segmentThatAnotherUserKeepsToHimselfIsReported) {
    if (geteuid() != 0)
        GTEST_SKIP() << "needs to change the user";
    this->foreignSegment(TypeParam::recordSize, 0600);
    EXPECT_EQ(this->asOtherUser([this] { this->expectOwnRecord(this->defined()); }),
              this->error("::ctor: shmget", "Permission denied"));
    EXPECT_EQ(this->asOtherUser([this] { EXPECT_EQ(valueOf(*this->opened()), 0xdeadU); }),
              this->error(": shmat", "Permission denied") + this->error(": shmat", "Permission denied"));
}

TYPED_TEST(RefusedRecordTest, segmentOfAnotherUserCanBeTakenOverButNotRemoved) {
    if (geteuid() != 0)
        GTEST_SKIP() << "needs to change the user";
    this->foreignSegment(TypeParam::recordSize, 0666);
    EXPECT_EQ(this->asOtherUser([this] { this->defined()->write(0x1200000000000000ULL, 5ULL); }),
              this->error("::dtor: shmctl", "Operation not permitted"));
    EXPECT_EQ(valueOf(*this->opened()), 0x12U);
}

TYPED_TEST(RefusedRecordTest, attachingThatFailsIsReportedAndTriedAgain) {
    if (!NoAddressSpace::isPossible())
        GTEST_SKIP() << "the address space cannot be limited here";
    this->defined(); // what is allocated once is allocated
    {
        std::optional<NoAddressSpace> none(std::in_place);
        auto definer = this->defined();
        none.reset();
        EXPECT_EQ(this->d_errors.take(), this->error("::ctor: shmat", "Cannot allocate memory"));
        // There is a segment, but nothing of it to detach from.
        this->expectOwnRecord(std::move(definer), this->error("::dtor: shmdt", "Invalid argument"));
        this->d_errors.take();
    }
    EXPECT_EQ(this->d_name.segmentId(), -1) << "the segment went all the same";

    auto const definer = this->defined();
    definer->write(0x1200000000000000ULL, 5ULL);
    std::optional<NoAddressSpace> none(std::in_place);
    auto const reader = this->opened();
    none.reset();
    EXPECT_EQ(this->d_errors.take(), this->error(": shmat", "Cannot allocate memory"));
    EXPECT_TRUE(reader->d_waiting);
    EXPECT_EQ(reader->d_shmId, -1);
    EXPECT_EQ(valueOf(*reader), 0x12U);
    EXPECT_EQ(this->d_errors.text(), "");
}

} // namespace
