// Random FlexRay definitions, destructions, messages and records against a plain model of what they do.
#include "tests/support/Capture.h"
#include "tests/support/FlexRayFixture.h"
#include "tests/support/Naive.h"
#include "tests/support/Observe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <map>
#include <memory>

namespace {

constexpr unsigned long long tag = 0x2000000000000000;
constexpr unsigned cells = 64 * 2048 * 4;

// The model's state of a signal.
struct Item {
    flexRaySignalDef_t d_definition;
    unsigned d_id = 0;
    std::unique_ptr<Noting<FlexRaySignal>> d_signal;
    bool d_written = false;
    unsigned long long d_value = 0;
    unsigned long long d_timestamp = 0;
};

// Bits from the signal's first payload byte to its last, as they are counted for the copy.
unsigned bytesOf(flexRaySignalDef_t const& definition) {
    unsigned const inFirst = definition.startbit % 8;
    if (!definition.endian)
        return (inFirst + definition.bits + 7) / 8;
    // One byte for the bits down to bit 1 of the first byte, and as many as it takes for the rest, counted generously.
    return definition.bits <= inFirst ? 1 : 1 + (definition.bits - inFirst + 7) / 8;
}

class FlexRayModel {
public:
    explicit FlexRayModel(unsigned seed) : d_random(seed) {}

    void step() {
        // Now and then most of the signals go, so that the table does, too.
        if (d_random.below(200) == 0)
            while (d_items.size() > d_random.below(2))
                destroy();
        unsigned const choice = d_random.below(12);
        if (choice < 2)
            define();
        else if (choice < 3)
            destroy();
        else if (choice < 6)
            preFilter();
        else
            message();
        check();
    }

    // Compares every cell.
    void checkTable() const {
        if (FlexRaySignal::frIdArray == nullptr)
            return;
        std::vector<std::uint16_t> expected(cells);
        for (auto const& [cell, id] : d_ids)
            expected[cell] = static_cast<std::uint16_t>(id);
        auto const difference = std::mismatch(expected.begin(), expected.end(), FlexRaySignal::frIdArray);
        EXPECT_EQ(difference.first, expected.end()) << "cell " << difference.first - expected.begin();
    }

    unsigned delivered() const { return d_delivered; }
    unsigned accepted() const { return d_accepted; }
    unsigned joined() const { return d_joined; }
    unsigned outside() const { return d_outside; }
    unsigned tables() const { return d_tables; }

private:
    // Few enough to meet often, with some that lead into other cycles and channels, or out of the table.
    std::uint8_t channel() { return d_random.oneOf<std::uint8_t>({0, 0, 0, 1, 1, 3, 4}); }
    std::uint16_t slot() { return d_random.oneOf<std::uint16_t>({5, 5, 5, 6, 6, 2047, 2053, 65535}); }
    std::uint8_t cycle() {
        return static_cast<std::uint8_t>(d_random.below(8) != 0 ? d_random.below(8) : 60 + d_random.below(12));
    }

    unsigned idAt(unsigned cell) const {
        auto const entry = d_ids.find(cell);
        return entry != d_ids.end() ? entry->second : 0;
    }

    void define() {
        if (d_items.size() >= 24)
            return;
        Item item;
        flexRaySignalDef_t& definition = item.d_definition;
        definition = flexRayDefinition("signal " + std::to_string(d_count++), channel(), slot(), cycle(),
                                       d_random.oneOf<std::uint8_t>({0, 1, 2, 2, 4, 8, 16, 64, 255}));
        randomField(d_random, definition, 8 * 24);
        d_tables += d_items.empty();

        unsigned const base = definition.channel * 131072U + definition.slot;
        item.d_id = idAt(base + definition.baseCycle * 2048U);
        d_joined += item.d_id != 0;
        if (item.d_id == 0) {
            for (Item const& other : d_items)
                item.d_id = std::max(item.d_id, other.d_id);
            ++item.d_id;
            for (unsigned y = definition.baseCycle; y <= 63; ++y)
                if (definition.repetition == 0 || (y - definition.baseCycle) % definition.repetition == 0)
                    if (base + y * 2048 < cells)
                        d_ids[base + y * 2048] = item.d_id;
        }
        item.d_signal = std::make_unique<Noting<FlexRaySignal>>(definition, d_written);
        EXPECT_EQ(item.d_signal->messageId, tag + item.d_id);
        d_items.push_back(std::move(item));
    }

