#include "tests/expression/TextCase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <utility>

namespace {

std::string unescaped(std::string const& text) {
    static std::map<char, char> const escapes = {{'t', '\t'}, {'r', '\r'}, {'n', '\n'}, {'s', ' '}, {'\\', '\\'}};
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            result += text[i];
        } else if (text[++i] == 'x') {
            result += static_cast<char>(std::strtol(text.substr(i + 1, 2).c_str(), nullptr, 16));
            i += 2;
        } else {
            auto const escape = escapes.find(text[i]);
            EXPECT_NE(escape, escapes.end()) << "escape in " << text;
            result += escape != escapes.end() ? escape->second : '?';
        }
    }
    return result;
}

std::map<std::string, std::optional<double>> signalsIn(std::string const& text) {
    std::map<std::string, std::optional<double>> signals;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        std::size_t const sign = word.rfind('=');
        EXPECT_NE(sign, std::string::npos) << "signal " << word;
        std::string const value = word.substr(sign + 1);
        signals[unescaped(word.substr(0, sign))] =
            value == "-" ? std::nullopt : std::optional<double>(std::strtod(value.c_str(), nullptr));
    }
    return signals;
}

// One paragraph's lines into the case.
class CaseReader {
public:
    void line(std::string const& line, int number) {
        std::size_t const colon = line.find(':');
        ASSERT_NE(colon, std::string::npos) << "line " << number;
        std::string const key = line.substr(0, colon);
        std::string const value = colon + 2 <= line.size() ? line.substr(colon + 2) : "";
        ASSERT_TRUE(key == "text" || d_keys.insert(key).second) << "line " << number << ": " << key << " comes twice";
        if (key == "name") {
            d_case.d_name = value;
            d_case.d_line = number;
        } else if (key == "text") {
            d_case.d_text += (std::exchange(d_anyText, true) ? "\n" : "") + unescaped(value);
        } else if (key == "signals") {
            d_case.d_signals = signalsIn(value);
        } else if (key == "program") {
            d_case.d_program = unescaped(value);
        } else if (key == "value") {
            d_case.d_value = value;
        } else if (key == "trigger") {
            d_case.d_trigger = value == "yes";
        } else if (key == "error") {
            d_case.d_error = unescaped(value);
        } else {
            FAIL() << "line " << number << ": unknown key " << key;
        }
    }

    // Hands over what has been read, if anything has.
    void finish(std::vector<TextCase>& cases) {
        if (d_keys.empty())
            return;
        EXPECT_NE(d_case.d_line, 0) << "a case without a name after " << (cases.empty() ? "" : cases.back().d_name);
        EXPECT_TRUE(d_anyText) << d_case.d_name;
        EXPECT_TRUE(d_case.d_program || d_case.d_value || d_case.d_trigger || d_case.d_error) << d_case.d_name;
        cases.push_back(d_case);
        *this = {};
    }

private:
    TextCase d_case;
    std::set<std::string> d_keys;
    bool d_anyText = false;
};

} // namespace

std::vector<TextCase> readCases(std::string const& path) {
    std::vector<TextCase> cases;
    CaseReader reader;
    std::ifstream file(path);
    int number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        if (line.empty())
            reader.finish(cases);
        else if (line[0] != '#')
            reader.line(line, number);
    }
    reader.finish(cases);
    EXPECT_FALSE(cases.empty()) << path;
    return cases;
}

std::vector<std::string> caseFiles() {
    std::vector<std::string> files;
    for (auto const& entry : std::filesystem::directory_iterator(QZSIGNAL_EXPRESSION_CASES))
        if (entry.path().extension() == ".txt")
            files.push_back(entry.path().string());
    std::sort(files.begin(), files.end());
    return files;
}
