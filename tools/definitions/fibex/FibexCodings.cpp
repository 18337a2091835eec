// Coded types and computation methods.
#include "tools/definitions/fibex/FibexCodings.h"

#include "tools/base/Printable.h"
#include "tools/definitions/Numerals.h"
#include "tools/definitions/ProblemText.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace qztool {

namespace {

constexpr std::uint64_t mostWords = 1024; // of one text

// The finite number in an element; nothing if there is none.
std::optional<double> numberOf(pugi::xml_node element) {
    double number = 0.0;
    if (!element || !readReal(textOf(element), number).empty())
        return std::nullopt;
    return number;
}

// A limit of a range; nothing if it is infinite or not stated.
std::optional<double> limitOf(pugi::xml_node scale, char const* name) {
    pugi::xml_node const limit = childOf(scale, name);
    return attributeOf(limit, "INTERVAL-TYPE") == "INFINITE" ? std::nullopt : numberOf(limit);
}

bool isOpen(pugi::xml_node scale, char const* name) {
    return attributeOf(childOf(scale, name), "INTERVAL-TYPE") == "OPEN";
}

// The numbers of a polynomial, lowest power first; nothing if one of them is no number.
std::optional<std::vector<double>> polynomialOf(pugi::xml_node element) {
    std::vector<double> numbers;
    for (pugi::xml_node const value : childrenOf(element, "V")) {
        const std::optional<double> number = numberOf(value);
        if (!number)
            return std::nullopt;
        numbers.push_back(*number);
    }
    while (!numbers.empty() && numbers.back() == 0.0)
        numbers.pop_back();
    return numbers;
}

double coefficient(std::vector<double> const& polynomial, std::size_t power) {
    return power < polynomial.size() ? polynomial[power] : 0.0;
}

unsigned bitsOfBaseType(std::string const& type) {
    std::size_t const digit = type.find_first_of("0123456789");
    std::uint64_t bits = 0;
    bool const numeric =
        type.compare(0, 6, "A_UINT") == 0 || type.compare(0, 5, "A_INT") == 0 || type.compare(0, 7, "A_FLOAT") == 0;
    bool const stated = numeric && digit != std::string::npos && readNumeral(type.substr(digit), bits) == std::errc{};
    return stated && bits <= 64 ? static_cast<unsigned>(bits) : 0;
}

} // namespace

FibexCoding const& FibexCodings::of(pugi::xml_node element) {
    auto const [found, isNew] = d_entries.try_emplace(element.internal_object());
    Entry& entry = found->second;
    if (isNew) {
        const std::string label = "coding " + quotedFibexName(element) + ": ";
        d_line.reset();
        try {
            entry.coding = read(element, label);
        } catch (FibexLeftOut const& leftOut) {
            entry.cause = "coding " + quotedFibexName(element) + " on line " + std::to_string(d_file.lineOf(element)) +
                          " cannot be used: " + leftOut.cause;
        }
    }
    if (!entry.cause.empty())
        throw FibexLeftOut{entry.cause};
    return entry.coding;
}

FibexCoding FibexCodings::read(pugi::xml_node element, std::string const& label) {
    FibexCoding coding;
    readType(element, coding, label);
    for (pugi::xml_node const method : childrenOf(childOf(element, "COMPU-METHODS"), "COMPU-METHOD"))
        readMethod(method, coding, label);
    return coding;
}

