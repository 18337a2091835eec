// Loading and naming.
#include "tools/drive/DefinitionSet.h"

#include "tools/base/TextFile.h"
#include "tools/definitions/Formats.h"

#include <algorithm>
#include <utility>

namespace qztool {

std::string placeText(std::string const& file, std::size_t line) {
    return line != 0 ? file + ":" + std::to_string(line) : file;
}

bool DefinitionSet::load(DefinitionFile const& file) {
    std::string text;
    std::string const problem = readTextFile(file.path, text);
    if (!problem.empty()) {
        d_reporter.error(file.path + ": " + problem);
        ++d_unreadable;
        return false;
    }
    File& loaded =
        *d_files.emplace_back(std::make_unique<File>(File{file.path, file.channel, readDefinitions(text), {}}));
    if (loaded.channel)
        d_channels.addOwn(*loaded.channel);
    std::vector<Problem> problems = std::move(loaded.database.problems);
    nameSignals(loaded, problems);
    std::stable_sort(problems.begin(), problems.end(),
                     [](Problem const& a, Problem const& b) { return a.line < b.line; });
    d_problems += problems.size();
    d_reporter.problems(loaded.path, problems);
    return true;
}

void DefinitionSet::nameSignals(File& file, std::vector<Problem>& problems) {
    for (MessageDefinition const& message : file.database.messages) {
        std::vector<std::string>& instances = file.instances.emplace_back();
        for (SignalDefinition const& signal : message.signals) {
            std::string const& instance = instances.emplace_back(instanceName(message, signal));
            auto const [entry, isNew] = d_origins.try_emplace(instance, Origin{&file, signal.line});
            if (isNew)
                continue;
            problems.push_back({signal.line, Severity::Error,
                                "'" + instance + "' is defined already, at " +
                                    placeText(entry->second.file->path, entry->second.line)});
            instances.back().clear();
        }
    }
}

std::vector<std::string> DefinitionSet::names() const {
    std::vector<std::string> result;
    for (auto const& entry : d_origins)
        result.push_back(entry.first);
    std::sort(result.begin(), result.end());
    return result;
}

} // namespace qztool
