// Checks, when compiling for a 32-bit target, that the trace messages' fields have their offsets in the device's
// library.
#include "qzsignal/trace/AnalogTraceMessage.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "qzsignal/trace/FlexRayExtTraceMessage.h"
#include "qzsignal/trace/GpioTraceMessage.h"
#include "qzsignal/trace/KeyboardMessage.h"
#include "qzsignal/trace/LINTraceMessage.h"

#include <cstddef>

// The messages have a base with data members, for which offsetof is only conditionally supported; GCC and clang support
// it for every class without virtual bases.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace {

// Offsets depend only on the size of a pointer; 64-bit hosts have no device library to agree with.
constexpr bool at(std::size_t offset, std::size_t required) {
    return sizeof(void*) != 4 || offset == required;
}

static_assert(at(offsetof(CANExtTraceMessage, timestamp), 32), "");
static_assert(at(offsetof(CANExtTraceMessage, channel), 40), "");
static_assert(at(offsetof(CANExtTraceMessage, extended), 52), "");
static_assert(at(offsetof(CANExtTraceMessage, length), 56), "");
static_assert(at(offsetof(CANExtTraceMessage, identifier), 60), "");
static_assert(at(offsetof(CANExtTraceMessage, payload), 64), "");

static_assert(at(offsetof(LINTraceMessage, timestamp), 32), "");
static_assert(at(offsetof(LINTraceMessage, data), 40), "");
static_assert(at(offsetof(LINTraceMessage, channel), 52), "");
static_assert(at(offsetof(LINTraceMessage, identifier), 64), "");

static_assert(at(offsetof(FlexRayExtTraceMessage, timestamp), 32), "");
static_assert(at(offsetof(FlexRayExtTraceMessage, channel), 41), "");
static_assert(at(offsetof(FlexRayExtTraceMessage, payload), 44), "");
static_assert(at(offsetof(FlexRayExtTraceMessage, slot), 58), "");
static_assert(at(offsetof(FlexRayExtTraceMessage, cycle), 64), "");

static_assert(at(offsetof(KeyboardMessage, timestamp), 32), "");
static_assert(at(offsetof(KeyboardMessage, keyCode), 40), "");
static_assert(at(offsetof(KeyboardMessage, keyState), 44), "");

static_assert(at(offsetof(GpioTraceMessage, timestamp), 32), "");
static_assert(at(offsetof(GpioTraceMessage, entries), 40), "");
static_assert(at(offsetof(AnalogTraceMessage, timestamp), 32), "");
static_assert(at(offsetof(AnalogTraceMessage, entries), 40), "");

// The entries contain no pointers and have the same layout on every host.
static_assert(sizeof(GpioEntry) == 12 && offsetof(GpioEntry, input) == 0, "");
static_assert(offsetof(GpioEntry, mask) == 8 && offsetof(GpioEntry, levels) == 10, "");
static_assert(sizeof(AnalogEntry) == 20 && offsetof(AnalogEntry, channel) == 0, "");
static_assert(offsetof(AnalogEntry, reading) == 8, "");

} // namespace
