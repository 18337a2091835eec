// Everything that self-contained CAN signals print, to the character.
#include "tests/support/CANSignalProbe.h"
#include "tests/support/Capture.h"
#include "tests/support/Observe.h"
#include "tests/support/SharedName.h"

#include <gtest/gtest.h>

#include <cstring>
#include <iomanip>
#include <memory>

namespace {

canSignal_t fullDefinition(std::string const& name) {
    canSignal_t definition = canDefinition(name, 12);
    definition.unit = "km/h";
    definition.type = canSigned;
    definition.startbit = 7;
    definition.scale = 0.5;
    definition.offset = -40;
    definition.endian = true;
    return definition;
}

class CANSignalTextTest : public testing::Test {
protected:
    void TearDown() override { BaseSignal::debug = 0; }

    // What `print` writes to standard output.
    static std::string printed(CANSignal const& signal) {
        Capture output(std::cout);
        signal.print(std::cerr);
        return output.text();
    }

    std::string const layoutLine = "[DEBUG] d_lsbBit=12,d_startByte=1,d_bytes=2,d_shift=4,d_maksBits=fff,d_signBit=800,"
                                   "d_rawMask=fff0000000000000\n";
    SharedName d_name;
};

TEST_F(CANSignalTextTest, typesPrintTheirNames) {
    char const* const names[] = {"unsigned", "signed", "float", "double"};
    for (int type = 0; type < 4; ++type) {
        std::ostringstream out;
        out << static_cast<canValue_t>(type);
        EXPECT_EQ(out.str(), names[type]);
    }
    for (int const type : {4, -1, 256, 0x7fffffff}) {
        std::ostringstream out;
        out << static_cast<canValue_t>(type);
        EXPECT_EQ(out.str(), "");
    }
}

TEST_F(CANSignalTextTest, definitionPrintsItsFieldsInDecimal) {
    canSignal_t definition = fullDefinition("Speed");
    definition.bus = 0xffff;
    definition.id = 2047;
    definition.startbit = -3;
    definition.bits = 300;
    std::ostringstream out;
    out << std::hex << definition;
    EXPECT_EQ(out.str(), "[INFO] Speed,bus=65535,id=2047,unit=km/h,type=signed,startbit=-3,bits=300,scale=0.5,"
                         "offset=-40,endian=BIG");
    EXPECT_EQ(out.flags() & std::ios::basefield, std::ios::dec);
    std::ostringstream empty;
    empty << canSignal_t();
    EXPECT_EQ(empty.str(), "[INFO] ,bus=0,id=0,unit=,type=unsigned,startbit=0,bits=0,scale=0,offset=0,endian=LITTLE");
}

TEST_F(CANSignalTextTest, signalPrintsItsRecord) {
    CANSignalProbe signal(fullDefinition(d_name.name()), true);
    std::string const recordName = d_name.name().substr(0, 31);
    EXPECT_EQ(printed(signal), "[DEBUG] " + recordName +
                                   " shmem=1,used=0,bus=1,id=291,unit=km/h,type=signed,startbit=7,bits=12,scale=0.5,"
                                   "offset=-40,endian=BIG,value=00000000aaaaaaaa,timestamp=0000000055555555,addr=" +
                                   address(signal.d_data));
    signal.write(0x123fffffffffffffULL, 0xfedcba9876543210ULL);
    EXPECT_EQ(printed(signal), "[DEBUG] " + recordName +
                                   " shmem=1,used=1,bus=1,id=291,unit=km/h,type=signed,startbit=7,bits=12,scale=0.5,"
                                   "offset=-40,endian=BIG,value=1230000000000000,timestamp=fedcba9876543210,addr=" +
                                   address(signal.d_data));
    EXPECT_EQ(printed(signal), canDescription(signal));
}

TEST_F(CANSignalTextTest, privateSignalPrintsSo) {
    canSignal_t definition = canDefinition("a", 8);
    definition.type = static_cast<canValue_t>(9);
    CANSignalProbe const signal(definition, false);
    EXPECT_EQ(printed(signal), "[DEBUG] a shmem=0,used=0,bus=1,id=291,unit=,type=,startbit=0,bits=8,scale=1,offset=0,"
                               "endian=LITTLE,value=00000000aaaaaaaa,timestamp=0000000055555555,addr=" +
                                   address(&signal.d_localData));
}

// Deliberate: the stream that is given stays empty.
TEST_F(CANSignalTextTest, signalPrintsToStandardOutputWhateverTheStream) {
    CANSignalProbe const signal(canDefinition("a", 8), false);
    std::ostringstream out;
    Capture output(std::cout);
    signal.print(out);
    EXPECT_EQ(output.take(), canDescription(signal));
    out << static_cast<BaseSignal const&>(signal);
    EXPECT_EQ(output.take(), canDescription(signal));
    EXPECT_EQ(out.str(), "");
}

TEST_F(CANSignalTextTest, formatOfStandardOutputDoesNotMatterAndStays) {
    CANSignalProbe const signal(canDefinition("a", 8), false);
    Capture output(std::cout);
    std::cout << std::hex << std::showbase << std::setfill('*') << std::setprecision(17);
    signal.print(std::cout);
    EXPECT_EQ(output.take(), canDescription(signal));
    EXPECT_EQ(std::cout.flags() & std::ios::basefield, std::ios::hex);
    EXPECT_EQ(std::cout.fill(), '*');
}

TEST_F(CANSignalTextTest, textsWithoutEndArePrintedNoFurtherThanTheirField) {
    CANSignalProbe const signal(canDefinition("a", 8), false);
    std::memset(signal.d_data->name, 'x', sizeof signal.d_data->name);
    std::memset(signal.d_data->unit, 'y', sizeof signal.d_data->unit);
    std::string const text = printed(signal);
    EXPECT_EQ(text.find("[DEBUG] " + std::string(32, 'x') + " shmem="), 0U);
    EXPECT_NE(text.find(",unit=" + std::string(32, 'y') + ",type="), std::string::npos);
}

TEST_F(CANSignalTextTest, waitingSignalPrintsThatItIsNotValid) {
    Capture const errors(std::cerr);
    CANSignal const signal(d_name.c_str());
    EXPECT_EQ(printed(signal), "[DEBUG] CANSignal not valid\n");
}

TEST_F(CANSignalTextTest, everythingIsSilentWithoutDebugging) {
    Capture const output(std::cout);
    Capture const errors(std::cerr);
    {
        CANSignalProbe signal(fullDefinition(d_name.name()), true);
        signal.write(1ULL, 2ULL);
        signal.write(1.0, 2ULL);
        signal.readRaw();
        signal.readPhys();
        CANSignal::decodeMessage(1, 0x123, 5, 6);
        signal.clear();
    }
    EXPECT_EQ(output.text() + errors.text(), "");
}

TEST_F(CANSignalTextTest, definitionIsShownWhenDebugging) {
    Capture output(std::cout);
    BaseSignal::debug = 1;
    CANSignalProbe const other(canDefinition("other", 8), false);
    output.take();
    {
        CANSignalProbe const signal(fullDefinition(d_name.name()), true);
        EXPECT_EQ(output.take(), "[DEBUG] BaseSignal: " + d_name.name() + " created\n" + layoutLine +
                                     "[DEBUG] CANSignal " + d_name.name() + " created (shared memory)\n" +
                                     canDescription(signal) + "\n[DEBUG] " +
                                     address(static_cast<CANSignal const*>(&signal)) + ", index = 2339, size = 2\n");
    }
    EXPECT_EQ(output.take(), "[DEBUG] CANSignal " + d_name.name() + ", shared memory and mutex deleted\n" +
                                 "[DEBUG] ~BaseSignal: " + d_name.name() + " deleted\n");
}

TEST_F(CANSignalTextTest, privateDefinitionIsShownWhenDebugging) {
    Capture output(std::cout);
    BaseSignal::debug = 1;
    {
        CANSignalProbe const signal(fullDefinition("private"), false);
        EXPECT_EQ(output.take(), "[DEBUG] BaseSignal: private created\n" + layoutLine +
                                     "[DEBUG] CANSignal private created \n" + canDescription(signal) + "\n[DEBUG] " +
                                     address(static_cast<CANSignal const*>(&signal)) + ", index = 2339, size = 1\n");
    }
    EXPECT_EQ(output.take(), "[DEBUG] CANSignal private deleted\n[DEBUG] ~BaseSignal: private deleted\n");
}

TEST_F(CANSignalTextTest, openingByNameIsShownWhenDebugging) {
    Capture const errors(std::cerr);
    Capture output(std::cout);
    CANSignalProbe const definer(fullDefinition(d_name.name()), true);
    BaseSignal::debug = 1;
    {
        CANSignalProbe const reader(d_name.c_str());
        EXPECT_EQ(output.take(), "[DEBUG] BaseSignal: " + d_name.name() + " created\n" + layoutLine +
                                     "[DEBUG] CANSignal " + d_name.name() + " created (shared memory found).\n" +
                                     canDescription(reader) + "\n");
    }
    EXPECT_EQ(output.take(), "[DEBUG] CANSignal " + d_name.name() + " deleted (shared memory still exists).\n" +
                                 "[DEBUG] ~BaseSignal: " + d_name.name() + " deleted\n");
}

TEST_F(CANSignalTextTest, waitingIsShownWhenDebugging) {
    Capture errors(std::cerr);
    Capture output(std::cout);
    BaseSignal::debug = 1;
    {
        CANSignalProbe reader(d_name.c_str());
        EXPECT_EQ(output.take(), "[DEBUG] BaseSignal: " + d_name.name() + " created\n[DEBUG] CANSignal " +
                                     d_name.name() + " created (shared memory NOT found).\n");
        reader.readRaw();
        reader.readPhys();
        reader.write(1ULL, 2ULL);
        EXPECT_EQ(output.take(), "");
        reader.write(1.0, 2ULL);
        EXPECT_EQ(output.take(), "[DEBUG] CANSignal::write physical value [DEBUG] CANSignal not valid\n\n"
                                 "[DEBUG] CANSignal::encode: rawValue:" +
                                     d_name.name() +
                                     ": 0\n"
                                     "[DEBUG] CANSignal::encode: little endian, bits = 0, startbit = 0, maskBits = 0, "
                                     "signBit = 0, msg = 0000000000000000\n");
    }
    EXPECT_EQ(output.take(), "[DEBUG] CANSignal " + d_name.name() + " deleted (no shared memory found)\n" +
                                 "[DEBUG] ~BaseSignal: " + d_name.name() + " deleted\n");
}

TEST_F(CANSignalTextTest, decodingIsShownWhenDebugging) {
    Capture output(std::cout);
    CANSignalProbe signal(fullDefinition("a"), false);
    BaseSignal::debug = 1;
    EXPECT_EQ(signal.decode(0xf20304050607080aULL), 0xffffffffffffff20U);
    EXPECT_EQ(output.take(), "[DEBUG] CANSignal::decode: a: f2-03-04-05-06-07-08-0a\n"
                             "[DEBUG] CANSignal::decode: big endian, bits = 12, startbit = 7, maskBits = fff, "
                             "signBit = 800, item = ffffffffffffff20\n");
    signal.place(8, 16, false);
    output.take();
    signal.decode(0x0012340000000000ULL);
    EXPECT_EQ(output.take(), "[DEBUG] CANSignal::decode: a: 00-12-34-00-00-00-00-00\n"
                             "[DEBUG] CANSignal::decode: little endian, bits = 16, startbit = 8, maskBits = ffff, "
                             "signBit = 8000, item = 0000000000003412\n");
}

TEST_F(CANSignalTextTest, encodingIsShownWhenDebugging) {
    Capture output(std::cout);
    CANSignalProbe signal(canDefinition("a", 8), false);
    signal.place(12, 10, false);
    BaseSignal::debug = 1;
    EXPECT_EQ(signal.encode(0x1fff), 0x3ff000U);
    EXPECT_EQ(output.take(), "[DEBUG] CANSignal::encode: rawValue:a: 3ff0\n"
                             "[DEBUG] CANSignal::encode: little endian, bits = 10, startbit = 12, maskBits = 3ff, "
                             "signBit = 200, msg = 00000000003ff000\n");
    signal.place(7, 64, true);
    output.take();
    signal.encode(0x0102030405060708);
    EXPECT_EQ(output.take(), "[DEBUG] CANSignal::encode: rawValue:a: 102030405060708\n"
                             "[DEBUG] CANSignal::encode: big endian, bits = 64, startbit = 7, maskBits = "
                             "ffffffffffffffff, signBit = 8000000000000000, msg = 0807060504030201\n");
}

TEST_F(CANSignalTextTest, accessesAreShownWhenDebugging) {
    Capture output(std::cout);
    CANSignalProbe signal(fullDefinition(d_name.name()), true);
    std::string const decoding = "[DEBUG] CANSignal::decode: " + d_name.name() +
                                 ": 12-30-00-00-00-00-00-00\n"
                                 "[DEBUG] CANSignal::decode: big endian, bits = 12, startbit = 7, maskBits = fff, "
                                 "signBit = 800, item = 0000000000000123\n";
    BaseSignal::debug = 1;
    signal.write(0x123fffffffffffffULL, 5ULL);
    EXPECT_EQ(output.take(), "[DEBUG] CANSignal::write " + canDescription(signal) + "\n")
        << "with the new value and timestamp";
    signal.write(0x1230000000000000ULL, 6ULL);
    EXPECT_EQ(output.take(), "[DEBUG] CANSignal::write (no change) " + canDescription(signal) + "\n");
    signal.readRaw();
    EXPECT_EQ(output.take(), decoding + "[DEBUG] CANSignal::read " + canDescription(signal) + "\n");
    signal.readPhys();
    EXPECT_EQ(output.take(), decoding + "[DEBUG] CANSignal::read " + canDescription(signal) + "\n[DEBUG] " +
                                 d_name.name() + " = 105.5\n");
}

TEST_F(CANSignalTextTest, physicalWriteIsShownWhenDebugging) {
    Capture output(std::cout);
    CANSignalProbe signal(canDefinition("a", 64), false);
    std::string const before = canDescription(signal);
    BaseSignal::debug = -1;
    signal.write(18.0, 5ULL);
    EXPECT_EQ(output.take(), "[DEBUG] CANSignal::write physical value " + before +
                                 "\n[DEBUG] CANSignal::encode: rawValue:a: 12\n"
                                 "[DEBUG] CANSignal::encode: little endian, bits = 64, startbit = 0, maskBits = "
                                 "ffffffffffffffff, signBit = 8000000000000000, msg = 0000000000000012\n"
                                 "[DEBUG] CANSignal::write " +
                                 canDescription(signal) + "\n");
}

TEST_F(CANSignalTextTest, unwrittenPhysicalReadShowsNoPhysicalValue) {
    Capture output(std::cout);
    CANSignalProbe signal(canDefinition("a", 8), false);
    BaseSignal::debug = 1;
    signal.readPhys();
    EXPECT_EQ(output.take().find("[DEBUG] a = "), std::string::npos);
}

// A derived class may print itself in another way; the lines show that.
class PrintsItself : public CANSignal {
public:
    using CANSignal::CANSignal;
    void print(std::ostream& out) const override { out << "itself"; }
};

TEST_F(CANSignalTextTest, accessesShowThePrintFormOfADerivedClass) {
    PrintsItself signal(canDefinition("a"), false);
    Capture output(std::cout);
    BaseSignal::debug = 1;
    unsigned long long raw = 0, timestamp = 0;
    signal.read(raw, timestamp);
    signal.write(5ULL << 56, 1ULL);
    signal.write(5ULL << 56, 1ULL);
    signal.write(1.0, 1ULL);
    BaseSignal::debug = 0;
    for (char const* const access : {"read", "write", "write (no change)", "write physical value"})
        EXPECT_NE(output.text().find("[DEBUG] CANSignal::" + std::string(access) + " itself\n"), std::string::npos)
            << access;
    EXPECT_EQ(output.text().find("shmem="), std::string::npos);
}

// A derived class sees each payload once, also while it waits.
class CountsWrites : public CANSignal {
public:
    using CANSignal::CANSignal;
    using CANSignal::write;
    bool write(unsigned long long payload, unsigned long long timestamp) override {
        d_payloads.push_back(payload);
        return CANSignal::write(payload, timestamp);
    }
    std::vector<unsigned long long> d_payloads;
};

TEST_F(CANSignalTextTest, physicalWriteWhileWaitingWarnsOnceAndWritesOnce) {
    Capture errors(std::cerr);
    CountsWrites reader(d_name.c_str());
    errors.take();
    EXPECT_FALSE(reader.write(1.0, 2ULL));
    EXPECT_EQ(errors.take(), "[WARNING] CANSignal: " + d_name.name() + ": Waiting for key (" + d_name.path() + ")\n");
    EXPECT_EQ(reader.d_payloads, (std::vector<unsigned long long>{0}));

    canSignal_t definition = canDefinition(d_name.name(), 64); // of which all is placed
    CANSignal const definer(definition, true);
    errors.take();
    EXPECT_TRUE(reader.write(3.0, 4ULL));
    EXPECT_EQ(errors.text(), "");
    EXPECT_EQ(reader.d_payloads, (std::vector<unsigned long long>{0, 3})) << "encoded by the record that is there now";
}

} // namespace
