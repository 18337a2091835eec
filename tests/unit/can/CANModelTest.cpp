// CAN signals in shared and in private records against a plain model: random definitions, openings, ends, frames,
// clears and questions for silent frames.
#include "qzsignal/can/CANSignalExt.h"

#include "qzsignal/trace/CANExtTraceMessage.h"
#include "tests/support/Capture.h"
#include "tests/support/Emulation.h"
#include "tests/support/ReferenceLayout.h"
#include "tests/support/SharedName.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

struct ModelRecord {
    canSignalDef_t d_definition;
    bool d_used = false;
    Word d_payload = 0;
    Word d_value = 0;
    Word d_timestamp = 0;
};

// A signal and what is known of it without looking into it.
struct Item {
    std::unique_ptr<CANSignalExt> d_signal;
    std::shared_ptr<ModelRecord> d_record; // null: waits
    ReferenceLayout d_layout;              // of the record as it was at definition or attachment
    std::string d_name;
    bool d_definer = false;
    bool d_shared = false;
    Word d_key = 0; // 0: opened by name
    bool d_modified = false;
};

struct Frame {
    unsigned char d_channel = 0;
    std::uint32_t d_identifier = 0;
    bool d_extended = false;

    Word key() const {
        return 0x8000000000000000 + 0x100000000 * Word{d_channel} + d_identifier + (d_extended ? 0x80000000 : 0);
    }
};

class CANModelTest : public testing::Test {
protected:
    unsigned below(unsigned end) { return static_cast<unsigned>(d_random() % end); }
    template <typename Value, std::size_t Count>
    Value const& oneOf(Value const (&values)[Count]) {
        return values[below(Count)];
    }

    Frame randomFrame() {
        constexpr unsigned char channels[] = {0, 1, 2, 255};
        constexpr std::uint32_t identifiers[] = {0, 0x123, 0x7ff, 0x1fffffff, 0x80000123};
        Frame frame;
        frame.d_channel = oneOf(channels);
        frame.d_identifier = oneOf(identifiers);
        frame.d_extended = below(2) != 0;
        return frame;
    }

    canSignalDef_t randomDefinition(std::string const& name) {
        constexpr double scales[] = {1, 0.5, -2, 0.1, 0};
        constexpr double offsets[] = {0, 10, -40.25};
        Frame const frame = randomFrame();
        canSignalDef_t definition;
        definition.instance = name;
        definition.signal = "Signal";
        definition.channel = frame.d_channel;
        definition.msgId = frame.d_identifier;
        definition.extended = frame.d_extended;
        definition.type = static_cast<signalValue_t>(below(4));
        bool const strange = below(10) == 0;
        definition.startbit = static_cast<std::uint16_t>(below(strange ? 65536 : 64));
        definition.bits = static_cast<std::uint8_t>(strange ? below(256) : 1 + below(64));
        definition.scale = oneOf(scales);
        definition.offset = oneOf(offsets);
        definition.endian = below(2) != 0;
        return definition;
    }

    Word randomPayload() { return below(2) == 0 ? d_random() : Word{below(4)} * 0x0101010101010101; }

    // In the range of a few, so that there are silent ones and others.
    Word randomTime() { return below(8) == 0 ? d_random() : below(1000); }

    void add(Item item) {
        d_registry.emplace(item.d_name, item.d_signal.get());
        d_items.push_back(std::move(item));
    }

    void define() {
        Item item;
        item.d_definer = true;
        item.d_shared = below(3) == 0;
        item.d_name = item.d_shared ? d_names[below(names)].name() : "private" + std::to_string(below(8));
        canSignalDef_t const definition = randomDefinition(item.d_name);
        item.d_signal = std::make_unique<CANSignalExt>(definition, item.d_shared);
        std::shared_ptr<ModelRecord> fresh;
        std::shared_ptr<ModelRecord>& record = item.d_shared ? d_segments[item.d_name] : fresh;
        if (record == nullptr)
            record = std::make_shared<ModelRecord>();
        *record = ModelRecord{definition, false, 0xAAAAAAAA, 0xAAAAAAAA, 0x55555555};
        item.d_record = record;
        item.d_layout = ReferenceLayout(definition.startbit, definition.bits, definition.endian);
        item.d_key = Frame{definition.channel, definition.msgId, definition.extended}.key();
        add(std::move(item));
    }

