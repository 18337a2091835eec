// Writes the values of a recording as a file for other programs.
#pragma once

#include "tools/drive/CurrentFrame.h"
#include "tools/drive/SignalSet.h"
#include "tools/export/OutputBuffer.h"
#include "tools/recordings/Frame.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>

namespace qztool {

enum class ExportFormat { Csv, Jsonl, Wide };

struct ExportOptions {
    ExportFormat format = ExportFormat::Csv;
    bool raw = false;      // raw values in place of physical ones
    bool words = false;    // wide: words in place of values that have one
    bool relative = false; // times from the recording's first frame on
    // Times as recorded, in microseconds, both included.
    std::optional<std::uint64_t> from;
    std::optional<std::uint64_t> to;
    std::uint64_t step = 0; // wide: microseconds between rows; 0: a row for each time at which a value was written
};

// What a format implements; the caller hands on what a drive reports. Nothing is printed or thrown, and nothing is
// allocated per line; whether writing failed is the output's to say.
class Exporter {
public:
    virtual ~Exporter() = default;

    // Writes what comes before all values.
    virtual void begin() = 0;
    // A frame of any kind was read; its signals have not been written yet.
    void onRead(Frame const& frame) {
        if (!d_isStarted) {
            d_isStarted = true;
            d_start = frame.timestamp;
        }
        beforeFrame(frame.timestamp);
    }
    // Signals have been written by the frame: those that `frame.carried` holds.
    virtual void onMessage(std::uint64_t timestamp, CurrentFrame const& frame) = 0;
    // The recording has ended. Writes what is left, but flushes nothing.
    virtual void end() {}

    // Values written so far.
    std::uint64_t values() const { return d_values; }
    // Signals whose values were not written, as they came up only after the columns had been written.
    virtual std::size_t leftOut() const { return 0; }

protected:
    explicit Exporter(ExportOptions const& options) : d_options(options) {}

    virtual void beforeFrame(std::uint64_t timestamp) { static_cast<void>(timestamp); }

    bool isInRange(std::uint64_t timestamp) const {
        return timestamp >= d_options.from.value_or(0) &&
               timestamp <= d_options.to.value_or(std::numeric_limits<std::uint64_t>::max());
    }
    char* writeTime(char* to, std::uint64_t timestamp) const;

    ExportOptions d_options;
    bool d_isStarted = false;
    std::uint64_t d_start = 0; // time of the recording's first frame
    std::uint64_t d_values = 0;
};

// Signals and output must outlive it. Signals that are made later are taken in when they are first written.
std::unique_ptr<Exporter> makeExporter(ExportOptions const& options, SignalSet const& signals, OutputBuffer& output);

} // namespace qztool
