// Self-contained CAN signals against a plain model: random definitions, openings, ends, frames and writes.
#include "tests/support/CANSignalProbe.h"
#include "tests/support/Capture.h"
#include "tests/support/Emulation.h"
#include "tests/support/ReferenceLayout.h"
#include "tests/support/SharedName.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

struct ModelRecord {
    canSignal_t d_definition; // its numbers cut as in the record
    bool d_used = false;
    Word d_value = 0xAAAAAAAA;
    Word d_timestamp = 0x55555555;
};

// A signal and what is known of it without looking into it.
struct Item {
    std::unique_ptr<CANSignalProbe> d_signal;
    std::shared_ptr<ModelRecord> d_record; // null: waits
    ReferenceLayout d_layout;              // of the record as it was at definition or attachment
    std::string d_name;
    bool d_definer = false;
    bool d_shared = false;
    std::size_t d_index = 0; // in the table
    bool d_modified = false;
};

ReferenceLayout layoutOf(ModelRecord const& record) {
    return {record.d_definition.startbit, record.d_definition.bits, record.d_definition.endian};
}

class CANStoreModelTest : public testing::Test {
protected:
    unsigned below(unsigned end) { return static_cast<unsigned>(d_random() % end); }
    template <typename Value, std::size_t Count>
    Value const& oneOf(Value const (&values)[Count]) {
        return values[below(Count)];
    }

    canSignal_t randomDefinition(std::string const& name) {
        constexpr std::uint16_t buses[] = {0, 1, 16, 17, 15, 255};
        constexpr std::uint16_t ids[] = {0, 5, 0x800, 0x805, 0x7ff};
        constexpr double scales[] = {1, 0.5, -2, 0.1};
        constexpr double offsets[] = {0, 10, -40.25};
        canSignal_t definition;
        definition.bus = oneOf(buses);
        definition.id = oneOf(ids);
        definition.name = name;
        definition.type = static_cast<canValue_t>(below(5)); // the last is none
        bool const strange = below(10) == 0;
        definition.startbit = static_cast<int>(below(strange ? 256 : 64));
        definition.bits = static_cast<int>(strange ? below(256) : 1 + below(64));
        definition.scale = oneOf(scales);
        definition.offset = oneOf(offsets);
        definition.endian = below(2) != 0;
        return definition;
    }

    // Few different ones, so that there are unchanged bits and marker patterns.
    Word randomPayload() {
        constexpr Word payloads[] = {0, ~Word{0}, 0x00000000AAAAAAAA, 0x3fc0000000000000, 0x0000c03f00000000};
        return below(3) == 0 ? oneOf(payloads) : below(2) == 0 ? d_random() : Word{below(4)} * 0x0101010101010101;
    }

    void define() {
        Item item;
        item.d_definer = true;
        item.d_shared = below(3) == 0;
        item.d_name = item.d_shared ? d_names[below(names)].name() : "private" + std::to_string(below(5));
        canSignal_t const definition = randomDefinition(item.d_name);
        item.d_signal = std::make_unique<CANSignalProbe>(definition, item.d_shared);
        std::shared_ptr<ModelRecord> fresh;
        std::shared_ptr<ModelRecord>& record = item.d_shared ? d_segments[item.d_name] : fresh;
        if (record == nullptr)
            record = std::make_shared<ModelRecord>();
        *record = ModelRecord{definition, false, 0xAAAAAAAA, 0x55555555}; // under attached processes
        item.d_record = record;
        item.d_layout = layoutOf(*record);
        item.d_index = definition.bus % 16U * 2048 + definition.id % 2048U;
        d_items.push_back(std::move(item));
    }

    void open() {
        Item item;
        item.d_shared = true;
        item.d_name = d_names[below(names)].name();
        item.d_signal = std::make_unique<CANSignalProbe>(item.d_name.c_str());
        attach(item);
        d_items.push_back(std::move(item));
    }

    // What every access does for a signal that waits.
    void attach(Item& item) {
        auto const segment = d_segments.find(item.d_name);
        if (item.d_record != nullptr || segment == d_segments.end())
            return;
        item.d_record = segment->second;
        item.d_layout = layoutOf(*item.d_record);
    }

