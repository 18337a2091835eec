// Every example on the page about the language, docs/expression-language.md, has the result that the page says.
#include "tests/expression/CompiledExpression.h"
#include "tests/expression/TestSignals.h"
#include "tests/support/Capture.h"
#include "tests/support/Page.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using Block = Page::Block;

// The lines of a block, each with its end.
std::string textOf(Block const& block) {
    std::string text;
    for (std::string const& line : block.lines)
        text += line + '\n';
    return text;
}

std::string trimmed(std::string const& text) {
    std::size_t const begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

// The two sides of each line of a block.
std::vector<std::pair<std::string, std::string>> pairs(Block const& block, std::string const& sign) {
    std::vector<std::pair<std::string, std::string>> result;
    for (std::string const& line : block.lines) {
        std::size_t const at = line.rfind(sign);
        EXPECT_NE(at, std::string::npos) << line;
        if (at != std::string::npos)
            result.emplace_back(trimmed(line.substr(0, at)), trimmed(line.substr(at + sign.size())));
    }
    return result;
}

// For its lifetime, numbers of the process have a decimal comma. No machine needs to have such a locale: it is made for
// the C library as that keeps it in files, in the byte order of the target.
class CommaLocale {
public:
    CommaLocale() : d_folder(std::filesystem::temp_directory_path() / ("qzsignal-locale-" + std::to_string(getpid()))) {
        std::filesystem::create_directories(d_folder / "comma");
        // The category's number, how many elements there are, and their offsets: decimal point, thousands separator,
        // grouping, the first two once more as wide characters, and the character set.
        std::uint32_t const head[] = {0x20031115U ^ LC_NUMERIC, 6, 32, 34, 35, 36, 40, 44};
        std::uint32_t const wide[] = {U',', 0};
        std::ofstream file(d_folder / "comma" / "LC_NUMERIC", std::ios::binary);
        file.write(reinterpret_cast<char const*>(head), sizeof head);
        file.write(",\0\0\0", 4);
        file.write(reinterpret_cast<char const*>(wide), sizeof wide);
        file.write("UTF-8", 6);
        file.close();
        setenv("LOCPATH", d_folder.c_str(), 1);
        d_found = std::setlocale(LC_NUMERIC, "comma") != nullptr;
    }
    ~CommaLocale() {
        std::setlocale(LC_NUMERIC, "C");
        unsetenv("LOCPATH");
        std::filesystem::remove_all(d_folder);
    }
    CommaLocale(CommaLocale const&) = delete;
    CommaLocale& operator=(CommaLocale const&) = delete;

    bool found() const { return d_found; }

private:
    std::filesystem::path const d_folder;
    bool d_found = false;
};

class LanguagePage : public testing::Test {
protected:
    LanguagePage() {
        for (Block const& block : d_blocks) {
            if (block.info != "signals")
                continue;
            for (auto const& [name, value] : pairs(block, "=")) {
                TestValue& signal = d_signals[name];
                if (value != "-")
                    signal.d_value = std::strtod(value.c_str(), nullptr);
            }
        }
    }
    ~LanguagePage() override { ExpParser::debug = 0; }

    std::vector<Block> const d_blocks = Page("docs/expression-language.md").blocks();
    TestSignals d_signals;
};

} // namespace

TEST_F(LanguagePage, hasExamplesWithTheResultsThatItSays) {
    int examples = 0;
    for (Block const& block : d_blocks) {
        if (block.info != "examples")
            continue;
        for (auto const& [text, result] : pairs(block, "->")) {
            ++examples;
            Capture errors(std::cerr);
            CompiledExpression expression(text);
            EXPECT_EQ(expression.accepted() ? reference::print(expression.getValue()) : "syntax error", result) << text;
        }
    }
    EXPECT_GT(examples, 40);
}

TEST_F(LanguagePage, showsTheMessagesAndProgramsOfItsExpressions) {
    int expressions = 0, programs = 0;
    for (std::size_t i = 0; i < d_blocks.size(); ++i) {
        if (d_blocks[i].info != "expression")
            continue;
        ++expressions;
        std::string text = textOf(d_blocks[i]);
        text.pop_back();
        Capture errors(std::cerr);
        Capture output(std::cout);
        ExpParser::debug = 1;
        CompiledExpression expression(text);
        if (expression.accepted())
            expression.getValue();
        bool const shown = i + 1 < d_blocks.size() && d_blocks[i + 1].info == "messages";
        EXPECT_EQ(errors.text(), shown ? textOf(d_blocks[i + 1]) : "") << text;
        if (i + 1 < d_blocks.size() && d_blocks[i + 1].info == "program") {
            std::ostringstream program;
            expression.print(program);
            EXPECT_EQ(program.str(), textOf(d_blocks[i + 1]));
            ++programs;
        }
    }
    EXPECT_EQ(expressions, 4);
    EXPECT_EQ(programs, 1);
}

// What the page says of the decimal point: numbers are read as strtod reads them.
TEST_F(LanguagePage, numbersFollowTheLocaleOfTheProcess) {
    CommaLocale const locale;
    ASSERT_TRUE(locale.found());
    EXPECT_EQ(CompiledExpression("1.5 + 1.5").getValue(), 2.0);
    std::ostringstream program;
    CompiledExpression("1.5").print(program);
    EXPECT_EQ(program.str(), "opdouble 1\n");
}

// What the page says of the order of definitions.
TEST_F(LanguagePage, nameStaysAnInputIfItsSignalIsDefinedLater) {
    CompiledExpression early("Belated + 1");
    // Its entry in the registry goes with the later signal of the same name.
    std::unique_ptr<BaseSignal> const input(BaseSignal::getInstance("Belated"));
    Capture const errors(std::cerr);
    TestValue belated("Belated");
    belated.d_value = 4.0;
    CompiledExpression late("Belated + 1");
    EXPECT_NE(errors.text(), "") << "the name is taken";
    EXPECT_EQ(BaseSignal::getInstance("Belated"), input.get());
    EXPECT_EQ(early.getValue(), 0.0);
    EXPECT_EQ(late.getValue(), 0.0);
}

TEST_F(LanguagePage, knowsNoOtherBlocks) {
    for (Block const& block : d_blocks) {
        bool const known = block.info == "signals" || block.info == "examples" || block.info == "expression" ||
                           block.info == "messages" || block.info == "program" || block.info == "cpp";
        EXPECT_TRUE(known) << "line " << block.line << ": " << block.info;
    }
}
