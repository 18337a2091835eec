// Opening a recording, and finding out its format.
#include "tools/recordings/RecordingReader.h"

#include "tools/recordings/ForeignContent.h"
#include "tools/recordings/Formats.h"
#include "tools/recordings/compressed/Compression.h"
#include "tools/recordings/text/TextCursor.h"
#include "tools/recordings/text/TextReader.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qztool {

namespace {

std::string systemText(int error) {
    return std::generic_category().message(error);
}

// Returns the descriptor, or the negative error number.
int openRecording(std::string const& path) {
    int const descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    return descriptor >= 0 ? descriptor : -errno;
}

} // namespace

RecordingReader::RecordingReader(std::string const& path, Stop& stop, FrameTimes times)
    : d_isStandardInput(path == "-"),
      d_times(times),
      d_name(d_isStandardInput ? "standard input" : "'" + path + "'"),
      d_descriptor(d_isStandardInput ? STDIN_FILENO : openRecording(path)),
      d_findings(d_name),
      d_file(d_descriptor, stop),
      d_input(d_file) {
    if (d_descriptor < 0)
        d_findings.fail("cannot open " + d_name + ": " + systemText(-d_descriptor));
    else
        inspect();
}

RecordingReader::~RecordingReader() {
    closeOwn();
}

void RecordingReader::inspect() {
    struct stat status {};
    if (fstat(d_descriptor, &status) != 0)
        return;
    if (S_ISREG(status.st_mode))
        d_totalBytes = static_cast<std::uint64_t>(status.st_size);
    // A directory can be opened like a file, and would only fail when it is read.
    if (S_ISDIR(status.st_mode)) {
        d_findings.fail("cannot open " + d_name + ": " + systemText(EISDIR));
        closeOwn();
    }
}

void RecordingReader::closeOwn() {
    if (!d_isStandardInput && d_descriptor >= 0)
        close(d_descriptor);
    d_descriptor = -1;
}

RecordingReader::Next RecordingReader::next(Frame& frame) {
    Next const result = readNext(frame);
    if (d_times == FrameTimes::Since1970 && result == Next::Frame) {
        std::uint64_t const start = startTime().value_or(0);
        frame.timestamp += std::min(start, std::numeric_limits<std::uint64_t>::max() - frame.timestamp);
    }
    return result;
}

RecordingReader::Next RecordingReader::readNext(Frame& frame) {
    if (d_reader)
        return d_reader->next(frame);
    if (!d_findings.problem().empty())
        return Next::End;
    Next const opened = openFormat();
    return opened == Next::Frame ? d_reader->next(frame) : opened;
}

char const* RecordingReader::formatName() const {
    RecordingFormat const* const format = d_text != nullptr ? d_text->format() : d_format;
    return format != nullptr ? format->name : "";
}

std::string_view RecordingReader::line() const {
    return d_text != nullptr ? d_text->line() : std::string_view();
}

bool RecordingReader::linesHaveTheirTimes() const {
    return d_text == nullptr || d_text->linesHaveTheirTimes();
}

std::string const& RecordingReader::header() const {
    static std::string const none;
    return d_text != nullptr ? d_text->header() : none;
}

std::size_t RecordingReader::headers() const {
    return d_text != nullptr ? d_text->headers() : 0;
}

// Frame: there may be some, and `d_reader` reads them.
RecordingReader::Next RecordingReader::openFormat() {
    if (!d_content) {
        if (readBeginning(d_input) == Read::Interrupted)
            return Next::Interrupted;
        if (!decompress())
            return Next::End;
    }
    if (d_content && readBeginning(*d_content) == Read::Interrupted)
        return Next::Interrupted;
    if (!d_findings.problem().empty())
        return Next::End;
    std::string_view const bytes = content().bytes();
    if (RecordingFormat const* const format = binaryFormatOf(bytes)) {
        d_format = format;
        d_reader = format->open(content(), d_findings);
        return Next::Frame;
    }
    if (char const* const cause = foreignContent(bytes))
        return failForeign(cause);
    if (bytes.find('\0') != std::string_view::npos) {
        d_findings.fail(d_name + " is not a text log: it contains NUL bytes");
        return Next::End;
    }
    std::string_view const line = bytes.substr(0, bytes.find_first_of("\r\n"));
    if (lineFormatOf(line) == nullptr && !isCommentLine(line))
        if (char const* const cause = foreignLine(line))
            return failForeign(cause);
    auto text = std::make_unique<TextReader>(content(), d_findings);
    d_text = text.get();
    d_reader = std::move(text);
    return Next::Frame;
}

// Reads what is needed to tell the format, or as much as there is.
RecordingReader::Read RecordingReader::readBeginning(InputBuffer& input) {
    // A line may be shorter than what formats without lines begin with, and on a pipe nothing may follow it for long.
    while (input.bytes().size() < formatBytes && input.bytes().find('\n') == std::string_view::npos) {
        Read const read = input.fill();
        if (read == Read::Failed)
            d_findings.failReading(input.source().error());
        if (read != Read::Bytes)
            return read;
    }
    return Read::Bytes;
}

// False: it is compressed, and cannot be decompressed.
bool RecordingReader::decompress() {
    Compression const* const compression = compressionOf(d_input.bytes());
    if (compression == nullptr)
        return true;
    if (compression->open == nullptr) {
        d_findings.failReading(missingLibrary(*compression));
        return false;
    }
    d_decompressed = compression->open(d_input);
    d_content = std::make_unique<InputBuffer>(*d_decompressed);
    return true;
}

RecordingReader::Next RecordingReader::failForeign(char const* cause) {
    d_findings.failReading(cause);
    return Next::End;
}

} // namespace qztool
