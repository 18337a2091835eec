// Help of TRACE and --absolute.
#include "tools/console/RecordingOption.h"

#include <CLI/CLI.hpp>

namespace qztool {

void addRecordingOptions(CLI::App& parser, RecordingOptions& options, std::string const& standardInput) {
    parser.add_flag("--absolute", options.absolute,
                    "Count times from 1970 where the recording counts them from its start and says when that was "
                    "(ASC, BLF, TRC)");
    parser
        .add_option("TRACE", options.path,
                    "Recording: candump text, an ASC or TRC log, or a BLF, pcap or pcapng file, also compressed with "
                    "gzip, xz or zstd; - is standard input" +
                        (standardInput.empty() ? "" : ", " + standardInput))
        ->type_name("")
        ->required();
}

} // namespace qztool
