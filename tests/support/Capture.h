// Collects what the code under test writes to a standard stream.
#pragma once

#include <iostream>
#include <sstream>
#include <string>

// Redirects one C++ standard stream from construction to destruction, and resets its format on both occasions: printed
// forms leave number base and fill character as they set them, which must not reach from one test into the next.
class Capture {
public:
    explicit Capture(std::ostream& stream) : d_stream(stream), d_original(stream.rdbuf(d_text.rdbuf())) {
        d_stream.copyfmt(std::ios(nullptr));
    }
    ~Capture() {
        d_stream.rdbuf(d_original);
        d_stream.copyfmt(std::ios(nullptr));
    }
    Capture(Capture const&) = delete;
    Capture& operator=(Capture const&) = delete;

    std::string text() const { return d_text.str(); }

    // The text so far, which is then forgotten.
    std::string take() {
        std::string const taken = d_text.str();
        d_text.str("");
        return taken;
    }

private:
    std::ostringstream d_text;
    std::ostream& d_stream;
    std::streambuf* d_original;
};
