// How the signals of a FIBEX file are coded: their length, type, scale, unit and words.
#pragma once

#include "tools/definitions/Database.h"
#include "tools/definitions/fibex/FibexFile.h"

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace qztool {

// The fields of a SignalDefinition that a coding states.
struct FibexCoding {
    NumberKind kind = NumberKind::Unsigned;
    unsigned bits = 0;
    double factor = 1.0;
    double offset = 0.0;
    double minimum = 0.0;
    double maximum = 0.0;
    std::string unit;
    std::vector<ValueText> values;
};

// Reads each coding once, however many signals have it, and so reports its problems once.
class FibexCodings {
public:
    explicit FibexCodings(FibexFile& file) : d_file(file) {}

    // Throws FibexLeftOut if signals of the coding cannot be read at all.
    FibexCoding const& of(pugi::xml_node element);

private:
    struct Entry {
        FibexCoding coding;
        std::string cause; // why it cannot be used; empty: it can
    };
    // physical = raw * factor + offset
    struct Line {
        double factor = 1.0;
        double offset = 0.0;
    };

    FibexCoding read(pugi::xml_node element, std::string const& label);
    void readType(pugi::xml_node element, FibexCoding& coding, std::string const& label);
    void readMethod(pugi::xml_node method, FibexCoding& coding, std::string const& label);
    void readScale(pugi::xml_node scale, bool inverse, FibexCoding& coding, std::string const& label);
    void readWord(pugi::xml_node scale, pugi::xml_node word, FibexCoding& coding, std::string const& label);
    void readLine(pugi::xml_node scale, pugi::xml_node coefficients, bool inverse, FibexCoding& coding,
                  std::string const& label);
    std::optional<Line> lineOf(pugi::xml_node coefficients, bool inverse) const;
    void readUnit(pugi::xml_node method, FibexCoding& coding, std::string const& label);

    FibexFile& d_file;
    std::unordered_map<void const*, Entry> d_entries; // by element
    std::optional<Line> d_line;                       // of the coding that is being read
};

} // namespace qztool
