// Filing and feeding LIN signals.
#include "qzsignal/lin/LINSignal.h"

#include "qzsignal/PrintedForm.h"
#include "qzsignal/signal/Diagnostics.h"
#include "qzsignal/signal/Dispatch.h"
#include "qzsignal/signal/MessageKey.h"
#include "qzsignal/trace/LINTraceMessage.h"
#include "qzsignal/trace/RawRecord.h"

namespace {

constexpr char label[] = "LINSignal";

} // namespace

qzsignal::DispatchMap<LINSignal> LINSignal::linMessageContainer;

LINSignal::LINSignal(linSignalDef_t const& definition, bool shared)
    : ShmSignal(definition, shared), d_definition(definition) {
    messageId = qzsignal::linKey(definition.channel, definition.msgId);
    linMessageContainer.file(messageId, this);
    if (qzsignal::debugging())
        qzsignal::traceCreated(label, instance, shared, *this);
}

LINSignal::LINSignal(char const* instanceName) : ShmSignal(instanceName) {
    if (qzsignal::debugging())
        qzsignal::traceCreated(label, instance, false, *this);
}

LINSignal::~LINSignal() {
    qzsignal::withdraw(linMessageContainer, messageId, this, label);
}

bool LINSignal::signalsInUse(unsigned char const* begin, unsigned char const* /*end*/) {
    if (linMessageContainer.empty())
        return false;
    qzsignal::RawRecord const record(begin);
    std::uint8_t const channel = record.byte(qzsignal::record::channel);
    std::uint16_t const identifier = record.word16(qzsignal::record::linIdentifier);
    return linMessageContainer.signals(qzsignal::linKey(channel, identifier)) != nullptr;
}

unsigned long long LINSignal::decodeMessage(LINTraceMessage const& message) {
    // Deliberate: the key lacks the tag that definitions and the pre-filter add, so no defined signal is found. Signals
    // that a program files under such a key itself are fed.
    std::uint64_t const key = qzsignal::untaggedLinKey(message.channel, message.identifier & 0x3f);
    // Deliberate: the length is taken modulo 256, so a payload of 256 bytes has length 0. A LIN frame has at most
    // eight.
    auto const length = static_cast<std::uint8_t>(message.data.size());
    return qzsignal::deliver(linMessageContainer, key, label, [&message, length](LINSignal& signal) {
        signal.ShmSignal::write(message.data.data(), length, message.timestamp);
    });
}

std::ostream& operator<<(std::ostream& out, linSignalDef_t const& definition) {
    return qzsignal::printForm(out, static_cast<baseSignalDef_t const&>(definition), ",msgId=", definition.msgId);
}

std::ostream& operator<<(std::ostream& out, LINSignal const& signal) {
    return qzsignal::printForm(out, static_cast<ShmSignal const&>(signal), ";", signal.d_definition);
}
