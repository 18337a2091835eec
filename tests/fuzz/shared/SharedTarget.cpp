// Fuzz target: any bytes as a shared record that a signal attaches to, reads, prints and writes, that the command
// reads, and that a definer takes over; held against the records as their page describes them.
#include "tests/fuzz/Expect.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/shared/CANModel.h"
#include "tests/fuzz/shared/Segment.h"
#include "tests/fuzz/shared/ShmModel.h"
#include "tests/support/Capture.h"
#include "tools/base/Numbers.h"
#include "tools/base/Printable.h"
#include "tools/machine/StateJson.h"

#include <cerrno>
#include <deque>
#include <thread>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace {

// Every operation of an input costs some calls of the system.
constexpr std::size_t longestInput = 600;

// States of a record's lock. A process that may write a mutex may keep all others from the record, for as long as it
// likes: the library does not promise otherwise. So a mutex that looks like one is only in states that mutexes come
// into, and of one that is held, nothing but `tryLock` is asked, since all else waits.
enum class Lock : std::uint8_t {
    Free,  // robust, as definers make it
    Plain, // zeros
    Dead,  // its owner died
    Lost,  // the next owner did not put it in order
    Held,  // by this process
    None,  // no mutex at all, so that readers wait for one
    Count
};

// As definers make it.
void makeMutex(pthread_mutex_t& mutex) {
    static ShmProbe const signal(plainDefinition("mutex"), false);
    std::memcpy(&mutex, &signal.d_localData.mutex, sizeof mutex); // not used by any process
}

void holdUntilDeath(pthread_mutex_t& mutex) {
    std::thread([&mutex] { pthread_mutex_trylock(&mutex); }).join();
}

// False under user-mode emulators: a mutex whose owner died stays locked there.
bool deathsAreNoticed() {
    static bool const areNoticed = [] {
        pthread_mutex_t mutex;
        makeMutex(mutex);
        holdUntilDeath(mutex);
        if (pthread_mutex_trylock(&mutex) != EOWNERDEAD)
            return false;
        pthread_mutex_consistent(&mutex);
        pthread_mutex_unlock(&mutex);
        return true;
    }();
    return areNoticed;
}

// Puts a new mutex into that state, or into `Free` where deaths are not noticed. Returns its state.
Lock make(pthread_mutex_t& mutex, Lock lock) {
    if ((lock == Lock::Dead || lock == Lock::Lost) && !deathsAreNoticed())
        lock = Lock::Free;
    makeMutex(mutex);
    switch (lock) {
    case Lock::Plain:
        std::memset(&mutex, 0, sizeof mutex);
        break;
    case Lock::Held:
        pthread_mutex_trylock(&mutex);
        break;
    case Lock::None:
        std::memset(&mutex, 0x60, sizeof mutex);
        break;
    case Lock::Dead:
        holdUntilDeath(mutex);
        break;
    case Lock::Lost:
        holdUntilDeath(mutex);
        pthread_mutex_trylock(&mutex);
        pthread_mutex_unlock(&mutex);
        break;
    default:
        break;
    }
    return lock;
}

std::string bitsText(double number) {
    return std::isnan(number) ? "nan" : std::to_string(bitsOf(number));
}

template <typename Model>
class Session {
public:
    using Record = typename Model::Record;
    using Signal = typename Model::Signal;

    Session(Segment& segment, Input& input)
        : d_segment(segment), d_input(input), d_shared(*static_cast<Record*>(segment.begin())) {
        segment.fill();
        Model::fill(d_shared, input);
        auto const size = input.take<std::uint8_t>();
        d_shared.size = size == 0   ? static_cast<std::uint32_t>(sizeof(Record))
                        : size == 1 ? static_cast<std::uint32_t>(sizeof(typename ShmModel::Record))
                        : size == 2 ? static_cast<std::uint32_t>(sizeof(typename CANModel::Record))
                                    : input.take<std::uint32_t>();
        auto const lock = static_cast<Lock>(input.take<std::uint8_t>() % static_cast<unsigned>(Lock::Count));
        d_lock = make(d_shared.mutex, lock);
        take();
    }

    void run() {
        if (d_lock == Lock::Held)
            return find();
        Capture const errors(std::cerr);
        Signal signal(d_segment.name().c_str());
        attach();
        while (d_input.left() != 0) {
            operate(signal, d_input.take<char>());
            compare();
        }
    }

private:
    // What is in the segment is what is to be there.
    void take() { std::memcpy(&d_expected, &d_shared, sizeof(Record)); }

