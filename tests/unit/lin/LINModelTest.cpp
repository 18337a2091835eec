// Random LIN definitions, destructions, messages and records against a plain model of what they do.
#include "tests/support/LINFixture.h"
#include "tests/support/Naive.h"
#include "tests/support/Observe.h"

#include <gtest/gtest.h>

#include <list>
#include <map>
#include <memory>

namespace {

// The model's state of a signal.
struct Item {
    linSignalDef_t d_definition;
    bool d_fed = false; // filed where messages look, that is without the tag
    unsigned long long d_key = 0;
    std::unique_ptr<LINSignal> d_signal;
    bool d_written = false;
    unsigned long long d_value = 0;
    unsigned long long d_timestamp = 0;
};

class LINModel {
public:
    explicit LINModel(unsigned seed) : d_random(seed) {}

    void step() {
        unsigned const choice = d_random.below(10);
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

    unsigned delivered() const { return d_delivered; }
    unsigned accepted() const { return d_accepted; }

private:
    // Few enough to meet often. The larger identifiers of a definition are those of other channels.
    std::uint8_t channel() { return static_cast<std::uint8_t>(d_random.below(3)); }
    std::uint8_t identifier() { return static_cast<std::uint8_t>(d_random.below(4)); }

    void define() {
        if (d_items.size() >= 24)
            return;
        Item item;
        item.d_definition = linDefinition("signal " + std::to_string(d_count++), identifier(), channel());
        if (d_random.below(8) == 0)
            item.d_definition.msgId += 256;
        randomField(d_random, item.d_definition, 63);
        item.d_fed = d_random.below(2) == 0;
        item.d_key = item.d_definition.channel * 256ULL + item.d_definition.msgId;
        if (item.d_fed) {
            item.d_signal = std::make_unique<Noting<FedLINSignal>>(item.d_definition, d_written);
        } else {
            item.d_key |= 0x4000000000000000;
            item.d_signal = std::make_unique<Noting<LINSignal>>(item.d_definition, d_written);
        }
        d_items.push_back(std::move(item));
    }

    void destroy() {
        if (!d_items.empty())
            d_items.erase(std::next(d_items.begin(), static_cast<long>(d_random.below(d_items.size()))));
    }

    void preFilter() {
        unsigned const atChannel = channel();
        unsigned const withIdentifier = identifier() + (d_random.below(8) == 0 ? 256U : 0U);
        LINRecord const bytes =
            linRecord(static_cast<std::uint8_t>(atChannel), static_cast<std::uint16_t>(withIdentifier));
        bool expected = false;
        for (Item const& item : d_items)
            expected = expected || (!item.d_fed && item.d_definition.channel * 256 + item.d_definition.msgId ==
                                                       atChannel * 256 + withIdentifier);
        d_accepted += expected;
        EXPECT_EQ(LINSignal::signalsInUse(bytes.data(), bytes.data() + d_random.below(bytes.size() + 1)), expected)
            << "wherever the second pointer is";
    }

    void message() {
        LINTraceMessage message = linFrame(channel(), identifier());
        message.identifier = static_cast<unsigned char>(message.identifier + 64 * d_random.below(4));
        message.timestamp = d_random.number();
        message.data.resize(d_random.below(16) == 0 ? 256 + d_random.below(12) : d_random.below(12));
        for (unsigned char& byte : message.data)
            byte = static_cast<unsigned char>(d_random.below(256));
        std::vector<unsigned char> payload(message.data.begin(),
                                           message.data.begin() + static_cast<long>(message.data.size() % 256));
        payload.resize(8); // cut, or padded with zeros

        unsigned long long const frame = message.channel * 256ULL + message.identifier % 64;
        unsigned long long key = 0;
        std::vector<Written> expected;
        for (Item& item : d_items) {
            if (!item.d_fed || item.d_key != frame)
                continue;
            key = frame;
            expected.push_back({item.d_signal.get(), naiveWord(payload), message.timestamp});
            item.d_written = true;
            item.d_value = naiveField(payload, item.d_definition);
            item.d_timestamp = message.timestamp;
        }
        d_delivered += static_cast<unsigned>(expected.size());
        d_written.clear();
        EXPECT_EQ(LINSignal::decodeMessage(message), key);
        EXPECT_EQ(d_written, expected);
    }

    void check() {
        std::map<unsigned long long, std::vector<LINSignal*>> container;
        for (Item const& item : d_items) {
            container[item.d_key].push_back(item.d_signal.get());
            unsigned long long value = 0, timestamp = 0;
            EXPECT_EQ(item.d_signal->read(value, timestamp), item.d_written);
            EXPECT_EQ(value, item.d_value);
            EXPECT_EQ(timestamp, item.d_timestamp);
        }
        EXPECT_EQ(LINSignal::linMessageContainer, container);
    }

    Random d_random;
    std::vector<Written> d_written; // outlives the signals, which note in it
    std::list<Item> d_items;        // in order of construction
    unsigned d_count = 0;
    unsigned d_delivered = 0;
    unsigned d_accepted = 0;
};

TEST(LINModel, randomStepsDoWhatTheModelDoes) {
    for (unsigned seed = 1; seed <= 4; ++seed) {
        LINModel model(seed);
        for (unsigned step = 0; step < modelSteps; ++step) {
            model.step();
            ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed << ", step " << step;
        }
        EXPECT_GT(model.delivered(), modelSteps / 4) << "the steps met each other";
        EXPECT_GT(model.accepted(), modelSteps / 32);
    }
    EXPECT_TRUE(LINSignal::linMessageContainer.empty());
}

} // namespace
