// The page on record formats is true.
#include "qzsignal/can/CANSignal.h"
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/flexray/FlexRaySignal.h"
#include "qzsignal/input/InputSignal.h"
#include "qzsignal/input/InputSignalExt.h"
#include "qzsignal/lin/LINSignal.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "tests/support/Page.h"
#include "tests/support/SharedName.h"
#include "tests/support/ShmProbe.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <iomanip>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <sys/shm.h>
#include <vector>

namespace {

constexpr char page[] = "docs/record-formats.md";

// Which of the page's examples is for this host; empty if none.
#if defined(__powerpc__) && !defined(__powerpc64__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
constexpr char host[] = "powerpc";
#elif defined(__x86_64__) && defined(__LP64__)
constexpr char host[] = "x86-64";
#else
constexpr char host[] = "";
#endif

struct Field {
    std::size_t offset;
    std::size_t size;
};

using Record = std::map<std::string, Field>;

#define FIELD(record, field)                                                                                           \
    {                                                                                                                  \
#field, {                                                                                                      \
            offsetof(record, field), sizeof(record::field)                                                             \
        }                                                                                                              \
    }

Record const shmSignalRecord = {
    FIELD(shmSignalData_t, size),    FIELD(shmSignalData_t, mutex),    FIELD(shmSignalData_t, used),
    FIELD(shmSignalData_t, conv),    FIELD(shmSignalData_t, signal),   FIELD(shmSignalData_t, unit),
    FIELD(shmSignalData_t, type),    FIELD(shmSignalData_t, startbit), FIELD(shmSignalData_t, bits),
    FIELD(shmSignalData_t, scale),   FIELD(shmSignalData_t, offset),   FIELD(shmSignalData_t, endian),
    FIELD(shmSignalData_t, pending), FIELD(shmSignalData_t, rawValue), FIELD(shmSignalData_t, value),
    FIELD(shmSignalData_t, phys),    FIELD(shmSignalData_t, timestamp)};

using qzsignal::canSignalData_t;

Record const canSignalRecord = {
    FIELD(canSignalData_t, size),      FIELD(canSignalData_t, mutex),   FIELD(canSignalData_t, used),
    FIELD(canSignalData_t, bus),       FIELD(canSignalData_t, id),      FIELD(canSignalData_t, name),
    FIELD(canSignalData_t, unit),      FIELD(canSignalData_t, type),    FIELD(canSignalData_t, startbit),
    FIELD(canSignalData_t, bits),      FIELD(canSignalData_t, pending), FIELD(canSignalData_t, lastValueTop),
    FIELD(canSignalData_t, scale),     FIELD(canSignalData_t, offset),  FIELD(canSignalData_t, endian),
    FIELD(canSignalData_t, lastValue), FIELD(canSignalData_t, value),   FIELD(canSignalData_t, timestamp)};

void expectTable(char const* heading, Record const& record) {
    bool const wide = sizeof(void*) == 8;
    Record described;
    for (std::vector<std::string> const& row : Page(page).table(heading)) {
        std::string const size = row.at(2) == "24 or 40" ? (wide ? "40" : "24") : row.at(2);
        described[row.at(3)] = {std::stoul(row.at(wide ? 1 : 0)), std::stoul(size)};
    }
    ASSERT_EQ(described.size(), record.size());
    for (auto const& [name, field] : record) {
        ASSERT_EQ(described.count(name), 1U) << name;
        EXPECT_EQ(described[name].offset, field.offset) << name;
        EXPECT_EQ(described[name].size, field.size) << name;
    }
}

// The segment's record in the form of the page's examples.
std::vector<std::string> dump(void const* record, std::size_t size) {
    auto const* const bytes = static_cast<unsigned char const*>(record);
    std::vector<std::string> lines;
    for (std::size_t line = 0; line < size; line += 16) {
        std::ostringstream out;
        out << std::setfill('0') << std::setw(3) << line << ' ' << std::hex;
        for (std::size_t i = line; i < std::min(line + 16, size); ++i)
            if (i - qzsignal::recordMutexOffset < sizeof(pthread_mutex_t))
                out << " ..";
            else
                out << ' ' << std::setw(2) << unsigned{bytes[i]};
        lines.push_back(out.str());
    }
    return lines;
}

