// Signals for expressions in tests: values set directly, and inputs that expressions create cleaned up.
#pragma once

#include "qzsignal/signal/BaseSignal.h"

#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

// A signal with whatever value a test gives it; none at first.
class TestValue : public BaseSignal {
public:
    explicit TestValue(std::string const& name) : BaseSignal(name.c_str(), "") {}

    std::optional<double> d_value;
    unsigned long long d_timestamp = 0;

    using BaseSignal::messageId;

    char const* getUnit() const override { return ""; }
    double getScaleFactor() const override { return 1.0; }
    double getOffset() const override { return 0.0; }
    unsigned char getBits() const override { return 64; }
    signalValue_t getType() const override { return signalDouble; }
    bool read(double& value, unsigned long long& timestamp) override {
        if (!d_value)
            return false;
        value = *d_value;
        timestamp = d_timestamp;
        return true;
    }
    bool read(unsigned long long& value, unsigned long long& timestamp) override {
        double physical = 0.0;
        if (!read(physical, timestamp))
            return false;
        std::memcpy(&value, &physical, sizeof value);
        return true;
    }
    bool write(unsigned long long value, unsigned long long timestamp) override {
        double physical = 0.0;
        std::memcpy(&physical, &value, sizeof physical);
        d_value = physical;
        d_timestamp = timestamp;
        return true;
    }
    bool isModified() const override { return false; }
    void print(std::ostream& out) const override { out << instance; }
    void clear() override { d_value.reset(); }
};

// All signals of a test. With its own it destroys the inputs that expressions have created for unknown names, which
// have no owner. No expression may be evaluated afterwards.
class TestSignals {
public:
    TestSignals() = default;
    explicit TestSignals(std::vector<std::string> const& names) {
        for (std::string const& name : names)
            (*this)[name];
    }
    ~TestSignals() { destroyInputs(); }
    TestSignals(TestSignals const&) = delete;
    TestSignals& operator=(TestSignals const&) = delete;

    // The signal of this name, made if it is not there.
    TestValue& operator[](std::string const& name) {
        std::unique_ptr<TestValue>& signal = d_signals[name];
        if (!signal)
            signal = std::make_unique<TestValue>(name);
        return *signal;
    }

    std::optional<double> value(std::string const& name) const {
        auto const found = d_signals.find(name);
        return found != d_signals.end() ? found->second->d_value : std::nullopt;
    }

    void destroyInputs() {
        for (auto next = BaseSignal::instances.begin(); next != BaseSignal::instances.end();) {
            auto const each = next++;
            if (d_signals.count(each->first) == 0)
                delete each->second;
        }
    }

private:
    std::map<std::string, std::unique_ptr<TestValue>> d_signals;
};
