// Reads the FlexRay events of ASC logs.
#pragma once

#include "tools/recordings/Frame.h"
#include "tools/recordings/text/ParsedLine.h"
#include "tools/recordings/text/TextCursor.h"

namespace qztool {

// 0.039255 Fr RMSG 0 0 1 3 4 7 Rx 0 300002 5 20 151 Message_2 4 4 27 24 29 f1 0 0 0
//                      | | | | |    |           |           | | data
//                      | | | | |    |           |           | bytes that are recorded
//                      | | | | |    |           |           bytes of payload
//                      | | | | |    |           checksum of the header, then a name or x
//                      | | | | |    flags, hexadecimal in either base: bit 0 null frame
//                      | | slot and cycle
//                      | FlexRay's channels: 1 A, 2 B, 3 both
//                      channel
// 0.042000 Fr 1 V9 4 25 0 1 151 Ident_04_Rnd_0 4 21 87 22 148 00d0 9a      of older tools, received:
//             channel (2 is also B), slot, cycle, startup frame, sync frame, checksum, name, bytes, data
// Reads from after "Fr" on, and sets all but the time.
ParsedLine parseAscFlexRay(TextCursor cursor, int base, Frame& frame);

} // namespace qztool
