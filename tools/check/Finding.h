// What a check finds.
#pragma once

#include "tools/check/Kinds.h"
#include "tools/drive/DefinitionSet.h"
#include "tools/drive/Names.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qztool {

// A frame of a recording.
struct FramePlace {
    std::uint64_t time = 0;   // microseconds, as recorded
    std::uint64_t number = 0; // of its line, object or packet
};

struct Finding {
    CheckKind kind = CheckKind::Overlap;
    std::string file;                // of the definition; of identifiers that have none, the recording
    std::size_t line = 0;            // in it; 0: the whole file
    std::string signal;              // instance name; empty: it is not about one signal
    std::string text;                // one line that names what it is about and gives the cause, without a full stop
    std::uint64_t count = 1;         // frames, values or elements that are so
    std::optional<FramePlace> first; // of findings in a recording: the first of them
};

// A signal's name in findings, also of one that the command leaves out.
inline std::string nameOf(DefinitionSet::File const& file, std::size_t message, std::size_t signal) {
    std::string const& instance = file.instances[message][signal];
    return instance.empty() ? originalName(file.database.messages[message], signal) : instance;
}

inline Finding findingOf(CheckKind kind, DefinitionSet::File const& file, MessageDefinition const& message,
                         std::string text) {
    return {kind, file.path, message.line, "", std::move(text), 1, std::nullopt};
}

inline Finding findingOf(CheckKind kind, DefinitionSet::File const& file, std::size_t message, std::size_t signal,
                         std::string text) {
    return {kind,
            file.path,
            file.database.messages[message].signals[signal].line,
            nameOf(file, message, signal),
            std::move(text),
            1,
            std::nullopt};
}

} // namespace qztool
