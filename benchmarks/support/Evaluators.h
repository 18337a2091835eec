// Ways to evaluate a formula over signals. Each reads all its signals for every value, in order; if one has no value,
// the formula's is 0.
#pragma once

#include "benchmarks/support/Formulas.h"
#include "qzsignal/expression/ExpParser.h"
#include "qzsignal/signal/BaseSignal.h"

#include <lua.hpp>
#include <muParser.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <string>
#include <tuple>

namespace qzbench {

template <std::size_t count>
using SignalsOf = std::array<BaseSignal*, count>;

// Reads them in order; false if one has no value.
template <std::size_t count>
bool readAll(SignalsOf<count> const& signals, std::array<double, count>& values) {
    return std::apply(
        [&values](auto*... each) {
            unsigned long long timestamp = 0;
            std::size_t next = 0;
            return (each->read(values[next++], timestamp) && ...);
        },
        signals);
}

// The library.
class Compiled {
public:
    template <std::size_t count, typename Function>
    Compiled(Formula<count, Function> const& formula, SignalsOf<count> const&) : d_expression(formula.text, false) {}

    double value() { return d_expression.getValue(); }

private:
    ExpParser d_expression;
};

// The yardstick: the formula as a C++ lambda over the same signals' virtual `read(double&, unsigned long long&)`, all
// in one function that the compiler sees as a whole. All signals are read before anything is computed, as the library
// does, so that it neither gains nor loses by an `&&` whose left side decides.
template <std::size_t count, typename Function>
class Lambda {
public:
    Lambda(Formula<count, Function> const& formula, SignalsOf<count> const& signals)
        : d_compute(formula.compute), d_signals(signals) {}

    double value() {
        std::array<double, count> values{};
        return readAll(d_signals, values) ? std::apply(d_compute, values) : 0.0;
    }

private:
    Function d_compute;
    SignalsOf<count> d_signals;
};

// muParser, with variables that it reads where they are.
template <std::size_t count>
class MuParser {
public:
    template <typename Function>
    MuParser(Formula<count, Function> const& formula, SignalsOf<count> const& signals) : d_signals(signals) {
        for (std::size_t i = 0; i < count; ++i)
            d_parser.DefineVar(formula.names[i], &d_values[i]);
        d_parser.DefineConst("pressed", pressed);
        d_parser.SetExpr(formula.text);
        d_parser.Eval(); // compiles it
    }
    MuParser(MuParser const&) = delete; // the parser has the addresses of the variables
    MuParser& operator=(MuParser const&) = delete;

    double value() { return readAll(d_signals, d_values) ? d_parser.Eval() : 0.0; }

private:
    SignalsOf<count> d_signals;
    std::array<double, count> d_values{};
    mu::Parser d_parser;
};

// LuaJIT: a function of the signals' values, which stays on Lua's stack. Parameters cost it less than globals.
template <std::size_t count>
class LuaJit {
public:
    template <typename Function>
    LuaJit(Formula<count, Function> const& formula, SignalsOf<count> const& signals)
        : d_signals(signals), d_lua(luaL_newstate()) {
        std::string names;
        for (char const* const name : formula.names)
            names += (names.empty() ? "" : ", ") + std::string(name);
        std::string const chunk = "return function(" + names + ") return " + formula.lua + " end";
        luaL_openlibs(d_lua); // also switches its compiler on
        if (luaL_loadstring(d_lua, chunk.c_str()) != 0 || lua_pcall(d_lua, 0, 1, 0) != 0) {
            std::cerr << "qzsignal_benchmarks: " << lua_tostring(d_lua, -1) << std::endl;
            std::exit(66);
        }
    }
    ~LuaJit() { lua_close(d_lua); }
    LuaJit(LuaJit const&) = delete;
    LuaJit& operator=(LuaJit const&) = delete;

    double value() {
        std::array<double, count> values{};
        if (!readAll(d_signals, values))
            return 0.0;
        lua_pushvalue(d_lua, 1);
        for (double const each : values)
            lua_pushnumber(d_lua, each);
        lua_call(d_lua, count, 1);
        double const result = lua_tonumber(d_lua, -1);
        lua_settop(d_lua, 1);
        return result;
    }

private:
    SignalsOf<count> d_signals;
    lua_State* d_lua;
};

template <std::size_t count, typename Function>
MuParser(Formula<count, Function> const&, SignalsOf<count> const&) -> MuParser<count>;
template <std::size_t count, typename Function>
LuaJit(Formula<count, Function> const&, SignalsOf<count> const&) -> LuaJit<count>;

} // namespace qzbench
