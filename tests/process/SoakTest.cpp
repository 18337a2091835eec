// All kinds of shared signals together, for millions of frames: one process feeds them, three others read them.
#include "tests/process/AllKinds.h"
#include "tests/process/ErrorOutput.h"
#include "tests/process/Process.h"
#include "tests/process/Shared.h"

#include <deque>
#include <iostream>
#include <malloc.h>

#if defined __SANITIZE_ADDRESS__ || defined __SANITIZE_THREAD__
#define SANITIZED
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace {

using namespace allkinds;

// A matter of seconds everywhere, even on a busy machine.
#if defined QZSIGNAL_EMULATED || defined SANITIZED
constexpr std::uint32_t frames = 500000;
#else
constexpr std::uint32_t frames = 10000000;
#endif
constexpr std::uint32_t endOfFrames = firstFrame + frames;

// Memory of this process that is in use.
std::size_t allocatedBytes() {
#ifdef SANITIZED
    return __sanitizer_get_current_allocated_bytes();
#else
    struct mallinfo2 const info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}
// A few freed blocks count as in use, because the allocator keeps them at hand. One lost with every ten thousandth
// frame of ten million comes to more.
constexpr std::size_t allocatorsOwn = 4096;

constexpr unsigned readers = 3;

struct State {
    SharedCounter d_defined;
    SharedCounter d_readersReady;
    SharedCounter d_fed; // number of the frame, now and then
    SharedCounter d_written;
    std::uint64_t d_untaken; // frames
    std::size_t d_memoryAtATenth;
    std::size_t d_memoryAtTheEnd;
    double d_seconds;
    Findings d_findings[readers][signalCount];
};

class SoakTest : public testing::Test {
protected:
    void write() {
        {
            Signals const defines = allDefined(d_names);
            d_state->d_defined = 1;
            waitUntil([&] { return d_state->d_readersReady == readers; });
            Feeder feeder;
            double const begin = secondsNow();
            for (std::uint32_t frame = firstFrame; frame < endOfFrames; ++frame) {
                if (frame == firstFrame + frames / 10)
                    d_state->d_memoryAtATenth = allocatedBytes();
                if (!feeder.feed(frame))
                    ++d_state->d_untaken;
                if (frame % 1024 == 0)
                    d_state->d_fed = frame;
            }
            d_state->d_seconds = secondsNow() - begin;
            d_state->d_memoryAtTheEnd = allocatedBytes();
            d_state->d_written = 1;
        }
        if (!nothingIsFiled())
            _exit(EXIT_FAILURE);
    }

    void read(unsigned number) {
        waitUntil([&] { return d_state->d_defined == 1; });
        {
            Reader reader(d_names, d_state->d_findings[number]);
            ++d_state->d_readersReady;
            while (d_state->d_written == 0)
                reader.readAll();
            reader.readAll();
        }
        if (!nothingIsFiled())
            _exit(EXIT_FAILURE);
    }

    // False if the writer did not get on for a long time.
    bool allIsWritten() const {
        while (d_state->d_written == 0) {
            std::uint32_t const before = d_state->d_fed;
            if (!waitUntil([&] { return d_state->d_written != 0 || d_state->d_fed != before; }))
                return false;
        }
        return true;
    }

    Names const d_names;
    Shared<State> d_state;
    ErrorOutput d_errors;
};

} // namespace

TEST_F(SoakTest, readersOfAllKindsNeverMixMissOrLoseValues) {
    auto const inSilence = [this](auto work) {
        silenceStandardOutput();
        d_errors.take();
        work();
    };
    Process writer([&] { inSilence([&] { write(); }); });
    std::deque<Process> readerProcesses;
    for (unsigned i = 0; i < readers; ++i)
        readerProcesses.emplace_back([&, i] { inSilence([&] { read(i); }); });
    EXPECT_TRUE(allIsWritten());
    EXPECT_TRUE(writer.finished());
    for (Process& process : readerProcesses)
        EXPECT_TRUE(process.finished());

    EXPECT_EQ(d_state->d_untaken, 0U);
    EXPECT_GT(d_state->d_memoryAtATenth, 0U);
    EXPECT_LE(d_state->d_memoryAtTheEnd, d_state->d_memoryAtATenth + allocatorsOwn);
    EXPECT_EQ(d_errors.text(), "");
    for (SharedName const* const name : d_names.all()) {
        EXPECT_EQ(name->segmentId(), -1);
        EXPECT_TRUE(name->keyFileExists()) << "the next writer's signals are to have the same keys";
    }
    std::uint64_t reads = 0;
    for (unsigned reader = 0; reader < readers; ++reader) {
        SCOPED_TRACE("reader " + std::to_string(reader));
        expectInOrder(d_state->d_findings[reader], endOfFrames - 1);
        for (Findings const& findings : d_state->d_findings[reader])
            reads += findings.d_reads;
    }
    std::cout << frames << " frames in " << d_state->d_seconds << " s under " << reads << " reads; "
              << d_state->d_memoryAtATenth << " bytes in use after a tenth, " << d_state->d_memoryAtTheEnd
              << " in the end" << std::endl;
}
