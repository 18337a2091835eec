// Lets SIGINT, SIGTERM and SIGHUP (the terminal is gone) end the process in order.
#pragma once

namespace qztool {

// From now on, the signals only leave a note, and interrupt what the process waits for.
void noteStopRequests();

bool stopRequested();

// Sleeps this long, or until a stop is requested.
void pauseUnlessStopped(double seconds);

} // namespace qztool