    bool isThere() const {
        return d_segment.size() >= sizeof(Record) && d_expected.size == sizeof(Record) && d_lock != Lock::None;
    }

    bool attach() {
        if (!d_attached && isThere()) {
            d_attached = true;
            d_layout = Model::layout(d_expected);
        }
        return d_attached;
    }

    void lock(ReferenceLayout& layout) {
        if (d_lock == Lock::Dead)
            Model::settle(d_expected, layout);
        if (d_lock != Lock::Plain)
            d_lock = Lock::Free; // one that was lost is made again as well
    }

    void compare() {
        Record found;
        std::memcpy(&found, &d_shared, sizeof found);
        Model::forgive(found, d_expected);
        std::memcpy(&d_expected.mutex, &found.mutex, sizeof found.mutex);
        auto const* const bytes = reinterpret_cast<unsigned char const*>(&found);
        auto const* const expected = reinterpret_cast<unsigned char const*>(&d_expected);
        if (std::memcmp(&found, &d_expected, sizeof found) != 0) {
            auto const place = std::mismatch(bytes, bytes + sizeof found, expected);
            expect(false, "record", "byte " + std::to_string(place.first - bytes), std::to_string(*place.first),
                   std::to_string(*place.second));
        }
        expect(d_segment.isGarbageBehind(d_end), "bytes behind the record");
    }

    void operate(Signal& signal, char operation) {
        switch (operation) {
        case 'r':
            return read(signal);
        case 'd':
            return readPhysical(signal);
        case 'w':
            return write(signal);
        case 'p':
            return print(signal);
        case 'c':
            return clear(signal);
        case 't':
            return askForTimeout(signal);
        case 's':
            return show();
        case 'o':
            Model::fill(d_shared, d_input); // another process
            return take();
        case 'k':
            d_lock = make(d_shared.mutex, Lock::Dead);
            return;
        case 'n':
            return define();
        }
    }

    // The lock is held, for as long as it takes.
    void find() {
        {
            Capture const errors(std::cerr);
            Signal signal(d_segment.name().c_str());
            if (attach()) {
                expect(!signal.tryLock(), "a held lock");
                print(signal);
            }
        }
        pthread_mutex_unlock(&d_shared.mutex);
        compare();
    }

    void read(Signal& signal) {
        unsigned long long value = 17, time = 18;
        Reading expected;
        bool const there = signal.read(value, time);
        if (attach()) {
            lock(d_layout);
            expected = Model::read(d_expected, d_layout);
        }
        expectReading(there, time, expected);
        expectEqual(std::to_string(value), std::to_string(expected.d_sets ? expected.d_value : 17), "value");
    }

    void readPhysical(Signal& signal) {
        double physical = 17, expectedPhysical = 17;
        unsigned long long time = 18;
        Reading expected;
        bool const there = signal.read(physical, time);
        if (attach()) {
            lock(d_layout);
            expected = Model::readPhysical(d_expected, d_layout, expectedPhysical);
        }
        expectReading(there, time, expected);
        expectEqual(bitsText(physical), bitsText(expectedPhysical), "physical value");
    }

    static void expectReading(bool there, unsigned long long time, Reading const& expected) {
        expect(there == expected.d_there, "there", std::to_string(there));
        expectEqual(std::to_string(time), std::to_string(expected.d_sets ? expected.d_time : 18), "time");
    }

    void write(Signal& signal) {
        auto const payload = d_input.take<std::uint64_t>();
        auto const time = d_input.take<std::uint64_t>();
        bool const written =
            signal.write(static_cast<unsigned long long>(payload), static_cast<unsigned long long>(time));
        expect(written == attach(), "written");
        if (!written)
            return;
        lock(d_layout);
        bool const modified = Model::write(d_expected, d_layout, payload, time);
        expect(signal.isModified() == modified, "modified");
    }

    // None of these takes the lock.
    void print(Signal& signal) {
        if (!d_attached)
            return;
        Model::print(signal, d_expected);
        expect(signal.getBits() == d_expected.bits, "bits");
        expectEqual(bitsText(signal.getScaleFactor()), bitsText(d_expected.scale), "scale");
        expectEqual(bitsText(signal.getOffset()), bitsText(d_expected.offset), "offset");
        // Callers get the field itself, and have to rely on its end.
        if (text(d_expected.unit).size() < sizeof d_expected.unit)
            expectEqual(signal.getUnit(), text(d_expected.unit), "unit");
    }

    void clear(Signal& signal) {
        if (!d_attached)
            return;
        signal.clear();
        Model::clear(d_expected);
    }

