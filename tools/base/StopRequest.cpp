// Signal handlers that set a flag.
#include "tools/base/StopRequest.h"

#include <csignal>

namespace qztool {

namespace {

volatile std::sig_atomic_t stopReceived = 0;

void noteStop(int) {
    stopReceived = 1;
}

void handle(void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler; // without SA_RESTART: a wait for input is to end
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

} // namespace

StopRequest::StopRequest() {
    stopReceived = 0;
    handle(noteStop);
}

StopRequest::~StopRequest() {
    handle(SIG_DFL);
}

bool StopRequest::received() {
    return stopReceived != 0;
}

} // namespace qztool
