// The manual page has what the command's help has, and nothing else.
#include "tests/cli/Command.h"
#include "tests/support/Page.h"

#include <algorithm>
#include <cctype>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Words = std::vector<std::string>;
using Options = std::map<std::string, std::string>; // name and value, such as "wait" and "SECONDS"

Words wordsOf(std::string const& line) {
    std::istringstream in(line);
    Words words;
    for (std::string word; in >> word;)
        words.push_back(word);
    return words;
}

// In the form of either side: "[CHANNEL:]FILE", or "channel", ":", "file".
std::string lettersOf(std::string const& text) {
    std::string letters;
    for (char c : text)
        if (std::isalpha(static_cast<unsigned char>(c)) != 0)
            letters += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return letters;
}

// What `qzsignal [SUBCOMMAND] --help` says.
class Help {
public:
    explicit Help(Words arguments = {}) {
        arguments.emplace_back("--help");
        Result const result(arguments);
        EXPECT_EQ(result.status, 0);
        std::istringstream in(result.output);
        for (std::string line; std::getline(in, line);)
            d_lines.push_back(line);
    }

    // The first word of each entry of a section.
    Words firstWords(std::string const& heading) const {
        Words words;
        for (std::string const& entry : entries(heading))
            words.push_back(wordsOf(entry).front());
        return words;
    }

    // "-h,--help  Print ..." has no value, "--wait SECONDS  Wait ..." has one; of several long names, the first counts.
    Options options() const {
        Options options;
        for (std::string const& entry : entries("Options:")) {
            Words const words = wordsOf(entry.substr(0, entry.find("  ")));
            std::string const& names = words.front();
            std::string const value = words.size() > 1 && isValue(words[1]) ? lettersOf(words[1]) : "";
            std::size_t const name = names.find("--") + 2;
            options[names.substr(name, names.find(',', name) - name)] = value; // without further names of it
        }
        return options;
    }

    // The arguments that are not options, from the line on usage.
    Words arguments() const {
        Words arguments;
        for (std::string const& line : d_lines) {
            std::size_t const end = line.find("[OPTIONS]");
            if (line.rfind("Usage: ", 0) == 0 && end != std::string::npos)
                for (std::string const& word : wordsOf(line.substr(end + 9)))
                    arguments.push_back(lettersOf(word));
        }
        return arguments;
    }

private:
    // The entries of a section, without the two spaces before each. What is further to the right belongs to the line
    // before.
    Words entries(std::string const& heading) const {
        Words found;
        auto line = std::find(d_lines.begin(), d_lines.end(), heading);
        for (; line != d_lines.end() && !line->empty(); ++line)
            if (line->size() > 2 && line->compare(0, 2, "  ") == 0 && (*line)[2] != ' ')
                found.push_back(line->substr(2));
        return found;
    }

    // Values are in capitals, perhaps with brackets; other words are notes on the option.
    static bool isValue(std::string const& word) {
        return std::none_of(word.begin(), word.end(),
                            [](char c) { return std::islower(static_cast<unsigned char>(c)) != 0; }) &&
               !lettersOf(word).empty();
    }

    Words d_lines;
};

// The page, by its macros: `.Sh` and `.Ss` are headings, `.It` an entry of a list, `Fl` comes before an option, `Ar`
// before a value and `Cm` before a subcommand.
class ManPage {
public:
    ManPage() {
        Page const page("docs/qzsignal.1");
        std::string section;
        std::string part;
        for (std::string const& line : page.lines()) {
            Words const words = wordsOf(line);
            if (words.empty() || words[0][0] != '.')
                continue;
            if (words[0] == ".Sh") {
                section = line.substr(4);
                part.clear();
            } else if (words[0] == ".Ss") {
                part = words.at(1);
                d_subcommands.push_back(part);
            } else if (section == "SYNOPSIS") {
                addSynopsis(words, part);
            } else if (words[0] == ".It" && section == "DESCRIPTION") {
                addOptions(words, d_options[part]);
            } else if (words[0] == ".It" && section == "EXIT STATUS") {
                d_statuses.push_back(words.at(1));
            }
        }
    }

