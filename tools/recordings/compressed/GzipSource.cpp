// Inflating member by member.
#include "tools/recordings/compressed/GzipSource.h"

#include <algorithm>

namespace qztool {

GzipSource::Step GzipSource::decompress(std::string_view input, bool /*isLast*/, char* output, std::size_t size) {
    Step step;
    if (d_atBorder) {
        step.consumed = std::min(input.find_first_not_of('\0'), input.size());
        input.remove_prefix(step.consumed);
        step.atBorder = input.empty();
        if (step.atBorder)
            return step;
        if (input.front() != '\x1F') {
            step.damage = "other bytes after its end";
            return step;
        }
        d_inflater.reset();
        d_atBorder = false;
    }
    Inflater::Step const inflated = d_inflater.inflate(input, output, size);
    step.consumed += inflated.consumed;
    step.produced = inflated.produced;
    step.damage = inflated.damage;
    d_atBorder = inflated.ended;
    step.atBorder = d_atBorder;
    return step;
}

} // namespace qztool
