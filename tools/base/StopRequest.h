// Lets SIGINT and SIGTERM end the process in order.
#pragma once

namespace qztool {

// While one of these exists, the two signals only leave a note, and interrupt what the process waits for.
class StopRequest {
public:
    StopRequest();
    ~StopRequest();
    StopRequest(StopRequest const&) = delete;
    StopRequest& operator=(StopRequest const&) = delete;

    static bool received();
};

} // namespace qztool