    void destroy() {
        if (!d_items.empty())
            d_items.erase(std::next(d_items.begin(), static_cast<long>(d_random.below(d_items.size()))));
        if (d_items.empty())
            d_ids.clear();
    }

    void preFilter() {
        unsigned const c = channel(), y = cycle(), s = slot();
        FlexRayRecord const bytes =
            flexRayRecord(static_cast<std::uint8_t>(c), static_cast<std::uint8_t>(y), static_cast<std::uint16_t>(s));
        std::size_t const length = d_random.below(2) == 0 ? bytes.size() : d_random.below(bytes.size() + 1);
        bool const expected = length >= 20 && !d_items.empty() && idAt(c * 131072 + y * 2048 + s) != 0;
        d_accepted += expected;
        EXPECT_EQ(FlexRaySignal::signalsInUse(bytes.data(), bytes.data() + length), expected);
    }

    void message() {
        FlexRayExtTraceMessage message = flexRayFrame(channel(), cycle(), slot());
        message.timestamp = d_random.number();
        message.payload.resize(d_random.below(40));
        for (unsigned char& byte : message.payload)
            byte = static_cast<unsigned char>(d_random.below(256));

        unsigned const cell = message.channel * 131072U + message.cycle * 2048U + message.slot;
        unsigned const id = idAt(cell);
        d_outside += cell >= cells;
        std::vector<Written> expected;
        for (Item& item : d_items) {
            if (id == 0 || item.d_id != id || message.payload.size() < 2)
                continue;
            flexRaySignalDef_t field = item.d_definition;
            std::vector<unsigned char> copy; // byte by byte, up to eight, as long as there are any
            for (unsigned i = 0; i < std::min(bytesOf(field), 8U); ++i)
                if (field.startbit / 8 + i < message.payload.size())
                    copy.push_back(message.payload[field.startbit / 8 + i]);
            field.startbit %= 8;
            expected.push_back({item.d_signal.get(), naiveWord(copy), message.timestamp});
            item.d_written = true;
            item.d_value = naiveField(copy, field);
            item.d_timestamp = message.timestamp;
        }
        d_delivered += static_cast<unsigned>(expected.size());
        d_written.clear();
        Capture const errors(std::cerr);
        EXPECT_EQ(FlexRaySignal::decodeMessage(message), tag + id);
        EXPECT_EQ(errors.text(), cell >= cells ? "index out of range\n" : "");
        EXPECT_EQ(d_written, expected);
    }

    void check() {
        std::map<unsigned long long, std::vector<FlexRaySignal*>> container;
        for (Item const& item : d_items) {
            container[tag + item.d_id].push_back(item.d_signal.get());
            unsigned long long value = 0, timestamp = 0;
            EXPECT_EQ(item.d_signal->read(value, timestamp), item.d_written);
            EXPECT_EQ(value, item.d_value);
            EXPECT_EQ(timestamp, item.d_timestamp);
        }
        EXPECT_EQ(FlexRaySignal::frMessageContainer, container);
        EXPECT_EQ(FlexRaySignal::frIdArray == nullptr, d_items.empty());
    }

    Random d_random;
    std::vector<Written> d_written;     // outlives the signals, which note in it
    std::list<Item> d_items;            // in order of construction
    std::map<unsigned, unsigned> d_ids; // of the cells that have one
    unsigned d_count = 0;
    unsigned d_delivered = 0;
    unsigned d_accepted = 0;
    unsigned d_joined = 0;
    unsigned d_outside = 0;
    unsigned d_tables = 0;
};

TEST(FlexRayModel, randomStepsDoWhatTheModelDoes) {
    for (unsigned seed = 1; seed <= 4; ++seed) {
        FlexRayModel model(seed);
        for (unsigned step = 0; step < modelSteps; ++step) {
            model.step();
            if (step % 250 == 0)
                model.checkTable();
            ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed << ", step " << step;
        }
        EXPECT_GT(model.delivered(), modelSteps / 8) << "the steps met each other";
        EXPECT_GT(model.accepted(), modelSteps / 64);
        EXPECT_GT(model.joined(), modelSteps / 64);
        EXPECT_GT(model.outside(), modelSteps / 32);
        EXPECT_GT(model.tables(), 1U);
    }
    EXPECT_EQ(FlexRaySignal::frIdArray, nullptr);
}

} // namespace