    void open() {
        Item item;
        item.d_shared = true;
        item.d_name = d_names[below(names)].name();
        item.d_signal = std::make_unique<CANSignalExt>(item.d_name.c_str());
        attach(item);
        add(std::move(item));
    }

    // What every access does for a signal that waits.
    void attach(Item& item) {
        auto const segment = d_segments.find(item.d_name);
        if (item.d_record != nullptr || segment == d_segments.end())
            return;
        item.d_record = segment->second;
        canSignalDef_t const& definition = item.d_record->d_definition;
        item.d_layout = ReferenceLayout(definition.startbit, definition.bits, definition.endian);
    }

    void end(std::size_t index) {
        Item& item = d_items[index];
        item.d_signal.reset();
        d_registry.erase(item.d_name);
        auto const segment = d_segments.find(item.d_name);
        if (item.d_definer && item.d_shared && segment != d_segments.end() && segment->second == item.d_record)
            d_segments.erase(segment);
        d_items.erase(d_items.begin() + static_cast<std::ptrdiff_t>(index));
    }

    static void modelWrite(Item& item, Word payload, Word timestamp) {
        ModelRecord& record = *item.d_record;
        canSignalDef_t const& definition = record.d_definition;
        item.d_modified =
            !record.d_used || (payload & item.d_layout.d_mask) != (record.d_payload & item.d_layout.d_mask);
        record.d_timestamp = timestamp;
        if (!item.d_modified)
            return;
        record.d_used = true;
        record.d_payload = payload;
        record.d_value = item.d_layout.decoded(payload, definition.endian, definition.type == signalSigned);
    }

    void message() {
        Frame const frame = randomFrame();
        Word payload = randomPayload();
        CANExtTraceMessage message;
        message.timestamp = randomTime();
        message.channel = frame.d_channel;
        message.identifier = frame.d_identifier;
        message.extended = frame.d_extended ? 1 + below(1000) : 0;
        message.length = static_cast<unsigned char>(below(3) == 0 ? below(256) : 8);
        Bytes bytes = bytesOf(payload);
        for (std::size_t i = 0; i < 8; ++i) {
            message.payload[i] = static_cast<unsigned char>(bytes[i]);
            if (i >= message.length)
                bytes[i] = 0;
        }
        payload = wordOf(bytes);
        bool served = false;
        for (Item& item : d_items)
            if (item.d_key == frame.key()) {
                served = true;
                modelWrite(item, payload, message.timestamp);
            }
        ASSERT_EQ(CANSignalExt::decodeMessage(message), served ? frame.key() : 0);
    }

    // Asks about a serialized record, which has the extended flag in bit 31 of the identifier.
    void preFilter() {
        Word const key = randomFrame().key();
        std::array<unsigned char, 22> record{};
        for (unsigned char& byte : record)
            byte = static_cast<unsigned char>(below(256));
        record[14] = static_cast<unsigned char>(key >> 32); // there is no room for a carry out of the channel
        for (unsigned i = 0; i < 4; ++i)
            record[18 + i] = static_cast<unsigned char>(key >> (24 - 8 * i));
        bool served = false;
        for (Item const& item : d_items)
            served = served || item.d_key == (key & 0x800000ffffffffff);
        ASSERT_EQ(CANSignalExt::signalsInUse(record.data(), record.data() + record.size()), served);
    }

    void writePayload(Item& item) {
        Word const payload = randomPayload(), timestamp = randomTime();
        attach(item);
        ASSERT_EQ(item.d_signal->write(payload, timestamp), item.d_record != nullptr);
        if (item.d_record != nullptr)
            modelWrite(item, payload, timestamp);
    }

    static void modelClear(Item& item) {
        item.d_modified = true;
        if (item.d_record == nullptr)
            return;
        item.d_record->d_used = false;
        item.d_record->d_payload = item.d_record->d_value = item.d_record->d_timestamp = 0;
    }

    void clearSome() {
        Word const key = randomFrame().key();
        bool const all = below(4) == 0;
        if (all)
            BaseSignal::clearAll();
        else
            BaseSignal::clear({key});
        for (Item& item : d_items) {
            auto const registered = d_registry.find(item.d_name);
            bool const found = registered != d_registry.end() && registered->second == item.d_signal.get();
            if (found && (all || item.d_key == key))
                modelClear(item);
        }
    }