    Words const& subcommands() const { return d_subcommands; }
    Words const& shownSubcommands() const { return d_shownSubcommands; }
    Words const& statuses() const { return d_statuses; }
    // Of the command itself, if the name is empty.
    Options options(std::string const& subcommand) const { return entry(d_options, subcommand); }
    Options shownOptions(std::string const& subcommand) const { return entry(d_shownOptions, subcommand); }
    Words shownArguments(std::string const& subcommand) const { return entry(d_shownArguments, subcommand); }

private:
    template <typename Value>
    static Value entry(std::map<std::string, Value> const& map, std::string const& key) {
        auto const found = map.find(key);
        return found == map.end() ? Value() : found->second;
    }

    void addSynopsis(Words const& words, std::string& part) {
        if (words[0] == ".Nm") {
            part.clear();
        } else if (words[0] == ".Cm") {
            part = words.at(1);
            d_shownSubcommands.push_back(part);
        } else if (words[0] == ".Ar") {
            d_shownArguments[part].push_back(lettersOf(words.at(1)));
        } else if (words[0] == ".Op" && words.at(1) == "Ar") {
            d_shownArguments[part].push_back(lettersOf(words.at(2)));
        } else {
            addOptions(words, d_shownOptions[part]);
        }
    }

    static void addOptions(Words const& words, Options& options) {
        std::string name;
        bool isValue = false;
        for (std::size_t i = 0; i < words.size(); ++i) {
            if (words[i] == "Fl" || words[i] == ".Fl") {
                // A short form, such as that of --help, is another name of the long one.
                bool const isFurther = i > 0 && words[i - 1] == "," && !name.empty();
                if (!isFurther)
                    name = words.at(i + 1)[0] == '-' ? words[i + 1].substr(1) : "";
                if (!name.empty())
                    options[name];
                isValue = false;
                ++i;
            } else if (words[i] == "Ar" && !name.empty()) {
                isValue = true;
            } else if (words[i].size() == 2 && std::isupper(static_cast<unsigned char>(words[i][0])) != 0) {
                isValue = false;
            } else if (isValue) {
                options[name] += lettersOf(words[i]);
            }
        }
    }

    Words d_subcommands;
    Words d_shownSubcommands;
    Words d_statuses;
    std::map<std::string, Options> d_options;
    std::map<std::string, Options> d_shownOptions;
    std::map<std::string, Words> d_shownArguments;
};

TEST(ManPage, describesTheSubcommandsInTheirOrder) {
    Words const subcommands = Help().firstWords("Subcommands:");
    EXPECT_FALSE(subcommands.empty());
    EXPECT_EQ(ManPage().subcommands(), subcommands);
    EXPECT_EQ(ManPage().shownSubcommands(), subcommands);
}

TEST(ManPage, describesTheOptionsOfTheCommand) {
    Options const options = Help().options();
    EXPECT_EQ(options.count("help"), 1U);
    EXPECT_EQ(ManPage().options(""), options);
    EXPECT_EQ(ManPage().shownOptions(""), options);
}

TEST(ManPage, describesTheOptionsAndArgumentsOfEachSubcommand) {
    ManPage const page;
    for (std::string const& subcommand : Help().firstWords("Subcommands:")) {
        Help const help({subcommand});
        Options options = help.options();
        EXPECT_EQ(options.erase("help"), 1U) << subcommand; // which the page has once
        EXPECT_FALSE(options.empty()) << subcommand;
        EXPECT_EQ(page.options(subcommand), options) << subcommand;
        EXPECT_EQ(page.shownOptions(subcommand), options) << subcommand;
        EXPECT_EQ(page.shownArguments(subcommand), help.arguments()) << subcommand;
    }
}

TEST(ManPage, describesTheExitStatuses) {
    Words const statuses = Help().firstWords("Exit status:");
    EXPECT_FALSE(statuses.empty());
    EXPECT_EQ(ManPage().statuses(), statuses);
}

} // namespace
