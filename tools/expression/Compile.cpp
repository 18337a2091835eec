// The parser's message, and the place that it is about.
#include "tools/expression/Compile.h"

#include "qzsignal/signal/Diagnostics.h"
#include "tools/base/Printable.h"

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <optional>

namespace qztool {

namespace {

bool continuesCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80; // in UTF-8
}

void showPlace(std::string const& text, std::size_t place) {
    std::size_t const begin = place == 0 ? 0 : text.rfind('\n', place - 1) + 1; // npos + 1 is 0
    std::string line = text.substr(begin, text.find('\n', begin) - begin);
    std::replace_if(line.begin(), line.end(), isControlCharacter, ' '); // a tab would shift the caret
    auto const before = line.begin() + static_cast<std::ptrdiff_t>(place - begin);
    auto const inside = std::count_if(line.begin(), before, continuesCharacter);
    std::cerr << "    " << line << "\n    " << std::string(place - begin - static_cast<std::size_t>(inside), ' ') << "^"
              << std::endl;
}

} // namespace

void reportError(ExpParser::Error const& error, std::string const& text, Console& console) {
    qzsignal::errorLine(error.text());
    if (error.context.empty())
        console.error("the expression is empty");
    else
        showPlace(text, error.begin);
}

std::unique_ptr<ExpParser> compile(std::string const& text, bool edge, Console& console) {
    std::optional<ExpParser::Error> const error = ExpParser::check(text.c_str());
    if (!error)
        return std::make_unique<ExpParser>(text.c_str(), edge);
    reportError(*error, text, console);
    return nullptr;
}

} // namespace qztool
