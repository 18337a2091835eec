// All definition files that a drive is decoded by.
#pragma once

#include "tools/base/Reporter.h"
#include "tools/definitions/Database.h"
#include "tools/drive/Channels.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace qztool {

// Loads files, reports what is wrong with them, and names their signals. Instance names are "Message.Signal".
class DefinitionSet {
public:
    struct File {
        std::string path;
        std::optional<std::uint8_t> channel; // that it is restricted to
        Database database;
        // By the indices of message and signal; empty: the signal is left out, which has been reported.
        std::vector<std::vector<std::string>> instances;
    };

    explicit DefinitionSet(Reporter& reporter) : d_reporter(reporter) {}

    // False if the file cannot be read, which is reported.
    bool load(DefinitionFile const& file);

    std::vector<std::unique_ptr<File>> const& files() const { return d_files; }
    Channels const& channels() const { return d_channels; }
    // Instance names of all signals, sorted.
    std::vector<std::string> names() const;

    bool hasSignals() const { return !d_origins.empty(); }
    std::size_t problems() const { return d_problems; }     // in the files that could be read
    std::size_t unreadable() const { return d_unreadable; } // files

private:
    struct Origin {
        File const* file;
        std::size_t line;
    };

    void nameSignals(File& file, std::vector<Problem>& problems);

    Reporter& d_reporter;
    Channels d_channels;
    std::vector<std::unique_ptr<File>> d_files;
    std::unordered_map<std::string, Origin> d_origins; // of instance names
    std::size_t d_problems = 0;
    std::size_t d_unreadable = 0;
};

// "car.dbc:12", or the file alone for line 0.
std::string placeText(std::string const& file, std::size_t line);

} // namespace qztool
