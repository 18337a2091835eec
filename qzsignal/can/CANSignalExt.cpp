// Filing and feeding CAN signals.
#include "qzsignal/can/CANSignalExt.h"

#include "qzsignal/PrintedForm.h"
#include "qzsignal/shm/ShmSignalTake.h"
#include "qzsignal/signal/Dispatch.h"
#include "qzsignal/signal/MessageKey.h"
#include "qzsignal/signal/Printing.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "qzsignal/trace/RawRecord.h"

namespace {

using qzsignal::debugging;
using qzsignal::debuggingAbove;
using qzsignal::debugLine;

constexpr char label[] = "CANSignalExt";

} // namespace

qzsignal::DispatchMap<CANSignalExt> CANSignalExt::canMessageContainer;

CANSignalExt::CANSignalExt(canSignalDef_t const& definition, bool shared)
    : ShmSignal(definition, shared), d_definition(definition) {
    noteClass();
    messageId = qzsignal::canKey(definition.channel, definition.msgId, definition.extended);
    canMessageContainer.file(messageId, this);
    if (debugging())
        qzsignal::traceCreated(label, instance, shared, *this);
}

CANSignalExt::CANSignalExt(char const* instanceName) : ShmSignal(instanceName) {
    if (debugging())
        qzsignal::traceCreated(label, instance, false, *this);
}

CANSignalExt::~CANSignalExt() {
    qzsignal::withdraw(canMessageContainer, messageId, this, label);
}

bool CANSignalExt::signalsInUse(unsigned char const* begin, unsigned char const* /*end*/) {
    if (canMessageContainer.empty())
        return false;
    qzsignal::RawRecord const record(begin);
    std::uint8_t const channel = record.byte(qzsignal::record::channel);
    std::uint32_t const identifier = record.word32(qzsignal::record::canIdentifier);
    // The identifier of a record has its extended flag in bit 31 already.
    bool const found = canMessageContainer.signals(qzsignal::canKey(channel, identifier, false)) != nullptr;
    if (debuggingAbove(1))
        debugLine("CANSignalExt::signalsInUse: ", found ? "found" : "not found", ": channel ", unsigned{channel},
                  ", id ", identifier);
    return found;
}

unsigned long long CANSignalExt::decodeMessage(CANExtTraceMessage const& message) {
    std::uint64_t const key = qzsignal::canKey(message.channel, message.identifier, message.extended != 0);
    std::uint64_t const raw = qzsignal::rawWord(message.payload, message.length); // the same for all of its signals
    unsigned long long const timestamp = message.timestamp;
    unsigned long long const served = qzsignal::deliver(
        canMessageContainer, key, label, [raw, timestamp](CANSignalExt& signal) { signal.take(raw, timestamp); });
    if (served == 0 && debuggingAbove(1))
        debugLine("CANSignalExt::decodeMessage: CAN message not in canMessageContainer: ", message);
    return served;
}

std::ostream& operator<<(std::ostream& out, canSignalDef_t const& definition) {
    return qzsignal::printForm(out, static_cast<baseSignalDef_t const&>(definition), ",msgId=", definition.msgId,
                               ",extended=", qzsignal::yesNo(definition.extended));
}

std::ostream& operator<<(std::ostream& out, CANSignalExt const& signal) {
    return qzsignal::printForm(out, static_cast<ShmSignal const&>(signal), ";", signal.d_definition);
}
