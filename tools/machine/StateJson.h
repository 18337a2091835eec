// A shared signal's state for other programs.
#pragma once

#include "tools/machine/SignalReader.h"

#include <nlohmann/json.hpp>

#include <sstream>
#include <string>

namespace qztool {

// "unsigned", "signed", "float" or "double".
inline std::string typeName(signalValue_t type) {
    std::ostringstream name;
    name << type;
    return name.str();
}

// Keys: name, type, unit, value, raw, timestamp; the last three are null while there is no value. A value that JSON
// cannot hold (not a number, infinite) is null as well.
inline nlohmann::ordered_json toJson(SignalState const& state) {
    nlohmann::ordered_json json;
    json["name"] = state.instance;
    json["type"] = typeName(state.type);
    json["unit"] = state.unit;
    json["value"] = nullptr;
    json["raw"] = nullptr;
    json["timestamp"] = nullptr;
    if (state.value) {
        json["value"] = state.value->physical;
        if (state.type == signalSigned)
            json["raw"] = static_cast<std::int64_t>(state.value->raw);
        else
            json["raw"] = state.value->raw;
        json["timestamp"] = state.value->timestamp;
    }
    return json;
}

// Texts of foreign records may hold any bytes; what is not UTF-8 is replaced.
inline std::string jsonText(nlohmann::ordered_json const& json, int indent = 2) {
    return json.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}
// The same in one line, without its end.
inline std::string jsonLine(nlohmann::ordered_json const& json) {
    return jsonText(json, -1);
}

} // namespace qztool
