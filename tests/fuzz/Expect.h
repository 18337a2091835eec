// How a fuzz target tells what it found.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

// Ends the process, which is what a fuzzer takes for a finding, if something is not as it has to be. `input` is the
// part of the fuzzer's input that it is about.
inline void expect(bool agreed, char const* what, std::string const& input = "", std::string const& found = "",
                   std::string const& expected = "") {
    if (agreed)
        return;
    std::fprintf(stderr, "%s: %s\nfound:    %s\nexpected: %s\n", what, input.c_str(), found.c_str(), expected.c_str());
    std::abort();
}

// The same of two texts that have to be equal.
inline void expectEqual(std::string const& found, std::string const& expected, char const* what,
                        std::string const& input = "") {
    expect(found == expected, what, input, found, expected);
}
