// Reads the lines of GVRET CSV logs, the text format of SavvyCAN.
#pragma once

#include "tools/recordings/Frame.h"
#include "tools/recordings/text/LineFormat.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace qztool {

// Time Stamp,ID,Extended,Dir,Bus,LEN,D1,D2,D3,D4,D5,D6,D7,D8        older ones lack Dir
// 166064000,0000021A,false,Rx,0,8,FE,36,12,FE,69,05,07,AD,          microseconds, identifier in hexadecimal, data
class GvretLog : public LineFormat {
public:
    // True if the line is the header.
    static bool fits(std::string_view line);
    ParsedLine parse(std::string_view line, Frame& frame) override;
    // What times count from depends on the settings of the recording machine.
    std::optional<std::uint64_t> startTime() const override { return std::nullopt; }

private:
    bool d_hasDirection = true;
};

} // namespace qztool
