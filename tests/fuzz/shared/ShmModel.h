// The record of a ShmSignal, and what becomes of it, as the page on record formats has it.
#pragma once

#include "tests/fuzz/Expect.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/shared/Model.h"
#include "tests/support/Observe.h"
#include "tests/support/ShmProbe.h"

#include <cmath>
#include <string>

struct ShmModel {
    using Signal = ShmProbe;
    using Record = shmSignalData_t;
    using Definition = baseSignalDef_t;

    static Definition definition(std::string const& instance, Input& input) {
        Definition definition;
        definition.instance = instance;
        definition.signal = textFrom(input);
        definition.unit = textFrom(input);
        definition.type = static_cast<signalValue_t>(input.take<std::int32_t>());
        definition.startbit = input.take<std::uint16_t>();
        definition.bits = input.take<std::uint8_t>();
        definition.scale = numberFrom(input);
        definition.offset = numberFrom(input);
        definition.endian = input.take<std::uint8_t>() % 2 != 0;
        return definition;
    }

    // What a definer writes.
    static void define(Record& record, Definition const& definition) {
        record.used = record.conv = record.pending = 0;
        putText(record.signal, definition.signal);
        putText(record.unit, definition.unit);
        record.type = definition.type;
        record.startbit = definition.startbit;
        record.bits = definition.bits;
        record.scale = definition.scale;
        record.offset = definition.offset;
        record.endian = definition.endian ? 1 : 0;
        record.rawValue = record.value = 0xAAAAAAAA;
        record.phys = 0xAAAAAAAA;
        record.timestamp = 0x55555555;
    }

    // What anybody may have written.
    static void fill(Record& record, Input& input) {
        record.used = input.take<std::uint8_t>();
        record.conv = input.take<std::uint8_t>();
        record.pending = input.take<std::uint8_t>();
        record.type = static_cast<signalValue_t>(input.take<std::int32_t>());
        record.startbit = input.take<std::uint16_t>();
        record.bits = input.take<std::uint8_t>();
        record.endian = input.take<std::uint8_t>();
        putNumber(record.scale, input.take<std::uint64_t>());
        putNumber(record.offset, input.take<std::uint64_t>());
        record.rawValue = input.take<std::uint64_t>();
        record.value = input.take<std::uint64_t>();
        putNumber(record.phys, input.take<std::uint64_t>());
        record.timestamp = input.take<std::uint64_t>();
        input.fill(record.signal);
        input.fill(record.unit);
    }

    static ReferenceLayout layout(Record const& record) {
        return ReferenceLayout(record.startbit, record.bits, record.endian != 0);
    }

    static Word decoded(Record const& record, ReferenceLayout const& layout) {
        return layout.decoded(record.rawValue, record.endian != 0, record.type == signalSigned);
    }

    // The lock came from an owner that died.
    static void settle(Record& record, ReferenceLayout& layoutInUse) {
        layoutInUse = layout(record);
        unsigned const mark = record.pending;
        record.pending = nextMark(record.pending);
        bool const isStored = mark == 127 || (mark > 127 && (record.timestamp >> mark % 64 & 1) != mark / 64 % 2);
        if (isStored) {
            record.used = 1;
            record.conv = 0;
        } else if (mark > 127) {
            record.rawValue = record.value;
        }
        if (record.used != 0) {
            Word const value = decoded(record, layoutInUse);
            if (mark < 126 && value != record.value)
                record.conv = 0;
            record.value = value;
        } else if (record.rawValue == 0xAAAAAAAA) {
            record.value = 0xAAAAAAAA;
        } else {
            forget(record);
        }
    }

    static Reading read(Record const& record, ReferenceLayout const&) {
        return {record.used != 0, record.used != 0, record.value, record.timestamp};
    }

    static Reading readPhysical(Record& record, ReferenceLayout const&, double& physical) {
        if (record.used == 0)
            return {};
        if (record.conv == 0) {
            convert(record.value, record, record.phys);
            record.conv = 1;
            record.pending = nextMark(record.pending);
        }
        physical = record.phys;
        return {true, true, record.value, record.timestamp};
    }

    static bool write(Record& record, ReferenceLayout const& layout, Word payload, Word time) {
        bool const changed = record.used == 0 || (payload & layout.d_mask) != (record.rawValue & layout.d_mask);
        record.timestamp = time;
        if (!changed)
            return false;
        record.rawValue = payload;
        record.used = 1;
        record.conv = 0;
        record.pending = nextMark(record.pending);
        record.value = decoded(record, layout);
        return true;
    }

    static void clear(Record& record) {
        forget(record);
        record.pending = nextMark(record.pending);
    }

    static void forget(Record& record) {
        record.used = record.conv = 0;
        record.timestamp = record.rawValue = record.value = 0;
        record.phys = 0;
    }

    // Numbers that are none may differ in their bits.
    static void forgive(Record const& found, Record& expected) {
        if (std::isnan(found.phys) && std::isnan(expected.phys))
            putNumber(expected.phys, bitsOf(found.phys));
    }

    static std::string name(std::string const&, Record const& record) { return text(record.signal); }

    static void print(Signal const& signal, Record record) {
        ReferenceLayout unused = layout(record);
        if (record.pending > 125)
            settle(record, unused);
        std::string const found = printed(signal);
        std::string const first = text(record.signal) + " shmem=1,used=" + (record.used != 0 ? "yes" : "no") + ",conv=";
        expect(found.rfind(first, 0) == 0, "description", first, found);
        expect(found.find(",unit=" + text(record.unit) + ",type=") != std::string::npos, "unit", first, found);
    }
};
