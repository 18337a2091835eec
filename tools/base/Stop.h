// How a caller ends work that takes long or waits for input.
#pragma once

namespace qztool {

// Owned by the caller of that work.
class Stop {
public:
    virtual ~Stop() = default;

    // True once the work is to end. Asked often.
    virtual bool requested() = 0;
    // Waits until reading the descriptor would return something, be it an error. False if the wait was interrupted, as
    // by a request to stop.
    virtual bool awaitInput(int descriptor) = 0;
};

// For work that goes on to its end.
class NeverStop : public Stop {
public:
    bool requested() override { return false; }
    bool awaitInput(int) override { return true; } // reading waits by itself
};

} // namespace qztool
