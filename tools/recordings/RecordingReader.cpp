// Opening, recognition and counting of trace logs.
#include "tools/recordings/RecordingReader.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qztool {

namespace {

constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

std::string systemText(int error) {
    return std::generic_category().message(error);
}

// Returns the descriptor, or the negative error number.
int openTrace(std::string const& path) {
    int const descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    return descriptor >= 0 ? descriptor : -errno;
}

// Nothing if the beginning of a file may be that of a text log.
char const* findContentProblem(std::string_view bytes) {
    if (startsWith(bytes, "\xFF\xFE") || startsWith(bytes, "\xFE\xFF")) {
        return "it is UTF-16";
    }
    return bytes.find('\0') == std::string_view::npos ? nullptr : "it contains NUL bytes";
}

bool isBlankLine(std::string_view line) {
    return std::all_of(line.begin(), line.end(), isBlank);
}

RecordingFormat recognise(std::string_view line) {
    if (CandumpLog::fits(line)) {
        return RecordingFormat::Candump;
    }
    return AscLog::fits(line) ? RecordingFormat::Asc : RecordingFormat::Unknown;
}

} // namespace

RecordingReader::RecordingReader(std::string const& path)
    : d_isStandardInput(path == "-"),
      d_name(d_isStandardInput ? "standard input" : "'" + path + "'"),
      d_descriptor(d_isStandardInput ? STDIN_FILENO : openTrace(path)),
      d_source(d_descriptor) {
    if (d_descriptor < 0) {
        d_problem = "cannot open " + d_name + ": " + systemText(-d_descriptor);
    } else {
        inspect();
    }
}

RecordingReader::~RecordingReader() {
    closeOwn();
}

void RecordingReader::inspect() {
    struct stat status {};
    if (fstat(d_descriptor, &status) != 0) {
        return;
    }
    if (S_ISREG(status.st_mode)) {
        d_totalBytes = static_cast<std::uint64_t>(status.st_size);
    }
    // A directory can be opened like a file, and would only fail when it is read.
    if (S_ISDIR(status.st_mode)) {
        d_problem = "cannot open " + d_name + ": " + systemText(EISDIR);
        closeOwn();
    }
}

void RecordingReader::closeOwn() {
    if (!d_isStandardInput && d_descriptor >= 0) {
        close(d_descriptor);
    }
    d_descriptor = -1;
}

RecordingReader::Next RecordingReader::next(Frame& frame) {
    // So that the caller can look whether to stop, even if a large file holds no frames.
    constexpr unsigned mostLinesWithoutFrame = 65536;
    if (!d_problem.empty()) {
        return Next::End;
    }
    if (!d_contentChecked) {
        LineSource::Next const result = checkContent();
        if (result != LineSource::Next::Line) {
            return stop(result);
        }
    }
    for (unsigned i = 0; i < mostLinesWithoutFrame; ++i) {
        std::string_view line;
        LineSource::Next const result = d_source.next(line);
        bool const isTooLong = result == LineSource::Next::TooLong;
        if (!isTooLong && result != LineSource::Next::Line) {
            return stop(result);
        }
        ++d_lines;
        ParsedLine const parsed = isTooLong ? malformedLine("line longer than 65536 bytes") : parse(line, frame);
        ++d_counts[static_cast<std::size_t>(parsed.kind)];
        if (parsed.kind == LineKind::Frame) {
            return Next::Frame;
        }
        if (parsed.kind == LineKind::Malformed) {
            addMalformed(parsed.cause);
        }
    }
    return Next::Interrupted;
}

// One problem in place of thousands of malformed lines. Line: the content may be a text log.
LineSource::Next RecordingReader::checkContent() {
    std::string_view bytes;
    LineSource::Next const result = d_source.peek(bytes);
    if (result != LineSource::Next::Line) {
        return result;
    }
    d_contentChecked = true;
    if (char const* const cause = findContentProblem(bytes)) {
        d_problem = d_name + " is not a text log: " + cause;
        return LineSource::Next::End;
    }
    return result;
}

RecordingReader::Next RecordingReader::stop(LineSource::Next reason) {
    if (reason == LineSource::Next::Interrupted) {
        return Next::Interrupted;
    }
    if (reason == LineSource::Next::Failed) {
        d_problem = "cannot read " + d_name + ": " + systemText(d_source.error());
    }
    return Next::End;
}

ParsedLine RecordingReader::parse(std::string_view line, Frame& frame) {
    if (d_format == RecordingFormat::Unknown) {
        if (d_lines == 1 && startsWith(line, utf8Mark)) {
            line.remove_prefix(utf8Mark.size());
        }
        d_format = recognise(line);
    }
    switch (d_format) {
    case RecordingFormat::Candump:
        return CandumpLog::parse(line, frame);
    case RecordingFormat::Asc:
        return d_ascLog.parse(line, frame);
    default:
        return isBlankLine(line) ? ParsedLine{} : malformedLine("neither a candump nor an ASC line");
    }
}

void RecordingReader::addMalformed(char const* cause) {
    auto const known = std::find_if(d_malformed.begin(), d_malformed.end(), [cause](MalformedLines const& other) {
        return std::string_view(other.cause) == cause;
    });
    MalformedLines& group =
        known != d_malformed.end() ? *known : d_malformed.emplace_back(MalformedLines{cause, LineNumbers()});
    group.lines.add(d_lines);
}

} // namespace qztool
