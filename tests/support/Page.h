// A page of the documentation, for tests that hold it against what it describes.
#pragma once

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

class Page {
public:
    // `path` is relative to the source tree.
    explicit Page(std::string const& path) {
        std::ifstream file(QZSIGNAL_SOURCE_DIR "/" + path);
        if (!file)
            throw std::runtime_error("cannot read " + path);
        for (std::string line; std::getline(file, line);)
            d_lines.push_back(line);
    }

    std::vector<std::string> const& lines() const { return d_lines; }

    // A piece between two fences.
    struct Block {
        std::string info;               // after the first fence
        std::size_t line = 0;           // number of the first fence, counted from 1
        std::vector<std::string> lines; // between the two
    };

    // All of them, in order.
    std::vector<Block> blocks() const {
        std::vector<Block> result;
        bool inside = false;
        for (std::size_t i = 0; i < d_lines.size(); ++i) {
            if (d_lines[i].rfind("```", 0) == 0) {
                inside = !inside;
                if (inside)
                    result.push_back({d_lines[i].substr(3), i + 1, {}});
            } else if (inside) {
                result.back().lines.push_back(d_lines[i]);
            }
        }
        if (inside)
            throw std::runtime_error("the page's last block has no end");
        return result;
    }

    // The lines of each block whose first fence has this text.
    std::vector<std::vector<std::string>> blocks(std::string const& info) const {
        std::vector<std::vector<std::string>> result;
        for (Block& block : blocks())
            if (block.info == info)
                result.push_back(std::move(block.lines));
        return result;
    }

    // The lines of the only such block.
    std::vector<std::string> block(std::string const& info) const {
        std::vector<std::vector<std::string>> const all = blocks(info);
        if (all.size() != 1)
            throw std::runtime_error("the page does not have one block '" + info + "'");
        return all.front();
    }

    // The cells of the first table below a heading, row by row, without the header; back quotes are taken off.
    std::vector<std::vector<std::string>> table(std::string const& heading) const {
        std::size_t line = indexOf(heading);
        while (d_lines.at(line).rfind("|", 0) != 0)
            ++line;
        std::vector<std::vector<std::string>> rows;
        for (line += 2; line < d_lines.size() && d_lines[line].rfind("|", 0) == 0; ++line)
            rows.push_back(cells(d_lines[line]));
        return rows;
    }

private:
    std::size_t indexOf(std::string const& wanted, std::size_t from = 0) const {
        for (std::size_t line = from; line < d_lines.size(); ++line)
            if (d_lines[line] == wanted)
                return line;
        throw std::runtime_error("the page has no line '" + wanted + "'");
    }

    static std::vector<std::string> cells(std::string const& row) {
        std::vector<std::string> result;
        std::istringstream in(row.substr(1));
        for (std::string cell; std::getline(in, cell, '|');) {
            std::size_t const first = cell.find_first_not_of(" `");
            std::size_t const last = cell.find_last_not_of(" `");
            result.push_back(first == std::string::npos ? "" : cell.substr(first, last - first + 1));
        }
        return result;
    }

    std::vector<std::string> d_lines;
};
