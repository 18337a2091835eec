// The cases in cases/*.txt; cases/README.md describes their form.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

struct TextCase {
    std::string d_name;
    int d_line = 0; // of the name in its file
    std::string d_text;
    std::map<std::string, std::optional<double>> d_signals;
    std::optional<std::string> d_program;
    std::optional<std::string> d_value;
    std::optional<bool> d_trigger;
    std::optional<std::string> d_error;
};

// All cases of a file, in order. A line that does not follow the form fails the running test.
std::vector<TextCase> readCases(std::string const& path);

// The files with cases, in order of their names.
std::vector<std::string> caseFiles();
