// LIN definitions, frames and records for tests.
#pragma once

#include "qzsignal/lin/LINSignal.h"
#include "qzsignal/trace/LINTraceMessage.h"

#include <array>
#include <string>
#include <utility>
#include <vector>

// A signal in the first payload byte.
inline linSignalDef_t linDefinition(std::string const& instance, std::uint32_t identifier, std::uint8_t channel = 2) {
    linSignalDef_t result;
    result.instance = instance;
    result.signal = "Field";
    result.channel = channel;
    result.bits = 8;
    result.scale = 1;
    result.msgId = identifier;
    return result;
}

inline LINTraceMessage linFrame(std::uint8_t channel, std::uint8_t protectedIdentifier,
                                std::vector<unsigned char> payload = {0x12, 0x34}) {
    LINTraceMessage message;
    message.timestamp = 1000;
    message.channel = channel;
    message.identifier = protectedIdentifier;
    message.data = std::move(payload);
    return message;
}

using LINRecord = std::array<unsigned char, 28>;

// A serialized record. What is not read is filled with garbage.
inline LINRecord linRecord(std::uint8_t channel, std::uint16_t identifier) {
    LINRecord bytes;
    bytes.fill(0xa5);
    bytes[14] = channel;
    bytes[26] = static_cast<unsigned char>(identifier >> 8);
    bytes[27] = static_cast<unsigned char>(identifier);
    return bytes;
}

// A LIN signal that messages feed: filed under the key without tag, by which messages are looked up.
class FedLINSignal : public LINSignal {
public:
    FedLINSignal(linSignalDef_t const& definition, bool shared) : LINSignal(definition, shared) {
        auto const entry = linMessageContainer.find(messageId);
        entry->second.pop_back(); // itself, as the last one that was filed
        if (entry->second.empty())
            linMessageContainer.erase(entry);
        messageId -= 0x4000000000000000;
        linMessageContainer[messageId].push_back(this);
    }
};
