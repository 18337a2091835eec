// Opening a recording, and finding out its format.
#include "tools/recordings/RecordingReader.h"

#include "tools/recordings/Formats.h"
#include "tools/recordings/text/TextReader.h"

#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qztool {

namespace {

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

std::string systemText(int error) {
    return std::generic_category().message(error);
}

// Returns the descriptor, or the negative error number.
int openRecording(std::string const& path) {
    int const descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    return descriptor >= 0 ? descriptor : -errno;
}

// Null if the beginning of a file may be that of a text log.
char const* findContentProblem(std::string_view bytes) {
    if (startsWith(bytes, "\xFF\xFE") || startsWith(bytes, "\xFE\xFF"))
        return "it is UTF-16";
    return bytes.find('\0') == std::string_view::npos ? nullptr : "it contains NUL bytes";
}

} // namespace

RecordingReader::RecordingReader(std::string const& path, Stop& stop)
    : d_isStandardInput(path == "-"),
      d_name(d_isStandardInput ? "standard input" : "'" + path + "'"),
      d_descriptor(d_isStandardInput ? STDIN_FILENO : openRecording(path)),
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

// Frame: there may be some, and `d_reader` reads them.
RecordingReader::Next RecordingReader::openFormat() {
    // A line may be shorter than what formats without lines begin with, and on a pipe nothing may follow it for long.
    while (d_input.bytes().size() < formatBytes && d_input.bytes().find('\n') == std::string_view::npos) {
        InputBuffer::Read const read = d_input.fill();
        if (read == InputBuffer::Read::Interrupted)
            return Next::Interrupted;
        if (read == InputBuffer::Read::Failed)
            d_findings.fail("cannot read " + d_name + ": " + d_file.error());
        if (read != InputBuffer::Read::Bytes)
            break;
    }
    if (!d_findings.problem().empty())
        return Next::End;
    std::string_view const bytes = d_input.bytes();
    if (RecordingFormat const* const format = binaryFormatOf(bytes)) {
        d_format = format;
        d_reader = format->open(d_input, d_findings);
        return Next::Frame;
    }
    if (char const* const cause = findContentProblem(bytes)) {
        d_findings.fail(d_name + " is not a text log: " + cause);
        return Next::End;
    }
    auto text = std::make_unique<TextReader>(d_input, d_findings, d_name);
    d_text = text.get();
    d_reader = std::move(text);
    return Next::Frame;
}

} // namespace qztool
