"""What is to be reached, and what else the page shows: tables of benchmark names, and nothing else.

A further target is one more row of TARGETS. A benchmark is named as it calls itself, with the counter that holds its seconds
per frame, signal and so on; the counter "time" is the time of one iteration.
"""

import dataclasses

from results import Figure


@dataclasses.dataclass(frozen=True)
class Times:
    """At most `factor` times a yardstick; of several yardsticks, the fastest."""

    factor: float
    yardstick: str  # as the page calls it
    benchmarks: tuple
    counter: str = ""  # of the yardstick; empty: that of what is measured
    towards: float = 0.0  # where it is to go from there; 0: nowhere
    text: str = ""  # empty: the usual one

    def goal(self):
        towards = f", then towards {self.towards:.1f}" if self.towards else ""
        return self.text or f"at most {self.factor:g} × {self.yardstick}{towards}"

    def yardstick_figure(self, results, counter):
        figures = [results.figure(benchmark, self.counter or counter) for benchmark in self.benchmarks]
        return min(figures, key=lambda figure: figure.median)

    def used(self, measured, yardstick):
        """The part of the limit that was used."""
        return (measured / yardstick) * (1 / self.factor)


@dataclasses.dataclass(frozen=True)
class Absolute:
    """A limit that is not a multiple of a yardstick; one may be shown with it nevertheless."""

    seconds: float
    text: str
    yardstick: str = ""
    benchmark: str = ""
    counter: str = ""
    rate: bool = False  # shown as so many per second

    def goal(self):
        return self.text

    def yardstick_figure(self, results, counter):
        return results.figure(self.benchmark, self.counter or counter) if self.benchmark else None

    def used(self, measured, yardstick):
        return measured * (1 / self.seconds)


@dataclasses.dataclass(frozen=True)
class Target:
    """One row of the table."""

    what: str
    benchmark: str
    counter: str
    limit: Times | Absolute


@dataclasses.dataclass(frozen=True)
class Outcome:
    """A target and its result in a run."""

    target: Target
    measured: Figure
    yardstick: Figure | None
    used: Figure  # part of what is allowed; up to 1 is met

    @staticmethod
    def of(target, results):
        measured = results.figure(target.benchmark, target.counter)
        yardstick = target.limit.yardstick_figure(results, target.counter)
        return Outcome(target, measured, yardstick, target.limit.used(measured, yardstick))

    def met(self):
        return self.used.median <= 1

    def verdict(self):
        """Close: the quartiles are on both sides of the limit."""
        close = ", close" if self.used.low <= 1 < self.used.high else ""
        return ("yes" if self.met() else "**no**") + close


def times(factor, yardstick, *benchmarks, **more):
    return Times(factor, yardstick, benchmarks, **more)


def faster_than(yardstick, *benchmarks):
    return Times(1.0, yardstick, benchmarks, text=f"faster than {yardstick.replace(',', ' and')}")


def seconds(limit, text):
    return Absolute(limit, text)


def per_second(least, text, yardstick, benchmark):
    return Absolute(1 / least, text, yardstick, benchmark, rate=True)


# The growth that counts as none, or as proportional, while more and more signals miss the caches.
FLAT = 2.0

# Name in the benchmarks, and on the page.
FORMULAS = {
    "condition": "a condition of three signals",
    "comparison": "a comparison of two signals",
    "twenty-operators": "twenty operators on seven signals",
    "signal": "one signal alone",
}
LOOK_UPS = {
    "look-up/signalsInUse/hit": "signalsInUse, hit",
    "look-up/signalsInUse/miss": "signalsInUse, miss",
    "look-up/decodeMessage/hit": "decodeMessage, hit",
    "look-up/decodeMessage/miss": "decodeMessage, miss",
}
MAPS = {"look-up/map/hit": "std::map::find, hit", "look-up/map/miss": "std::map::find, miss"}

