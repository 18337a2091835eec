// A line for each value: CSV and JSON lines.
#pragma once

#include "tools/export/Exporter.h"
#include "tools/export/SignalText.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace qztool {

// A line is a head, which is the same for all signals of a frame, and a tail, which stays the same as long as the
// signal's value does. Most values of a bus do not change from frame to frame, so that most lines are two copies.
class ValueLines : public Exporter {
public:
    ValueLines(ExportOptions const& options, SignalSet const& signals, OutputBuffer& output);

    void begin() override;
    void onMessage(std::uint64_t timestamp, CurrentFrame const& frame) override;

private:
    struct Tail {
        DrivenSignal* signal;
        std::size_t order;            // of the signals of a frame: their lines in the definition file
        std::uint64_t bits = 0;       // that `line` shows
        std::size_t length = 0;       // of `line`; 0: no value has been shown yet
        std::unique_ptr<char[]> line; // begins with the fixed text before the value
        std::size_t capacity;         // of `line`, in whole pieces
        std::size_t valueAt;          // where the value begins
        std::string afterValue;       // the fixed text that follows
        SignalText text;
    };

    Tail& tailOf(DrivenSignal& signal);
    std::unique_ptr<Tail> makeTail(DrivenSignal& signal) const;
    void render(Tail& tail, std::uint64_t bits) const;
    char* writeValue(char* to, Tail const& tail, std::uint64_t bits) const;
    void writeHead(std::uint64_t timestamp);
    void collect(std::vector<DrivenSignal*> const& carried);

    OutputBuffer& d_output;
    bool d_isJson;
    std::vector<std::unique_ptr<Tail>> d_tails; // by the signals' numbers; null: not made yet
    std::vector<Tail*> d_frame;                 // those of the current frame
    std::array<char, 64> d_head{};
    std::size_t d_headLength = 0; // 0: there is none yet
    std::uint64_t d_headTime = 0;
};

} // namespace qztool
