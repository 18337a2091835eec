/// @file
/// Expressions over signals: formulas and trigger conditions, compiled once and evaluated as often as wanted.
#pragma once

#include "qzsignal/Export.h"
#include "qzsignal/expression/Stack.h"
#include "qzsignal/signal/BaseSignal.h"

#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

class ExpParser;
class expFlexLexer;

namespace qzsignal {
/// The scanner that an expression's text is compiled with, for the parser's token source.
expFlexLexer& scannerOf(ExpParser& expression);

class CompactProgram;
} // namespace qzsignal

/// The parser's trace switch: if not zero, the steps of every parse go to standard error.
QZSIGNAL_EXPORT extern int expdebug; // NOLINT(readability-redundant-declaration): generated code declares it as well

/// A formula over signals, whose value is a number, or a condition, whose value is 1 or 0.
///
/// The constructor compiles the text into a postfix program and finds the signals by name; evaluation looks nothing up
/// and allocates nothing. What runs is a compact form of the program. Only an expression of a derived class, which may
/// have a hand in the program, or one that was added to, runs it as it stands, which takes two to three times as long.
/// Signals are not owned: those that the text names have to be there before the expression and outlive it. One thread
/// of a process builds and destroys expressions; each is evaluated by one thread at a time.
class QZSIGNAL_EXPORT ExpParser {
public:
    /// What an instruction does: one of the operations below.
    using Operation = void (ExpParser::*)();

    /// The operand of one instruction. A name marks the instruction as one that refers to a signal.
    struct value_t {
        value_t() = default; ///< of an operation that needs none
        /// @{
        /// A constant, or a signal that was found by its name.
        value_t(double constant, std::string const& text) : value(constant), name(text) {}
        value_t(BaseSignal* read, std::string const& text) : signal(read), name(text) {}
        /// @}

        union {
            double value = 0.0; ///< the constant of an `opdouble`; other operations do not read it
            BaseSignal* signal; ///< the signal of an `opsignal`
        };
        std::string name; ///< the signal's; otherwise empty
    };

    /// One step of the program.
    using Instruction = std::pair<Operation, value_t>;

    /// Every expression whose text was accepted.
    static std::set<ExpParser*> allExpParsers;
    /// 0 is silent; from 1, texts and signals without a value are shown; from 2, parser and scanner are traced.
    static int debug;

    /// Compiles `expression`; null counts as "". With `edge`, `getTrigger` reports rising edges only.
    /// A name that no signal bears becomes a new input signal, which the library never deletes. A text that is not an
    /// expression is reported on standard error and leaves an object that is not in `allExpParsers`, must not be
    /// evaluated, and is deleted by whoever built it.
    ExpParser(char const* expression, bool edge);

    /// Withdraws the expression from `allExpParsers`. Its signals stay.
    virtual ~ExpParser();
    ExpParser(ExpParser const&) = delete;
    ExpParser& operator=(ExpParser const&) = delete;

    /// Deletes every expression in `allExpParsers`.
    static void clear();

    /// Runs the program and returns its result; 0 if a signal that it reads has no value. Ends the process with status
    /// 4 if an operation lacks operands, and with status 2 if anything but one element is left, or there is no program:
    /// only a text that was not accepted, or an instruction that was added later, comes to that.
    double getValue();

    /// Evaluates, too: true if the value is greater than 0. As an edge trigger, only if it was not so the last time.
    bool getTrigger();

    /// True if every signal that the program refers to holds a value. Once true, it stays true.
    bool isWritten();

    /// The newest timestamp of the signals that the program refers to; 0 if there is none.
    unsigned long long getLastestTime() const;

    /// Empties the evaluation stack.
    void clearstack();

    /// @{
    /// These append one instruction each, and are for the parser. Whatever is appended, the stack has room for it.
    /// A name pushes the value of its signal, which is found or made now; a number pushes itself.
    void add(Instruction const& instruction);
    void add(Operation operation);
    void add(std::string const& name);
    void add(double constant);
    /// @}

    /// @name The operations, which are for the program
    /// Those with operands replace them by the result: `a` is the left one, `b` the right one, on the top of the stack;
    /// a condition is false if it is 0.0, and its result is 1.0 or 0.0.
    /// @{
    void opdouble(); ///< pushes the instruction's constant
    void opsignal(); ///< pushes the value of its signal; without one, the result is 0 and the program ends
    void opnot();    ///< !a
    void opnz();     ///< a, as it is: a number as a condition
    void opneg();    ///< -a
    void opland();   ///< a && b
    void oplor();    ///< a || b
    void opdne();    ///< a != b, numbers
    void opdeq();    ///< a == b, numbers
    void opbne();    ///< a != (b != 0), conditions
    void opbeq();    ///< a == (b != 0), conditions
    void opge();     ///< a >= b
    void ople();     ///< a <= b
    void opgt();     ///< a > b
    void oplt();     ///< a < b
    void opexp();    ///< a to the power of b; the language has no word for it
    void opdiv();    ///< a / b
    void opmult();   ///< a * b
    void opminus();  ///< a - b
    void opplus();   ///< a + b
    /// @}

protected:
    std::vector<Instruction>::const_iterator pc; ///< the instruction that is being executed
    std::vector<Instruction> program;            ///< in postfix order
    Stack<double> stack;                         ///< on which the program computes
    std::unique_ptr<expFlexLexer> lexer;         ///< the scanner of the text
    std::string text;                            ///< what was compiled
    bool edgeTrigger;                            ///< `getTrigger` reports rising edges only
    bool lastTrigger = false;                    ///< as an edge trigger: the last value was greater than 0
    bool written = false;                        ///< `isWritten` has been true

public:
    /// The messages that carry the program's signals, each once. What they do not change, the value does not either.
    std::set<unsigned long long> signalMessageIds;

private:
    double runProgram();
    void append(Operation operation, value_t operand);

    // What runs instead of the program, if the class is no derived one. Null if the text was not accepted, or if the
    // program was added to.
    std::unique_ptr<qzsignal::CompactProgram> d_compact;

    friend expFlexLexer& qzsignal::scannerOf(ExpParser& expression);
};
