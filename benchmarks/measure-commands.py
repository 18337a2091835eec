#!/usr/bin/env python3
"""Times whole runs of the command on a long log, by the processor time that the kernel accounts to each process, and plain
programs for the same log beside them. Prints samples in the form of Google Benchmark's.

The caller sees to it that all of it runs on one core.
"""

import argparse
import collections
import json
import os
import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import zlib

TRUE, FALSE = 0, 1  # exit statuses of `qzsignal trigger` that are answers


def condition(definitions, log):
    """An expression over two signals: the first ones of the two messages that the log has most frames of."""
    first = {}
    for message in re.finditer(r"^BO_ (\d+) (\w+) *:.*\n SG_ (\w+) ", definitions, re.MULTILINE):
        first[int(message[1])] = f"{message[2]}.{message[3]}"
    frames = collections.Counter(int(number, 16) for number in re.findall(r" ([0-9A-F]{3})#", log))
    signals = [first[number] for number, _ in frames.most_common() if number in first]
    if len(signals) < 2:
        sys.exit("measure-commands.py: the log has frames of less than two of the messages")
    return f"{signals[0]} > 1 && {signals[1]} > 1"


def frames_of(log):
    """Microseconds, identifier and payload of each line, all of which are data frames of 11 bits on can0."""
    for seconds, fraction, number, payload in re.findall(r"\((\d+)\.(\d{6})\) can0 ([0-9A-F]{3})#([0-9A-F]*)", log):
        yield int(seconds) * 1_000_000 + int(fraction), int(number, 16), bytes.fromhex(payload)


def pcap_packets(log):
    """Packets of link type 227; a file is the header and any number of these."""
    return b"".join(
        struct.pack("<IIII", *divmod(time, 1_000_000), 16, 16) + struct.pack(">IB3x", number, len(payload)) + payload.ljust(8, b"\0")
        for time, number, payload in frames_of(log))


PCAP_HEADER = struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 227)
BLF_HEADER = struct.pack("<4sI136x", b"LOGG", 144)


def blf_containers(log):
    """Objects of CAN frames in containers of 128 KiB, deflated as recorders do; a file is the header and any number of these."""
    objects = b"".join(
        struct.pack("<4sHHIIIHHQHBBI", b"LOBJ", 32, 1, 48, 1, 2, 0, 0, time * 1000, 1, 0, len(payload), number) + payload.ljust(8, b"\0")
        for time, number, payload in frames_of(log))
    containers = b""
    for begin in range(0, len(objects), 128 * 1024):
        content = objects[begin:begin + 128 * 1024]
        deflated = zlib.compress(content, 6)
        size = 32 + len(deflated)
        containers += struct.pack("<4sHHIIH6xI4x", b"LOBJ", 16, 1, size, 10, 2, len(content)) + deflated + bytes(size % 4)
    return containers


def repeated(log, times):
    """The log so many times, one after the other in recorded time as well."""
    lines = log.splitlines(keepends=True)
    first, last = (int(line[1:11]) for line in (lines[0], lines[-1]))
    shift = last - first + 1
    return "".join(f"({int(line[1:11]) + shift * time}{line[11:]}" for time in range(times) for line in lines)


def check_same(one, other):
    """Both commands have to print the same bytes, or they do not do the same work."""
    outputs = [subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, check=True).stdout
               for command in (one, other)]
    if outputs[0] != outputs[1]:
        sys.exit(f"{one[0]} and {other[0]} print different bytes")


def processor_time(command, statuses=(0,)):
    """Seconds of a process, in user mode and in the kernel. Results are dropped: a file would be part of what is measured."""
    with tempfile.TemporaryFile() as output:
        with subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=output) as process:
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode not in statuses:
            output.seek(0)
            sys.exit(f"{' '.join(map(str, command))} ended with status {process.returncode}\n{output.read().decode()}")
    return usage.ru_utime + usage.ru_stime


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path, help="build folder of the benchmarks")
    parser.add_argument("--frames", type=int, default=2_000_000, help="about how many frames the log is to have (%(default)s)")
    parser.add_argument("--runs", type=int, default=9, help="of each command (%(default)s)")
    arguments = parser.parse_args()

    drive = arguments.build / "benchmarks" / "drive"
    log = (drive / "drive.log").read_text()
    definitions = drive / "drive.dbc"
    expression = condition(definitions.read_text(), log)
    times = max(1, round(arguments.frames / log.count("\n")))
    frames = times * log.count("\n")
    qzsignal = arguments.build / "tools" / "qzsignal"

    samples = []
    with tempfile.TemporaryDirectory() as folder:
        long_log, empty_log = pathlib.Path(folder) / "long.log", pathlib.Path(folder) / "empty.log"
        long_log.write_text(repeated(log, times))
        empty_log.touch()
        blf, pcap = pathlib.Path(folder) / "long.blf", pathlib.Path(folder) / "long.pcap"
        blf.write_bytes(BLF_HEADER + blf_containers(log) * times)
        pcap.write_bytes(PCAP_HEADER + pcap_packets(log) * times)
        trigger = [qzsignal, "trigger", "--dbc", definitions, expression]
        export = [qzsignal, "export", "--dbc", definitions]
        plain_export = [arguments.build / "benchmarks" / "qzsignal_plain_export", definitions]
        check_same([*export, drive / "drive.log"], [*plain_export, drive / "drive.log"])
        commands = {
            "command/trigger": ([*trigger, long_log], frames),
            "command/trigger-blf": ([*trigger, blf], frames),
            "command/trigger-pcap": ([*trigger, pcap], frames),
            "command/replay": ([qzsignal, "replay", "--dbc", definitions, "--fast", long_log], frames),
            "command/export": ([*export, long_log], frames),
            "command/export-wide": ([*export, "--format", "wide", "--step", "0.1", long_log], frames),
            "command/plain-export": ([*plain_export, long_log], frames),
            "command/line-reader": ([arguments.build / "benchmarks" / "qzsignal_line_reader", long_log], frames),
            "command/definitions": ([*trigger, empty_log], 0),
        }
        for run in range(arguments.runs + 1):
            for name, (command, count) in commands.items():
                seconds = processor_time(command, (TRUE, FALSE) if "trigger" in command else (0,))
                if run == 0:
                    continue  # the files were not in memory yet
                per_frame = {"frame": seconds / count} if count else {}
                samples.append({"run_name": name, "run_type": "iteration", "run": seconds, **per_frame})
    print(json.dumps({"benchmarks": samples}, indent=1))


if __name__ == "__main__":
    main()
