/// @file
/// The stack of an expression's program.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>

/// An array that is sized before the program runs, so that a push is only a store. It belongs to one expression and its
/// thread.
///
///     base                    top          capacity = 5, two elements
///     |  -  | 1.0 | 2.0 |  -  |  -  |  -  |
///                    ^ top: the topmost element, or `base` if there is none
template <typename T>
class Stack {
public:
    Stack() = default;
    ~Stack() { delete[] base; }
    Stack(Stack const&) = delete;
    Stack& operator=(Stack const&) = delete;

    /// Makes room for a program of `instructions`, if there is less. The number of elements is kept and their values
    /// are not: the stack is empty while a program is being built.
    void size(std::uint32_t instructions) {
        if (instructions <= capacity)
            return;
        if (instructions > d_room)
            grow(std::max(std::size_t{instructions}, 2 * d_room));
        capacity = instructions;
    }

    /// The number of elements.
    unsigned int depth() const { return static_cast<unsigned int>(top - base); }

    /// Removes all elements.
    void clear() { top = base; }

    /// Ends the process with status 4, and a line on standard error, if there are fewer than `n` elements.
    void check(unsigned int n) const {
        if (__builtin_expect(depth() < n, 0))
            tooFew(n);
    }

    /// Precondition: there are fewer elements than `capacity`.
    void push(T value) { *++top = value; }

    /// Removes the topmost element. Precondition: there is one.
    T pop() { return *top--; }

    /// The topmost element. Precondition: there is one.
    T& back() { return *top; }

    std::uint32_t capacity = 0; ///< instructions of the program that the array was sized for
    T* base = nullptr;          ///< capacity + 1 elements, or more; the first is never used
    T* top = nullptr;           ///< the topmost element; `base` if there is none

private:
    /// Makes more room than is needed now, as a program is built instruction by instruction.
    void grow(std::size_t room) {
        std::size_t const elements = depth();
        T* const array = new T[room + 1];
        d_room = room;
        delete[] base;
        base = array;
        top = array + elements;
    }

    /// Deliberate: the message says "bool stack", whatever the elements are.
    [[noreturn]] void tooFew(unsigned int n) const {
        std::cerr << std::dec << "Less than " << n << " elements on bool stack (" << depth() << ")" << std::endl;
        std::exit(4);
    }

    std::size_t d_room = 0; ///< instructions that there is room for, `capacity` or more
};
