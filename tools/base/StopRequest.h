// Lets SIGINT, SIGTERM and SIGHUP (the terminal is gone) end the process in order.
#pragma once

#include "tools/base/Stop.h"

namespace qztool {

// From now on, the signals only leave a note, and end what the process waits for.
void noteStopRequests();

// The same as one of them, from any thread.
void requestStop();

bool stopRequested();

// Sleeps this long, or until a stop is requested.
void pauseUnlessStopped(double seconds);

// Waits until a read of the descriptor has something to return, be it an error. False if a stop is requested, before or
// meanwhile, or if any signal comes meanwhile.
bool awaitInput(int descriptor);

// The same for code that does not know where requests come from.
class SignalStop : public Stop {
public:
    bool requested() override { return stopRequested(); }
    bool awaitInput(int descriptor) override { return qztool::awaitInput(descriptor); }
};

} // namespace qztool
