// Fuzz target: any bytes as a pcap or pcapng file.
#include "tests/fuzz/RecordingText.h"
#include "tools/recordings/pcap/PcapReader.h"
#include "tools/recordings/pcap/PcapngReader.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const content(reinterpret_cast<char const*>(data), size);
    if (qztool::PcapReader::fits(content))
        qztool::expectReader<qztool::PcapReader>(content);
    else
        qztool::expectReader<qztool::PcapngReader>(content);
    return 0;
}
