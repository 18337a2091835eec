#!/usr/bin/env python3
"""Prints, as JSON, what the page on performance states about a run: the machine, the compiler, the date, and what was measured.
"""

import argparse
import datetime
import json
import os
import pathlib
import platform
import re
import subprocess


def processor():
    found = re.search(r"^model name\s*: (.*)$", pathlib.Path("/proc/cpuinfo").read_text(), re.MULTILINE)
    return found[1] if found else platform.machine()


def caches():
    """Those of the first core, as the kernel reports them; empty if it does not."""
    result = []
    for index in sorted(pathlib.Path("/sys/devices/system/cpu/cpu0/cache").glob("index*")):
        level, kind, size = ((index / name).read_text().strip() for name in ("level", "type", "size"))
        result.append(f"L{level} {size}" + (f" ({kind.lower()})" if kind != "Unified" else ""))
    return ", ".join(result)


def compiler(build):
    """Compiler and flags, from the cache of CMake."""
    cache = (build / "CMakeCache.txt").read_text()
    entry = {name: re.search(rf"^{name}:\w+=(.*)$", cache, re.MULTILINE)[1]
             for name in ("CMAKE_CXX_COMPILER", "CMAKE_BUILD_TYPE", "CMAKE_CXX_FLAGS_RELEASE")}
    version = subprocess.run([entry["CMAKE_CXX_COMPILER"], "--version"], capture_output=True, text=True, check=True).stdout
    return f"{version.splitlines()[0]}, {entry['CMAKE_BUILD_TYPE']}: {entry['CMAKE_CXX_FLAGS_RELEASE']}"


def definitions(path):
    text = path.read_text()
    messages, signals = (len(re.findall(rf"^ *{word} ", text, re.MULTILINE)) for word in ("BO_", "SG_"))
    return f"{messages:,} frames with {signals:,} signals, in a file of {round(path.stat().st_size / 1000):,} KB"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("build", type=pathlib.Path, help="build folder of the benchmarks")
    parser.add_argument("definitions", type=pathlib.Path, help="definition file that was measured with")
    parser.add_argument("command", help="what was called")
    parser.add_argument("load", help="average load before the run")
    arguments = parser.parse_args()
    facts = {
        "processor": processor(),
        "cores": os.cpu_count(),
        "caches": caches(),
        "kernel": f"{platform.system()} {platform.release()}",
        "compiler": compiler(arguments.build),
        "C library": " ".join(platform.libc_ver()),
        "date": datetime.date.today().isoformat(),
        "load": f"{arguments.load} processes that wanted a core, on average over the minute before the run",
    }
    print(json.dumps({"facts": facts, "definitions": definitions(arguments.definitions), "command": arguments.command},
                     indent=1))


if __name__ == "__main__":
    main()