    void askForTimeout(Signal& signal) {
        auto const time = d_input.take<std::uint64_t>();
        BaseSignal::instances = {{d_segment.name(), &signal}}; // the one and only
        std::vector<unsigned long long> silent;
        BaseSignal::checkTimeout(time, silent);
        Reading expected;
        if (attach()) {
            lock(d_layout);
            expected = Model::read(d_expected, d_layout);
        }
        expect((silent.size() == 1) == (expected.d_there && expected.d_time < time), "silent");
    }

    // What the command makes of it.
    void show() {
        BaseSignal::instances.clear();
        auto const state = qztool::readSignal(d_segment.name());
        if (state)
            expectPrintable(*state);
        if (!isThere()) {
            // It may look like one of the other family.
            d_end = std::max(sizeof(typename ShmModel::Record), sizeof(typename CANModel::Record));
            if (state && d_lock != Lock::Plain)
                d_lock = Lock::Free;
            return take();
        }
        expect(state.has_value(), "state");
        expectEqual(state->signal, Model::name(d_segment.name(), d_expected), "name");
        expectEqual(state->unit, text(d_expected.unit), "unit");
        expect(static_cast<int>(state->type) == static_cast<int>(d_expected.type) && !state->locked, "type");
        ReferenceLayout layout = Model::layout(d_expected);
        lock(layout);
        double physical = 0;
        Record seen = d_expected; // which looking does not change
        Reading const expected = Model::readPhysical(seen, layout, physical);
        expect(state->value.has_value() == expected.d_there, "value there");
        if (!state->value)
            return;
        expectEqual(bitsText(state->value->physical), bitsText(physical), "shown physical value");
        expectEqual(std::to_string(state->value->raw), std::to_string(expected.d_value), "shown value");
        expectEqual(std::to_string(state->value->timestamp), std::to_string(expected.d_time), "shown time");
    }

    static void expectPrintable(qztool::SignalState const& state) {
        expect(nlohmann::json::accept(qztool::jsonText(qztool::toJson(state))), "JSON", state.unit);
        std::string const unit = qztool::printable(state.unit);
        expect(std::none_of(unit.begin(), unit.end(), qztool::isControlCharacter), "printable unit", state.unit);
        if (state.value)
            expect(!qztool::numberText(state.value->physical).empty() &&
                       !qztool::rawText(state.value->raw, state.type).empty(),
                   "texts of numbers");
    }

    // A definer that ends in disorder, and so leaves its record. The mutex that it finds may be anything at all
    // that no process holds: the first bytes name the holder, on Linux.
    void define() {
        BaseSignal::instances.clear();
        if (d_input.take<std::uint8_t>() % 2 != 0) {
            unsigned char bytes[sizeof(pthread_mutex_t)] = {};
            for (std::size_t i = sizeof(int); i < sizeof bytes; ++i)
                bytes[i] = d_input.take<std::uint8_t>();
            std::memcpy(&d_shared.mutex, bytes, sizeof bytes);
        }
        typename Model::Definition const definition = Model::definition(d_segment.name(), d_input);
        Signal definer(definition, true);
        definer.d_owner = false;
        bool const fits = d_segment.size() >= sizeof(Record);
        expect((definer.d_data != &definer.d_localData) == fits, "a record that is defined");
        if (!fits)
            return;
        Model::define(d_expected, definition);
        d_expected.size = sizeof(Record);
        d_lock = Lock::Free;
        expect(definer.tryLock(), "the lock of a definer");
        definer.unlock();
    }

    Segment& d_segment;
    Input& d_input;
    Record& d_shared;
    Record d_expected;
    std::size_t d_end = sizeof(Record); // nothing is written past it
    Lock d_lock = Lock::Free;
    bool d_attached = false;
    ReferenceLayout d_layout;
};

// One of each size that makes a difference; the inputs take turns.
Segment& segment(unsigned number) {
    static std::deque<Segment> segments;
    if (segments.empty())
        for (std::size_t const size : {sizeof(ShmModel::Record), sizeof(CANModel::Record), std::size_t{8192},
                                       std::size_t{1}, sizeof(std::uint32_t), sizeof(CANModel::Record) - 1})
            segments.emplace_back(size);
    return segments[number % segments.size()];
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size > longestInput)
        return 0;
    Input input(data, size);
    bool const isShm = input.take<std::uint8_t>() % 2 == 0;
    Segment& chosen = segment(input.take<std::uint8_t>());
    if (isShm)
        Session<ShmModel>(chosen, input).run();
    else
        Session<CANModel>(chosen, input).run();
    return 0;
}
