// Both kinds of input signals against a plain model of them, through long random lives.
#include "qzsignal/input/InputSignal.h"
#include "qzsignal/input/InputSignalExt.h"
#include "tests/support/Capture.h"
#include "tests/support/InputMessages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

enum class Kind { Process, Shared };
enum class Source { Digital, Analog, Key, Other };

// One message: number is input, channel or key code.
struct Sent {
    Source d_source;
    std::int32_t d_number;
    std::uint16_t d_mask;
    unsigned long long d_value;
};

// The rules, expressed without tables and sums of tags: names are parsed, and keys are composed from digits.

// Which input a name follows; nothing for other names.
std::optional<std::pair<Source, int>> inputOf(std::string const& name) {
    auto const hasDigit = [&name](char last) { return name.size() == 4 && name[3] >= '0' && name[3] <= last; };
    if (name.rfind("DI.", 0) == 0 && hasDigit('4'))
        return std::make_pair(Source::Digital, name[3] - '0');
    if (name.rfind("AI.", 0) == 0 && hasDigit('9'))
        return std::make_pair(Source::Analog, name[3] - '0');
    if (name == "RC.TRG")
        return std::make_pair(Source::Key, 16);
    for (int number = 1; number <= 10; ++number)
        if (name == "RC.F" + std::to_string(number))
            return std::make_pair(Source::Key, number);
    return std::nullopt;
}

bool concerns(Sent const& sent, std::string const& name, Kind kind) {
    auto const input = inputOf(name);
    return input && *input == std::make_pair(sent.d_source, static_cast<int>(sent.d_number)) &&
           (kind == Kind::Shared || sent.d_source != Source::Digital || sent.d_mask == 1);
}

// Under what a name is filed; nothing if it is not.
std::optional<unsigned long long> keyOf(std::string const& name, Kind kind) {
    auto const input = inputOf(name);
    if (!input)
        return name.empty() && kind == Kind::Process ? std::make_optional(0ULL) : std::nullopt;
    char digits[17] = {};
    unsigned const number = static_cast<unsigned>(input->second);
    if (input->first == Source::Digital && kind == Kind::Process)
        std::snprintf(digits, sizeof digits, "08000000%04x0001", number);
    else
        std::snprintf(digits, sizeof digits, "%s%08x",
                      input->first == Source::Digital  ? "08000000"
                      : input->first == Source::Analog ? "04000000"
                                                       : "10000000",
                      number);
    return std::stoull(digits, nullptr, 16);
}

// What a signal holds.
struct State {
    bool d_used = false, d_modified = false;
    unsigned long long d_value = 0, d_timestamp = 0;

    void write(Kind kind, unsigned long long value, unsigned long long timestamp) {
        // In the process, the first value is compared with 0; in shared memory, it always counts.
        d_modified = value != d_value || (kind == Kind::Shared && !d_used);
        d_used = d_used || d_modified;
        d_value = value;
        if (d_modified || kind == Kind::Shared)
            d_timestamp = timestamp;
    }
};

// The signals that have been written since the last look, in this order.
std::vector<BaseSignal const*> written;

template <typename Base>
class Watched : public Base {
public:
    using Base::Base;
    bool write(unsigned long long raw, unsigned long long time) override {
        written.push_back(this);
        return Base::write(raw, time);
    }
};

std::unique_ptr<Watched<InputSignal>> build(std::string const& name, InputSignal*) {
    return std::make_unique<Watched<InputSignal>>(name.c_str());
}

std::unique_ptr<Watched<InputSignalExt>> build(std::string const& name, InputSignalExt*) {
    inputSignalDef_t definition;
    definition.instance = name;
    definition.startbit = 7;
    definition.bits = 64;
    definition.scale = 1;
    definition.endian = true;
    return std::make_unique<Watched<InputSignalExt>>(definition, false);
}

// Names in the registry, which both kinds share: a second signal of a name is reported, and takes the entry of the
// first one along.
std::set<std::string> registered;
// What standard error has to show.
std::string complaints;

