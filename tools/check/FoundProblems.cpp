// Sorting problems out by their kinds.
#include "tools/check/FoundProblems.h"

#include <optional>
#include <set>
#include <tuple>

namespace qztool {

namespace {

std::optional<CheckKind> kindOf(ProblemKind kind) {
    switch (kind) {
    case ProblemKind::Other:
        return std::nullopt;
    case ProblemKind::Outside:
        return CheckKind::Outside;
    case ProblemKind::DeadSelector:
        return CheckKind::DeadSelector;
    case ProblemKind::Duplicate:
        return CheckKind::Duplicate;
    case ProblemKind::Cycle:
        return CheckKind::Cycle;
    }
    return std::nullopt;
}

} // namespace

void FoundProblems::problems(std::string const& file, std::vector<Problem> const& problems) {
    for (Problem const& problem : problems)
        if (std::optional<CheckKind> const kind = kindOf(problem.kind))
            d_found.push_back({*kind, file, problem.line, "", problem.text, 1, std::nullopt});
        else
            d_others.problems(file, {problem});
}

void FoundProblems::addTo(std::vector<Finding>& findings) const {
    std::set<std::tuple<CheckKind, std::string, std::size_t>> known;
    for (Finding const& finding : findings)
        known.emplace(finding.kind, finding.file, finding.line);
    for (Finding const& finding : d_found)
        if (known.count({finding.kind, finding.file, finding.line}) == 0)
            findings.push_back(finding);
}

} // namespace qztool