    void askForSilentFrames() {
        Word const time = below(1000);
        std::map<BaseSignal const*, Item*> items;
        for (Item& item : d_items)
            items[item.d_signal.get()] = &item;
        std::vector<unsigned long long> expected;
        for (auto const& [name, signal] : d_registry) {
            Item& item = *items.at(signal);
            attach(item);
            if (item.d_record != nullptr && item.d_record->d_used && item.d_record->d_timestamp < time)
                expected.push_back(item.d_key);
        }
        std::vector<unsigned long long> silent = {17};
        ASSERT_EQ(BaseSignal::checkTimeout(time, silent), 0);
        ASSERT_EQ(silent, expected);
    }

    void check(Item& item) {
        attach(item);
        Word raw = 17, rawTime = 18, physTime = 19;
        double phys = 20;
        bool const used = item.d_record != nullptr && item.d_record->d_used;
        ASSERT_EQ(item.d_signal->read(raw, rawTime), used);
        ASSERT_EQ(item.d_signal->read(phys, physTime), used);
        ASSERT_EQ(item.d_signal->isModified(), item.d_modified);
        if (!used) {
            ASSERT_EQ(raw, 17U);
            ASSERT_EQ(rawTime, 18U);
            ASSERT_EQ(physTime, 19U);
            ASSERT_EQ(phys, 20.0);
            return;
        }
        ASSERT_EQ(raw, item.d_record->d_value);
        ASSERT_EQ(rawTime, item.d_record->d_timestamp);
        ASSERT_EQ(physTime, item.d_record->d_timestamp);
        double const expected = physical(*item.d_record);
        ASSERT_TRUE(phys == expected || (std::isnan(phys) && std::isnan(expected))) << phys << ", not " << expected;
    }

    static double physical(ModelRecord const& record) {
        double number = 0.0;
        float narrow = 0.0F;
        auto const half = static_cast<std::uint32_t>(record.d_value);
        switch (record.d_definition.type) {
        case signalUnsigned:
            number = static_cast<double>(record.d_value);
            break;
        case signalSigned:
            number = static_cast<double>(static_cast<long long>(record.d_value));
            break;
        case signalFloat:
            std::memcpy(&narrow, &half, sizeof narrow);
            number = static_cast<double>(narrow);
            break;
        case signalDouble:
            std::memcpy(&number, &record.d_value, sizeof number);
            break;
        }
        return number * record.d_definition.scale + record.d_definition.offset;
    }

    void checkContainer() const {
        std::map<unsigned long long, std::vector<CANSignalExt*>> expected;
        for (Item const& item : d_items)
            if (item.d_key != 0)
                expected[item.d_key].push_back(item.d_signal.get());
        ASSERT_EQ(CANSignalExt::canMessageContainer, expected);
        ASSERT_EQ(BaseSignal::instances, d_registry);
    }

    static constexpr unsigned names = 3;
    std::mt19937_64 d_random{20110923};
    SharedName d_names[names];
    std::map<std::string, std::shared_ptr<ModelRecord>> d_segments; // that can be found by name
    std::map<std::string, BaseSignal*> d_registry;
    std::vector<Item> d_items; // in order of construction
};

TEST_F(CANModelTest, signalsDoWhatThePlainModelDoes) {
    // Names are taken more than once, and segments removed by others: that is said, and all there is to it.
    Capture errors(std::cerr);
    for (unsigned step = 0; step < modelSteps && !HasFatalFailure(); ++step) {
        SCOPED_TRACE(step);
        errors.take();
        unsigned const action = below(100);
        if (d_items.empty() || (action < 5 && d_items.size() < 14))
            define();
        else if (action < 7 && d_items.size() < 14)
            open();
        else if (action < 11)
            end(below(static_cast<unsigned>(d_items.size())));
        else if (action < 65)
            message();
        else if (action < 75)
            preFilter();
        else if (action < 90)
            writePayload(d_items[below(static_cast<unsigned>(d_items.size()))]);
        else if (action < 95)
            clearSome();
        else
            askForSilentFrames();
        for (Item& item : d_items)
            check(item);
        if (action < 11)
            checkContainer();
    }
    d_items.clear();
    EXPECT_TRUE(CANSignalExt::canMessageContainer.empty());
}

} // namespace
