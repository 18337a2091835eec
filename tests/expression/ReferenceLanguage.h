// A second reading of the expression language, to hold the library's against.
//
// It shares nothing with the library: no generated tables, no postfix program. A text is scanned character by character
// and read by recursive descent into a tree, which is evaluated as it stands. Slow, and deep texts take deep recursion.
#pragma once

#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace reference {

// A number, a signal, or an operation on other terms.
struct Term {
    std::string d_operation;      // called as in the library: "opdouble", "opsignal", "opplus" ...
    double d_number = 0.0;        // of "opdouble"
    std::string d_name;           // of "opsignal"
    std::vector<Term> d_operands; // from left to right; none for number and signal
};

struct Reading {
    bool d_accepted = false;
    Term d_term;              // if accepted
    unsigned d_errorLine = 0; // if not: where the last good token ends, from 1
    std::string d_errorText;  // from the start of the last good token, if any, to the end of the one that does not fit
    std::size_t d_errorBegin = 0; // offset of the token that does not fit
    std::size_t d_errorEnd = 0;   // offset past it; neither counts the newline at the end of the text
};

// Reads a text that holds no NUL, without the newline at its end.
Reading read(std::string const& text);

// One instruction of a postfix program, fields as in Term.
struct Instruction {
    std::string d_operation;
    double d_number = 0.0;
    std::string d_name;
};
bool operator==(Instruction const& a, Instruction const& b); // numbers are compared bit by bit

using Program = std::vector<Instruction>;

// The operands of each operation from left to right, then the operation.
Program programOf(Term const& term);

// Words separated by spaces: a number in its shortest exact form, a signal's name, an operation.
std::string print(Program const& program);
std::ostream& operator<<(std::ostream& out, Program const& program);

// The value of a signal, nothing if it has none.
using Signals = std::function<std::optional<double>(std::string const& name)>;

// The term's value; 0.0 if a signal in it has none.
double evaluate(Term const& term, Signals const& signals);

// A number in its shortest exact form; all that are not a number are "nan".
std::string print(double number);

} // namespace reference