TARGETS = [
    Target("decodeMessage, local signals, payload unchanged", "decode/local/unchanged", "frame",
           times(3.0, "Y1", "yardstick/decode", towards=2.0)),
    Target("the same, every signal changes and every physical value is then read", "decode/local/changed-and-read", "frame",
           times(5.0, "Y1", "yardstick/decode")),
    Target("decodeMessage, shared signals, payload unchanged", "decode/shared/unchanged", "signal",
           times(1.1, "Y2", "yardstick/lock")),
    Target("the same, every signal changes", "decode/shared/changed", "signal", times(1.1, "Y2", "yardstick/lock")),
    Target("read of a physical value, shared, converted", "read/shared", "signal",
           times(1.1, "a locked load", "yardstick/lock-load")),
    Target("read of a physical value, local", "read/local", "signal", seconds(3e-9, "at most 3 ns")),
    *(Target(f"{what}, 1,000 frames defined", f"{name}/1000", "frame",
             times(0.25, "std::map::find", f"look-up/map/{name.rpartition('/')[2]}/1000")) for name, what in LOOK_UPS.items()),
    *(Target(f"{what}, 10,000 frames defined", f"{name}/10000", "frame",
             times(FLAT, "itself at 50", f"{name}/50", text=f"flat: at most {FLAT:g} × itself at 50"))
      for name, what in LOOK_UPS.items()),
    *(Target(f"getValue of {what}", f"expression/{name}/qzsignal", "time",
             faster_than("muParser, LuaJIT", f"expression/{name}/muparser", f"expression/{name}/luajit"))
      for name, what in FORMULAS.items()),
    *(Target(f"getValue of {what}", f"expression/{name}/qzsignal", "time", times(2.5, "Y3", f"expression/{name}/yardstick"))
      for name, what in FORMULAS.items()),
    Target("construction of an ExpParser", "expression/compile", "time", seconds(5e-6, "at most 5 µs")),
    Target("checkTimeout, per signal, 10,000 signals", "growth/checkTimeout/10000", "signal",
           times(1.2, "a raw read", "yardstick/raw-read/10000")),
    Target("the same, from 1,000 to 10,000 signals", "growth/checkTimeout/10000", "signal",
           times(FLAT, "itself at 1,000", "growth/checkTimeout/1000", text=f"linear: at most {FLAT:g} × itself at 1,000")),
    Target("4,000 shared signals defined and destroyed, per signal", "define/shared/4000", "signal",
           times(1.3, "the bare system calls", "yardstick/system-calls/4000")),
    Target("a definition file of 800 KB with 2,150 signals loaded", "load/definitions", "time",
           seconds(5e-3, "at most 5 ms")),
    Target("`qzsignal trigger` over candump text, 2,150 definitions", "command/trigger", "frame",
           per_second(3e6, "at least 3 million frames/s", "the line reader", "command/line-reader")),
    Target("`qzsignal trigger` over the same as BLF, deflated", "command/trigger-blf", "frame",
           per_second(5e6, "at least 5 million frames/s", "the line reader", "command/line-reader")),
    Target("`qzsignal trigger` over the same as pcap", "command/trigger-pcap", "frame",
           per_second(5e6, "at least 5 million frames/s", "the line reader", "command/line-reader")),
    Target("`qzsignal replay --fast` into 2,150 shared signals", "command/replay", "frame",
           per_second(1e6, "at least 1 million frames/s", "the line reader", "command/line-reader")),
    Target("`qzsignal export` of all values as CSV", "command/export", "frame",
           per_second(1.5e6, "at least 1.5 million frames/s", "the line reader", "command/line-reader")),
    Target("the same", "command/export", "frame", times(1.6, "the plain export", "command/plain-export")),
    Target("`qzsignal export --format wide --step 0.1` of all signals", "command/export-wide", "frame",
           per_second(3e6, "at least 3 million frames/s", "the line reader", "command/line-reader")),
]

YARDSTICKS = {
    "Y1": "decoding by a program with the definitions built in: per frame one load of 8 bytes and one byte swap, per signal "
          "shift, mask, sign, multiplication and addition. Nothing is looked up, stored or locked, and no change is detected.",
    "Y2": "the lock of a shared signal: per signal of the frame trylock, one store and unlock of a robust mutex between "
          "processes, each in a System V segment of its own, as in the library.",
    "Y3": "an expression as a C++ lambda: the same formula, compiled by the compiler, over the values that the signals' "
          "virtual `read` returns.",
    "a locked load": "trylock, one load and unlock, in the segments of the signals that are read.",
    "std::map::find": "the look-up of the same keys in a `std::map` of the same size, in the same order.",
    "muParser, LuaJIT": "the same formula, evaluated by these over the same signals; the faster of the two counts.",
    "a raw read": "a walk over the registry with the virtual `read` of each signal's raw value.",
    "the bare system calls": "the system calls that create and remove as many key files and segments, and nothing else.",
    "the line reader": "a hand-written program that parses the lines of the log and does nothing with them.",
    "the plain export": "a hand-written program that parses the lines of the log, decodes them by a table and writes the same "
                        "bytes, each value by `std::to_chars`.",
}

DECODING = {
    "yardstick/decode": "Y1: by table",
    "decode/local/unchanged": "local, unchanged",
    "decode/local/changed": "local, changed",
    "decode/local/changed-and-read": "local, changed and read",
    "yardstick/lock": "Y2: locks alone",
    "decode/shared/unchanged": "shared, unchanged",
    "decode/shared/changed": "shared, changed",
    "decode/shared/changed-and-read": "shared, changed and read",
}

EVALUATORS = {"qzsignal": "ExpParser", "yardstick": "Y3: C++ lambda", "muparser": "muParser", "luajit": "LuaJIT"}


@dataclasses.dataclass(frozen=True)
class Growth:
    """Benchmarks `benchmark`/N that show how a cost grows with the number N of signals."""

    what: str
    benchmark: str
    counter: str
    each: bool  # the counter is the cost of each of the N signals, not of all


GROWTH = [
    Growth("decodeMessage, one frame of five signals", "growth/decode", "frame", False),
    Growth("signalsInUse, one frame", "growth/look-up", "frame", False),
    Growth("checkTimeout over all signals", "growth/checkTimeout", "signal", True),
    Growth("define and destroy all signals", "growth/define", "signal", True),
]

LOCKS = {"polled": "the library's lock, polled", "blocking": "a plain mutex that blocks"}
READERS = [1, 2, 3]
WAITS = {"p50": "median", "p99": "99 %", "p99.9": "99.9 %", "max": "longest"}
