// The device's inputs by name.
#pragma once

#include "qzsignal/signal/MessageKey.h"

#include <cstdint>
#include <string>

namespace qzsignal {

// Class of an input; its number is the tag of the input's keys.
enum class InputClass : std::uint64_t {
    None = 0, // the end of the table
    Analog = analogTag,
    Digital = digitalTag,
    Keyboard = keyboardTag,
};

// An input, as in the table and in messages.
struct Input {
    InputClass d_class = InputClass::None;
    std::int32_t d_number = 0; // digital input or analog channel, 0..65535, or key code
    std::uint16_t d_mask = 0;  // digital: the bits reported; otherwise 0
};

struct InputRow {
    char const* d_name;
    InputClass d_class;
    std::int32_t d_number;

    // The table's digital inputs are bit 0.
    constexpr Input input() const {
        return {d_class, d_number, static_cast<std::uint16_t>(d_class == InputClass::Digital ? 1 : 0)};
    }
};

// The row with exactly this name, or null. The empty name matches the row that ends the table.
InputRow const* findInput(std::string const& name);

// Key of an input by class and number. A key code is added as 64-bit two's complement, so a negative one borrows from
// the tag.
constexpr std::uint64_t numberKey(Input const& input) {
    return static_cast<std::uint64_t>(input.d_class) +
           static_cast<std::uint64_t>(static_cast<std::int64_t>(input.d_number));
}

// The same, but a digital input is keyed by number and mask.
constexpr std::uint64_t numberAndMaskKey(Input const& input) {
    if (input.d_class != InputClass::Digital)
        return numberKey(input);
    return digitalTag + (static_cast<std::uint64_t>(input.d_number) << 16) + input.d_mask;
}

} // namespace qzsignal
