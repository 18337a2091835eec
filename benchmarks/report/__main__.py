"""Writes the page on performance and its plots from the results of a run; scripts/bench.sh leaves them in
build/benchmarks/results, so that words can be changed without measuring again:

    /usr/bin/python3 benchmarks/report build/benchmarks/results docs

The folder of results holds times.json, commands.json and contention.json (samples), machine.json, instructions-x86-64.json
and instructions-ppc.json.
"""

import argparse
import json
import pathlib
import sys

import page
import results


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("results", type=pathlib.Path, help="folder of the results")
    parser.add_argument("output", type=pathlib.Path, help="folder for the page and its plots")
    arguments = parser.parse_args()

    folder = arguments.results
    counts = [json.loads((folder / f"instructions-{target}.json").read_text()) for target in ("x86-64", "ppc")]
    try:
        measured = results.Results.read([folder / f"{name}.json" for name in ("times", "commands", "contention")])
        text = page.page(measured, json.loads((folder / "machine.json").read_text()), counts)
        measured.check()
    except results.UnusableResults as problem:
        sys.exit(f"report: {problem}")

    import plots  # takes a while, and is needless without all results

    arguments.output.mkdir(parents=True, exist_ok=True)
    plots.write(measured, arguments.output)
    measured.check()
    (arguments.output / "performance.md").write_text(text)


if __name__ == "__main__":
    main()
