// The attributes of messages that are read: cycle time, and whether a message is one of J1939.
#pragma once

#include "tools/definitions/Database.h"
#include "tools/definitions/dbc/Statements.h"

#include <string>
#include <string_view>
#include <vector>

namespace qztool {

// Takes the statements in the order of the file; they are applied once all are known, as a definition may come later.
class MessageAttributes {
public:
    static constexpr std::string_view protocol = "ProtocolType";     // of the file
    static constexpr std::string_view format = "VFrameFormat";       // a choice; J1939PG is that of J1939
    static constexpr std::string_view cycleTime = "GenMsgCycleTime"; // in milliseconds

    static bool isRead(std::string_view name) { return name == cycleTime || name == format || name == protocol; }

    void setFormats(std::vector<std::string_view> choices) { d_formats = std::move(choices); }
    // Why the value cannot be read; empty if it can.
    std::string add(AttributeStatement const& statement);

    // Those of single messages.
    std::vector<AttributeStatement> const& statements() const { return d_statements; }
    // What a message has without a statement of its own.
    void applyDefaults(MessageDefinition& message) const;
    void apply(AttributeStatement const& statement, MessageDefinition& message) const;

private:
    void applyFormat(std::string_view value, MessageDefinition& message) const;

    std::vector<std::string_view> d_formats;
    std::string_view d_defaultFormat;
    double d_defaultCycleTime = 0.0; // seconds
    bool d_isJ1939 = false;          // the file says so
    bool d_protocolStated = false;   // by more than a default
    std::vector<AttributeStatement> d_statements;
};

} // namespace qztool