    void end(std::size_t index) {
        Item& item = d_items[index];
        // The signal leaves the entry that its record names. Where another definer has given the record to another
        // frame, the program has to take it out.
        CANSignal* const signal = item.d_signal.get();
        std::vector<CANSignal*>& entry = CANSignal::canMessageVector[item.d_index];
        bool const isOwnFrame =
            item.d_record != nullptr &&
            item.d_record->d_definition.bus % 16U * 2048 + item.d_record->d_definition.id % 2048U == item.d_index;
        item.d_signal.reset();
        auto const place = std::find(entry.begin(), entry.end(), signal);
        ASSERT_EQ(place == entry.end(), !item.d_definer || isOwnFrame);
        if (place != entry.end())
            entry.erase(place);
        auto const segment = d_segments.find(item.d_name);
        if (item.d_definer && item.d_shared && segment != d_segments.end() && segment->second == item.d_record)
            d_segments.erase(segment);
        d_items.erase(d_items.begin() + static_cast<std::ptrdiff_t>(index));
    }

    void modelWrite(Item& item, Word payload, Word timestamp) {
        ModelRecord& record = *item.d_record;
        Word const value = payload & item.d_layout.d_mask;
        item.d_modified = value != record.d_value;
        if (!item.d_modified)
            return;
        record.d_used = true;
        record.d_value = value;
        record.d_timestamp = timestamp;
    }

    void message() {
        unsigned const bus = below(256), id = below(2) == 0 ? below(0x10000) : 5;
        Word const payload = randomPayload(), timestamp = d_random();
        CANSignal::decodeMessage(static_cast<unsigned char>(bus % 2 == 0 ? bus : 17), static_cast<unsigned short>(id),
                                 payload, timestamp);
        std::size_t const index = (bus % 2 == 0 ? bus : 17) % 16 * 2048 + id % 2048;
        for (Item& item : d_items)
            if (item.d_definer && item.d_index == index)
                modelWrite(item, payload, timestamp);
    }

    void writePayload(Item& item) {
        Word const payload = randomPayload(), timestamp = d_random();
        attach(item);
        ASSERT_EQ(item.d_signal->write(payload, timestamp), item.d_record != nullptr);
        if (item.d_record != nullptr)
            modelWrite(item, payload, timestamp);
    }

    // Whole steps of the scale, which are exact enough to identify a raw value.
    void writePhysical(Item& item) {
        attach(item);
        int const steps = static_cast<int>(below(2000)) - 500;
        Word const timestamp = d_random();
        double phys = steps;
        if (item.d_record != nullptr)
            phys = steps * item.d_record->d_definition.scale + item.d_record->d_definition.offset;
        ASSERT_EQ(item.d_signal->write(phys, timestamp), item.d_record != nullptr);
        if (item.d_record == nullptr)
            return;
        canSignal_t const& definition = item.d_record->d_definition;
        double const exact = (phys - definition.offset) / definition.scale;
        Word raw = 0;
        float const narrow = static_cast<float>(exact);
        std::uint32_t half = 0;
        std::memcpy(&half, &narrow, sizeof half);
        switch (static_cast<int>(definition.type)) {
        case 0:
            raw = steps < 0 ? 0 : static_cast<Word>(steps);
            break;
        case 1:
            raw = static_cast<Word>(static_cast<long long>(steps));
            break;
        case 2:
            raw = half;
            break;
        case 3:
            std::memcpy(&raw, &exact, sizeof raw);
            break;
        default:
            break;
        }
        modelWrite(item, encoded(item, raw), timestamp);
    }

    static Word encoded(Item const& item, Word raw) {
        ReferenceLayout const& layout = item.d_layout;
        Word const placed = shiftedLeft(raw & layout.d_ones, layout.d_shift);
        if (!item.d_record->d_definition.endian)
            return shiftedLeft(placed, 8 * layout.d_startByte);
        Word payload = 0;
        for (int j = 0; j <= layout.d_startByte && j < 8; ++j)
            if (int const from = layout.d_bytes - 1 - j; from >= 0 && from < 8)
                payload += shiftedLeft(bytesOf(placed)[static_cast<std::size_t>(from)], 8 * (7 - j));
        return payload;
    }

