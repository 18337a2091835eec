// Values, filing, pre-filtering and feeding of input signals.
#include "qzsignal/input/InputSignal.h"

#include "qzsignal/trace/AnalogTraceMessage.h"
#include "qzsignal/trace/GpioTraceMessage.h"
#include "qzsignal/trace/KeyboardMessage.h"
#include "tests/support/Capture.h"

#include <gtest/gtest.h>

namespace {

TEST(InputSignalTest, keyReachesAllItsSignalsInOrderOfConstruction) {
    Capture const errors(std::cerr);
    InputSignal second("RC.TRG"), first("RC.TRG");
    EXPECT_EQ(InputSignal::inputContainer.at(0x1000000000000010), (std::vector<InputSignal*>{&second, &first}));
    KeyboardMessage message;
    message.timestamp = 1000;
    message.keyCode = 16;
    message.keyState = 2;
    EXPECT_EQ(InputSignal::decodeMessage(message), 0x1000000000000010U);
    unsigned long long value = 0, timestamp = 0;
    for (InputSignal* const signal : {&first, &second}) {
        EXPECT_TRUE(signal->read(value, timestamp));
        EXPECT_EQ(value, 2U);
        EXPECT_EQ(timestamp, 1000U);
    }
}

} // namespace
