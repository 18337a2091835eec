// Expressions over signals: compiled once, evaluated as often as wanted.
#pragma once

#include "qzsignal/Export.h"
#include "qzsignal/signal/BaseSignal.h"

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

class expFlexLexer;

namespace qzsignal {
union TokenValue;
} // namespace qzsignal

int explex(qzsignal::TokenValue* value, void* parser);

// Above 0: the parser's trace goes to standard error.
QZSIGNAL_EXPORT extern int expdebug;

// The stack of an evaluation: an array that is sized beforehand, so that a push is a store.
template <typename T>
class Stack {
public:
    Stack() = default;
    ~Stack() { delete[] base; }
    Stack(Stack const&) = delete;
    Stack& operator=(Stack const&) = delete;

    // Makes room for `elements`. An array that has to be replaced loses its elements, not their number.
    void reserve(std::uint32_t elements) {
        if (elements <= capacity)
            return;
        T* const array = new T[std::size_t{elements} + 1]();
        top = array + depth();
        delete[] base;
        base = array;
        capacity = elements;
    }

    std::uint32_t depth() const { return static_cast<std::uint32_t>(top - base); }
    void clear() { top = base; }

    // Ends the process with status 4 and a message if there are fewer than `n` elements.
    void check(unsigned int n) const {
        if (__builtin_expect(depth() < n, 0))
            underflow(n);
    }

    // Precondition: there is room.
    void push(T value) { *++top = value; }
    // Precondition of these: there are elements.
    T pop() { return *top--; }
    T& back() { return *top; }

private:
    [[noreturn]] void underflow(unsigned int n) const;

    std::uint32_t capacity = 0; // elements that there is room for
    T* base = nullptr;          // capacity + 1 elements, of which the first is never used
    T* top = nullptr;           // the topmost element; `base` if there is none
};

extern template class QZSIGNAL_EXPORT Stack<double>;

// A formula or condition over signals, in the language that docs/expression-language.md describes.
//
// The constructor compiles the text to a postfix program; nothing is looked up or allocated afterwards. Signals are
// found by name when the text is compiled, so they are defined or opened before, and outlive the expression. One thread
// of a process builds and destroys expressions; each may be evaluated by one thread at a time.
class QZSIGNAL_EXPORT ExpParser {
public:
    using Operation = void (ExpParser::*)();

    // Operand of one instruction. The name of a signal marks the instruction as one that reads it.
    struct QZSIGNAL_EXPORT value_t {
        union {
            double value = 0;   // of `opdouble`
            BaseSignal* signal; // of `opsignal`
        };
        std::string name; // of the signal, otherwise empty
    };

    using Instruction = std::pair<Operation, value_t>;

    // Every expression whose text could be parsed.
    static std::set<ExpParser*> allExpParsers;
    // 0 is silent; 1 shows the texts and names signals without a value; 2 adds the traces of parser and scanner.
    static int debug;

    // Compiles `text`. With `edgeTrigger`, `getTrigger` reports the moment at which the condition becomes true.
    // A name that no signal bears becomes an input signal, which is never deleted. A text that is no expression is
    // reported, and not entered in `allExpParsers`; the object must not be evaluated then.
    ExpParser(char const* text, bool edgeTrigger);

    virtual ~ExpParser();
    ExpParser(ExpParser const&) = delete;
    ExpParser& operator=(ExpParser const&) = delete;

    // Deletes all members of `allExpParsers`.
    static void clear();

    // Runs the program. 0 if a signal has no value yet.
    double getValue();

    // True if the value is above 0; with `edgeTrigger`, only if it was not so at the evaluation before.
    bool getTrigger();

    // True if all signals have values. Once it is true it stays so.
    bool isWritten();

    // The newest timestamp of all signals; 0 without signals.
    unsigned long long getLastestTime() const;

    // Message identifiers of all signals, for those who want to evaluate only what a message may have changed.
    std::set<unsigned long long> signalMessageIds;

    void clearstack();

    // These append to the program, and are called by the parser.
    void add(Instruction const& instruction);
    void add(Operation operation);
    void add(std::string const& name); // reads a signal
    void add(double constant);

    // The operations. They take their operands from the stack, the right one from its top, and leave their result
    // there.
    void opdouble();
    void opsignal();
    void opnot();
    void opnz();
    void opneg();
    void opland();
    void oplor();
    void opdne();
    void opdeq();
    void opbne();
    void opbeq();
    void opge();
    void ople();
    void opgt();
    void oplt();
    void opexp();
    void opdiv();
    void opmult();
    void opminus();
    void opplus();

protected:
    std::vector<Instruction>::const_iterator pc; // the instruction that is being executed
    std::vector<Instruction> program;
    Stack<double> stack;
    std::unique_ptr<expFlexLexer> lexer;
    std::string text;
    bool edgeTrigger;
    bool lastTrigger = false; // what the evaluation before came to, if only edges count
    bool written = false;     // `isWritten` has been true

private:
    friend int explex(qzsignal::TokenValue* value, void* parser);

    template <typename Function>
    void unary(Function function);
    template <typename Function>
    void binary(Function function);
};
