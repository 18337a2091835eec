// Identifying FlexRay frames, filing and feeding FlexRay signals.
#include "qzsignal/flexray/FlexRaySignal.h"

#include "qzsignal/PrintedForm.h"
#include "qzsignal/flexray/FlexRayIdTable.h"
#include "qzsignal/shm/ShmSignalTake.h"
#include "qzsignal/signal/Diagnostics.h"
#include "qzsignal/signal/Dispatch.h"
#include "qzsignal/signal/MessageKey.h"
#include "qzsignal/trace/FlexRayExtTraceMessage.h"
#include "qzsignal/trace/RawRecord.h"

#include <algorithm>
#include <functional>
#include <iterator>

namespace {

using qzsignal::debugging;
using qzsignal::debugLine;

constexpr char label[] = "FlexRaySignal";

// A payload counts as present if it has at least two bytes: shorter ones do not occur on the bus.
constexpr std::size_t leastPayload = 2;

// Computes which payload bytes hold the signal. Start bits of 2048 and more, past the end of any payload, wrap around.
void setPayloadSpan(flexRaySignalDef_t& definition) {
    int const startBit = definition.startbit;
    int const bits = definition.bits;
    int const startByte = startBit / 8;
    int byteSize = 0;
    if (definition.endian) {
        // Deliberate: up to one byte more than the signal occupies; the raw value includes it.
        int const bitInByte = startBit % 8;
        byteSize = bits > bitInByte ? (bits - bitInByte + 7) / 8 + 1 : 1;
    } else {
        byteSize = (startBit + bits - 1) / 8 - startByte + 1;
    }
    definition.startByte = static_cast<std::uint8_t>(startByte);
    definition.byteSize = static_cast<std::uint8_t>(byteSize);
}

// The table exists as long as any signal is filed.
void releaseUnusedTable() {
    if (!FlexRaySignal::frMessageContainer.empty())
        return;
    delete[] FlexRaySignal::frIdArray;
    FlexRaySignal::frIdArray = nullptr;
}

} // namespace

std::uint16_t* FlexRaySignal::frIdArray = nullptr;
qzsignal::DispatchMap<FlexRaySignal> FlexRaySignal::frMessageContainer;

FlexRaySignal::FlexRaySignal(flexRaySignalDef_t const& definition, bool shared)
    : ShmSignal(definition, shared), d_definition(definition) {
    noteClass();
    if (frIdArray == nullptr)
        frIdArray = qzsignal::newFlexRayTable();
    messageId = fillFlexRayIdArray();
    try {
        frMessageContainer.file(messageId, this);
    } catch (...) {
        releaseUnusedTable(); // cells entered for this signal stay, as after its destruction
        throw;
    }
    setPayloadSpan(d_definition);
    d_data->startbit = definition.startbit % 8;
    cInit();
    if (d_definition.repetition == 0)
        d_definition.repetition = 1;
    if (debugging())
        qzsignal::traceCreated(label, instance, shared, *this);
}

FlexRaySignal::FlexRaySignal(char const* instanceName) : ShmSignal(instanceName) {
    if (debugging())
        qzsignal::traceCreated(label, instance, false, *this);
}

FlexRaySignal::~FlexRaySignal() {
    qzsignal::withdraw(frMessageContainer, messageId, this, label);
    releaseUnusedTable();
}

unsigned long long FlexRaySignal::getFlexRayId(FlexRayExtTraceMessage const& message) {
    std::uint32_t const cell = qzsignal::flexRayCell(message.channel, message.cycle, message.slot);
    // Deliberate: without the prefix of other errors.
    if (cell >= qzsignal::flexRayCells)
        qzsignal::writeLine(std::cerr, "", "index out of range");
    std::uint16_t const id = qzsignal::flexRayId(frIdArray, cell);
    if (debugging())
        debugLine("FlexRaySignal::getFlexRayId: index = ", cell, " - ", id);
    return qzsignal::flexRayKey(id);
}

unsigned long long FlexRaySignal::fillFlexRayIdArray() {
    // Deliberate: a frame is identified by its first cycle alone. Its other cycles are neither checked nor entered, so
    // a frame may join one with another repetition. A base cycle of 64 or more is looked up in the cells of the next
    // channel, or beyond the table, where no frame is known.
    std::uint32_t const first = qzsignal::flexRayCell(d_definition.channel, d_definition.baseCycle, d_definition.slot);
    std::uint16_t const known = qzsignal::flexRayId(frIdArray, first);
    if (known != 0)
        return qzsignal::flexRayKey(known);
    // Deliberate: one more than the greatest id in use, so the id of a frame whose signals are gone is reused, along
    // with the cells that still hold it. After 0xFFFF comes 0, the id of all unknown frames.
    std::uint64_t const last = frMessageContainer.empty() ? 0 : std::prev(frMessageContainer.end())->first;
    auto const id = static_cast<std::uint16_t>(last + 1);
    qzsignal::enterFlexRayId(frIdArray, d_definition.channel, d_definition.slot, d_definition.baseCycle,
                             d_definition.repetition, id);
    return qzsignal::flexRayKey(id);
}

bool FlexRaySignal::signalsInUse(unsigned char const* begin, unsigned char const* end) {
    if (frMessageContainer.empty())
        return false;
    // Deliberate: 20 bytes are enough, though the cycle is byte 24 and is read wherever the record ends.
    if (!std::greater<>()(end, begin) || end - begin < std::ptrdiff_t{qzsignal::record::flexRayLeast})
        return false;
    qzsignal::RawRecord const record(begin);
    std::uint32_t const cell = qzsignal::flexRayCell(record.byte(qzsignal::record::flexRayChannel),
                                                     record.byte(qzsignal::record::flexRayCycle),
                                                     record.word16(qzsignal::record::flexRaySlot));
    return qzsignal::flexRayId(frIdArray, cell) != 0;
}

unsigned long long FlexRaySignal::decodeMessage(FlexRayExtTraceMessage const& message) {
    unsigned long long const key = getFlexRayId(message);
    std::vector<unsigned char> const& payload = message.payload;
    // Without a label: this kind does not print the addresses of signals.
    unsigned long long const served =
        qzsignal::deliver(frMessageContainer, key, nullptr, [&message, &payload](FlexRaySignal& signal) {
            if (payload.size() < leastPayload)
                return;
            // The part of the signal's bytes that is in the payload; the rest, and a ninth byte, read as zero.
            std::size_t const start = std::min<std::size_t>(signal.d_definition.startByte, payload.size());
            std::size_t const size = std::min<std::size_t>(signal.d_definition.byteSize, payload.size() - start);
            signal.take(qzsignal::rawWord(payload.data() + start, size), message.timestamp);
        });
    if (served == 0 && debugging())
        debugLine("FlexRaySignal::decodeMessage: id = ", key, " not found");
    return key;
}

std::ostream& operator<<(std::ostream& out, flexRaySignalDef_t const& definition) {
    return qzsignal::printForm(
        out, static_cast<baseSignalDef_t const&>(definition), ",slot=", definition.slot,
        ",baseCycle=", unsigned{definition.baseCycle}, ",repetition=", unsigned{definition.repetition},
        ",type=", definition.frameType != 0 ? "static" : "dynamic", ",startByte=", unsigned{definition.startByte},
        ",byteSize=", unsigned{definition.byteSize});
}

std::ostream& operator<<(std::ostream& out, FlexRaySignal const& signal) {
    return qzsignal::printForm(out, static_cast<ShmSignal const&>(signal), ";", signal.d_definition);
}
