// The yardstick of the commands that read logs: a program that parses candump's lines and does nothing with them.
#include "benchmarks/support/CandumpLines.h"

#include <cstdint>
#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2)
        qzbench::stop("usage: qzsignal_line_reader LOG");
    // What is read; all numbers are added up so that none is optimised away.
    std::uint64_t lines = 0;
    std::uint64_t times = 0;
    std::uint64_t identifiers = 0;
    std::uint64_t payloads = 0;
    qzbench::readLines(argv[1], [&](qzbench::CandumpLine const& line) {
        ++lines;
        times += line.d_micros;
        identifiers += line.d_identifier;
        payloads += line.d_payload;
    });
    std::cout << "frames: " << lines << "\nsums: " << times << " " << identifiers << " " << payloads << std::endl;
}