void FibexCodings::readType(pugi::xml_node element, FibexCoding& coding, std::string const& label) {
    pugi::xml_node const type = childOf(element, "CODED-TYPE");
    if (!type)
        throw FibexLeftOut{"it has no CODED-TYPE"};
    const std::string baseType = attributeOf(type, "BASE-DATA-TYPE");
    const std::string encoding = attributeOf(type, "ENCODING");
    std::uint64_t const bits = fibexCount(type, "BIT-LENGTH", bitsOfBaseType(baseType));
    if (bits == 0 || bits > 64)
        throw FibexLeftOut{"it has " + std::to_string(bits) + " bits, but a signal has 1 to 64"};
    coding.bits = static_cast<unsigned>(bits);
    bool const isFloat = baseType.compare(0, 7, "A_FLOAT") == 0 || encoding == "IEEE-FLOATING-TYPE";
    if (isFloat && (bits == 32 || bits == 64)) {
        coding.kind = bits == 32 ? NumberKind::Float : NumberKind::Double;
    } else if (isFloat) {
        d_file.report(type, Severity::Error,
                      label + "a floating-point number has 32 or 64 bits, but this one has " + std::to_string(bits) +
                          "; read as unsigned");
    } else if (baseType.compare(0, 5, "A_INT") == 0 ||
               (baseType.empty() && (encoding == "SIGNED" || encoding == "2C"))) {
        coding.kind = NumberKind::Signed;
    }
    for (char const* const known : {"BCD", "SM", "1C", "DSP-FRACTIONAL"}) {
        if (encoding.compare(0, std::string_view(known).size(), known) == 0) {
            d_file.report(type, Severity::Warning,
                          label + "the encoding " + quote(encoding) +
                              " is not decoded; its signals are read as unsigned");
            coding.kind = NumberKind::Unsigned;
        }
    }
    if (baseType.find("STRING") != std::string::npos || baseType == "A_BYTEFIELD") {
        d_file.report(type, Severity::Warning,
                      label + "values of type " + quote(baseType) +
                          " are not decoded; its signals are read as unsigned");
    }
}

void FibexCodings::readMethod(pugi::xml_node method, FibexCoding& coding, std::string const& label) {
    readUnit(method, coding, label);
    pugi::xml_node const limits = childOf(method, "PHYS-CONSTRS");
    const std::optional<double> lower = limitOf(limits, "LOWER-LIMIT");
    const std::optional<double> upper = limitOf(limits, "UPPER-LIMIT");
    if (lower && upper) {
        coding.minimum = *lower;
        coding.maximum = *upper;
    }
    pugi::xml_node const toPhysical = childOf(method, "COMPU-INTERNAL-TO-PHYS");
    pugi::xml_node const direction = toPhysical ? toPhysical : childOf(method, "COMPU-PHYS-TO-INTERNAL");
    for (pugi::xml_node const scale : childrenOf(childOf(direction, "COMPU-SCALES"), "COMPU-SCALE"))
        readScale(scale, !toPhysical, coding, label);
    const std::string category = textOf(childOf(method, "CATEGORY"));
    for (char const* const other : {"FORMULA", "TAB-NOINTP", "BITFIELD-TEXTTABLE"}) {
        if (category == other) {
            d_file.report(method, Severity::Error,
                          label + "computation of category " + quote(category) + " is not applied; left out");
        }
    }
}

void FibexCodings::readScale(pugi::xml_node scale, bool inverse, FibexCoding& coding, std::string const& label) {
    pugi::xml_node const word = descendantOf(scale, {"COMPU-CONST", "VT"});
    pugi::xml_node const coefficients = childOf(scale, "COMPU-RATIONAL-COEFFS");
    if (word && !inverse)
        readWord(scale, word, coding, label);
    else if (coefficients)
        readLine(scale, coefficients, inverse, coding, label);
}