template <typename Signal, Kind kind>
class Family {
public:
    void define(std::string const& name) {
        if (!registered.insert(name).second)
            complaints += "[WARNING] BaseSignal: signal " + name + " already exists\n";
        if (kind == Kind::Shared && !keyOf(name, kind))
            complaints += "[WARNING] InputSignalExt: " + name + " not found in predefined input lists, gpId = 0\n";
        d_members.push_back({name, build(name, static_cast<Signal*>(nullptr)), {}});
    }

    void destroy(std::size_t place) {
        registered.erase(d_members[place].d_name);
        d_members.erase(d_members.begin() + static_cast<std::ptrdiff_t>(place));
    }

    void clear(std::size_t place) {
        d_members[place].d_signal->clear();
        d_members[place].d_state = State();
        d_members[place].d_state.d_modified = kind == Kind::Shared;
    }

    void write(std::size_t place, unsigned long long value, unsigned long long timestamp) {
        Member& member = d_members[place];
        EXPECT_TRUE(member.d_signal->write(value, timestamp));
        member.d_state.write(kind, value, timestamp);
        written.clear();
    }

    template <typename Message>
    void send(Message const& message, Sent const& sent) {
        std::vector<BaseSignal const*> expected;
        unsigned long long key = 0;
        for (Member& member : d_members)
            if (concerns(sent, member.d_name, kind)) {
                expected.push_back(member.d_signal.get());
                key = *keyOf(member.d_name, kind);
                member.d_state.write(kind, sent.d_value, message.timestamp);
            }
        EXPECT_EQ(Signal::decodeMessage(message), key);
        EXPECT_EQ(written, expected);
        written.clear();
    }

    // Source::Other: a record of something else, or without its mark.
    void filter(InputRecord const& record, Source source, std::uint8_t number, std::uint8_t mask) {
        bool expected = false;
        for (Member const& member : d_members)
            expected = expected || (source == Source::Key ? member.d_name == "RC.F7"
                                                          : concerns({source, number, mask, 0}, member.d_name, kind));
        EXPECT_EQ(Signal::signalsInUse(record.data(), record.data() + record.size()), expected);
    }

    void compare() {
        std::map<unsigned long long, std::vector<Signal*>> expected;
        for (Member& member : d_members) {
            if (auto const key = keyOf(member.d_name, kind))
                expected[*key].push_back(member.d_signal.get());
            unsigned long long value = 0xdead, timestamp = 0xbeef;
            State const& state = member.d_state;
            EXPECT_EQ(member.d_signal->read(value, timestamp), state.d_used);
            EXPECT_EQ(value, state.d_used ? state.d_value : 0xdead);
            EXPECT_EQ(timestamp, state.d_used ? state.d_timestamp : 0xbeef);
            EXPECT_EQ(member.d_signal->isModified(), state.d_modified);
        }
        EXPECT_EQ(Signal::inputContainer, expected);
    }

    std::size_t size() const { return d_members.size(); }

private:
    struct Member {
        std::string d_name;
        std::unique_ptr<Watched<Signal>> d_signal;
        State d_state;
    };
    std::vector<Member> d_members; // in order of construction
};

class Life {
public:
    explicit Life(unsigned seed) : d_random(seed) {}

    void step() {
        ++d_time;
        switch (below(8)) {
        case 0:
        case 1:
            define();
            break;
        case 2:
            // Half of the signals, so that there are some most of the time and none now and then.
            for (std::size_t i = d_process.size() / 2; i > 0; --i)
                d_process.destroy(below(d_process.size()));
            for (std::size_t i = (d_shared.size() + 1) / 2; i > 0; --i)
                d_shared.destroy(below(d_shared.size()));
            break;
        case 3:
            touch(d_process);
            touch(d_shared);
            break;
        case 4:
            filter();
            break;
        default:
            send();
        }
        d_process.compare();
        d_shared.compare();
    }

    void end() {
        while (d_process.size() != 0)
            d_process.destroy(below(d_process.size()));
        while (d_shared.size() != 0)
            d_shared.destroy(below(d_shared.size()));
        d_process.compare();
        d_shared.compare();
    }

private:
    // The same numbers everywhere, which the library's distributions do not promise.
    unsigned below(std::size_t limit) { return static_cast<unsigned>(d_random() % limit); }

