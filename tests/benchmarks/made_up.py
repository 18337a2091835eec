"""Invented results of all benchmarks that the page needs, for the tests of the report."""

import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "benchmarks" / "report"))

import targets

MACHINE = {
    "facts": {"processor": "Abacus | wood", "date": "2015-01-01"},
    "definitions": "3 frames with 7 signals",
    "command": "scripts/bench.sh --made-up",
}
COUNTS = [
    {"target": "x86-64", "operations": {"decode/known": 1000.4, "only/here": 12.0}},
    {"target": "ppc", "operations": {"decode/known": 2000.0}},
]
SIZES = [50, 1000, 10000]


def entry(name, **counters):
    """One repetition."""
    return {"run_name": name, "run_type": "iteration", "cpu_time": 1000.0, "time_unit": "ns", **counters}


def document(*entries):
    return {"benchmarks": list(entries)}


def complete():
    """Everything that the page needs, twice; each time is a microsecond, and less in every second repetition."""
    names = {(name, "frame") for name in targets.DECODING} | {("yardstick/decode", "signal")}
    for target in targets.TARGETS:
        names.add((target.benchmark, target.counter))
        limit = target.limit
        of_yardstick = limit.benchmarks if isinstance(limit, targets.Times) else filter(None, [limit.benchmark])
        names |= {(name, limit.counter or target.counter) for name in of_yardstick}
    names |= {(f"{name}/{size}", "frame") for name in {**targets.LOOK_UPS, **targets.MAPS} for size in SIZES}
    names |= {(f"{growth.benchmark}/{size}", growth.counter) for growth in targets.GROWTH for size in SIZES}
    names |= {(f"expression/{formula}/{way}", "time") for formula in targets.FORMULAS for way in targets.EVALUATORS}
    names |= {(f"command/{name}", "run") for name in ("trigger", "trigger-blf", "trigger-pcap", "replay", "export", "export-wide",
                                                      "plain-export", "line-reader", "definitions")}
    entries = [entry(name, **{} if counter == "time" else {counter: time})
               for name, counter in sorted(names) for time in (1e-6, 0.9e-6)]
    waits = {f"{call}_{wait}": 1e-6 for call in ("write", "read") for wait in targets.WAITS}
    rates = {f"{what}_per_second": 2e6 for what in ("writes", "reads", "lines")}
    entries += [entry(f"contention/{lock}/{readers}", **waits, **rates)
                for lock in targets.LOCKS for readers in targets.READERS]
    entries.append(entry("contention/clock", empty_p50=2e-8))
    entries.append(entry("memory/local", bytes=1234.0))
    return entries
