// Reading, counting, sorting.
#include "tools/fits/Ranking.h"

#include "tools/base/TextFile.h"
#include "tools/definitions/Formats.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <system_error>
#include <tuple>
#include <utility>

namespace qztool {

void Ranking::add(std::string const& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error))
        addFolder(path);
    else
        addFile(path);
}

void Ranking::addFolder(std::string const& path) {
    std::error_code error;
    std::vector<std::string> files;
    std::filesystem::recursive_directory_iterator entry(
        path, std::filesystem::directory_options::skip_permission_denied, error);
    // The end comes early if the file system fails.
    for (; !error && entry != std::filesystem::recursive_directory_iterator(); entry.increment(error)) {
        std::error_code unknown;
        if (entry->is_regular_file(unknown))
            files.push_back(entry->path().string());
    }
    if (error)
        d_unranked.push_back({path, error.message()});
    std::sort(files.begin(), files.end());
    for (std::string const& file : files)
        addFile(file);
}

void Ranking::addFile(std::string const& path) {
    std::string text;
    std::string const problem = readTextFile(path, text);
    if (!problem.empty()) {
        d_unranked.push_back({path, problem});
        return;
    }
    Database const database = readDefinitions(text);
    if (database.messages.empty()) {
        d_unranked.push_back({path, "no message is defined in it"});
        return;
    }
    File& file = d_files.emplace_back(File{path, database.messages.size(), {}});
    for (std::size_t i = 0; i < database.messages.size(); ++i)
        file.index.add(database.messages[i], i);
}

std::vector<Fit> Ranking::rank(std::vector<TalliedFrames> const& recording) const {
    std::uint64_t all = 0;
    for (TalliedFrames const& frames : recording)
        all += frames.count;
    std::vector<Fit> result;
    for (File const& file : d_files) {
        std::uint64_t frames = 0, identifiers = 0;
        for (TalliedFrames const& each : recording)
            if (!file.index.find(each.bus, each.extended, each.address).empty()) {
                frames += each.count;
                ++identifiers;
            }
        Fit& fit = result.emplace_back(Fit{file.path, 0.0, 0.0, file.messages});
        if (all != 0) {
            fit.frames = static_cast<double>(frames) / static_cast<double>(all);
            fit.identifiers = static_cast<double>(identifiers) / static_cast<double>(recording.size());
        }
    }
    std::sort(result.begin(), result.end(), [](Fit const& a, Fit const& b) {
        return std::make_tuple(b.frames, b.identifiers, a.messages, std::cref(a.file)) <
               std::make_tuple(a.frames, a.identifiers, b.messages, std::cref(b.file));
    });
    return result;
}

} // namespace qztool