    void define() {
        static char const* const names[] = {"DI.0",  "DI.1",  "DI.4",   "DI.5",   "AI.0",  "AI.1", "AI.9",
                                            "AI.10", "RC.F1", "RC.F10", "RC.TRG", "RC.F7", "",     "di.0"};
        std::string const name = names[below(std::size(names))];
        if (below(2) == 0)
            d_process.define(name);
        else
            d_shared.define(name);
    }

    template <typename Family>
    void touch(Family& family) {
        if (family.size() == 0)
            return;
        if (below(4) == 0)
            family.clear(below(family.size()));
        else
            family.write(below(family.size()), below(3), d_time);
    }

    void send() {
        static constexpr std::int32_t values[] = {0, 1, 2, -5, INT32_MIN, INT32_MAX};
        static constexpr std::int32_t codes[] = {-1, 0, 1, 7, 10, 11, 16};
        static constexpr std::uint16_t numbers[] = {0, 1, 4, 9, 10, 65535};
        static constexpr std::uint16_t masks[] = {0, 1, 1, 1, 3, 65535};
        std::int32_t const value = values[below(std::size(values))];
        auto const wide = static_cast<unsigned long long>(static_cast<long long>(value));
        std::uint16_t const number = numbers[below(std::size(numbers))];
        switch (below(3)) {
        case 0: {
            std::int32_t const code = codes[below(std::size(codes))];
            sendToBoth(keyMessage(code, value, d_time), {Source::Key, code, 0, wide});
            break;
        }
        case 1: {
            AnalogTraceMessage message = analogMessage(number, value, d_time);
            message.entries.push_back(analogEntry(1, 99));
            if (below(4) != 0)
                return sendToBoth(message, {Source::Analog, number, 0, wide});
            message.entries.clear();
            sendToBoth(message, {Source::Analog, 0, 0, 0});
            break;
        }
        default:
            std::uint16_t const mask = masks[below(std::size(masks))];
            auto const levels = static_cast<std::uint16_t>(below(65536));
            GpioTraceMessage message = gpioMessage(number, mask, levels, d_time);
            message.entries.push_back(gpioEntry(1, 1, 1));
            if (below(4) != 0)
                return sendToBoth(message, {Source::Digital, number, mask, 0ULL + (levels & mask)});
            message.entries.clear();
            sendToBoth(message, {Source::Digital, 0, 0, 0});
        }
    }

    template <typename Message>
    void sendToBoth(Message const& message, Sent const& sent) {
        d_process.send(message, sent);
        d_shared.send(message, sent);
    }

    void filter() {
        static constexpr struct {
            std::uint16_t type;
            Source source;
        } types[] = {{0x12, Source::Analog}, {0x13, Source::Digital}, {0x8031, Source::Key}, {0x14, Source::Other}};
        auto const& type = types[below(std::size(types))];
        auto const number = static_cast<std::uint8_t>(below(12));
        auto const mask = static_cast<std::uint8_t>(below(4));
        auto const mark = static_cast<std::uint8_t>(below(4) != 0 ? 1 : 2);
        InputRecord const record = inputRecord(type.type, number, mask, mark);
        Source const source = mark == 1 || type.source == Source::Key ? type.source : Source::Other;
        d_process.filter(record, source, number, mask);
        d_shared.filter(record, source, number, mask);
    }

    std::mt19937 d_random;
    unsigned long long d_time = 1000;
    Family<InputSignal, Kind::Process> d_process;
    Family<InputSignalExt, Kind::Shared> d_shared;
};

TEST(InputModelTest, signalsDoWhatTheModelDoes) {
    // Few enough for an emulator, and many enough to meet every name and message several times.
    constexpr unsigned steps = 1500;
    for (unsigned seed = 1; seed <= 4; ++seed) {
        Capture errors(std::cerr);
        Life life(seed);
        for (unsigned step = 0; step < steps; ++step) {
            SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
            life.step();
            EXPECT_EQ(errors.take(), std::exchange(complaints, ""));
            if (testing::Test::HasFailure())
                return;
        }
        life.end();
        EXPECT_EQ(errors.take(), std::exchange(complaints, ""));
        EXPECT_TRUE(BaseSignal::instances.empty());
    }
}

} // namespace
