// From the bytes of a LIN description file to its frames.
#include "tools/definitions/ldf/LdfReader.h"

#include "tools/definitions/TextEncoding.h"
#include "tools/definitions/ldf/LdfDatabase.h"
#include "tools/definitions/ldf/LdfParser.h"
#include "tools/definitions/ldf/LdfScanner.h"

#include <string>
#include <utility>

namespace qztool {

bool looksLikeLdf(std::string_view bytes) {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    bytes.remove_prefix(bytes.substr(0, mark.size()) == mark ? mark.size() : 0);
    const std::string_view word = firstWordOfLdf(bytes);
    return word == "LIN_description_file" || word == "LIN_protocol_version" || word == "LIN_language_version";
}

Database readLdf(std::string_view bytes) {
    if (std::optional<Problem> problem = findEncodingProblem(bytes)) {
        Database database;
        database.problems.push_back(std::move(*problem));
        return database;
    }
    std::string storage;
    std::vector<Problem> problems;
    const std::vector<LdfToken> tokens = scanLdf(toPlainText(bytes, storage), problems);
    LdfFile file = LdfParser(tokens, problems).read();
    return makeLdfDatabase(std::move(file), std::move(problems));
}

} // namespace qztool
