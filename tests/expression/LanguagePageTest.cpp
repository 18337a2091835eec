// Every example on the page about the language, docs/expression-language.md, comes out as the page says.
#include "tests/expression/CompiledExpression.h"
#include "tests/expression/TestSignals.h"
#include "tests/support/Capture.h"
#include "tests/support/Page.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <string>
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

TEST_F(LanguagePage, hasExamplesThatComeOutAsItSays) {
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

TEST_F(LanguagePage, showsTheMessagesOfItsExpressions) {
    int expressions = 0;
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
    }
    EXPECT_EQ(expressions, 3);
}

TEST_F(LanguagePage, knowsNoOtherBlocks) {
    for (Block const& block : d_blocks) {
        bool const known = block.info == "signals" || block.info == "examples" || block.info == "expression" ||
                           block.info == "messages" || block.info == "cpp";
        EXPECT_TRUE(known) << "line " << block.line << ": " << block.info;
    }
}
