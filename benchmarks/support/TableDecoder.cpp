// Makes the table.
#include "benchmarks/support/TableDecoder.h"

#include <cstddef>

namespace qzbench {

namespace {

TableRow rowOf(canSignalDef_t const& definition) {
    unsigned const start = definition.startbit;
    unsigned const bits = definition.bits;
    TableRow row{};
    row.d_mask = ~std::uint64_t{0} >> (64 - bits);
    row.d_sign = definition.type == signalSigned ? std::uint64_t{1} << (bits - 1) : 0;
    row.d_scale = definition.scale;
    row.d_offset = definition.offset;
    // In the word that begins with byte 0, the last bit of a big-endian signal counts from the other end.
    unsigned const firstInWord = start / 8 * 8 + 7 - start % 8;
    row.d_shift = static_cast<std::uint8_t>(definition.endian ? 64 - (firstInWord + bits) : start);
    row.d_big = definition.endian;
    return row;
}

} // namespace

TableDecoder::TableDecoder() {
    std::map<std::uint32_t, std::vector<TableRow>> frames;
    for (canSignalDef_t const& definition : drive().definitions)
        frames[definition.msgId].push_back(rowOf(definition));
    d_rows.reserve(drive().definitions.size()); // so that they stay where they are
    for (auto const& [identifier, rows] : frames) {
        TableRow const* const begin = d_rows.data() + d_rows.size();
        d_rows.insert(d_rows.end(), rows.begin(), rows.end());
        d_frames[identifier] = {begin, begin + rows.size()};
    }
}

} // namespace qzbench
