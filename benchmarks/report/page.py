"""The page on performance, from results to Markdown."""

import textwrap

import formats as shown
import targets
from results import Figure

HEAD = """\
<!-- Written by scripts/bench.sh, which measures, and benchmarks/report, which has the words. Changes made here are lost. -->

# Performance

What the library and the command cost, measured in one run of `scripts/bench.sh`. Times depend on the machine, so most of
them are compared with a yardstick: the least that a program has to do for the same result, measured in the same run. "2 × Y1"
means twice as long as yardstick Y1.

Each figure is a median, with the quartiles of its repetitions in brackets: half of all repetitions were between the two. A
ratio is that of two medians; the range after it goes from one figure's lower quartile over the other's upper one to the
opposite. "Close" in the table of targets means that the limit is within that range, so that another run may judge otherwise.
"""

MACHINE = """\
## The run

{table}

The command was `{command}`. Benchmarks ran one at a time, pinned to one core, in random order, and each several times; those
under [contention](#contention) used several cores.
"""

TARGETS = """\
## Targets

{met} of {all} are met. "Flat" and "linear" allow a factor of {flat:g} for the processor's caches, which more frames and signals
outgrow.

{table}

![Which part of its limit each target uses](performance-targets.svg)
"""

YARDSTICKS = """\
## Yardsticks

{list}
"""

DECODING = """\
## Decoding

The definitions are those of a car: {definitions}. The frames are those of its bus, in recorded order. "Unchanged" means
that each frame repeats the payload of the one before; "changed", that every signal of every frame changes; "read", that
every physical value is then read as well. Times are per frame, of {signals} signals on average.

![Time per frame of each way of decoding](performance-decoding.svg)

{table}

For comparison, other decoders by the same method, per frame and relative to Y1. They were measured elsewhere, not in this run.
They keep no values, detect no changes and share nothing: they do less than `decodeMessage` does.

| decoder | × Y1 |
|---|---|
| C code generated from the definitions | 1.2 to 1.4 |
| a table-driven open C++ decoder, at its best | 3.5 |
| the same, used as its guide shows | 14 |
| two other open decoders | 9 and 15 |
"""

LOOK_UP = """\
## Looking frames up

Most frames carry no signal of a process. `signalsInUse` detects that from the serialized frame, and `decodeMessage` looks the
message up once more; a hit is a frame that is defined, a miss one that is not. Times are per frame, against the number of
frames that are defined.

![Time of a look-up against the number of frames](performance-look-up.svg)

{table}
"""

GROWTH = """\
## Growth

What a call takes against the number of signals that are defined. Flat lines are costs that do not depend on the number;
those that rise like the grey line are proportional to it. Signals are local here. The look-ups go through all frames in no
particular order, so that many of them miss the processor's caches.

![Time of a call against the number of signals](performance-growth.svg)

{table}
"""

EXPRESSIONS = """\
## Expressions

One value of an expression over local signals, compared with other ways to the same value.

![Time of a value by each way to it](performance-expressions.svg)

{table}
"""

COMMANDS = """\
## The command

Processor time of whole processes, start and end included, on one core. The log is the one that the benchmarks generate,
repeated up to {frames} frames, in recorded time as well; also as a BLF file, deflated, and as a pcap file, both without that shift
of time. `trigger` watches a condition over two signals of the most frequent frames, `replay --fast` writes all of the log's
signals into shared memory, and `export` writes all of their values, which are dropped. The last row is `trigger` with the same
definitions and an empty log.

{table}
"""

CONTENTION = """\
## Contention

One process writes a changed value into one shared signal, again and again, and others read its physical value, all of them
as fast as they can, without the pauses that there are on a bus. Each process is bound to a core, in turn, so that with more
processes than cores some share one. Two locks do the same work on a record of the same layout:

- {polled}: as the library has it. A process that finds it taken prints a line on standard output, which is a file
  here, yields the processor and tries again.
- {blocking}: `pthread_mutex_lock` on a mutex between processes.

Rates are of all readers together, measured without a clock in the way. Waits are the times of whole calls, from a second
round in which each is timed; they contain the {clock} that reading the clock takes. The longest are
those of processes that were preempted while they held the lock, or while they waited for it.

![Waits of writers and readers](performance-contention.svg)

{rates}

{waits}
"""

