// Definition files and signals of one's own for the tests of a replay.
#pragma once

#include "qzsignal/signal/BaseSignal.h"
#include "tests/support/Capture.h"
#include "tools/base/Reporter.h"
#include "tools/definitions/Formats.h"
#include "tools/drive/Buses.h"
#include "tools/drive/Names.h"
#include "tools/drive/SignalSet.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

namespace qztool {

// Keeps what is reported, a line each, such as "error: car.dbc:12: text".
class TextReporter : public Reporter {
public:
    void problems(std::string const& file, std::vector<Problem> const& problems) override {
        for (Problem const& problem : problems)
            d_text += (problem.severity == Severity::Error ? "error: " : "warning: ") + placeText(file, problem.line) +
                      ": " + problem.text + "\n";
    }
    void error(std::string const& text) override { d_text += "error: " + text + "\n"; }

    std::string const& text() const { return d_text; }

private:
    std::string d_text;
};

// Definition files, signals made of them, and a way to feed them.
struct DrivenSet : MessageSink {
    explicit DrivenSet(Reporter& reporter, Decoding decoding = {})
        : d_definitions(reporter, decoding), d_signals(d_definitions, d_frame, reporter) {}

    bool load(DefinitionFile const& file) { return d_definitions.load(file); }
    SignalSet::Built share(std::string const& only = "") {
        return d_signals.share(only.empty() ? std::vector<std::string>() : std::vector<std::string>{only});
    }
    SignalSet::Built build(std::unordered_set<std::string> const& names) { return d_signals.buildNamed(names); }
    // Key of the last message that the frame carries; 0: none.
    std::uint64_t feed(Frame const& frame) {
        if (!d_feeder)
            d_feeder = supportOf(frame.bus)->makeFeeder(d_definitions.channels(), d_frame);
        d_message = 0;
        d_fed = d_feeder->feed(frame, *this);
        return d_message;
    }
    void onMessage(std::uint64_t message) override { d_message = message; }

    CurrentFrame d_frame;
    DefinitionSet d_definitions;
    SignalSet d_signals;
    std::unique_ptr<Feeder> d_feeder;
    std::uint64_t d_message = 0;
    Feeder::Fed d_fed = Feeder::Fed::Nothing;
};

// A folder for files of a test, and a prefix that makes message names, and so instance names, its own. Removes the
// files, and the key files of all signals that a definition file of its names.
class DriveFixture : public testing::Test {
protected:
    DriveFixture() {
        static int count = 0;
        d_prefix = "QzTest" + std::to_string(getpid()) + "n" + std::to_string(count++);
        char folder[] = "/tmp/qzsignal-test-XXXXXX";
        d_folder = mkdtemp(folder);
    }
    ~DriveFixture() override {
        for (std::string const& path : d_files)
            unlink(path.c_str());
        rmdir(d_folder.c_str());
    }

    // Writes a definition file, with the prefix before each message name.
    std::string dbcFile(std::string const& text) {
        std::string prefixed;
        std::size_t begin = 0;
        while (begin < text.size()) {
            std::size_t const end = std::min(text.find('\n', begin), text.size() - 1) + 1;
            std::string line = text.substr(begin, end - begin);
            begin = end;
            if (line.compare(0, 4, "BO_ ") == 0) {
                std::size_t const name = line.find_first_not_of(' ', line.find(' ', line.find_first_not_of(' ', 4)));
                if (name != std::string::npos)
                    line.insert(name, d_prefix);
            }
            prefixed += line;
        }
        return definitionFile("definitions.dbc", prefixed);
    }

    // The same of any format; the text has the prefix in its message names already.
    std::string definitionFile(std::string const& name, std::string const& text) {
        for (MessageDefinition const& message : readDefinitions(text).messages)
            for (std::size_t i = 0; i < message.signals.size(); ++i)
                d_files.push_back("/tmp/" + expressionName(originalName(message, i)));
        return file(name, text);
    }

    std::string file(std::string const& name, std::string const& text) {
        std::string const path = d_folder + "/" + std::to_string(d_files.size()) + name;
        std::ofstream(path) << text;
        d_files.push_back(path);
        return path;
    }

    std::string instance(std::string const& name) const { return d_prefix + name; }

    std::string d_prefix;
    std::string d_folder;
    std::vector<std::string> d_files;
};

// Raw value of a signal of this process; nothing if it was never written.
inline std::optional<unsigned long long> rawValue(std::string const& instance) {
    BaseSignal* const signal = BaseSignal::getInstance(instance.c_str());
    unsigned long long raw = 0, timestamp = 0;
    if (signal == nullptr || !signal->read(raw, timestamp))
        return std::nullopt;
    return raw;
}

inline Frame frameOf(std::uint32_t address, std::vector<std::uint8_t> const& payload, std::uint8_t channel = 0,
                     bool extended = false) {
    Frame frame;
    frame.timestamp = 1000;
    frame.address = address;
    frame.flags = extended ? frameFlag::extended : 0;
    frame.channel = channel;
    frame.length = static_cast<std::uint8_t>(payload.size());
    std::copy(payload.begin(), payload.end(), frame.bytes.begin());
    return frame;
}

} // namespace qztool
