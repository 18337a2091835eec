// Findings of the readers of definition files.
#pragma once

#include "tools/base/Reporter.h"
#include "tools/check/Finding.h"

#include <string>
#include <vector>

namespace qztool {

// Keeps the problems for which there is a kind of finding, and hands all others on, one by one, so that nothing sums
// them up. The other reporter must outlive it.
class FoundProblems : public Reporter {
public:
    explicit FoundProblems(Reporter& others) : d_others(others) {}

    void problems(std::string const& file, std::vector<Problem> const& problems) override;
    void error(std::string const& text) override { d_others.error(text); }

    // Appends what was kept, but for what the findings have already: readers report some of what a check finds by
    // itself, such as a signal that reaches beyond its message.
    void addTo(std::vector<Finding>& findings) const;

private:
    Reporter& d_others;
    std::vector<Finding> d_found;
};

} // namespace qztool
