// Ages, raw values, words.
#include "tools/moments/DerivedSignals.h"

#include "qzsignal/signal/Conversion.h"

#include <ostream>
#include <string>

namespace qztool {

namespace {

// What all of them have in common: numbers without unit and scale, which only their definition changes.
class DerivedSignal : public BaseSignal {
public:
    DerivedSignal(std::string const& name, unsigned long long message) : BaseSignal(name.c_str(), "") {
        messageId = message;
    }

    char const* getUnit() const override { return ""; }
    double getScaleFactor() const override { return 1.0; }
    double getOffset() const override { return 0.0; }
    unsigned char getBits() const override { return 64; }
    signalValue_t getType() const override { return signalDouble; }
    bool read(unsigned long long& value, unsigned long long& timestamp) override {
        double number = 0.0;
        if (!read(number, timestamp))
            return false;
        value = qzsignal::truncated(number);
        return true;
    }
    bool read(double& phys, unsigned long long& timestamp) override = 0;
    bool write(unsigned long long /*value*/, unsigned long long /*timestamp*/) override { return false; }
    bool isModified() const override { return false; }
    void print(std::ostream& out) const override { out << instance; }
    void clear() override {}
};

class AgeSignal : public DerivedSignal {
public:
    AgeSignal(std::string const& name, BaseSignal& source, std::uint64_t const& now)
        : DerivedSignal(name, qzsignal::messageIdOf(source)), d_source(source), d_now(now) {}

    using DerivedSignal::read;
    bool read(double& phys, unsigned long long& timestamp) override {
        unsigned long long raw = 0;
        if (!d_source.read(raw, timestamp))
            return false;
        // Recorded time may step back, as at the seam of two recordings.
        phys = d_now > timestamp ? static_cast<double>(d_now - timestamp) / 1e6 : 0.0;
        return true;
    }

private:
    BaseSignal& d_source;
    std::uint64_t const& d_now;
};

class RawSignal : public DerivedSignal {
public:
    RawSignal(std::string const& name, BaseSignal& source)
        : DerivedSignal(name, qzsignal::messageIdOf(source)), d_source(source) {}

    using DerivedSignal::read;
    bool read(double& phys, unsigned long long& timestamp) override {
        unsigned long long raw = 0;
        if (!d_source.read(raw, timestamp))
            return false;
        phys = d_source.getType() == signalSigned ? static_cast<double>(static_cast<long long>(raw))
                                                  : static_cast<double>(raw);
        return true;
    }

private:
    BaseSignal& d_source;
};

class WordSignal : public DerivedSignal {
public:
    WordSignal(std::string const& name, double value) : DerivedSignal(name, 0), d_value(value) {}

    using DerivedSignal::read;
    bool read(double& phys, unsigned long long& timestamp) override {
        phys = d_value;
        timestamp = 0;
        return true;
    }

private:
    double d_value;
};

} // namespace

void DerivedSignals::add(DerivedName const& derived) {
    if (BaseSignal::getInstance(derived.name.c_str()) != nullptr)
        return;
    BaseSignal* const source = BaseSignal::getInstance(derived.signal.c_str());
    switch (derived.kind) {
    case DerivedName::Kind::Age:
        d_signals.push_back(std::make_unique<AgeSignal>(derived.name, *source, d_now));
        break;
    case DerivedName::Kind::Raw:
        d_signals.push_back(std::make_unique<RawSignal>(derived.name, *source));
        break;
    case DerivedName::Kind::Word:
        d_signals.push_back(std::make_unique<WordSignal>(derived.name, derived.value));
        break;
    }
}

} // namespace qztool
