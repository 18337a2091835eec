#!/usr/bin/env python3
"""Counts the instructions of the library's hot operations (benchmarks/HotOperations.cpp). Unlike times, they are the
same on every machine and in every run.

Valgrind counts for x86-64, a plugin of QEMU's user mode for the other targets. Start-up and preparation cancel out: an
operation's count is the difference of two runs with different numbers of repetitions. The few instructions of the
loop around it are included.
"""

import argparse
import concurrent.futures
import functools
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
BOUNDS = ROOT / "benchmarks" / "instruction-bounds.txt"
BOUNDED_TARGET = "x86-64"
TOLERANCE = 0.05
# The program takes multiples of 1,000. Names of signals contain the process id, each digit of which costs some 150
# instructions: with so many repetitions this does not matter.
REPETITIONS = (1000, 10000)

# By the machine number in the program's header: target, and the emulator with its options; none where valgrind counts.
TARGETS = {
    3: ("i686", ["qemu-i386"]),
    20: ("ppc", ["qemu-ppc", "-L", "/usr/powerpc-linux-gnu"]),
    62: (BOUNDED_TARGET, []),
}

BOUNDS_HEADER = f"""\
# Instructions that each hot operation takes on {BOUNDED_TARGET}, as the release preset builds it.
# scripts/instructions.py --check fails if one takes over {TOLERANCE:.0%} more; --update writes this file.
#
# They hold for the compiler and the C library of Debian 12, whose updates within the release change no count by as
# much. With another release, --update comes first.
"""


def stop(problem):
    sys.exit(f"instructions.py: {problem}")


def build_release():
    """Builds the program with the library as installed; returns the folder."""
    for step in (["--preset", "release"],
                 ["--build", "--preset", "release", "--parallel", str(os.cpu_count()), "--target", "hot_operations"]):
        # Only the counts go to standard output.
        if subprocess.run(["cmake", *step], cwd=ROOT, stdout=sys.stderr, check=False).returncode != 0:
            stop("the build failed")
    return ROOT / "build" / "release"


def target_of(program):
    """Target and emulator, from the ELF header of the program."""
    try:
        with program.open("rb") as file:
            header = file.read(20)
    except OSError as error:
        stop(error)
    machine = int.from_bytes(header[18:20], "big" if header[5:6] == b"\2" else "little")
    if header[:4] != b"\x7fELF" or machine not in TARGETS:
        stop(f"{program} is for none of the targets")
    return TARGETS[machine]


def run(*command):
    """Standard output and standard error of a command that has to succeed."""
    try:
        done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
    except FileNotFoundError:
        stop(f"{command[0]} is missing; scripts/setup.sh base cross instructions installs it")
    if done.returncode != 0:
        stop(f"{' '.join(map(str, command))} ended with status {done.returncode}\n{done.stderr}")
    return done.stdout, done.stderr


def number(pattern, text):
    return int(re.search(pattern, text, re.MULTILINE)[1])


def count_natively(*command):
    """Instructions of a run on this machine's own processor.

    Valgrind presents the extensions of the processor that it supports to programs, and the C library picks functions such
    as memcpy by them. No operation calls any of these: the counts are the same with the extensions turned off by
    GLIBC_TUNABLES, and on the plain processor that QEMU emulates.
    """
    _, said = run("valgrind", "--command-line-only=yes", "--tool=callgrind", "--callgrind-out-file=/dev/null", *command)
    return number(r"Collected : (\d+)$", said)


def build_counter(folder):
    """Builds the emulator's plugin in the folder."""
    counter = pathlib.Path(folder, "counter.so")
    run("g++", "-std=c++17", "-O2", "-shared", "-fPIC", "-Wall", "-Wextra", "-Werror", "-o", counter,
        ROOT / "benchmarks" / "InstructionCounter.cpp")
    return counter


def count_emulated(emulator, counter, *command):
    """Instructions of a run in QEMU's user mode."""
    _, said = run(*emulator, "-plugin", counter, *command)
    return number(r"^instructions: (\d+)$", said)


def measure(program, emulator):
    """Instructions by operation."""
    names = run(*emulator, program, "--list")[0].split()
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        count = functools.partial(count_emulated, emulator, build_counter(folder)) if emulator else count_natively

        def of_one(name):
            few, many = REPETITIONS
            return round((count(program, name, str(many)) - count(program, name, str(few))) / (many - few), 1)

        return dict(zip(names, pool.map(of_one, names)))


def read_bounds(path):
    lines = (line.split() for line in path.read_text().splitlines() if line and not line.startswith("#"))
    return {name: float(bound) for name, bound in lines}


def write_bounds(path, operations):
    width = max(map(len, operations))
    path.write_text(BOUNDS_HEADER + "".join(f"{name:{width}} {count:10.1f}\n" for name, count in operations.items()))


def verdict(count, bound):
    """Whether an operation passes, and a text on it; either number may be missing."""
    if bound is None:
        return False, f"{count:.1f}, and no bound: --update records it"
    if count is None:
        return False, f"has a bound of {bound:.1f}, but is no operation: --update removes it"
    change = round(count / bound - 1, 9)  # exactly the tolerance is within it
    if change > TOLERANCE:
        return False, f"{count:.1f}, {change:.1%} above the bound of {bound:.1f}"
    if change <= -TOLERANCE:
        return True, f"{count:.1f}, {-change:.1%} below the bound of {bound:.1f}: lower the bound, by --update"
    return True, f"{count:.1f} of {bound:.1f}"


def check(operations, bounds):
    """Prints a line for each operation; True if all pass."""
    all_passed = True
    for name in [*operations, *(name for name in bounds if name not in operations)]:
        passed, text = verdict(operations.get(name), bounds.get(name))
        print(f"{'passed' if passed else 'FAILED'}  {name}: {text}")
        all_passed = all_passed and passed
    return all_passed


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("folder", type=pathlib.Path, nargs="?",
                        help="of a build that has hot_operations (default: build/release, which is brought up to date)")
    action = parser.add_mutually_exclusive_group()
    action.add_argument("--check", action="store_true", help="compare with the bounds; status 1 if one is exceeded")
    action.add_argument("--update", action="store_true", help="write the counts into the file of bounds")
    parser.add_argument("--json", type=pathlib.Path, metavar="FILE", help="write target and counts into FILE as well")
    parser.add_argument("--bounds", type=pathlib.Path, metavar="FILE", default=BOUNDS,
                        help=f"the file of bounds (default: {BOUNDS.relative_to(ROOT)})")
    arguments = parser.parse_args()

    program = (arguments.folder or build_release()) / "benchmarks" / "hot_operations"
    target, emulator = target_of(program)
    if (arguments.check or arguments.update) and target != BOUNDED_TARGET:
        stop(f"the bounds are those of {BOUNDED_TARGET}; {program} is for {target}")
    operations = measure(program, emulator)
    if arguments.json:
        arguments.json.write_text(json.dumps({"target": target, "operations": operations}, indent=2) + "\n")
    if arguments.check:
        return 0 if check(operations, read_bounds(arguments.bounds)) else 1
    if arguments.update:
        write_bounds(arguments.bounds, operations)
    for name, count in operations.items():
        print(f"{name:32} {count:10.1f}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
