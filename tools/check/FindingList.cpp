// Sorting.
#include "tools/check/FindingList.h"

#include <algorithm>
#include <map>
#include <tuple>

namespace qztool {

void sortFindings(std::vector<Finding>& findings, DefinitionSet const& definitions) {
    std::map<std::string, std::size_t> files;
    for (auto const& file : definitions.files())
        files.emplace(file->path, files.size());
    auto const place = [&files](Finding const& finding) {
        auto const file = files.find(finding.file);
        bool const isListed = finding.kind != CheckKind::Undefined && file != files.end();
        return isListed ? std::make_tuple(finding.kind, file->second, finding.line)
                        : std::make_tuple(finding.kind, files.size(), std::size_t{0});
    };
    std::stable_sort(findings.begin(), findings.end(),
                     [&place](Finding const& a, Finding const& b) { return place(a) < place(b); });
}

} // namespace qztool
