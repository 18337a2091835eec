// The predefined inputs and their keys in both kinds of signals.
#include "qzsignal/input/InputTable.h"

#include "qzsignal/input/InputSignal.h"
#include "qzsignal/input/InputSignalExt.h"
#include "tests/support/Capture.h"

#include <gtest/gtest.h>

namespace {

using qzsignal::findInput;
using qzsignal::Input;
using qzsignal::InputClass;

struct Row {
    char const* d_name;
    unsigned long long d_key;       // of InputSignal
    unsigned long long d_sharedKey; // of InputSignalExt
};

constexpr Row rows[] = {
    {"DI.0", 0x0800000000000001, 0x0800000000000000},   {"DI.1", 0x0800000000010001, 0x0800000000000001},
    {"DI.2", 0x0800000000020001, 0x0800000000000002},   {"DI.3", 0x0800000000030001, 0x0800000000000003},
    {"DI.4", 0x0800000000040001, 0x0800000000000004},   {"AI.0", 0x0400000000000000, 0x0400000000000000},
    {"AI.1", 0x0400000000000001, 0x0400000000000001},   {"AI.2", 0x0400000000000002, 0x0400000000000002},
    {"AI.3", 0x0400000000000003, 0x0400000000000003},   {"AI.4", 0x0400000000000004, 0x0400000000000004},
    {"AI.5", 0x0400000000000005, 0x0400000000000005},   {"AI.6", 0x0400000000000006, 0x0400000000000006},
    {"AI.7", 0x0400000000000007, 0x0400000000000007},   {"AI.8", 0x0400000000000008, 0x0400000000000008},
    {"AI.9", 0x0400000000000009, 0x0400000000000009},   {"RC.F1", 0x1000000000000001, 0x1000000000000001},
    {"RC.F2", 0x1000000000000002, 0x1000000000000002},  {"RC.F3", 0x1000000000000003, 0x1000000000000003},
    {"RC.F4", 0x1000000000000004, 0x1000000000000004},  {"RC.F5", 0x1000000000000005, 0x1000000000000005},
    {"RC.F6", 0x1000000000000006, 0x1000000000000006},  {"RC.F7", 0x1000000000000007, 0x1000000000000007},
    {"RC.F8", 0x1000000000000008, 0x1000000000000008},  {"RC.F9", 0x1000000000000009, 0x1000000000000009},
    {"RC.F10", 0x100000000000000a, 0x100000000000000a}, {"RC.TRG", 0x1000000000000010, 0x1000000000000010},
};

constexpr char const* unknownNames[] = {"AI.10", "AI.",   "AI",     "ai.0",   "di.0",  "DI.0 ",  " DI.0", "DI.5",
                                        "DI.00", "RC.F0", "RC.F11", "RC.F01", "RC.f1", "RC.trg", "0"};

TEST(InputTableTest, keysOfEveryRow) {
    for (Row const& row : rows) {
        SCOPED_TRACE(row.d_name);
        qzsignal::InputRow const* const found = findInput(row.d_name);
        ASSERT_NE(found, nullptr);
        EXPECT_STREQ(found->d_name, row.d_name);
        EXPECT_EQ(qzsignal::numberAndMaskKey(found->input()), row.d_key);
        EXPECT_EQ(qzsignal::numberKey(found->input()), row.d_sharedKey);
    }
}

TEST(InputTableTest, namesAreComparedExactly) {
    for (char const* const name : unknownNames)
        EXPECT_EQ(findInput(name), nullptr) << name;
}

TEST(InputTableTest, emptyNameEndsTheTableWithKeyZero) {
    qzsignal::InputRow const* const end = findInput("");
    ASSERT_NE(end, nullptr);
    EXPECT_EQ(end->d_class, InputClass::None);
    EXPECT_EQ(qzsignal::numberAndMaskKey(end->input()), 0U);
    EXPECT_EQ(qzsignal::numberKey(end->input()), 0U);
    EXPECT_EQ(end - findInput("DI.0"), 26) << "inputs before it";
}

TEST(InputTableTest, keysOfInputsAtTheLimits) {
    struct {
        Input input;
        unsigned long long key, sharedKey;
    } const cases[] = {
        {{InputClass::Digital, 65535, 65535}, 0x08000000ffffffff, 0x080000000000ffff},
        {{InputClass::Digital, 3, 3}, 0x0800000000030003, 0x0800000000000003},
        {{InputClass::Digital, 0, 0}, 0x0800000000000000, 0x0800000000000000},
        {{InputClass::Analog, 65535, 0}, 0x040000000000ffff, 0x040000000000ffff},
        {{InputClass::Keyboard, INT32_MAX, 0}, 0x100000007fffffff, 0x100000007fffffff},
        // A negative key code borrows from the tag.
        {{InputClass::Keyboard, -1, 0}, 0x0fffffffffffffff, 0x0fffffffffffffff},
        {{InputClass::Keyboard, INT32_MIN, 0}, 0x0fffffff80000000, 0x0fffffff80000000},
    };
    for (auto const& each : cases) {
        EXPECT_EQ(qzsignal::numberAndMaskKey(each.input), each.key);
        EXPECT_EQ(qzsignal::numberKey(each.input), each.sharedKey);
    }
}

template <typename Signal>
class Keyed : public Signal {
public:
    using Signal::messageId;
    using Signal::Signal;
};

TEST(InputTableTest, everyInputSignalIsFiledUnderItsKey) {
    for (Row const& row : rows) {
        SCOPED_TRACE(row.d_name);
        Keyed<InputSignal> signal(row.d_name);
        EXPECT_EQ(signal.messageId, row.d_key);
        ASSERT_EQ(InputSignal::inputContainer.size(), 1U);
        EXPECT_EQ(InputSignal::inputContainer.at(row.d_key), (std::vector<InputSignal*>{&signal}));
    }
    EXPECT_TRUE(InputSignal::inputContainer.empty());
}

TEST(InputTableTest, everyInputInSharedMemoryIsFiledUnderItsKey) {
    Capture const errors(std::cerr);
    for (Row const& row : rows) {
        SCOPED_TRACE(row.d_name);
        inputSignalDef_t definition;
        definition.instance = row.d_name;
        Keyed<InputSignalExt> signal(definition, false);
        EXPECT_EQ(signal.messageId, row.d_sharedKey);
        ASSERT_EQ(InputSignalExt::inputContainer.size(), 1U);
        EXPECT_EQ(InputSignalExt::inputContainer.at(row.d_sharedKey), (std::vector<InputSignalExt*>{&signal}));
    }
    EXPECT_TRUE(InputSignalExt::inputContainer.empty());
    EXPECT_EQ(errors.text(), "") << "no name is reported as unknown";
}

TEST(InputTableTest, signalsOfUnknownNamesAreNotFiled) {
    Capture const errors(std::cerr);
    std::string expected;
    for (char const* const name : unknownNames) {
        {
            Keyed<InputSignal> const signal(name);
            EXPECT_EQ(signal.messageId, 0U) << name;
            EXPECT_TRUE(InputSignal::inputContainer.empty()) << name;
        }
        inputSignalDef_t definition;
        definition.instance = name;
        Keyed<InputSignalExt> const shared(definition, false);
        EXPECT_EQ(shared.messageId, 0U) << name;
        EXPECT_TRUE(InputSignalExt::inputContainer.empty()) << name;
        expected +=
            std::string("[WARNING] InputSignalExt: ") + name + " not found in predefined input lists, gpId = 0\n";
    }
    EXPECT_EQ(errors.text(), expected) << "of both kinds, only that in shared memory says so";
}

} // namespace