void* attached(SharedName const& name) {
    void* const record = shmat(name.segmentId(), nullptr, 0);
    EXPECT_NE(record, reinterpret_cast<void*>(-1));
    return record;
}

canSignalDef_t exampleDefinition(SharedName const& name) {
    canSignalDef_t definition;
    definition.instance = name.name();
    definition.signal = "Speed";
    definition.unit = "rpm";
    definition.bits = 16;
    definition.scale = 0.25;
    definition.channel = 1;
    definition.msgId = 0x0A0;
    return definition;
}

CANExtTraceMessage exampleFrame() {
    CANExtTraceMessage frame;
    frame.timestamp = 5000000;
    frame.channel = 1;
    frame.identifier = 0x0A0;
    frame.length = 2;
    frame.payload[0] = 0xB2;
    frame.payload[1] = 0x0C;
    return frame;
}

TEST(RecordFormats, tableOfShmSignalMatchesTheRecord) {
    expectTable("## The record of ShmSignal", shmSignalRecord);
}

TEST(RecordFormats, exampleOfShmSignalIsTheRecordByteForByte) {
    if (host[0] == 0)
        GTEST_SKIP() << "the page has no example for this host";
    SharedName const name;
    CANSignalExt signal(exampleDefinition(name), true);
    CANSignalExt::decodeMessage(exampleFrame());
    double phys = 0;
    unsigned long long timestamp = 0;
    ASSERT_TRUE(signal.read(phys, timestamp));
    EXPECT_EQ(phys, 812.5);
    void* const record = attached(name);
    EXPECT_EQ(dump(record, sizeof(shmSignalData_t)), Page(page).block(std::string("record ShmSignal ") + host));
    shmdt(record);
}

TEST(RecordFormats, tableOfCANSignalMatchesTheRecord) {
    expectTable("## The record of CANSignal", canSignalRecord);
}

TEST(RecordFormats, exampleOfCANSignalIsTheRecordByteForByte) {
    if (host[0] == 0)
        GTEST_SKIP() << "the page has no example for this host";
    SharedName const name;
    CANSignal signal(1, 0x0A0, name.c_str(), "rpm", canUnsigned, 0, 16, 0.25, 0, false, true);
    CANSignal::decodeMessage(1, 0x0A0, 0xB20C000000000000, 5000000);
    auto* const record = static_cast<canSignalData_t*>(attached(name));
    // The signal's name is the test's own.
    EXPECT_EQ(record->name, name.name().substr(0, sizeof record->name - 1));
    std::fill(std::begin(record->name), std::end(record->name), '\0');
    std::copy_n("Speed", 5, record->name);
    EXPECT_EQ(dump(record, sizeof *record), Page(page).block(std::string("record CANSignal ") + host));
    shmdt(record);
}

// The result of a pre-filter for each of the page's records, by the record's description.
std::map<std::string, bool> verdicts(bool (*signalsInUse)(unsigned char const*, unsigned char const*)) {
    std::map<std::string, bool> result;
    std::vector<std::string> const lines = Page(page).block("records");
    for (std::size_t line = 0; line + 1 < lines.size(); line += 3) {
        std::istringstream in(lines[line + 1]);
        std::vector<unsigned char> bytes;
        for (unsigned byte = 0; in >> std::hex >> byte;)
            bytes.push_back(static_cast<unsigned char>(byte));
        result[lines[line]] = signalsInUse(bytes.data(), bytes.data() + bytes.size());
    }
    EXPECT_EQ(result.size(), 7U);
    return result;
}

template <typename Definition>
Definition definitionOn(unsigned char channel) {
    Definition definition;
    static_cast<baseSignalDef_t&>(definition) = plainDefinition("signal", 8);
    definition.channel = channel;
    return definition;
}

TEST(RecordFormats, canRecordsAreWhatTheyAreSaidToBe) {
    auto standard = definitionOn<canSignalDef_t>(1);
    standard.msgId = 0x0A0;
    {
        CANSignalExt const signal(standard, false);
        auto const inUse = verdicts(CANSignalExt::signalsInUse);
        EXPECT_TRUE(inUse.at("CAN channel 1, identifier 0x0a0"));
        EXPECT_FALSE(inUse.at("CAN channel 2, extended identifier 0x18fef100"));
    }
    auto extended = definitionOn<canSignalDef_t>(2);
    extended.msgId = 0x18FEF100;
    extended.extended = true;
    CANSignalExt const signal(extended, false);
    auto const inUse = verdicts(CANSignalExt::signalsInUse);
    EXPECT_FALSE(inUse.at("CAN channel 1, identifier 0x0a0"));
    EXPECT_TRUE(inUse.at("CAN channel 2, extended identifier 0x18fef100"));
}