void FibexCodings::readWord(pugi::xml_node scale, pugi::xml_node word, FibexCoding& coding, std::string const& label) {
    const std::string text = textOf(word);
    const std::string lowerText = textOf(childOf(scale, "LOWER-LIMIT"));
    const std::string upperText = textOf(childOf(scale, "UPPER-LIMIT"));
    std::int64_t first = 0;
    std::int64_t last = 0;
    double lower = 0.0;
    double upper = 0.0;
    // Writers spell whole numbers as 3.0 as well.
    auto const whole = [](std::string const& numeral, std::int64_t& number, double& real) {
        if (readNumeral(numeral, number) == std::errc{})
            return true;
        bool const read = readReal(numeral, real).empty() && std::trunc(real) == real && std::fabs(real) < 1e15;
        number = read ? static_cast<std::int64_t>(real) : 0;
        return read;
    };
    bool const read =
        whole(lowerText, first, lower) && (upperText.empty() ? (last = first, true) : whole(upperText, last, upper));
    if (!read) {
        d_file.leaveOut(scale, label + "the word " + quote(text) + " has no range of whole numbers");
        return;
    }
    if (isOpen(scale, "LOWER-LIMIT") && first < last)
        ++first;
    if (isOpen(scale, "UPPER-LIMIT") && first < last)
        --last;
    if (first > last) {
        d_file.leaveOut(scale, label + "the range of the word " + quote(text) + " runs backwards");
        return;
    }
    if (static_cast<std::uint64_t>(last) - static_cast<std::uint64_t>(first) >= mostWords) {
        d_file.leaveOut(scale, label + "the word " + quote(text) + " stands for more than " +
                                   std::to_string(mostWords) + " values");
        return;
    }
    for (std::int64_t value = first;; ++value) {
        coding.values.push_back({value, text});
        if (value == last)
            break;
    }
}

void FibexCodings::readLine(pugi::xml_node scale, pugi::xml_node coefficients, bool inverse, FibexCoding& coding,
                            std::string const& label) {
    const std::optional<Line> line = lineOf(coefficients, inverse);
    if (!line) {
        d_file.leaveOut(coefficients, label + "its scaling is not linear");
        return;
    }
    if (d_line) {
        if (d_line->factor != line->factor || d_line->offset != line->offset)
            d_file.leaveOut(coefficients, label + "a range is scaled differently from the first one");
        return;
    }
    d_line = line;
    coding.factor = line->factor;
    coding.offset = line->offset;
    const std::optional<double> lower = limitOf(scale, "LOWER-LIMIT");
    const std::optional<double> upper = limitOf(scale, "UPPER-LIMIT");
    if (!lower || !upper || (coding.minimum != 0.0 || coding.maximum != 0.0))
        return;
    // Limits are of what is converted: raw values, or physical ones in the inverse direction.
    double const one = inverse ? *lower : *lower * line->factor + line->offset;
    double const other = inverse ? *upper : *upper * line->factor + line->offset;
    if (std::isfinite(one) && std::isfinite(other)) {
        coding.minimum = std::min(one, other);
        coding.maximum = std::max(one, other);
    }
}

// (n0 + n1 * x) / d0, with nothing in higher powers.
std::optional<FibexCodings::Line> FibexCodings::lineOf(pugi::xml_node coefficients, bool inverse) const {
    const std::optional<std::vector<double>> numerator = polynomialOf(childOf(coefficients, "COMPU-NUMERATOR"));
    pugi::xml_node const below = childOf(coefficients, "COMPU-DENOMINATOR");
    const std::optional<std::vector<double>> denominator = below ? polynomialOf(below) : std::vector<double>{1.0};
    if (!numerator || !denominator || numerator->size() != 2 || denominator->size() != 1)
        return std::nullopt;
    double const divisor = coefficient(*denominator, 0);
    double const slope = coefficient(*numerator, 1);
    double const constant = coefficient(*numerator, 0);
    // Inverse: raw = (constant + slope * physical) / divisor.
    Line const line =
        inverse ? Line{divisor / slope, 0.0 - constant / slope} : Line{slope / divisor, constant / divisor};
    if (!std::isfinite(line.factor) || !std::isfinite(line.offset))
        return std::nullopt;
    return line;
}

void FibexCodings::readUnit(pugi::xml_node method, FibexCoding& coding, std::string const& label) {
    try {
        pugi::xml_node const unit = d_file.referredIfAny(method, "UNIT");
        if (!unit)
            return;
        pugi::xml_node const displayed = childOf(unit, "DISPLAY-NAME"); // which is empty for a number without unit
        coding.unit = textOf(displayed ? displayed : childOf(unit, "SHORT-NAME"));
        std::replace_if(coding.unit.begin(), coding.unit.end(), isControlCharacter, ' ');
    } catch (FibexLeftOut const& leftOut) {
        d_file.leaveOut(method, label + leftOut.cause);
    }
}

} // namespace qztool