INSTRUCTIONS = """\
## Instructions

Instructions per operation (`scripts/instructions.py`), which are the same in each run: of the release build for {targets},
counted by an emulator. An operation is one frame of nine signals where it decodes, and one call elsewhere.

{table}
"""

ALL = """\
## All figures

{table}
"""


MEMORY = """\
## Memory

A local signal takes {bytes} bytes of the heap: the object with its record, the definition and names as long as those of a
car, its entry in the registry and its place in its frame's list. A shared one also takes a page of shared memory.
Decoding, looking up, writing, reading and evaluating allocate nothing; the tests check that (`tests/unit/AllocationTest.cpp`).
"""


def table(head, rows, words=1):
    """A Markdown table; the first `words` columns are of words, the rest of numbers."""
    lines = [head, ["---"] * words + ["---:"] * (len(head) - words), *rows]
    return "\n".join("| " + " | ".join(str(cell).replace("|", "\\|") for cell in line) + " |" for line in lines)


def wrapped(text):
    """The text with its paragraphs and lists broken into lines of one width, whatever was filled into them."""
    def broken(block):
        if block.startswith(("#", "|", "!", "<")):
            return block
        items = block.split("\n- ") if block.startswith("- ") else [block]
        return "\n- ".join(textwrap.fill(" ".join(item.split()), 120, subsequent_indent="  " if item != block else "",
                                         break_long_words=False, break_on_hyphens=False) for item in items)
    return "\n\n".join(map(broken, text.strip().split("\n\n"))) + "\n"


def targets_section(outcomes):
    rows = []
    for outcome in outcomes:
        limit = outcome.target.limit
        is_rate = isinstance(limit, targets.Absolute) and limit.rate
        text = (lambda figure: shown.per_second(figure.inverse())) if is_rate else shown.seconds
        yardstick = outcome.yardstick
        rows.append([outcome.target.what, limit.goal(), text(outcome.measured),
                     f"{limit.yardstick}: {text(yardstick)}" if yardstick else "",
                     shown.ratio(outcome.measured / yardstick) if yardstick else "", outcome.verdict()])
    return TARGETS.format(met=sum(outcome.met() for outcome in outcomes), all=len(outcomes), flat=targets.FLAT,
                          table=table(["what", "to reach", "measured", "yardstick", "ratio", "reached"], rows, words=2))


def decoding_section(results, machine):
    yardstick, of_signal = (results.figure("yardstick/decode", counter) for counter in ("frame", "signal"))
    rows = []
    for name, what in targets.DECODING.items():
        figure = results.figure(name, "frame")
        rows.append([what, shown.seconds(figure), shown.ratio(figure / yardstick) if name != "yardstick/decode" else ""])
    return DECODING.format(definitions=machine["definitions"], signals=shown.digits((yardstick / of_signal).median),
                           table=table(["what", "per frame", "× Y1"], rows))


def by_size(results, rows):
    """A table of times against sizes: rows of name shown, benchmark and counter."""
    sizes = sorted({size for _, benchmark, _ in rows for size in results.sizes(benchmark)})
    body = []
    for what, benchmark, counter in rows:
        there = results.sizes(benchmark)
        body.append([what, *(shown.seconds(results.figure(f"{benchmark}/{size}", counter)) if size in there else ""
                             for size in sizes)])
    return table(["", *(f"{size:,}" for size in sizes)], body)


def look_up_section(results):
    rows = [(what, name, "frame") for name, what in {**targets.LOOK_UPS, **targets.MAPS}.items()]
    return LOOK_UP.format(table=by_size(results, rows))


def growth_section(results):
    rows = [(growth.what + (", for each signal" if growth.each else ""), growth.benchmark, growth.counter)
            for growth in targets.GROWTH]
    return GROWTH.format(table=by_size(results, rows))


