// The record of a CANSignal, and what becomes of it, as the page on record formats has it.
#pragma once

#include "tests/fuzz/Expect.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/shared/Model.h"
#include "tests/support/CANSignalProbe.h"
#include "tests/support/Capture.h"

#include <string>

struct CANModel {
    using Signal = CANSignalProbe;
    using Record = qzsignal::canSignalData_t;
    using Definition = canSignal_t;

    static Definition definition(std::string const& instance, Input& input) {
        Definition definition;
        definition.name = instance;
        definition.unit = textFrom(input);
        definition.bus = input.take<std::uint16_t>();
        definition.id = input.take<std::uint16_t>();
        definition.type = static_cast<canValue_t>(input.take<std::int32_t>());
        definition.startbit = input.take<std::int32_t>();
        definition.bits = input.take<std::int32_t>();
        definition.scale = numberFrom(input);
        definition.offset = numberFrom(input);
        definition.endian = input.take<std::uint8_t>() % 2 != 0;
        return definition;
    }

    // What a definer writes.
    static void define(Record& record, Definition const& definition) {
        record.used = record.pending = 0;
        putAside(record, 0);
        record.bus = static_cast<std::uint8_t>(definition.bus);
        record.id = definition.id;
        putText(record.name, definition.name);
        putText(record.unit, definition.unit);
        record.type = definition.type;
        record.startbit = static_cast<std::uint8_t>(definition.startbit);
        record.bits = static_cast<std::uint8_t>(definition.bits);
        record.scale = definition.scale;
        record.offset = definition.offset;
        record.endian = definition.endian ? 1 : 0;
        record.value = 0xAAAAAAAA;
        record.timestamp = 0x55555555;
    }

    // What anybody may have written.
    static void fill(Record& record, Input& input) {
        record.used = input.take<std::uint8_t>();
        record.pending = input.take<std::uint8_t>();
        record.type = static_cast<canValue_t>(input.take<std::int32_t>());
        record.startbit = input.take<std::uint8_t>();
        record.bits = input.take<std::uint8_t>();
        record.endian = input.take<std::uint8_t>();
        putNumber(record.scale, input.take<std::uint64_t>());
        putNumber(record.offset, input.take<std::uint64_t>());
        record.value = input.take<std::uint64_t>();
        record.timestamp = input.take<std::uint64_t>();
        record.lastValueTop = input.take<std::uint8_t>();
        for (std::uint8_t& byte : record.lastValue)
            byte = input.take<std::uint8_t>();
        record.bus = input.take<std::uint8_t>();
        record.id = input.take<std::uint16_t>();
        input.fill(record.name);
        input.fill(record.unit);
    }

    static ReferenceLayout layout(Record const& record) {
        return ReferenceLayout(record.startbit, record.bits, record.endian != 0);
    }

    // The lock came from an owner that died.
    static void settle(Record& record, ReferenceLayout& layoutInUse) {
        unsigned const mark = record.pending;
        bool const isStored = mark == 127 || (mark > 127 && (record.timestamp >> mark % 64 & 1) != mark / 64 % 2);
        if (mark > 127 && !isStored)
            record.value = aside(record);
        if (isStored)
            record.used = 1;
        if (mark > 125)
            record.pending = 0;
        layoutInUse = layout(record);
    }

    static Reading read(Record const& record, ReferenceLayout const& layout) {
        return {record.used != 0, true, layout.decoded(record.value, record.endian != 0, record.type == canSigned),
                record.timestamp};
    }

    static Reading readPhysical(Record const& record, ReferenceLayout const& layout, double& physical) {
        if (record.used == 0) {
            physical = 0;
            return {false, true, 0, 0};
        }
        Reading const reading = read(record, layout);
        convert(reading.d_value, record, physical);
        return reading;
    }

    static bool write(Record& record, ReferenceLayout const& layout, Word payload, Word time) {
        Word const value = payload & layout.d_mask;
        if (value == record.value)
            return false;
        putAside(record, record.value);
        record.value = value;
        record.timestamp = time;
        record.pending = nextMark(record.pending);
        record.used = 1;
        return true;
    }

    static void clear(Record&) {}
    static void forgive(Record const&, Record&) {}
    static std::string name(std::string const& instance, Record const&) { return instance; }

    static void print(Signal const& signal, Record const& record) {
        Capture output(std::cout);
        signal.print(std::cerr);
        std::string const found = output.text();
        std::string const first = "[DEBUG] " + text(record.name) + " shmem=1,used=";
        expect(found.rfind(first, 0) == 0, "description", first, found);
        expect(found.find(",unit=" + text(record.unit) + ",type=") != std::string::npos, "unit", first, found);
    }

private:
    static void putAside(Record& record, Word value) {
        record.lastValueTop = static_cast<std::uint8_t>(value >> 56);
        for (unsigned i = 0; i < 7; ++i)
            record.lastValue[i] = static_cast<std::uint8_t>(value >> 8 * i);
    }
    static Word aside(Record const& record) {
        Word value = record.lastValueTop;
        for (unsigned i = 7; i-- > 0;)
            value = value * 256 + record.lastValue[i];
        return value;
    }
};
