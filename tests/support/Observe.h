// A signal as a test sees it from outside: its printed form, its raw value, and what was written to it.
#pragma once

#include "qzsignal/signal/BaseSignal.h"

#include <sstream>
#include <string>
#include <vector>

template <typename Value>
std::string printed(Value const& value) {
    std::ostringstream out;
    out << value;
    return out.str();
}

// As in printed forms and debug lines.
inline std::string address(void const* pointer) {
    return printed(pointer);
}

// 0xdead if the signal was never written.
inline unsigned long long valueOf(BaseSignal& signal) {
    unsigned long long value = 0xdead, timestamp = 0;
    signal.read(value, timestamp);
    return value;
}

// One call of a signal's `write`.
struct Written {
    BaseSignal const* d_signal;
    unsigned long long d_raw;
    unsigned long long d_timestamp;

    bool operator==(Written const& other) const {
        return d_signal == other.d_signal && d_raw == other.d_raw && d_timestamp == other.d_timestamp;
    }
};

// A signal that records each payload in a list before it stores it.
template <typename Signal>
class Noting : public Signal {
public:
    template <typename Definition>
    Noting(Definition const& definition, std::vector<Written>& written)
        : Signal(definition, false), d_written(written) {}

    bool write(unsigned long long raw, unsigned long long timestamp) override {
        d_written.push_back({this, raw, timestamp});
        return Signal::write(raw, timestamp);
    }

    using Signal::messageId;

private:
    std::vector<Written>& d_written;
};
