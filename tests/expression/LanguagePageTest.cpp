// Every example on the page about the language, docs/expression-language.md, comes out as the page says.
#include "tests/expression/CompiledExpression.h"
#include "tests/expression/TestSignals.h"
#include "tests/support/Capture.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

// A piece between two fences, and the word behind the first.
struct Block {
    std::string d_kind;
    int d_line = 0; // of the first fence
    std::string d_text;
};

std::vector<Block> blocks() {
    std::vector<Block> found;
    std::ifstream page(QZSIGNAL_LANGUAGE_PAGE);
    bool inside = false;
    int number = 0;
    for (std::string line; std::getline(page, line);) {
        ++number;
        if (line.rfind("```", 0) == 0) {
            inside = !inside;
            if (inside)
                found.push_back({line.substr(3), number, ""});
        } else if (inside) {
            found.back().d_text += line + '\n';
        }
    }
    EXPECT_FALSE(inside);
    return found;
}

std::string trimmed(std::string const& text) {
    std::size_t const begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

// The two sides of each line of a block.
std::vector<std::pair<std::string, std::string>> pairs(Block const& block, std::string const& sign) {
    std::vector<std::pair<std::string, std::string>> result;
    std::istringstream lines(block.d_text);
    for (std::string line; std::getline(lines, line);) {
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
            if (block.d_kind != "signals")
                continue;
            for (auto const& [name, value] : pairs(block, "=")) {
                TestValue& signal = d_signals[name];
                if (value != "-")
                    signal.d_value = std::strtod(value.c_str(), nullptr);
            }
        }
    }
    ~LanguagePage() override { ExpParser::debug = 0; }

    std::vector<Block> const d_blocks = blocks();
    TestSignals d_signals;
};

} // namespace

TEST_F(LanguagePage, hasExamplesThatComeOutAsItSays) {
    int examples = 0;
    for (Block const& block : d_blocks) {
        if (block.d_kind != "examples")
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
        if (d_blocks[i].d_kind != "expression")
            continue;
        ++expressions;
        std::string const text = d_blocks[i].d_text.substr(0, d_blocks[i].d_text.size() - 1);
        Capture errors(std::cerr);
        Capture output(std::cout);
        ExpParser::debug = 1;
        CompiledExpression expression(text);
        if (expression.accepted())
            expression.getValue();
        bool const shown = i + 1 < d_blocks.size() && d_blocks[i + 1].d_kind == "messages";
        EXPECT_EQ(errors.text(), shown ? d_blocks[i + 1].d_text : "") << text;
    }
    EXPECT_EQ(expressions, 3);
}

TEST_F(LanguagePage, knowsNoOtherBlocks) {
    for (Block const& block : d_blocks) {
        bool const known = block.d_kind == "signals" || block.d_kind == "examples" || block.d_kind == "expression" ||
                           block.d_kind == "messages" || block.d_kind == "cpp";
        EXPECT_TRUE(known) << "line " << block.d_line << ": " << block.d_kind;
    }
}
