// A column for each signal, and a row for each time.
#pragma once

#include "tools/export/Exporter.h"
#include "tools/export/SignalText.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qztool {

// Rows are written when a later frame is there, or the recording has ended: until then, a further frame of the same
// time may change them. Recorded time may step back, as at the seam of two recordings: without a step, rows follow the
// recording; with one, there is no row before the time of the last row has passed again.
class WideTable : public Exporter {
public:
    WideTable(ExportOptions const& options, SignalSet const& signals, OutputBuffer& output);

    void begin() override;
    void onMessage(std::uint64_t timestamp, CurrentFrame const& frame) override;
    void end() override;
    std::size_t leftOut() const override { return d_leftOut; }

private:
    struct Column {
        SignalText text;
        std::string cell{};      // with the comma before it
        bool isFilled = false;   // a value was written
        bool isModified = false; // written since `cell` was filled; its number is in `d_modified`
    };

    void addColumns(SignalSet const& signals);
    void beforeFrame(std::uint64_t timestamp) override;
    void writeRowsUpTo(std::uint64_t last);
    void writeRow(std::uint64_t timestamp);
    void fill(Column& column);
    void noteLeftOut(DrivenSignal const& signal);

    static constexpr std::uint32_t none = 0xFFFFFFFF;

    OutputBuffer& d_output;
    std::vector<Column> d_columns;
    std::vector<std::uint32_t> d_columnOf; // by the signals' numbers; none: there is no column
    std::vector<std::uint32_t> d_modified;
    std::size_t d_filled = 0;      // columns
    std::size_t d_rowLength = 0;   // of all cells
    bool d_isDue = false;          // a row of the time `d_next`
    std::uint64_t d_next = 0;      // time of the next row
    bool d_isPastGrid = false;     // there is no such time any more
    std::uint64_t d_lastTime = 0;  // highest time of all frames so far
    std::vector<bool> d_isLeftOut; // by the signals' numbers
    std::size_t d_leftOut = 0;
};

} // namespace qztool
