/// @file
/// Expressions over signals: formulas and trigger conditions, compiled once and evaluated as often as wanted.
#pragma once

#include "qzsignal/Export.h"
#include "qzsignal/expression/OperationRows.h"
#include "qzsignal/expression/Stack.h"
#include "qzsignal/signal/BaseSignal.h"

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

class ExpParser;
class expFlexLexer;

namespace qzsignal {
class CompactProgram;
class ParserAccess;
} // namespace qzsignal

/// The parser's trace switch: if not zero, the steps of every parse go to standard error.
QZSIGNAL_EXPORT extern int expdebug; // NOLINT(readability-redundant-declaration): generated code declares it as well

/// A formula over signals, whose value is a number, or a condition, whose value is 1 or 0.
///
/// The constructor compiles the text into a postfix program and finds the signals by name; evaluation looks nothing up
/// and allocates nothing. What runs is a compact form of the program. Only an expression of a derived class, which may
/// change its program, and one to which instructions were added run the program as it stands; that takes several times
/// as long. Signals are not owned: create those that the text names before the expression, and destroy them after
/// it. One thread of a process creates and destroys expressions; each is evaluated by one thread at a time.
class QZSIGNAL_EXPORT ExpParser {
public:
    /// What an instruction does: one of the operations below.
    using Operation = void (ExpParser::*)();

    /// The operand of one instruction. A name marks the instruction as a reference to a signal.
    struct value_t {
        value_t() = default; ///< for an operation without an operand
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

    /// Why a text is not an expression, and where. A token is a number, a name, an operator, or the end of a line.
    struct Error {
        std::string message;   ///< "syntax error"; "memory exhausted" if the text is nested too deeply or too long
        std::string context;   ///< from the previous token to the offending one; empty if the text has no token at all
        int line = 1;          ///< the line on which the previous token ends, from 1
        std::size_t begin = 0; ///< offset of the offending token; the length of the text if that ends too early
        std::size_t end = 0;   ///< offset past the offending token, at most the length of the text

        /// The whole message: "expression parser: line 1 syntax error at 'a b'".
        std::string text() const;
    };

    /// Every expression whose text was accepted.
    static std::set<ExpParser*> allExpParsers;
    /// 0: silent. From 1, texts and signals without a value are shown; from 2, parser and scanner are traced; from 3,
    /// programs are shown.
    static int debug;

    /// Compiles `expression`; null counts as "". With `edge`, `getTrigger` reports rising edges only.
    /// A name with no registered signal becomes a new input signal, which the library never deletes. A text that is not
    /// an expression is reported on standard error; the object then has an `error`, is not in `allExpParsers`, must not
    /// be evaluated, and has to be deleted by its creator.
    ExpParser(char const* expression, bool edge);

    /// Removes the expression from `allExpParsers`. Its signals stay.
    virtual ~ExpParser();
    ExpParser(ExpParser const&) = delete;
    ExpParser& operator=(ExpParser const&) = delete;

    /// Deletes every expression in `allExpParsers`.
    static void clear();

    /// What is wrong with a text, if it is not an expression. Compiles nothing, creates no signals and reports nothing.
    static std::optional<Error> check(char const* expression);

    /// One mention of a signal in a text.
    struct Mention {
        std::string name;      ///< as it is spelled there
        std::size_t begin = 0; ///< offset of its first character in the text
    };
    /// All mentions of signals in a text, in order. The text need not be an expression.
    static std::vector<Mention> mentions(char const* expression);
    /// The names in them, each once, in order of appearance.
    static std::vector<std::string> signalNames(char const* expression);

    /// Why the text was not accepted; empty if it was.
    std::optional<Error> const& error() const { return d_error; }

    /// Evaluates the expression. The result is 0 if a signal that it reads has no value. A signal of one of the
    /// library's own classes is read once, however often the text names it. Ends the process with status 4 if an
    /// operation lacks operands, and with status 2 if the program does not leave exactly one element or is empty: only
    /// a text that was not accepted, or an added instruction, can have that effect.
    double getValue();

    /// Evaluates the expression; true if the value is greater than 0. An edge trigger is true only if the value was not
    /// greater than 0 the last time.
    bool getTrigger();

    /// True if every signal that the program refers to holds a value. Once true, it stays true.
    bool isWritten();

    /// The newest timestamp of the signals that the program refers to; 0 if there are none.
    unsigned long long getLastestTime() const;

    /// Writes the program, one instruction a line: the operation's name and, after a space, its constant or its signal.
    /// An operation of a derived class is called "unknown", a null one "none".
    void print(std::ostream& out) const;

    /// The program, in postfix order.
    std::vector<Instruction> const& instructions() const { return program; }

    /// The name of an operation, such as "opplus", as `print` writes it.
    static char const* nameOf(Operation operation);

    /// Empties the evaluation stack.
    void clearstack();

    /// @{
    /// These append one instruction each, and are for the parser; the stack has room for whatever is appended. A name
    /// pushes the value of its signal, which is found or created now; a number pushes itself. A null operation does
    /// nothing.
    void add(Instruction const& instruction);
    void add(Operation operation);
    void add(std::string const& name);
    void add(double constant);
    /// @}

    /// @{
    /// Operations push the instruction's constant, or the value of its signal; without a value, the result is 0 and the
    /// program ends. The others replace their operands by the result, as OperationRows.h says: `opnot`, `opnz`,
    /// `opneg`, `opland`, `oplor`, `opdne`, `opdeq`, `opbne`, `opbeq`, `opge`, `ople`, `opgt`, `oplt`, `opexp`,
    /// `opdiv`, `opmult`, `opminus` and `opplus`. Only programs call them.
    void opdouble();
    void opsignal();
    /// @}
    /// @cond
#define QZSIGNAL_DECLARE(name, operands, result) void name();
    QZSIGNAL_OPERATIONS(QZSIGNAL_DECLARE)
#undef QZSIGNAL_DECLARE
    /// @endcond

protected:
    std::vector<Instruction>::const_iterator pc; ///< the instruction that is being executed
    std::vector<Instruction> program;            ///< in postfix order
    Stack<double> stack;                         ///< the operands and results of the running program
    std::unique_ptr<expFlexLexer> lexer;         ///< the scanner of the text
    std::string text;                            ///< what was compiled
    bool edgeTrigger;                            ///< `getTrigger` reports rising edges only
    bool lastTrigger = false;                    ///< the last value of an edge trigger was greater than 0
    bool written = false;                        ///< `isWritten` has been true

public:
    /// The identifiers of the messages that carry the program's signals. Only these messages change the value.
    std::set<unsigned long long> signalMessageIds;

private:
    enum class Purpose { Evaluate, Check };

    ExpParser(char const* expression, bool edge, Purpose purpose);
    bool compile();
    double runProgram();
    void append(Operation operation, value_t operand);

    Purpose d_purpose; // of a text that is only checked, no instructions are kept
    // The virtual table of objects that run the compact form, which those of derived classes do not; null without it.
    void const* d_compactTable = nullptr;
    std::optional<Error> d_error;

    // What runs instead of the program. Null if the text was not accepted, or if instructions were added to the
    // program.
    std::unique_ptr<qzsignal::CompactProgram> d_compact;

    friend class qzsignal::ParserAccess;
};
