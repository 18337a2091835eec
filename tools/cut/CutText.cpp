// The formats of text that recordings come in, and how parts of them begin and end.
#include "tools/cut/CutText.h"

#include "tools/base/Numbers.h"
#include "tools/cut/CandumpText.h"
#include "tools/recordings/text/Letters.h"
#include "tools/recordings/text/TextCursor.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qztool {

struct CutText::Format {
    std::string_view name; // as RecordingReader's
    char const* suffix;
    char const* comment; // what its comments begin with
};

// The first one is that of recordings of all other formats.
CutText::Format const CutText::formats[] = {{"candump", ".log", "#"}, {"ASC", ".asc", "//"}, {"TRC", ".trc", ";"}};

namespace {

constexpr std::string_view asc = "ASC";

// Calls `visit` for each line of a text, without its end.
template <typename Visitor>
void forEachLine(std::string_view text, Visitor visit) {
    while (!text.empty()) {
        std::size_t const end = std::min(text.find('\n'), text.size());
        visit(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

bool beginsWith(std::string_view line, std::string_view first, std::string_view second = {}) {
    TextCursor words(line);
    return equalIgnoringCase(words.word(), first) && (second.empty() || equalIgnoringCase(words.word(), second));
}

// "base hex  timestamps relative" of an ASC log, with times that count from its beginning.
std::string withAbsoluteTimes(std::string_view line) {
    TextCursor words(line);
    std::string text;
    for (std::string_view word = words.word(); !word.empty(); word = words.word())
        text.append(text.empty() ? "" : " ").append(equalIgnoringCase(word, "relative") ? "absolute" : word);
    return text;
}

} // namespace

CutText::Format const& CutText::format() const {
    std::string_view const name = d_recording.formatName();
    for (Format const& each : formats)
        if (each.name == name)
            return each;
    return formats[0];
}

char const* CutText::suffix() const {
    return format().suffix;
}

std::string CutText::comment(std::string const& text) const {
    return std::string(format().comment) + " " + text + "\n";
}

std::string CutText::header() const {
    std::string const& recorded = d_recording.header();
    if (format().name != d_recording.formatName() || d_recording.linesHaveTheirTimes())
        return recorded;
    std::string text;
    forEachLine(recorded, [&text](std::string_view line) {
        text.append(beginsWith(line, "base") ? withAbsoluteTimes(line) : std::string(line)).append("\n");
    });
    return text;
}

std::string CutText::footer() const {
    bool isOpen = false;
    forEachLine(d_recording.header(), [&isOpen](std::string_view line) {
        isOpen = beginsWith(line, "begin", "triggerblock") || (isOpen && !beginsWith(line, "end", "triggerblock"));
    });
    return isOpen ? "End TriggerBlock\n" : "";
}

bool CutText::append(Frame const& frame, std::string& text) const {
    bool const isOwn = format().name == d_recording.formatName();
    if (isOwn && d_recording.linesHaveTheirTimes())
        text.append(d_recording.line()).append("\n");
    else if (isOwn && format().name == asc)
        appendWithTime(frame, text);
    else
        return appendCandumpLine(frame, text);
    return true;
}

// The line of an ASC log, with the time since the log began in place of that since the line before.
void CutText::appendWithTime(Frame const& frame, std::string& text) const {
    std::uint64_t const start = d_times == FrameTimes::Since1970 ? d_recording.startTime().value_or(0) : 0;
    TextCursor line(d_recording.line());
    line.word();
    text.append(" ").append(secondsText(frame.timestamp - start)).append(line.rest()).append("\n");
}

} // namespace qztool
