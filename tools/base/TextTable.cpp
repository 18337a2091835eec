// Columns, and lines that fit.
#include "tools/base/TextTable.h"

#include <algorithm>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace qztool {

namespace {

constexpr std::size_t usualWidth = 80;

bool beginsCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
}

std::size_t characters(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), beginsCharacter));
}

// The first so many characters.
std::string_view cut(std::string_view text, std::size_t count) {
    std::size_t end = 0;
    while (end < text.size() && (count > 0 || !beginsCharacter(text[end]))) {
        count -= beginsCharacter(text[end]) ? 1 : 0;
        ++end;
    }
    return text.substr(0, end);
}

} // namespace

void printTable(std::ostream& out, std::vector<std::vector<std::string>> const& rows, std::size_t width) {
    std::vector<std::size_t> widths(rows.front().size());
    for (auto const& row : rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], characters(row[i]));
    for (auto const& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i)
            line += row[i] + std::string(widths[i] - characters(row[i]) + 2, ' ');
        line.erase(line.find_last_not_of(' ') + 1);
        if (width != 0 && characters(line) > width)
            line = std::string(cut(line, width - 1)) + "\u2026";
        out << line << "\n";
    }
    out << std::flush;
}

std::size_t terminalWidth() {
    if (isatty(STDOUT_FILENO) == 0)
        return 0;
    winsize size{};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1 ? size.ws_col : usualWidth;
}

} // namespace qztool
