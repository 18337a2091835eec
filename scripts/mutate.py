#!/usr/bin/env python3
"""Mutation testing of the library: changes one operator, number or statement at a time, and checks that a test fails.

Everything happens in build/mutation, in a copy of the tree. Mutants are compiled without debug information; those that do not
compile, or whose object code is unchanged, do not count. A mutant is caught if a test fails, crashes, runs out of memory, or
needs five times as much processor time as usual, or a minute more than that of any. Programs that were built against a header
before it was changed use the library as well: of the tests, only those of the header's own folder are compiled again, and only if
the others pass.

Tests run in namespaces of their own, so that neither segments, key files nor processes of mutants are left over.

A mutant that survives because it behaves like the original is answered in tests/mutation/answered.txt, with the reason.

An interrupted run reports on what it has tried; --again resumes it. With files or folders as arguments, only these are mutated:
scripts/mutate.py qzsignal/shm/RecordLock.cpp qzsignal/shm/KeyFile.cpp
"""

import argparse
import collections
import contextlib
import os
import random
import re
import sys

sys.dont_write_bytecode = True
from mutation.mutants import SUFFIXES, mutants_of
from mutation.trials import ROOT, SCRATCH, try_all

ANSWERED = ROOT / "tests" / "mutation" / "answered.txt"


def mutants_below(paths):
    """All mutants of these files and folders, in order."""
    files = {file for path in paths for file in [ROOT / path, *(ROOT / path).rglob("*")]}
    return [mutant for file in sorted(files) if file.suffix in SUFFIXES and file.is_file()
            for mutant in mutants_of(str(file.resolve().relative_to(ROOT)), file.read_text())]


def read_list(path):
    """The reasons of a list of mutants, by their keys."""
    result, file, keys, before = {}, "", [], ""
    for line in path.read_text().splitlines() if path.is_file() else []:
        if line.startswith("- "):
            before = line[2:]
        elif line.startswith("+ "):
            keys.append((file, before, line[2:]))
            result[keys[-1]] = ""
        elif line.startswith("  "):
            result.update({key: f"{result[key]} {line.strip()}".strip() for key in keys})
        elif line and not line.startswith("#"):
            file = re.sub(r":\d+$", "", line)
        if not line.startswith(("- ", "+ ")):
            keys = keys if line.startswith("  ") else []
    return result


def read_log(path):
    """The outcomes of earlier runs, by the places of the mutants."""
    lines = path.read_text().splitlines() if path.is_file() else []
    return {tuple(place): outcome for *place, outcome in (line.split("\t") for line in lines)}


def report(outcomes, answered):
    """Counts by file, and the survivors that are not answered; and the share of those caught."""
    columns = ("mutants", "invalid", "same", "caught", "answered", "survived")
    counts, survivors = collections.defaultdict(collections.Counter), []
    for mutant, outcome in outcomes:
        if outcome == "survived" and mutant.key() in answered:
            outcome = "answered"
        elif outcome == "survived":
            survivors.append(mutant)
        counts[mutant.path].update(["mutants", outcome if outcome in columns else "caught"])
    total = sum(counts.values(), collections.Counter())
    lines = [f"{'':44}" + "".join(f"{column:>10}" for column in columns)]
    for path, count in [*sorted(counts.items()), ("total", total)]:
        lines.append(f"{path:44}" + "".join(f"{count[column]:10}" for column in columns))
    for mutant in sorted(survivors, key=lambda each: (each.path, each.begin)):
        path, before, after = mutant.key()
        lines += ["", f"{path}:{mutant.line()}", f"- {before}", f"+ {after}"]
    return "\n".join(lines), total["caught"] / max(1, total["caught"] + total["survived"])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("paths", nargs="*", default=["qzsignal"], help="files or folders (default: qzsignal)")
    parser.add_argument("--sample", type=int, metavar="N", help="try N mutants of all files, picked at random")
    parser.add_argument("--seed", type=int, default=1, help="picks others (default: 1)")
    parser.add_argument("--again", action="store_true",
                        help="resume the last run, after another try of the mutants that survived")
    parser.add_argument("--list", action="store_true", help="show the mutants and try none")
    parser.add_argument("--jobs", type=int, default=len(os.sched_getaffinity(0)), help="mutants at a time")
    parser.add_argument("--minimum", type=float, default=95, metavar="PERCENT",
                        help="of those not answered, that have to be caught (default: 95)")
    arguments = parser.parse_args()

    mutants = mutants_below(arguments.paths)
    outcomes, last = [], {}
    if arguments.again:
        last = read_log(SCRATCH / "log.txt")
        outcomes = [(mutant, last[mutant.place()]) for mutant in mutants
                    if last.get(mutant.place(), "survived") != "survived"]
        done = {mutant for mutant, _ in outcomes}
        mutants = [mutant for mutant in mutants if mutant not in done]
    # In random order, so that the first ones represent all; but those that are tried again come first.
    random.Random(arguments.seed).shuffle(mutants)
    mutants.sort(key=lambda mutant: mutant.place() not in last)
    mutants = mutants[:arguments.sample]
    if arguments.list:
        for mutant in sorted(mutants, key=lambda each: (each.path, each.begin)):
            print("{0[0]}:{1}\n- {0[1]}\n+ {0[2]}\n".format(mutant.key(), mutant.line()))
        return 0

    SCRATCH.mkdir(parents=True, exist_ok=True)
    with (SCRATCH / "log.txt").open("a" if arguments.again else "w") as log, \
            contextlib.suppress(KeyboardInterrupt):
        for number, (mutant, outcome) in enumerate(try_all(mutants, arguments.jobs), 1):
            outcomes.append((mutant, outcome))
            print(*mutant.place(), outcome, sep="\t", file=log, flush=True)
            print(f"\r{number} of {len(mutants)}", end="", file=sys.stderr, flush=True)
    print(file=sys.stderr)
    text, share = report(outcomes, read_list(ANSWERED))
    (SCRATCH / "report.txt").write_text(text + "\n")
    print(text, f"\n{share:.1%} caught")
    return 0 if 100 * share >= arguments.minimum else 1


if __name__ == "__main__":
    sys.exit(main())
