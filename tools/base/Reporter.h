// Who hears of problems.
#pragma once

#include <string>
#include <vector>

namespace qztool {

struct Problem;

// Owned by the caller of the work that finds them. Texts are one line without a full stop.
class Reporter {
public:
    virtual ~Reporter() = default;

    // Problems of one file, sorted by line.
    virtual void problems(std::string const& file, std::vector<Problem> const& problems) = 0;
    // A problem that is not in a line of a file, but may name one. It keeps something from being done.
    virtual void error(std::string const& text) = 0;
    // A problem of the same kind that keeps nothing from being done.
    virtual void warning(std::string const& text) { static_cast<void>(text); }
};

} // namespace qztool
