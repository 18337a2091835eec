// Debug lines on layouts.
#include "qzsignal/signal/BitLayoutTrace.h"

#include "qzsignal/PrintedForm.h"
#include "qzsignal/signal/Diagnostics.h"
#include "qzsignal/signal/Printing.h"

namespace qzsignal {

namespace {

// How `operation` came to a number that is called `name` there.
void traceResult(LayoutUse const& use, char const* operation, char const* name, std::uint64_t result) {
    debugLine(use.d_label, "::", operation, ": ", use.d_order == ByteOrder::Big ? "big" : "little",
              " endian, bits = ", use.d_bits, ", startbit = ", use.d_startBit, ", maskBits = ", std::hex,
              use.d_layout.d_maksBits, ", signBit = ", use.d_layout.d_signBit, ", ", name, " = ", Hex16{result});
}

} // namespace

void traceLayout(BitLayout const& layout) {
    debugLine("d_lsbBit=", unsigned{layout.d_lsbBit}, ",d_startByte=", unsigned{layout.d_startByte},
              ",d_bytes=", unsigned{layout.d_bytes}, ",d_shift=", unsigned{layout.d_shift}, ",d_maksBits=", std::hex,
              layout.d_maksBits, ",d_signBit=", layout.d_signBit, ",d_rawMask=", Hex16{layout.d_rawMask});
}

void traceDecoded(LayoutUse const& use, std::uint64_t rawWord, std::uint64_t value) {
    constexpr unsigned payloadBytes = 8;
    TextStream bytes;
    bytes << std::hex << std::setfill('0');
    for (unsigned byte = 0; byte < payloadBytes; ++byte)
        bytes << (byte == 0 ? "" : "-") << std::setw(2) << (rawWord >> (8 * (payloadBytes - 1 - byte)) & 0xff);
    debugLine(use.d_label, "::decode: ", use.d_instance, ": ", bytes.str());
    traceResult(use, "decode", "item", value);
}

void traceEncoded(LayoutUse const& use, std::uint64_t placed, std::uint64_t message) {
    debugLine(use.d_label, "::encode: rawValue:", use.d_instance, ": ", std::hex, placed);
    traceResult(use, "encode", "msg", message);
}

} // namespace qzsignal
