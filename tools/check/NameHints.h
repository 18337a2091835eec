// What a signal is, by its name.
#pragma once

#include <string_view>

namespace qztool {

// Rolling counters of frames: the name contains "counter", "alive" or "rolling", or has one of the words cnt, cntr,
// ctr, count, bz. Words end at other characters than letters and where a capital follows a small letter; case does
// not matter.
bool isNamedCounter(std::string_view name);

// Checksums: the name contains "checksum", "chksum" or "chcksum", or has one of the words crc, chk, chks, cks. Not
// those that say whether one was right: with the words error, err, fault, fail, flt, valid, invalid, ok, status, sts.
bool isNamedChecksum(std::string_view name);

} // namespace qztool
