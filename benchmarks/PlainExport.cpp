// The yardstick of `qzsignal export`: a program that has the definitions in a table and writes the same bytes, for a
// log of whole frames without multiplexing.
//
// A line is parsed once; a value is a shift, a mask, a sign, a multiplication and an addition; std::to_chars makes text
// of it. What is the same for all values of a signal or of a frame is prepared and copied. No value is kept.
#include "benchmarks/support/CandumpLines.h"
#include "tools/base/TextFile.h"
#include "tools/definitions/Formats.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace {

struct Row {
    std::uint64_t d_mask;
    std::uint64_t d_sign; // highest bit of a signed signal; 0 of an unsigned one
    double d_scale;
    double d_offset;
    unsigned d_shift;
    bool d_big;
    std::string d_before;             // ",name,"
    std::string d_after;              // ",unit,"
    std::vector<std::string> d_words; // by raw value
};

Row rowOf(qztool::MessageDefinition const& message, qztool::SignalDefinition const& signal) {
    using qztool::NumberKind;
    if (signal.multiplexor || (signal.kind != NumberKind::Unsigned && signal.kind != NumberKind::Signed))
        qzbench::stop(signal.name + ": only plain integers are written");
    Row row{};
    row.d_mask = ~std::uint64_t{0} >> (64 - signal.bits);
    row.d_sign = signal.kind == NumberKind::Signed ? std::uint64_t{1} << (signal.bits - 1) : 0;
    row.d_scale = signal.factor;
    row.d_offset = signal.offset;
    unsigned const firstInWord = signal.startBit / 8 * 8 + 7 - signal.startBit % 8;
    row.d_shift = signal.bigEndian ? 64 - (firstInWord + signal.bits) : signal.startBit;
    row.d_big = signal.bigEndian;
    row.d_before = "," + qztool::instanceName(message, signal) + ",";
    row.d_after = "," + signal.unit + ",";
    for (qztool::ValueText const& each : signal.values) {
        row.d_words.resize(std::max(row.d_words.size(), static_cast<std::size_t>(each.value) + 1));
        row.d_words[static_cast<std::size_t>(each.value)] = each.text;
    }
    return row;
}

char* copy(char* to, std::string const& text) {
    std::memcpy(to, text.data(), text.size());
    return to + text.size();
}

// In fixed notation as far as the export has it.
char* writeNumber(char* to, double number) {
    double const size = std::fabs(number);
    bool const isFixed = number == 0 || (size >= 1e-5 && size <= 1e15);
    return std::to_chars(to, to + 40, number, isFixed ? std::chars_format::fixed : std::chars_format::scientific).ptr;
}

char* writeLine(char* to, char const* time, Row const& row, std::uint64_t raw) {
    auto const number = static_cast<std::int64_t>((raw ^ row.d_sign) - row.d_sign);
    double const value = row.d_sign != 0 ? static_cast<double>(number) : static_cast<double>(raw);
    std::memcpy(to, time, 17);
    to = copy(to + 17, row.d_before);
    to = writeNumber(to, value * row.d_scale + row.d_offset);
    to = copy(to, row.d_after);
    if (raw < row.d_words.size())
        to = copy(to, row.d_words[raw]);
    *to++ = '\n';
    return to;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3)
        qzbench::stop("usage: qzsignal_plain_export DEFINITIONS LOG");
    std::string text;
    if (!qztool::readTextFile(argv[1], text).empty())
        qzbench::stop("no definitions");
    std::vector<std::vector<Row>> frames(0x800);
    for (qztool::MessageDefinition const& message : qztool::readDefinitions(text).messages)
        for (qztool::SignalDefinition const& signal : message.signals)
            frames[message.address].push_back(rowOf(message, signal));

    constexpr std::size_t longestLine = 1000;
    std::vector<char> buffer(1 << 17);
    char* next = buffer.data();
    auto const flush = [&] {
        for (char const* from = buffer.data(); from != next;) {
            ssize_t const written = write(STDOUT_FILENO, from, static_cast<std::size_t>(next - from));
            if (written < 0)
                qzbench::stop("cannot write");
            from += written;
        }
        next = buffer.data();
    };
    next = copy(next, "time,signal,value,unit,text\n");
    qzbench::readLines(argv[2], [&](qzbench::CandumpLine const& line) {
        if (line.d_digits != 16)
            qzbench::stop("a short frame");
        std::uint64_t const big = line.d_payload;
        std::uint64_t const little = __builtin_bswap64(big);
        for (Row const& row : frames[line.d_identifier]) {
            if (static_cast<std::size_t>(buffer.data() + buffer.size() - next) < longestLine)
                flush();
            next = writeLine(next, line.d_time, row, (row.d_big ? big : little) >> row.d_shift & row.d_mask);
        }
    });
    flush();
}
