"""Runs the commands of docs/recipes.md on the demo drive, and compares what they print with the page.

recipes_test.py PAGE COMMAND GENERATOR: the command is the qzsignal to use, the generator makes the demo drive.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile


def recipes_of(page):
    """Commands and the text that each prints, in their order."""
    for block in re.findall(r"```console\n(.*?)```", page, re.DOTALL):
        for entry in re.split(r"^\$ ", block, flags=re.MULTILINE)[1:]:
            command, _, output = entry.partition("\n")
            yield command, output


def main():
    page, command, generator = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    recipes = list(recipes_of(page.read_text()))
    if len(recipes) < 10:
        sys.exit(f"{page} has {len(recipes)} commands")
    failed = 0
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([sys.executable, generator, folder], check=True)
        environment = {**os.environ, "PATH": f"{command.parent}:{os.environ['PATH']}"}
        for text, expected in recipes:
            result = subprocess.run(["bash", "-c", text], cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                                    stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False)
            if (result.stdout, result.stderr) != (expected, ""):
                failed += 1
                print(f"$ {text}\nprinted:\n{result.stdout}{result.stderr}expected:\n{expected}")
    print(f"{len(recipes) - failed} of {len(recipes)} commands print what the page says")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
