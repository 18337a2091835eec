#!/usr/bin/env python3
"""Finds phrases that have a plainer word (scripts/wording.txt) in comments, pages, messages and help texts.

Without arguments, all files of the tree are read, new ones included. Prints one line for each place, and fails if there
are any. Of C++ files, comments are read, and of those of the command also its texts; other files are read as they are.
"""

import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
LIST = "scripts/wording.txt"
KINDS = {".h", ".cpp", ".l", ".y", ".md", ".sh", ".py", ".cmake", ".txt", ".1", ".in", ".tidy", ".clang-tidy"}
# Recordings, definition files and texts of the expression language are data.
DATA = re.compile(r"tests/(data|fuzz/\w+/corpus|expression/cases)/(?!README)")
# A comment or a string literal, whichever begins first, so that neither is mistaken for the other.
CPP = re.compile(r"""//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|'(?:\\.|[^'\\\n])*'""", re.S)


def read_list():
    """Pairs of a compiled pattern and what to write instead."""
    lines = (line.split(" | ") for line in (ROOT / LIST).read_text().splitlines() if line and line[0] != "#")
    return [(re.compile(rf"(?<!\w)(?:{pattern})(?!\w)", re.I), instead) for pattern, instead in lines]


def prose(name, text):
    """The text with everything but prose replaced by spaces, line by line."""
    if pathlib.Path(name).suffix not in (".h", ".cpp", ".l", ".y"):
        return text
    result, end = [], 0
    for match in CPP.finditer(text):
        result.append(re.sub(r"[^\n]", " ", text[end:match.start()]))
        is_read = match[0][0] == "/" or (match[0][0] == '"' and name.startswith("tools/"))
        result.append(match[0] if is_read else re.sub(r"[^\n]", " ", match[0]))
        end = match.end()
    return "".join(result)


def main():
    names = sys.argv[1:] or subprocess.run(
        ["git", "ls-files", "--cached", "--others", "--exclude-standard"], cwd=ROOT, stdout=subprocess.PIPE, text=True,
        check=True).stdout.splitlines()
    phrases, found = read_list(), 0
    for name in names:
        path = ROOT / name
        if name == LIST or DATA.match(name) or not path.is_file() or (path.suffix or path.name) not in KINDS:
            continue
        for number, line in enumerate(prose(name, path.read_text()).splitlines(), 1):
            for pattern, instead in phrases:
                for match in pattern.finditer(line):
                    print(f"{name}:{number}: '{match[0]}': {instead}")
                    found += 1
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