    void check(Item& item) {
        CANSignalProbe& signal = *item.d_signal;
        attach(item);
        CANSignalProbe::Reading const raw = signal.readRaw();
        CANSignalProbe::Reading const phys = signal.readPhys();
        ASSERT_EQ(signal.isModified(), item.d_modified);
        if (item.d_record == nullptr) {
            ASSERT_FALSE(raw.d_there || phys.d_there);
            ASSERT_EQ(raw.d_raw, 18U);
            ASSERT_EQ(raw.d_timestamp, 17U);
            ASSERT_EQ(phys.d_phys, 19.0);
            ASSERT_EQ(phys.d_timestamp, 17U);
            return;
        }
        ModelRecord const& record = *item.d_record;
        canSignal_t const& definition = record.d_definition;
        Word const value = item.d_layout.decoded(record.d_value, definition.endian, definition.type == canSigned);
        ASSERT_EQ(raw.d_there, record.d_used);
        ASSERT_EQ(raw.d_raw, value);
        ASSERT_EQ(raw.d_timestamp, record.d_timestamp);
        ASSERT_EQ(phys.d_there, record.d_used);
        ASSERT_EQ(phys.d_timestamp, record.d_used ? record.d_timestamp : 0);
        checkPhysical(phys.d_phys, value, record);
        ASSERT_EQ(signal.record().value, record.d_value);
        ASSERT_EQ(signal.record().bus, definition.bus);
        ASSERT_EQ(signal.record().id, definition.id);
        ASSERT_EQ(signal.getBits(), definition.bits);
        ASSERT_EQ(signal.getType(), signalUnsigned);
    }

    static void checkPhysical(double phys, Word value, ModelRecord const& record) {
        double expected = 0.0;
        if (record.d_used) {
            double number = 0.0;
            float narrow = 0.0F;
            auto const half = static_cast<std::uint32_t>(value);
            std::memcpy(&narrow, &half, sizeof narrow);
            switch (static_cast<int>(record.d_definition.type)) {
            case 0:
                number = static_cast<double>(value);
                break;
            case 1:
                number = static_cast<double>(static_cast<long long>(value));
                break;
            case 2:
                number = static_cast<double>(narrow);
                break;
            case 3:
                std::memcpy(&number, &value, sizeof number);
                break;
            default:
                ASSERT_EQ(phys, 19.0) << "left alone";
                return;
            }
            expected = number * record.d_definition.scale + record.d_definition.offset;
        }
        ASSERT_TRUE(phys == expected || (std::isnan(phys) && std::isnan(expected))) << phys << ", not " << expected;
    }

    // Each entry of the table holds its signals in order of construction.
    void checkTable() const {
        std::map<std::size_t, std::vector<CANSignal*>> entries;
        for (Item const& item : d_items)
            if (item.d_definer)
                entries[item.d_index].push_back(item.d_signal.get());
        std::size_t used = 0;
        for (auto const& entry : CANSignal::canMessageVector)
            used += entry.empty() ? 0 : 1;
        ASSERT_EQ(used, entries.size());
        for (auto const& [index, signals] : entries)
            ASSERT_EQ(CANSignal::canMessageVector[index], signals) << index;
    }

    static constexpr unsigned names = 3;
    std::mt19937_64 d_random{20240229};
    SharedName d_names[names];
    std::map<std::string, std::shared_ptr<ModelRecord>> d_segments; // that can be found by name
    std::vector<Item> d_items;                                      // in order of construction
};

TEST_F(CANStoreModelTest, signalsDoWhatThePlainModelDoes) {
    // Names are taken more than once, and segments removed by others: that is said, and all there is to it.
    Capture errors(std::cerr);
    for (unsigned step = 0; step < modelSteps && !HasFatalFailure(); ++step) {
        SCOPED_TRACE(step);
        errors.take();
        unsigned const action = below(100);
        if (d_items.empty() || (action < 4 && d_items.size() < 12))
            define();
        else if (action < 6 && d_items.size() < 12)
            open();
        else if (action < 10)
            end(below(static_cast<unsigned>(d_items.size())));
        else if (action < 55)
            message();
        else if (action < 80)
            writePayload(d_items[below(static_cast<unsigned>(d_items.size()))]);
        else
            writePhysical(d_items[below(static_cast<unsigned>(d_items.size()))]);
        for (Item& item : d_items)
            check(item);
        if (action < 10 && step % 8 == 0)
            checkTable();
    }
    while (!d_items.empty() && !HasFatalFailure())
        end(d_items.size() - 1);
    EXPECT_TRUE(tableIsEmpty());
}

} // namespace
