// Heads and tails of lines.
#include "tools/export/ValueLines.h"

#include "tools/base/NumberText.h"
#include "tools/export/Quoting.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>

namespace qztool {

namespace {

// Lines are copied in whole pieces, whose size the compiler knows: what is copied too much is overwritten by what
// follows.
constexpr std::size_t piece = 32;

std::size_t inPieces(std::size_t size) {
    return (size + piece - 1) / piece * piece;
}

char* copyPieces(char* to, char const* from, std::size_t size) {
    for (std::size_t i = 0; i < size; i += piece)
        std::memcpy(to + i, from + i, piece);
    return to + size;
}

char* copyText(char* to, std::string_view text) {
    return std::copy(text.begin(), text.end(), to);
}

constexpr std::string_view jsonHead = "{\"time\":";
constexpr std::string_view jsonText = ",\"text\":";
constexpr std::string_view jsonRaw = ",\"raw\":";

} // namespace

ValueLines::ValueLines(ExportOptions const& options, SignalSet const& signals, OutputBuffer& output)
    : Exporter(options), d_output(output), d_isJson(options.format == ExportFormat::Jsonl) {
    for (auto const& signal : signals.signals())
        if (signal->isWanted())
            tailOf(*signal);
    d_frame.reserve(d_tails.size());
}

void ValueLines::begin() {
    if (!d_isJson)
        d_output.append("time,signal,value,unit,text\n");
}

ValueLines::Tail& ValueLines::tailOf(DrivenSignal& signal) {
    std::size_t const number = signal.number();
    if (number >= d_tails.size())
        d_tails.resize(number + 1);
    if (!d_tails[number])
        d_tails[number] = makeTail(signal);
    return *d_tails[number];
}

std::unique_ptr<ValueLines::Tail> ValueLines::makeTail(DrivenSignal& signal) const {
    SignalText text(signal, d_isJson ? jsonString : csvField);
    std::string const& name = signal.instance();
    std::string const& unit = signal.definition().unit;
    std::string const before =
        d_isJson ? ",\"signal\":" + jsonString(name) + ",\"value\":" : "," + csvField(name) + ",";
    std::string after = d_isJson ? ",\"unit\":" + jsonString(unit) : "," + csvField(unit) + ",";
    std::size_t const longest = before.size() + after.size() + jsonText.size() + text.longestWord() + jsonRaw.size() +
                                2 * longestNumber + 2; // the end of the line
    auto tail = std::make_unique<Tail>(Tail{&signal, signal.definition().line, 0, 0, nullptr, inPieces(longest),
                                            before.size(), std::move(after), std::move(text)});
    tail->line = std::make_unique<char[]>(tail->capacity);
    std::copy(before.begin(), before.end(), tail->line.get());
    return tail;
}

char* ValueLines::writeValue(char* to, Tail const& tail, std::uint64_t bits) const {
    if (d_options.raw)
        return tail.text.writeRaw(to, bits);
    double const value = tail.text.physical();
    return d_isJson && !std::isfinite(value) ? copyText(to, "null") : writeDouble(to, value);
}

void ValueLines::render(Tail& tail, std::uint64_t bits) const {
    char* to = writeValue(tail.line.get() + tail.valueAt, tail, bits);
    to = copyText(to, tail.afterValue);
    std::string_view const word = tail.text.word(bits);
    if (d_isJson) {
        if (!word.empty())
            to = copyText(copyText(to, jsonText), word);
        to = tail.text.writeRaw(copyText(to, jsonRaw), bits);
        *to++ = '}';
    } else {
        to = copyText(to, word);
    }
    *to++ = '\n';
    tail.bits = bits;
    tail.length = static_cast<std::size_t>(to - tail.line.get());
}

void ValueLines::writeHead(std::uint64_t timestamp) {
    if (timestamp == d_headTime && d_headLength != 0)
        return;
    char* to = d_isJson ? copyText(d_head.data(), jsonHead) : d_head.data();
    to = writeTime(to, timestamp);
    d_headLength = static_cast<std::size_t>(to - d_head.data());
    d_headTime = timestamp;
}

// In the order of the definition file, where a multiplexor may follow signals that it selects.
void ValueLines::collect(std::vector<DrivenSignal*> const& carried) {
    d_frame.clear();
    std::size_t last = 0;
    bool isSorted = true;
    for (DrivenSignal* const signal : carried) {
        Tail& tail = tailOf(*signal);
        isSorted = isSorted && tail.order >= last;
        last = tail.order;
        d_frame.push_back(&tail);
    }
    if (isSorted)
        return;
    // Stable, and without the memory that the standard library's takes.
    for (auto each = d_frame.begin(); each != d_frame.end(); ++each)
        std::rotate(std::upper_bound(d_frame.begin(), each, *each,
                                     [](Tail const* a, Tail const* b) { return a->order < b->order; }),
                    each, std::next(each));
}

void ValueLines::onMessage(std::uint64_t timestamp, CurrentFrame const& frame) {
    if (frame.carried.empty() || !isInRange(timestamp))
        return;
    writeHead(timestamp);
    collect(frame.carried);
    for (Tail* const tail : d_frame) {
        std::uint64_t const bits = tail->text.bits();
        if (bits != tail->bits || tail->length == 0)
            render(*tail, bits);
        char* to = d_output.room(d_head.size() + tail->capacity);
        to = copyPieces(to, d_head.data(), d_headLength);
        d_output.advance(copyPieces(to, tail->line.get(), tail->length));
    }
    d_values += d_frame.size();
}

} // namespace qztool
