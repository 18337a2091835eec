// The cost of an expression: of its value, compared with other ways to the same value, and of its compilation.
#include "benchmarks/support/Evaluators.h"
#include "benchmarks/support/Formulas.h"
#include "benchmarks/support/Keep.h"
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/input/InputSignal.h"
#include "qzsignal/trace/CANExtTraceMessage.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace {

enum class Kind {
    Local,  // CAN signals of this process
    Shared, // CAN signals in shared memory
    Input,  // inputs of this process
};

// A signal that was fed with a raw value: 16 bits of a frame that no other signal is in, or the value of an input.
std::unique_ptr<BaseSignal> makeSignal(Kind kind, std::string const& name, std::uint32_t frame, unsigned raw) {
    if (kind == Kind::Input) {
        auto signal = std::make_unique<InputSignal>(name.c_str());
        signal->write(raw, 1);
        return signal;
    }
    canSignalDef_t definition;
    definition.instance = name;
    definition.msgId = frame;
    definition.bits = 16;
    auto signal = std::make_unique<CANSignalExt>(definition, kind == Kind::Shared);
    CANExtTraceMessage message;
    message.timestamp = 1;
    message.identifier = frame;
    message.length = 2;
    message.payload[0] = static_cast<unsigned char>(raw & 0xff);
    message.payload[1] = static_cast<unsigned char>(raw >> 8);
    CANSignalExt::decodeMessage(message);
    return signal;
}

// The signals of a formula, with their values.
template <std::size_t count>
class FormulaSignals {
public:
    template <typename Function>
    FormulaSignals(qzbench::Formula<count, Function> const& formula, Kind kind) {
        for (std::size_t i = 0; i < count; ++i) {
            d_owned[i] = makeSignal(kind, formula.names[i], static_cast<std::uint32_t>(i), formula.raw[i]);
            d_signals[i] = d_owned[i].get();
        }
    }

    qzbench::SignalsOf<count> const& all() const { return d_signals; }

private:
    std::array<std::unique_ptr<BaseSignal>, count> d_owned;
    qzbench::SignalsOf<count> d_signals{};
};

template <std::size_t count, typename Function>
FormulaSignals(qzbench::Formula<count, Function> const&, Kind) -> FormulaSignals<count>;

// Every way has to reach the yardstick's value before it is timed.
template <typename Evaluator>
void measure(benchmark::State& state, Evaluator& evaluator, double expected) {
    if (evaluator.value() != expected) {
        state.SkipWithError("computes another value than the yardstick");
        return;
    }
    for (auto _ : state)
        qzbench::keep(evaluator.value());
}

// Registers a row for each way to evaluate the formula.
template <typename Formula>
bool measureAll(std::string const& name, Formula const& formula, Kind kind) {
    auto const add = [&](char const* way, auto make) {
        benchmark::RegisterBenchmark((name + "/" + way).c_str(), [&formula, kind, make](benchmark::State& state) {
            FormulaSignals const signals(formula, kind);
            auto evaluator = make(formula, signals.all());
            measure(state, evaluator, qzbench::Lambda(formula, signals.all()).value());
        });
    };
    using namespace qzbench;
    add("qzsignal", [](auto const& what, auto const& signals) { return Compiled(what, signals); });
    add("yardstick", [](auto const& what, auto const& signals) { return Lambda(what, signals); });
    add("muparser", [](auto const& what, auto const& signals) { return MuParser(what, signals); });
    add("luajit", [](auto const& what, auto const& signals) { return LuaJit(what, signals); });
    return true;
}

[[maybe_unused]] bool const registered =
    measureAll("expression/condition", qzbench::condition, Kind::Local) &&
    measureAll("expression/comparison", qzbench::comparison, Kind::Local) &&
    measureAll("expression/twenty-operators", qzbench::twentyOperators, Kind::Local) &&
    measureAll("expression/signal", qzbench::signalAlone, Kind::Local) &&
    measureAll("expression/condition/input", qzbench::condition, Kind::Input) &&
    measureAll("expression/comparison/input", qzbench::comparison, Kind::Input) &&
    measureAll("expression/twenty-operators/input", qzbench::twentyOperators, Kind::Input) &&
    measureAll("expression/signal/input", qzbench::signalAlone, Kind::Input) &&
    measureAll("expression/condition/shared", qzbench::sharedCondition, Kind::Shared) &&
    measureAll("expression/repeated/shared", qzbench::repeatedShared, Kind::Shared);

void compile(benchmark::State& state) {
    FormulaSignals const signals(qzbench::condition, Kind::Local);
    for (auto _ : state)
        benchmark::DoNotOptimize(ExpParser(qzbench::condition.text, false));
}
BENCHMARK(compile)->Name("expression/compile");

// A sum of many operands. The cost of one does not depend on their number.
void compileLong(benchmark::State& state) {
    auto const operands = static_cast<std::size_t>(state.range(0));
    std::string text = "1";
    for (std::size_t i = 1; i < operands; ++i)
        text += " + 1";
    for (auto _ : state)
        benchmark::DoNotOptimize(ExpParser(text.c_str(), false));
    qzbench::perEach(state, "operand", operands);
}
BENCHMARK(compileLong)->Name("expression/compile/operands")->Arg(1000)->Arg(10000)->Arg(100000);

} // namespace
