// Columns, rows, and the times of rows.
#include "tools/export/WideTable.h"

#include "tools/base/NumberText.h"
#include "tools/export/Quoting.h"

#include <algorithm>
#include <limits>

namespace qztool {

WideTable::WideTable(ExportOptions const& options, SignalSet const& signals, OutputBuffer& output)
    : Exporter(options), d_output(output) {
    addColumns(signals);
    d_modified.reserve(d_columns.size());
}

// In the order of the definition files, where a multiplexor may follow signals that it selects.
void WideTable::addColumns(SignalSet const& signals) {
    std::vector<DrivenSignal*> wanted;
    for (auto const& signal : signals.signals())
        if (signal->isWanted())
            wanted.push_back(signal.get());
    for (auto begin = wanted.begin(); begin != wanted.end();) {
        auto const end = std::find_if(begin, wanted.end(), [begin](DrivenSignal const* signal) {
            return &signal->message() != &(*begin)->message();
        });
        std::stable_sort(begin, end, [](DrivenSignal const* a, DrivenSignal const* b) {
            return a->definition().line < b->definition().line;
        });
        begin = end;
    }
    for (DrivenSignal* const signal : wanted) {
        d_columnOf.resize(std::max(d_columnOf.size(), signal->number() + 1), none);
        d_columnOf[signal->number()] = static_cast<std::uint32_t>(d_columns.size());
        Column& column = d_columns.emplace_back(Column{{*signal, csvField}});
        column.cell.reserve(1 + std::max(longestNumber, column.text.longestWord()));
        column.cell = ",";
    }
    d_rowLength = d_columns.size();
}

void WideTable::begin() {
    d_output.append("time");
    for (Column const& column : d_columns) {
        d_output.append(",");
        d_output.append(csvField(column.text.signal().instance()));
    }
    d_output.append("\n");
}

// The recording's first frame settles where the grid begins.
void WideTable::beforeFrame(std::uint64_t timestamp) {
    if (d_options.step != 0 && !d_isDue) {
        d_isDue = true;
        d_next = d_options.from.value_or(timestamp);
    }
    d_lastTime = std::max(d_lastTime, timestamp);
    if (d_options.step == 0 && d_isDue && timestamp != d_next)
        end();
    else if (d_options.step != 0 && timestamp > d_next)
        writeRowsUpTo(std::min(timestamp - 1, d_options.to.value_or(timestamp)));
}

// Rows of the grid, up to this time at most.
void WideTable::writeRowsUpTo(std::uint64_t last) {
    while (d_next <= last && !d_isPastGrid && d_output.isWanted()) {
        writeRow(d_next);
        d_isPastGrid = d_options.step > std::numeric_limits<std::uint64_t>::max() - d_next;
        d_next += d_options.step;
    }
}

void WideTable::onMessage(std::uint64_t timestamp, CurrentFrame const& frame) {
    for (DrivenSignal const* const signal : frame.carried) {
        std::uint32_t const number =
            signal->number() < d_columnOf.size() ? d_columnOf[signal->number()] : std::uint32_t{none};
        if (number == none) {
            noteLeftOut(*signal);
            continue;
        }
        if (d_options.step == 0 && isInRange(timestamp)) {
            d_isDue = true;
            d_next = timestamp;
        }
        Column& column = d_columns[number];
        if (!column.isModified)
            d_modified.push_back(number);
        column.isModified = true;
    }
}

void WideTable::noteLeftOut(DrivenSignal const& signal) {
    if (signal.number() >= d_isLeftOut.size())
        d_isLeftOut.resize(signal.number() + 1);
    if (!d_isLeftOut[signal.number()])
        ++d_leftOut;
    d_isLeftOut[signal.number()] = true;
}

void WideTable::end() {
    if (!d_isDue)
        return;
    if (d_options.step != 0)
        writeRowsUpTo(d_options.to.value_or(d_lastTime));
    else
        writeRow(d_next);
    d_isDue = false;
}

void WideTable::fill(Column& column) {
    std::uint64_t const bits = column.text.bits();
    char text[1 + longestNumber];
    text[0] = ',';
    std::string_view const word = d_options.words ? column.text.word(bits) : std::string_view();
    d_rowLength -= column.cell.size();
    if (!word.empty()) {
        column.cell.assign(1, ',').append(word);
    } else {
        char* const end =
            d_options.raw ? column.text.writeRaw(text + 1, bits) : writeDouble(text + 1, column.text.physical());
        column.cell.assign(text, end);
    }
    d_rowLength += column.cell.size();
    d_filled += column.isFilled ? 0 : 1;
    column.isFilled = true;
}

void WideTable::writeRow(std::uint64_t timestamp) {
    for (std::uint32_t const number : d_modified) {
        fill(d_columns[number]);
        d_columns[number].isModified = false;
    }
    d_modified.clear();
    char* to = writeTime(d_output.room(longestNumber + d_rowLength + 1), timestamp);
    for (Column const& column : d_columns)
        to = std::copy(column.cell.begin(), column.cell.end(), to);
    *to++ = '\n';
    d_output.advance(to);
    d_values += d_filled;
}

} // namespace qztool
