// Value tables by instance name.
#include "tools/machine/ValueTexts.h"

#include "tools/base/TextFile.h"
#include "tools/definitions/Formats.h"
#include "tools/drive/Names.h"

namespace qztool {

bool ValueTexts::load(std::string const& path, Console& console) {
    std::string text;
    std::string const problem = readTextFile(path, text);
    if (!problem.empty()) {
        console.error(path, ": ", problem);
        return false;
    }
    for (MessageDefinition const& message : readDefinitions(text).messages)
        for (SignalDefinition const& signal : message.signals)
            for (ValueText const& value : signal.values)
                d_tables[expressionName(instanceName(message, signal))][value.value] = value.text;
    return true;
}

std::string ValueTexts::text(SignalState const& state) const {
    auto const table = d_tables.find(state.instance);
    if (table == d_tables.end() || !state.value)
        return "";
    auto const entry = table->second.find(static_cast<std::int64_t>(state.value->raw));
    return entry != table->second.end() ? entry->second : "";
}

} // namespace qztool
