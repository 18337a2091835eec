// What is printed of a record beside a process that writes it all the time, without the lock.
#include "tests/process/Process.h"
#include "tests/process/TestSignal.h"
#include "tests/support/CANSignalProbe.h"
#include "tests/support/Capture.h"
#include "tests/support/Observe.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <time.h>

namespace {

constexpr int prints = 20000;

// Printing never waits for long: a writer that is always faster than two copies of its record gets torn ones printed.
// An emulated reader is that slow, so an emulated writer rests after each ten writes.
void restIfEmulated(unsigned long long number) {
#ifdef QZSIGNAL_EMULATED
    constexpr timespec rest = {0, 100000};
    if (number % 10 == 0)
        nanosleep(&rest, nullptr);
#else
    static_cast<void>(number);
#endif
}

std::string field(std::string const& text, std::string const& label) {
    std::size_t const begin = text.find(label) + label.size();
    return text.substr(begin, text.find(',', begin) - begin);
}

std::string hexadecimal(unsigned long long number, bool padded) {
    char text[20];
    std::snprintf(text, sizeof text, padded ? "%016llx" : "%llx", number);
    return text;
}

} // namespace

// The value is that of the payload and of the timestamp, and no physical value is another's.
TEST(PrintedWhileWritten, signalShowsWholeWrites) {
    SharedName const name;
    TestSignal const reader = [&name] { // its definer ends with the test
        return TestSignal(wordDefinition(name), true);
    }();
    Process writer([&name] {
        TestSignal signal(name.c_str());
        for (std::uint32_t i = 1;; ++i) {
            signal.write(wordPayload(i), 3ULL * i);
            signal.write(wordPayload(i), 3ULL * i + 1);
            signal.readPhys();
            restIfEmulated(i);
        }
    });
    ASSERT_TRUE(waitUntil([&reader] { return field(printed(reader), ",used=") == "yes"; }));
    for (int i = 0; i < prints; ++i) {
        std::string const text = printed(reader);
        unsigned long long const value = std::stoull(field(text, ",value=0x"), nullptr, 16);
        unsigned long long const time = std::stoull(field(text, ",timestamp=0x"), nullptr, 16);
        ASSERT_EQ(field(text, ",rawValue=0x"), hexadecimal(value << 32, true)) << text;
        ASSERT_EQ(time / 3, value) << text;
        if (field(text, ",conv=") == "yes")
            ASSERT_EQ(field(text, ",phys="), printed(static_cast<double>(value) / 2 - 1)) << text;
    }
}

TEST(PrintedWhileWritten, storeShowsWholeWrites) {
    SharedName const name;
    canSignal_t definition = canDefinition(name.name(), 64);
    definition.startbit = 7;
    definition.endian = true;
    CANSignalProbe const reader(definition, true);
    Process writer([&name] {
        CANSignalProbe signal(name.c_str());
        for (unsigned long long i = 1;; ++i) {
            signal.write(i << 32 | i, 5 * i);
            restIfEmulated(i);
        }
    });
    Capture output(std::cout);
    auto const shown = [&] {
        reader.print(std::cout);
        return output.take();
    };
    ASSERT_TRUE(waitUntil([&] { return field(shown(), ",used=") == "1"; }));
    for (int i = 0; i < prints; ++i) {
        std::string const text = shown();
        unsigned long long const value = std::stoull(field(text, ",value="), nullptr, 16);
        ASSERT_EQ(value >> 32, value & 0xffffffff) << text;
        ASSERT_EQ(field(text, ",timestamp="), hexadecimal(5 * (value >> 32), true)) << text;
    }
}
