// Signals that are fed, and what an exporter writes of them.
#pragma once

#include "tests/tools/drive/DriveFixture.h"
#include "tools/export/Exporter.h"

#include <cstdio>
#include <string>
#include <vector>

namespace qztool {

// A file without a name.
class Scratch {
public:
    ~Scratch() { std::fclose(d_file); }
    int descriptor() const { return fileno(d_file); }
    std::string text() const {
        std::string text(static_cast<std::size_t>(lseek(descriptor(), 0, SEEK_END)), '\0');
        EXPECT_EQ(pread(descriptor(), text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
        return text;
    }

private:
    std::FILE* d_file = std::tmpfile();
};

class ExportFixture : public DriveFixture, protected MessageSink {
protected:
    // Loads a definition file and builds its signals.
    void load(std::string const& text) { build(dbcFile(text)); }
    void build(std::string const& path) {
        ASSERT_TRUE(d_definitions.load({std::nullopt, path})) << d_reporter.text();
        ASSERT_EQ(d_signals.build({}), SignalSet::Built::Ready) << d_reporter.text();
    }
    void begin(ExportOptions const& options) {
        d_exporter = makeExporter(options, d_signals, d_output);
        d_exporter->begin();
    }
    void feed(Frame const& frame) {
        d_frame = &frame;
        auto& feeder = d_feeders[static_cast<std::size_t>(frame.bus)];
        if (!feeder)
            feeder = supportOf(frame.bus)->makeFeeder(d_definitions.channels(), d_current);
        d_exporter->onRead(frame);
        feeder->feed(frame, *this);
    }
    void feed(std::uint64_t time, std::uint32_t address, std::vector<std::uint8_t> const& payload) {
        Frame frame = frameOf(address, payload);
        frame.timestamp = time;
        feed(frame);
    }
    void onMessage(std::uint64_t /*message*/) override { d_exporter->onMessage(d_frame->timestamp, d_current); }
    // All that was written, with the prefix of names removed.
    std::string written() {
        d_exporter->end();
        d_output.flush();
        std::string text = d_file.text();
        for (std::size_t at = 0; (at = text.find(d_prefix, at)) != std::string::npos;)
            text.erase(at, d_prefix.size());
        return text;
    }

    TextReporter d_reporter;
    CurrentFrame d_current;
    DefinitionSet d_definitions{d_reporter};
    SignalSet d_signals{d_definitions, d_current, d_reporter};
    std::array<std::unique_ptr<Feeder>, busKinds> d_feeders;
    Frame const* d_frame = nullptr;
    Scratch d_file;
    NeverStop d_stop;
    OutputBuffer d_output{d_file.descriptor(), d_stop};
    std::unique_ptr<Exporter> d_exporter;
};

} // namespace qztool
