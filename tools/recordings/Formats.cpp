// The table of formats.
#include "tools/recordings/Formats.h"

#include "tools/recordings/blf/BlfReader.h"
#include "tools/recordings/gvret/GvretLog.h"
#include "tools/recordings/pcap/PcapReader.h"
#include "tools/recordings/pcap/PcapngReader.h"
#include "tools/recordings/text/AscLog.h"
#include "tools/recordings/text/CandumpLog.h"
#include "tools/recordings/trc/TrcLog.h"

namespace qztool {

namespace {

template <typename Format>
std::unique_ptr<LineFormat> make() {
    return std::make_unique<Format>();
}

// Of formats that a line could belong to, the first one counts.
constexpr RecordingFormat formats[] = {
    {"candump", CandumpLog::fits, make<CandumpLog>, nullptr},
    {"ASC", AscLog::fits, make<AscLog>, nullptr},
    {"TRC", TrcLog::fits, make<TrcLog>, nullptr},
    {"GVRET CSV", GvretLog::fits, make<GvretLog>, nullptr},
    {"BLF", BlfReader::fits, nullptr, BlfReader::open},
    {"pcap", PcapReader::fits, nullptr, PcapReader::open},
    {"pcapng", PcapngReader::fits, nullptr, PcapngReader::open},
};

} // namespace

RecordingFormat const* binaryFormatOf(std::string_view bytes) {
    for (RecordingFormat const& format : formats)
        if (format.open != nullptr && format.looksLike(bytes))
            return &format;
    return nullptr;
}

RecordingFormat const* lineFormatOf(std::string_view line) {
    for (RecordingFormat const& format : formats)
        if (format.makeLineFormat != nullptr && format.looksLike(line))
            return &format;
    return nullptr;
}

char const* noLineFormat() {
    return "neither a candump nor an ASC, TRC or GVRET line";
}

} // namespace qztool
