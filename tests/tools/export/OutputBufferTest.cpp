// Output that is taken, and output that is not.
#include "tools/export/OutputBuffer.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <string>
#include <sys/time.h>
#include <unistd.h>

namespace qztool {
namespace {

class OutputBufferTest : public testing::Test {
protected:
    OutputBufferTest() {
        std::signal(SIGPIPE, SIG_IGN);
        EXPECT_EQ(pipe2(d_pipe, O_CLOEXEC), 0);
    }
    ~OutputBufferTest() override {
        close(d_pipe[0]);
        close(d_pipe[1]);
    }
    std::string readAll() {
        close(d_pipe[1]);
        d_pipe[1] = -1;
        std::string text;
        char chunk[100];
        for (ssize_t count = 0; (count = read(d_pipe[0], chunk, sizeof chunk)) > 0;)
            text.append(chunk, static_cast<std::size_t>(count));
        return text;
    }

    int d_pipe[2] = {-1, -1};
    NeverStop d_stop;
};

TEST_F(OutputBufferTest, writesWhatDoesNotFitAndTheRestWhenFlushed) {
    OutputBuffer output(d_pipe[1], d_stop, 16);
    std::string expected;
    for (std::size_t size : {5, 5, 5, 5, 40, 1, 16, 3}) {
        std::string const text(size, static_cast<char>('a' + size % 26));
        expected += text;
        output.append(text);
    }
    output.flush();
    EXPECT_EQ(output.error(), 0);
    EXPECT_EQ(readAll(), expected);
}

TEST_F(OutputBufferTest, smallPiecesStayUntilFlushed) {
    OutputBuffer output(d_pipe[1], d_stop);
    output.append("text");
    EXPECT_EQ(fcntl(d_pipe[0], F_SETFL, O_NONBLOCK), 0);
    char byte = 0;
    EXPECT_EQ(read(d_pipe[0], &byte, 1), -1);
    output.flush();
    EXPECT_EQ(read(d_pipe[0], &byte, 1), 1);
}

TEST_F(OutputBufferTest, fullDiskIsAnErrorAndFurtherTextIsDropped) {
    int const full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    OutputBuffer output(full, d_stop, 16);
    EXPECT_TRUE(output.isWanted());
    output.append("some text");
    output.flush();
    EXPECT_EQ(output.error(), ENOSPC);
    EXPECT_TRUE(output.failed());
    EXPECT_FALSE(output.isWanted());
    output.append(std::string(100, 'x'));
    output.flush();
    EXPECT_EQ(output.error(), ENOSPC);
    close(full);
}

TEST_F(OutputBufferTest, readerThatLeftIsNoError) {
    close(d_pipe[0]);
    d_pipe[0] = -1;
    OutputBuffer output(d_pipe[1], d_stop);
    output.append("text");
    output.flush();
    EXPECT_TRUE(output.failed());
    EXPECT_EQ(output.error(), 0);
}

class StopWhenAsked : public NeverStop {
public:
    bool requested() override { return true; }
};

// A signal that comes while the reader does not read.
TEST_F(OutputBufferTest, requestToStopEndsAWriteThatWaits) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr);
    itimerval const soon = {{0, 50000}, {0, 50000}}; // again and again, as the first may come before the write
    setitimer(ITIMER_REAL, &soon, nullptr);
    StopWhenAsked stop;
    OutputBuffer output(d_pipe[1], stop);
    output.append(std::string(1 << 20, 'x')); // more than a pipe holds
    output.flush();
    itimerval const never = {};
    setitimer(ITIMER_REAL, &never, nullptr);
    EXPECT_TRUE(output.failed());
    EXPECT_EQ(output.error(), 0);
}

} // namespace
} // namespace qztool
