// The statements of a definition file that are read, each for itself: nothing is compared with other statements yet.
#pragma once

#include "tools/definitions/Database.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qztool {

// A statement that was not understood is filled as far as it was read. Names refer to the text of the file.

// BO_ 100 Engine: 8 Sender
struct MessageStatement {
    std::size_t line = 0;
    bool identifierRead = false;
    std::uint32_t identifier = 0; // as written, with the flag for extended identifiers in bit 31
    std::string_view name;
    std::uint32_t length = 0;
    bool hasExcess = false; // the line goes on after the sender
};

// None: always present. Multiplexor: M. Selected: m5. SelectedMultiplexor: m5M.
// Unnumbered: m without a number, which some files have in place of M.
enum class MultiplexMark { None, Multiplexor, Selected, SelectedMultiplexor, Unnumbered };

// SG_ Speed m5 : 8|16@1+ (0.01,0) [0|655.35] "km/h" Receiver,Receiver
struct SignalStatement {
    std::size_t line = 0;
    std::string_view name;
    MultiplexMark mark = MultiplexMark::None;
    std::uint64_t selector = 0;
    unsigned startBit = 0; // 0..14279
    unsigned bits = 0;     // 1..64
    bool bigEndian = false;
    unsigned reach = 0; // payload bits up to and including the signal, counted as it grows; up to 14280
    bool isSigned = false;
    double factor = 1.0;
    double offset = 0.0;
    double minimum = 0.0;
    double maximum = 0.0;
    std::string unit;
    bool hasExcess = false; // the line goes on after the receivers
};

// How a statement elsewhere in the file names a signal, or a message if `signal` is empty.
struct Reference {
    std::size_t line = 0;
    std::string_view keyword;
    std::uint32_t identifier = 0; // as written
    std::string_view signal;
};

// SIG_VALTYPE_ 100 Speed : 1;
struct NumberTypeStatement {
    Reference reference;
    std::uint32_t type = 0; // 0 integer, 1 float, 2 double
};

// SG_MUL_VAL_ 100 Speed Selector 0-3, 7-7;
struct SelectionStatement {
    Reference reference;
    std::string_view multiplexor;
    std::vector<SelectorRange> ranges;
};

// VAL_ 100 Gear 0 "P" 1 "R" ;    or    VAL_ 100 Gear GearTable ;    or    VAL_ Variable 0 "off" 1 "on" ;
struct ValuesStatement {
    Reference reference;
    bool ofEnvironmentVariable = false; // the third form, which is of no use here
    std::string_view table;             // empty: `values` holds
    std::vector<ValueText> values;
};

// VAL_TABLE_ GearTable 0 "P" 1 "R" ;
struct ValueTableStatement {
    std::size_t line = 0;
    std::string_view name;
    std::vector<ValueText> values;
};

// BA_ "SystemMessageLongSymbol" BO_ 100 "Long";    or    BA_ "SystemSignalLongSymbol" SG_ 100 Speed "Long";
struct LongNameStatement {
    Reference reference;
    std::string name;
};

// BA_ "GenMsgCycleTime" BO_ 100 20;    or, of the whole file,    BA_ "ProtocolType" "J1939";
// BA_DEF_DEF_ "GenMsgCycleTime" 0;
struct AttributeStatement {
    Reference reference; // of the message, if it is of one
    bool ofMessage = false;
    std::string_view name;
    std::string_view value; // a numeral, or the content of a text
};

// BA_DEF_ BO_ "VFrameFormat" ENUM "StandardCAN","ExtendedCAN";
struct ChoicesStatement {
    std::vector<std::string_view> choices; // numbered from 0
};

} // namespace qztool
