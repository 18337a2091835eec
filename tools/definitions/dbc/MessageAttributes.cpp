// Values of attributes, and what they say of a message.
#include "tools/definitions/dbc/MessageAttributes.h"

#include "tools/definitions/Numerals.h"
#include "tools/definitions/ProblemText.h"

#include <algorithm>

namespace qztool {

namespace {

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

// Seconds. Tools write 0, or less, for messages without a cycle.
double secondsOf(std::string_view milliseconds) {
    double value = 0.0;
    return readReal(milliseconds, value).empty() ? std::max(value, 0.0) / 1000.0 : 0.0;
}

} // namespace

std::string MessageAttributes::add(AttributeStatement const& statement) {
    bool const isDefault = statement.reference.keyword == "BA_DEF_DEF_";
    if (statement.name == protocol) {
        if (statement.ofMessage || (isDefault && d_protocolStated))
            return "";
        d_protocolStated = !isDefault;
        d_isJ1939 = startsWith(statement.value, "J1939");
        return "";
    }
    double milliseconds = 0.0;
    if (statement.name == cycleTime && (!isDefault || !statement.value.empty())) {
        std::string const reason = readReal(statement.value, milliseconds);
        if (!reason.empty())
            return quote(statement.value) + " " + reason;
    }
    if (statement.ofMessage)
        d_statements.push_back(statement);
    else if (isDefault && statement.name == cycleTime)
        d_defaultCycleTime = secondsOf(statement.value);
    else if (isDefault)
        d_defaultFormat = statement.value;
    return "";
}

void MessageAttributes::applyDefaults(MessageDefinition& message) const {
    message.cycleTime = d_defaultCycleTime;
    applyFormat(d_defaultFormat, message);
}

void MessageAttributes::apply(AttributeStatement const& statement, MessageDefinition& message) const {
    if (statement.name == cycleTime)
        message.cycleTime = secondsOf(statement.value);
    else
        applyFormat(statement.value, message);
}

// A format is written by its number or by its name. One of standard frames does not go with an extended identifier:
// files have it as the default of a choice that was never made, and then the protocol of the file counts.
void MessageAttributes::applyFormat(std::string_view value, MessageDefinition& message) const {
    std::uint64_t number = 0;
    std::string_view name = value;
    if (readNumeral(value, number) == std::errc{})
        name = number < d_formats.size() ? d_formats[static_cast<std::size_t>(number)] : std::string_view();
    message.byParameterGroup =
        message.extended && (startsWith(name, "J1939") || (d_isJ1939 && !startsWith(name, "ExtendedCAN")));
}

} // namespace qztool
