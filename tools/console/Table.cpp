// Widths of columns, and their padding.
#include "tools/console/Table.h"

#include <algorithm>
#include <numeric>
#include <ostream>
#include <sys/ioctl.h>
#include <unistd.h>

namespace qztool {

namespace {

constexpr std::size_t gap = 2;        // between columns
constexpr std::size_t leastWidth = 6; // a column is made no narrower, unless that is not enough

bool continues(char c) {
    return (static_cast<unsigned char>(c) & 0xc0) == 0x80; // within a character of UTF-8
}

// The first characters, as many as fit, with a mark that there were more.
std::string cut(std::string const& text, std::size_t limit) {
    if (width(text) <= limit)
        return text;
    std::size_t end = 0;
    for (std::size_t characters = 1; end < text.size(); ++end)
        if (!continues(text[end]) && characters++ == limit)
            break;
    return limit != 0 ? text.substr(0, end) + "~" : "";
}

std::vector<std::size_t> columnWidths(std::vector<std::vector<std::string>> const& rows, std::size_t limit) {
    std::vector<std::size_t> widths(rows.empty() ? 0 : rows.front().size());
    for (auto const& row : rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], width(row[i]));
    std::size_t const gaps = widths.empty() ? 0 : (widths.size() - 1) * gap;
    while (limit != 0 && std::accumulate(widths.begin(), widths.end(), gaps) > limit) {
        auto const widest = std::max_element(widths.begin(), widths.end());
        if (*widest <= leastWidth)
            break;
        --*widest;
    }
    return widths;
}

} // namespace

std::size_t width(std::string const& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return !continues(c); }));
}

void printTable(std::ostream& out, std::vector<std::vector<std::string>> const& rows, std::size_t limit) {
    std::vector<std::size_t> const widths = columnWidths(rows, limit);
    std::string line;
    for (auto const& row : rows) {
        line.clear();
        for (std::size_t i = 0; i < row.size(); ++i) {
            std::string const cell = limit != 0 ? cut(row[i], widths[i]) : row[i];
            line += cell;
            if (i + 1 < row.size())
                line.append(widths[i] - width(cell) + gap, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out << (limit != 0 ? cut(line, limit) : line) << "\n";
    }
}

std::size_t terminalWidth() {
    winsize size{};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

} // namespace qztool
