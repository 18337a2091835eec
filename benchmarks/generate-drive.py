#!/usr/bin/env python3
"""Writes what the benchmarks run on: drive.dbc, 331 messages with 2,150 signals, and drive.log, half a minute of their bus
in candump's format.

Size and mixture are those of a car of 2015: most messages never appear on this bus, those that do carry eight or nine
signals on average, most of them a few bits long; a third of the file is about how to show values. The files are the same on
every run.
"""

import argparse
import pathlib
import random

MESSAGES = 331
SENT = 53  # of the messages; those with many signals are sent
UNKNOWN = 18  # further identifiers on the bus, without definitions
SIGNALS = 2150
DURATION = 27_000_000  # microseconds
START = 1_700_000_000_000_000
LENGTHS = [1] * 30 + [2] * 19 + [3] * 9 + [4] * 8 + [5] * 3 + [7] * 5 + [8] * 11 + [9] * 2 + [10] * 3 + [12] * 3 + [16] * 4
SCALES = ["1", "1", "1", "0.5", "0.1", "0.25", "0.01", "0.05", "0.0625", "2"]
OFFSETS = ["0", "0", "0", "-40", "-100", "-3.2", "-1024"]
UNITS = ["", "", "", "rpm", "km/h", "Nm", "degC", "V", "%", "deg/s"]
PERIODS = [10_000] * 4 + [20_000] * 14 + [30_000] * 2 + [50_000] * 4 + [100_000] * 22 + [200_000] * 2 + [500_000] * 5


def signal_counts(rng):
    """How many signals each message has: a few have very many, a third has one; the sum is SIGNALS."""
    counts = [1] * 105 + [min(35, max(1, round(rng.gammavariate(2.2, 4.1)))) for _ in range(MESSAGES - 105)]
    while sum(counts) != SIGNALS:
        i = rng.randrange(105, MESSAGES)
        step = 1 if sum(counts) < SIGNALS else -1
        if 1 <= counts[i] + step <= 35:
            counts[i] += step
    return counts


def lengths(rng, count):
    """Bits of a message's signals, 64 in all at most."""
    if count == 1:
        return [rng.choice([8, 16, 29, 64, 64])]
    while True:
        drawn = [rng.choice(LENGTHS) for _ in range(count)]
        if sum(drawn) <= 64:
            return drawn
        if count > 20:
            return [1 + (i % 4 == 0) for i in range(count)]


def start_bit(position, length, big):
    """The start bit of a signal whose first bit is the `position`th in the order in which the bus sends bits (big), or
    counted from the lowest bit of byte 0."""
    return position // 8 * 8 + 7 - position % 8 if big else position


def write_definitions(path, rng):
    identifiers = sorted(rng.sample(range(0x010, 0x7F0), MESSAGES + UNKNOWN))
    rng.shuffle(identifiers)
    unknown = identifiers[MESSAGES:]
    head = ['VERSION ""', "", "NS_ :", "", "BS_:", "", "BU_: Gateway Engine Brakes Body Cluster Tester", ""]
    messages = []
    comments = []
    values = []
    attributes = []
    order = []
    for number, count in enumerate(signal_counts(rng)):
        name = f"Message_{identifiers[number]:03X}_Unit{number % 17}"
        messages.append(f"BO_ {identifiers[number]} {name}: 8 Gateway")
        order.append((count, identifiers[number]))
        comments.append(f'CM_ BO_ {identifiers[number]} "What unit {number % 17} of the car tells all others about itself, '
                        f'and how the gateway hands it on to the next network, message {number} of {MESSAGES}.";')
        position = 0
        bits = lengths(rng, count)
        slack = 64 - sum(bits)
        big = rng.random() < 0.6
        for index, length in enumerate(bits):
            gap = rng.randint(0, slack // 4) if index else 0
            slack -= gap
            position += gap
            sign = "-" if length > 4 and rng.random() < 0.25 else "+"
            scale = rng.choice(SCALES) if length > 4 else "1"
            offset = rng.choice(OFFSETS) if length > 4 else "0"
            signal = f"Signal{index}_{rng.choice(['State', 'Value', 'Quality', 'Request', 'Count'])}_{number}"
            messages.append(f" SG_ {signal} : {start_bit(position, length, big)}|{length}@{0 if big else 1}{sign} "
                            f'({scale},{offset}) [0|{2 ** min(length, 31) - 1}] "{rng.choice(UNITS)}"  Engine,Brakes,Body,Cluster')
            if length <= 4:
                words = " ".join(f'{value} "Condition {value} of the unit"' for value in range(2 ** min(length, 3)))
                values.append(f"VAL_ {identifiers[number]} {signal} {words} ;")
            for attribute in ("GenSigStartValue", "GenSigSendType", "SigTimeout"):
                attributes.append(f'BA_ "{attribute}" SG_ {identifiers[number]} {signal} {index % 3};')
            position += length
        messages.append("")
    path.write_text("\n".join(head + messages + comments + attributes + values) + "\n")
    sent = sorted(order, reverse=True)[20:20 + 3 * SENT:3]
    return [identifier for _, identifier in sent], unknown


def write_drive(path, sent, unknown, rng):
    frames = []
    identifiers = sent + unknown
    rng.shuffle(identifiers)
    for number, identifier in enumerate(identifiers):
        period = PERIODS[number % len(PERIODS)]
        payload = rng.getrandbits(64)
        for time in range(rng.randrange(period), DURATION, period):
            # Usually only a few bits of a frame change: a counter, and sometimes a value.
            payload = payload & ~0xF | (payload + 1) & 0xF
            if rng.random() < 0.2:
                payload ^= rng.getrandbits(8) << rng.randrange(56)
            frames.append((time + rng.randrange(200), identifier, payload))
    frames.sort()
    with path.open("w") as log:
        for time, identifier, payload in frames:
            microseconds = START + time
            log.write(f"({microseconds // 1_000_000}.{microseconds % 1_000_000:06}) can0 {identifier:03X}#{payload:016X}\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("directory", type=pathlib.Path, help="where to put the two files")
    directory = parser.parse_args().directory
    directory.mkdir(parents=True, exist_ok=True)
    rng = random.Random(2015)
    sent, unknown = write_definitions(directory / "drive.dbc", rng)
    write_drive(directory / "drive.log", sent, unknown, rng)


if __name__ == "__main__":
    main()