TEST(RecordFormats, linAndFlexRayRecordsAreWhatTheyAreSaidToBe) {
    auto lin = definitionOn<linSignalDef_t>(2);
    lin.msgId = 0x21;
    LINSignal const linSignal(lin, false);
    EXPECT_TRUE(verdicts(LINSignal::signalsInUse).at("LIN channel 2, identifier 0x21"));
    auto flexRay = definitionOn<flexRaySignalDef_t>(1);
    flexRay.instance = "other";
    flexRay.slot = 100;
    flexRay.baseCycle = 3;
    flexRay.repetition = 64;
    FlexRaySignal const flexRaySignal(flexRay, false);
    auto const inUse = verdicts(FlexRaySignal::signalsInUse);
    EXPECT_TRUE(inUse.at("FlexRay channel 1, slot 100, cycle 3"));
    EXPECT_FALSE(inUse.at("LIN channel 2, identifier 0x21"));
}

TEST(RecordFormats, inputRecordsAreWhatTheyAreSaidToBe) {
    struct {
        char const* input;
        char const* record;
    } const cases[] = {{"DI.3", "digital input 3, mask 1"}, {"AI.4", "analog input 4"}, {"RC.F7", "keyboard"}};
    for (auto const& [input, record] : cases) {
        InputSignal const signal(input);
        for (auto const& [description, inUse] : verdicts(InputSignal::signalsInUse))
            EXPECT_EQ(inUse, description == record) << description;
    }
}

// Runs a script with one argument; returns what it prints.
std::string runPython(std::vector<std::string> const& lines, std::string const& argument) {
    SharedName const script("script"); // a file of our own below /tmp
    {
        std::ofstream file(script.path());
        for (std::string const& line : lines)
            file << line << '\n';
    }
    std::string output;
    FILE* const pipe = popen(("python3 " + script.path() + " " + argument + " 2>&1").c_str(), "r");
    if (pipe == nullptr)
        return "cannot run it";
    for (int c = fgetc(pipe); c != EOF; c = fgetc(pipe))
        output += static_cast<char>(c);
    pclose(pipe);
    return output;
}

TEST(RecordFormats, pythonReaderReads) {
    if (std::string(host) != "x86-64")
        GTEST_SKIP() << "the script is for x86-64";
    std::vector<std::string> const script = Page(page).block("python");
    SharedName const name;
    CANSignalExt signal(exampleDefinition(name), true);
    EXPECT_EQ(runPython(script, name.name()), name.name() + ": no value\n");
    CANSignalExt::decodeMessage(exampleFrame());
    EXPECT_EQ(runPython(script, name.name()), "5000000 812.5 rpm\n");
    // It leaves the record as it found it, unlocked.
    unsigned long long value = 0;
    unsigned long long timestamp = 0;
    ASSERT_TRUE(signal.read(value, timestamp));
    EXPECT_EQ(value, 3250U);
}

TEST(RecordFormats, pythonReaderReadsEveryType) {
    if (std::string(host) != "x86-64")
        GTEST_SKIP() << "the script is for x86-64";
    std::vector<std::string> const script = Page(page).block("python");
    struct {
        signalValue_t type;
        unsigned char bits;
        unsigned long long payload;
        char const* printed;
    } const cases[] = {
        {signalUnsigned, 16, 0xFFFF000000000000, "7 65535.0 \n"},
        {signalSigned, 16, 0xFEFF000000000000, "7 -2.0 \n"},
        {signalFloat, 32, 0x0000C03F00000000, "7 1.5 \n"},
        {signalDouble, 64, 0x000000000000F83F, "7 1.5 \n"},
    };
    for (auto const& [type, bits, payload, printed] : cases) {
        SharedName const name;
        baseSignalDef_t definition = plainDefinition(name.name(), bits);
        definition.type = type;
        ShmSignal signal(definition, true);
        signal.write(payload, 7);
        EXPECT_EQ(runPython(script, name.name()), printed);
    }
}

} // namespace