def expressions_section(results):
    rows = []
    for formula, what in targets.FORMULAS.items():
        figures = [results.figure(f"expression/{formula}/{way}", "time") for way in targets.EVALUATORS]
        rows.append([what, *map(shown.seconds, figures)])
    return EXPRESSIONS.format(table=table(["", *targets.EVALUATORS.values()], rows))


def commands_section(results):
    rows = [[what, shown.seconds(results.figure(name, "run")), shown.per_second(results.figure(name, "frame").inverse())]
            for name, what in (("command/trigger", "`qzsignal trigger`"),
                               ("command/trigger-blf", "the same over a BLF file"),
                               ("command/trigger-pcap", "the same over a pcap file"), ("command/replay", "`qzsignal replay --fast`"),
                               ("command/export", "`qzsignal export`, CSV"),
                               ("command/export-wide", "`qzsignal export --format wide --step 0.1`"),
                               ("command/plain-export", "the plain export"), ("command/line-reader", "the line reader"))]
    rows.append(["`qzsignal trigger`, definitions alone", shown.seconds(results.figure("command/definitions", "run")), ""])
    trigger = results.figure("command/trigger", "run") / results.figure("command/trigger", "frame")
    return COMMANDS.format(frames=f"{round(trigger.median, -4):,.0f}",
                           table=table(["what", "processor time", "frames"], rows))


def contention_section(results):
    rates, waits = [], []
    for readers in targets.READERS:
        for lock, called in targets.LOCKS.items():
            name = f"contention/{lock}/{readers}"
            start = [readers, called]
            rates.append(start + [shown.per_second(results.figure(name, f"{what}_per_second"))
                                  for what in ("writes", "reads", "lines")])
            for what in ("write", "read"):
                figures = [results.figure(name, f"{what}_{wait}") for wait in list(targets.WAITS)[:-1]]
                longest = Figure.of([results.largest(name, f"{what}_max")])
                waits.append(start + [what, *map(shown.seconds, figures), shown.seconds(longest)])
    return CONTENTION.format(
        clock=shown.seconds(results.figure("contention/clock", "empty_p50")), **targets.LOCKS,
        rates=table(["readers", "lock", "writes", "reads", "lines printed"], rates, words=2),
        waits=table(["readers", "lock", "call", *targets.WAITS.values()], waits, words=3))


def instructions_section(counts):
    operations = list(dict.fromkeys(name for count in counts for name in count["operations"]))
    rows = [[f"`{name}`", *(f"{count['operations'][name]:,.0f}" if name in count["operations"] else "" for count in counts)]
            for name in operations]
    names = [count["target"] for count in counts]
    return INSTRUCTIONS.format(targets=" and ".join(names), table=table(["operation", *names], rows))


def memory_section(results):
    return MEMORY.format(bytes=f"{results.figure('memory/local', 'bytes').median:,.0f}")


def all_section(results):
    rows = []
    counted = {name for name, counter in results.benchmarks() if counter != "time"}
    for name, counter in results.benchmarks():
        if name.startswith("contention/") or counter == "bytes" or name == "memory/local" or counter == "time" and name in counted:
            continue
        figure = results.figure(name, counter)
        rows.append([f"`{name}`", "a call" if counter == "time" else f"a {counter}", shown.seconds(figure), figure.samples])
    return ALL.format(table=table(["benchmark", "of", "time", "repetitions"], rows, words=2))


def page(results, machine, counts):
    """The whole text. `machine` is the output of describe-machine.py, `counts` that of instructions.py."""
    outcomes = [targets.Outcome.of(target, results) for target in targets.TARGETS]
    facts = [[key, value] for key, value in machine["facts"].items()]
    sections = [
        HEAD,
        MACHINE.format(table=table(["", ""], facts, words=2), command=machine["command"]),
        targets_section(outcomes),
        YARDSTICKS.format(list="\n".join(f"- **{name}**: {text}" for name, text in targets.YARDSTICKS.items())),
        decoding_section(results, machine),
        look_up_section(results),
        growth_section(results),
        expressions_section(results),
        commands_section(results),
        contention_section(results),
        instructions_section(counts),
        memory_section(results),
        all_section(results),
    ]
    return wrapped("\n".join(sections))
