// The page's text with the drive in it.
#include "tools/plot/PlotPage.h"

#include "tools/plot/MarkupText.h"
#include "tools/plot/PageTemplate.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>

namespace qztool {

namespace {

// Writes base64 of numbers as browsers hold them: doubles, least significant byte first.
class DoubleWriter {
public:
    explicit DoubleWriter(std::ostream& out) : d_out(out) {}
    ~DoubleWriter() {
        if (d_count != 0) {
            std::fill(d_bytes.begin() + static_cast<std::ptrdiff_t>(d_count), d_bytes.end(), std::uint8_t{0});
            writeGroup();
        }
    }
    DoubleWriter(DoubleWriter const&) = delete;
    DoubleWriter& operator=(DoubleWriter const&) = delete;

    void write(double number) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &number, sizeof bits);
        for (unsigned i = 0; i < 8; ++i) {
            d_bytes[d_count++] = static_cast<std::uint8_t>(bits >> (8 * i));
            if (d_count == d_bytes.size())
                writeGroup();
        }
    }

private:
    // Three bytes are four characters.
    void writeGroup() {
        constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        unsigned const group = static_cast<unsigned>(d_bytes[0] << 16 | d_bytes[1] << 8 | d_bytes[2]);
        for (std::size_t i = 0; i < 4; ++i)
            d_out.put(i <= d_count ? digits[group >> (18 - 6 * i) & 63] : '=');
        d_count = 0;
    }

    std::ostream& d_out;
    std::array<std::uint8_t, 3> d_bytes{};
    std::size_t d_count = 0; // of them that are in use
};

// In a script element, no text may look like the element's end.
std::string jsonText(nlohmann::json const& value) {
    std::string const text = value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    std::string safe;
    for (char const character : text)
        safe += character == '<' ? std::string("\\u003c") : std::string(1, character);
    return safe;
}

void writeTimes(std::ostream& out, std::vector<std::uint64_t> const& times, std::uint64_t beginning) {
    out << '"';
    {
        DoubleWriter writer(out);
        for (std::uint64_t const time : times)
            writer.write(secondsSince(beginning, time));
    }
    out << '"';
}

// Signals of one message share their times.
class TimeColumns {
public:
    // Number of the signal's column.
    std::size_t columnOf(PlottedSignal const& signal) {
        auto const same = std::find_if(d_columns.begin(), d_columns.end(),
                                       [&signal](auto const* times) { return *times == signal.times; });
        if (same == d_columns.end()) {
            d_columns.push_back(&signal.times);
            return d_columns.size() - 1;
        }
        return static_cast<std::size_t>(same - d_columns.begin());
    }
    std::vector<std::vector<std::uint64_t> const*> const& columns() const { return d_columns; }

private:
    std::vector<std::vector<std::uint64_t> const*> d_columns;
};

void writeSignal(std::ostream& out, PlottedSignal const& signal, std::size_t column) {
    out << "{\"name\":" << jsonText(signal.name) << ",\"unit\":" << jsonText(signal.unit)
        << ",\"words\":" << jsonText(signal.words) << ",\"times\":" << column << ",\"values\":\"";
    {
        DoubleWriter writer(out);
        for (double const value : signal.values)
            writer.write(value);
    }
    out << "\"}";
}

void writeDrive(std::ostream& out, PlottedDrive const& drive) {
    TimeColumns columns;
    std::uint64_t const beginning = drive.firstTime(); // that times count from
    out << "{\"title\":" << jsonText(drive.title) << ",\n\"beginning\":\"" << beginning << "\",\n\"signals\":[";
    for (std::size_t i = 0; i < drive.signals.size(); ++i) {
        out << (i == 0 ? "\n" : ",\n");
        writeSignal(out, drive.signals[i], columns.columnOf(drive.signals[i]));
    }
    out << "],\n\"times\":[";
    for (std::size_t i = 0; i < columns.columns().size(); ++i) {
        out << (i == 0 ? "\n" : ",\n");
        writeTimes(out, *columns.columns()[i], beginning);
    }
    nlohmann::json marks = nlohmann::json::array();
    for (PlottedMark const& mark : drive.marks) {
        nlohmann::json spans = nlohmann::json::array();
        for (auto const& [begin, end] : mark.spans)
            if (end >= beginning)
                spans.push_back({secondsSince(beginning, std::max(begin, beginning)), secondsSince(beginning, end)});
        marks.push_back({{"expression", mark.expression}, {"spans", spans}});
    }
    out << "],\n\"marks\":" << jsonText(marks) << "}";
}

} // namespace

bool canWritePlotPage() {
    return !pageTemplate.front().empty();
}

void writePlotPage(std::ostream& out, PlottedDrive const& drive) {
    for (std::string_view const part : pageTemplate)
        if (part == pageTitleMark)
            out << markupText(drive.title);
        else if (part == pageDriveMark)
            writeDrive(out, drive);
        else
            out << part;
}

} // namespace qztool
