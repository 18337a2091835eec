// Diagnostic lines, whole and on time.
#include "qzsignal/signal/Diagnostics.h"

#include "tests/support/Capture.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

namespace qzsignal {
namespace {

TEST(Diagnostics, widthOfTheStreamIsNotApplied) {
    Capture output(std::cout);
    std::cout.width(60);
    std::cout.fill('#');
    debugLine("text");
    EXPECT_EQ(output.text(), "[DEBUG] text\n");
}

TEST(Diagnostics, formatOfTheStreamNeitherShowsNorChanges) {
    Capture output(std::cout);
    std::cout << std::hex << std::showbase;
    debugLine("number ", 255, std::oct, " ", 8);
    EXPECT_EQ(output.take(), "[DEBUG] number 255 10\n");
    std::cout << 255;
    EXPECT_EQ(output.take(), "0xff");
}

TEST(Diagnostics, linesDoNotWaitInTheStream) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    pid_t const child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        debugLine("text");
        _exit(0);
    }
    close(ends[1]);
    char text[64] = {};
    ssize_t const got = read(ends[0], text, sizeof text);
    waitpid(child, nullptr, 0);
    close(ends[0]);
    EXPECT_EQ(std::string(text, got > 0 ? static_cast<std::size_t>(got) : 0), "[DEBUG] text\n");
}

} // namespace
} // namespace qzsignal
