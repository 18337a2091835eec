// Collects what the code under test writes to a standard stream.
#pragma once

#include <functional>
#include <iostream>
#include <sstream>
#include <string>
#include <utility>

// Redirects one C++ standard stream from construction to destruction, and resets its format on both occasions: printed
// forms leave number base and fill character as they set them, which must not reach from one test into the next.
class Capture {
public:
    // `flushed` is called after each line that the library prints, as it flushes each.
    explicit Capture(std::ostream& stream, std::function<void()> flushed = nullptr)
        : d_text(std::move(flushed)), d_stream(stream), d_original(stream.rdbuf(&d_text)) {
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
    class Text : public std::stringbuf {
    public:
        explicit Text(std::function<void()> flushed) : d_flushed(std::move(flushed)) {}

    protected:
        int sync() override {
            if (d_flushed)
                d_flushed();
            return 0;
        }

    private:
        std::function<void()> d_flushed;
    };

    Text d_text;
    std::ostream& d_stream;
    std::streambuf* d_original;
};
