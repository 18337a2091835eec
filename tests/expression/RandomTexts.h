// Random expression texts: good ones, nearly good ones, and nonsense. The same seed gives the same texts everywhere.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

class RandomTexts {
public:
    // Signals in the texts are mostly of these names.
    RandomTexts(std::uint64_t seed, std::vector<std::string> names) : d_random(seed), d_names(std::move(names)) {}

    std::string next();

    // 0 to below - 1.
    std::size_t number(std::size_t below) { return static_cast<std::size_t>(d_random() % below); }

private:
    bool oneIn(std::size_t cases) { return number(cases) == 0; }
    template <typename List>
    auto const& pick(List const& list) {
        return list[number(std::size(list))];
    }

    void addNumber(int depth);
    void addCondition(int depth);
    void addInfix(char const* const* begin, std::size_t count);
    void addWord(std::string const& word) { d_words.push_back(word); }
    std::string numeral();
    std::string name();
    std::string oddWord();
    std::string join();
    void mutate(std::string& text);

    std::mt19937_64 d_random;
    std::vector<std::string> d_names;
    std::vector<std::string> d_words; // of the text in the making
};
