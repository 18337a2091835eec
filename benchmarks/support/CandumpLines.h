// Reads candump's lines, as the yardsticks of the commands do.
//
// One pass: the file in blocks, memchr to each line's end, and from a line the time, the identifier and the payload, by
// a table of the hexadecimal digits. It accepts this one form of a line and gives up at any other.
#pragma once

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <string>
#include <unistd.h>
#include <vector>

namespace qzbench {

[[noreturn]] inline void stop(std::string const& problem) {
    std::cerr << "benchmark: " << problem << std::endl;
    std::exit(EXIT_FAILURE);
}

constexpr std::uint64_t noDigit = 0xFF00;

constexpr std::array<std::uint16_t, 256> makeHexDigits() {
    std::array<std::uint16_t, 256> values{};
    for (std::uint16_t& value : values)
        value = noDigit;
    for (std::uint16_t i = 0; i < 16; ++i)
        values[static_cast<unsigned char>("0123456789ABCDEF"[i])] = i;
    return values;
}

constexpr std::array<std::uint16_t, 256> hexDigits = makeHexDigits();

struct CandumpLine {
    char const* d_time;     // its text, of 17 characters
    std::uint64_t d_micros; // the same as a number
    std::uint64_t d_identifier;
    std::uint64_t d_payload; // its last byte is the lowest
    std::size_t d_digits;    // of the payload
};

// (1757617431.821276) can0 167#727FC3000019E500
inline bool parseLine(char const* line, std::size_t length, CandumpLine& parsed) {
    constexpr std::size_t identifierAt = 25;
    constexpr std::size_t payloadAt = identifierAt + 4;
    if (length < payloadAt || length > payloadAt + 16 || line[0] != '(' || line[11] != '.' ||
        std::memcmp(line + 18, ") can0 ", 7) != 0 || line[payloadAt - 1] != '#')
        return false;
    std::uint64_t strange = 0;
    std::uint64_t time = 0;
    for (std::size_t i = 1; i < 18; ++i) {
        if (i == 11)
            continue;
        unsigned const digit = static_cast<unsigned char>(line[i]) - unsigned{'0'};
        strange |= digit > 9 ? noDigit : 0;
        time = time * 10 + digit;
    }
    std::uint64_t identifier = 0;
    for (std::size_t i = identifierAt; i < payloadAt - 1; ++i) {
        std::uint64_t const digit = hexDigits[static_cast<unsigned char>(line[i])];
        strange |= digit;
        identifier = identifier << 4 | (digit & 0xF);
    }
    std::uint64_t payload = 0;
    for (std::size_t i = payloadAt; i < length; ++i) {
        std::uint64_t const digit = hexDigits[static_cast<unsigned char>(line[i])];
        strange |= digit;
        payload = payload << 4 | (digit & 0xF);
    }
    parsed = {line + 1, time, identifier, payload, length - payloadAt};
    return (strange & noDigit) == 0;
}

// Gives each line of the file to `take`.
template <typename Take>
void readLines(char const* path, Take take) {
    int const file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0)
        stop(std::string(path) + ": " + std::strerror(errno));
    std::vector<char> buffer(1 << 17);
    std::size_t kept = 0; // bytes of a line whose end has not been read yet
    ssize_t count = 0;
    CandumpLine parsed{};
    while ((count = read(file, buffer.data() + kept, buffer.size() - kept)) > 0) {
        char const* line = buffer.data();
        char const* const end = buffer.data() + kept + count;
        while (void const* const found = std::memchr(line, '\n', static_cast<std::size_t>(end - line))) {
            char const* const lineEnd = static_cast<char const*>(found);
            if (!parseLine(line, static_cast<std::size_t>(lineEnd - line), parsed))
                stop("strange line: " + std::string(line, lineEnd));
            take(parsed);
            line = lineEnd + 1;
        }
        kept = static_cast<std::size_t>(end - line);
        std::memmove(buffer.data(), line, kept);
    }
    if (count < 0 || kept != 0)
        stop(std::string(path) + ": not read to its end");
    close(file);
}

} // namespace qzbench
