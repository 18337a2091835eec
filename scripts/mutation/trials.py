"""Tries mutants: builds the library with each and runs the tests, until one fails."""

import concurrent.futures
import dataclasses
import json
import os
import pathlib
import queue
import re
import shlex
import shutil
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
SCRATCH = ROOT / "build" / "mutation"


def run(command, **options):
    """Standard output of a command that has to succeed."""
    done = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True, check=False, **options)
    if done.returncode != 0:
        sys.exit(f"mutate.py: {shlex.join(map(str, command))} ended with status {done.returncode}")
    return done.stdout


# Inside the namespaces, before the command: an empty /tmp, with the copy of the tree if that is below /tmp.
IN_A_BOX = """\
mount -t tmpfs tmpfs "$1" && chmod 1777 "$1" || exit 99
case $2 in /tmp/*) mkdir -p "$1/${2#/tmp/}" && mount --bind "$2" "$1/${2#/tmp/}" ;; esac
mount --rbind "$1" /tmp || exit 99
ulimit -c 0; ulimit -f 200000; ulimit -v 4000000; ulimit -t "$3"
shift 3
"$@"
exit $?"""


# Seconds beyond a limit of processor time: other programs may keep a test waiting.
PATIENCE = 60


@dataclasses.dataclass
class Stage:
    """A run of a test program, and how long it takes without a mutant."""

    target: str
    tests: str
    seconds: float = 60.0

    def failure(self, program, folder):
        """None if the tests pass within the limit, else the reason. The folder may contain the shared library that they use."""
        limit = 5 * self.seconds + 3
        (folder / "box").mkdir(exist_ok=True)
        as_root = [] if os.geteuid() == 0 else ["--map-root-user"]
        command = ["unshare", *as_root, "--ipc", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc",
                   "sh", "-c", IN_A_BOX, "sh", folder / "box", SCRATCH, str(int(limit) + 1),
                   program, f"--gtest_filter={self.tests}"]
        environment = {**os.environ, "LD_LIBRARY_PATH": str(folder), "GTEST_FAIL_FAST": "1"}
        with (folder / "output.txt").open("w+b") as output:
            try:
                status = subprocess.run(command, cwd=folder, env=environment, stdin=subprocess.DEVNULL, stdout=output,
                                        stderr=output, timeout=limit + PATIENCE, check=False).returncode
            except subprocess.TimeoutExpired:
                return "timeout"
            output.seek(max(0, output.tell() - 1000))
            if status == 99:
                sys.exit("mutate.py: no name spaces: " + output.read().decode())
            return None if status == 0 and b"[  PASSED  ]" in output.read() else f"status {status}"


class Build:
    """The copy of the tree without a mutant: how it is built, and how its tests are run."""

    PROGRAMS = ("unit/unit_tests", "unit/failing_calls_tests", "unit/allocation_tests", "docs/docs_tests",
                "expression/expression_tests", "process/process_tests")
    SHARED = "qzsignal/libqzsignal.so"
    # They take seconds, and other tests fail on the same mutants.
    LEFT_OUT = "KilledWriterTest.readersNever*:RestartTest.lock*Stranger*"
    # They wait, or step through single instructions, and so come last.
    LATE = "*Killed*"

    def __init__(self):
        self.source, self.folder = SCRATCH / "source", SCRATCH / "build"
        names = run(["git", "ls-files", "--cached", "--others", "--exclude-standard"], cwd=ROOT).splitlines()
        for name in names:
            old, new = ROOT / name, self.source / name
            if old.is_file() and not (new.is_file() and new.read_bytes() == old.read_bytes()):
                new.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(old, new)
        header = self.precompiled()
        run(["cmake", "-S", self.source, "-B", self.folder, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=",
             f"-DCMAKE_CXX_FLAGS=-O1 -w -include {header}", "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=gold",
             "-DQZSIGNAL_BUILD_EXAMPLES=OFF"])
        commands = json.loads((self.folder / "compile_commands.json").read_text())
        self.commands = {command[command.index("-o") + 1]: command
                         for command in (shlex.split(each["command"]) for each in commands)}
        self.precompile(header)
        targets = [f"tests/{program}" for program in self.PROGRAMS]
        # A compiler cache must not change the paths in objects: those of mutants are compared with them.
        run(["ninja", "-C", self.folder, "-j", str(len(os.sched_getaffinity(0))), *targets],
            env={**os.environ, "CCACHE_BASEDIR": ""})
        self.headers = self.dependencies()
        self.links = {target: self.link_command(target) for target in (self.SHARED, *targets)}
        self.objects = [word for word in self.links[self.SHARED] if word.endswith(".o")]

    def precompiled(self):
        """A header with all system headers that the library includes, which are most of what the compiler reads."""
        header = SCRATCH / "standard-headers.h"
        lines = {line for path in (self.source / "qzsignal").rglob("*.*") for line in path.read_text().splitlines(True)
                 if re.match("#include <(?!FlexLexer)", line)}
        text = "".join(sorted(lines))
        if not header.is_file() or header.read_text() != text:
            header.write_text(text)
            shutil.rmtree(f"{header}.gch", ignore_errors=True)
        return header

    def precompile(self, header):
        """One variant for position-independent code, one for the tests."""
        for kind in ("qzsignal_objects", "unit_tests"):
            result = pathlib.Path(f"{header}.gch", kind)
            if not result.is_file():
                result.parent.mkdir(exist_ok=True)
                command = next(command for output, command in self.commands.items() if kind in output)
                command = command[:command.index("-o")]
                command.remove("-include")
                command.remove(str(header))
                run([*command, "-x", "c++-header", header, "-o", result])

    def link_command(self, target):
        *_, line = (line for line in run(["ninja", "-t", "commands", target], cwd=self.folder).splitlines()
                    if " -o " + target in line)
        return shlex.split(line.replace(": &&", "").replace("&& :", ""))

    def dependencies(self):
        """By object file, the files of the tree that it depends on."""
        result = {}
        for entry in run(["ninja", "-t", "deps"], cwd=self.folder).strip().split("\n\n"):
            first, *paths = entry.splitlines()
            # A compiler cache may have made them relative to the folder of the build.
            paths = [os.path.normpath(self.folder / path.strip()) for path in paths]
            result[first.split(":")[0]] = {path.removeprefix(f"{self.source}/").removeprefix(f"{self.folder}/generated/")
                                           for path in paths}
        if not any(name.startswith("qzsignal/") for names in result.values() for name in names):
            sys.exit("mutate.py: no object is known to depend on a file of the library")
        return result

    def stages(self, folder):
        """The tests for mutants of a folder, those that are likely to fail first."""
        unit, *others = (f"tests/{program}" for program in self.PROGRAMS)
        suites = sorted({suite for file in (self.source / "tests" / "unit" / folder).glob("*.cpp")
                         for suite in re.findall(r"^(?:TYPED_)?TEST(?:_F|_P)?\((\w+),", file.read_text(), re.M)})
        own = ":".join(f"{suite}.*:{suite}/*:*/{suite}.*" for suite in suites)
        stages = [Stage(unit, f"{own}-{self.LATE}:{self.LEFT_OUT}"), Stage(unit, f"-{own}:{self.LATE}:{self.LEFT_OUT}")]
        stages += [Stage(other, f"-{self.LATE}:{self.LEFT_OUT}") for other in others]
        if folder in ("shm", "can"):
            stages += [Stage(target, f"{self.LATE}-{self.LEFT_OUT}") for target in (unit, others[-1])]
        return stages


def quietly(command, folder):
    """True if a command succeeds, in reasonable time."""
    try:
        return subprocess.run(command, cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, timeout=120, check=False).returncode == 0
    except subprocess.TimeoutExpired:
        return False


class Worker:
    """Tries mutants, one after the other, in a folder of its own."""

    def __init__(self, build, number):
        self.build, self.folder = build, SCRATCH / f"worker-{number}"
        self.objects = {}  # by the path of the original's object: that of the mutant's, if it is another one
        shutil.rmtree(self.folder, ignore_errors=True)
        for name in ("objects", "changed"):
            (self.folder / name).mkdir(parents=True)

    def change(self, mutant):
        """Writes the changed file and what is generated from it. Returns the name of the file to compile; None on failure."""
        shutil.rmtree(self.folder / "changed")
        file = self.folder / "changed" / mutant.path
        file.parent.mkdir(parents=True)
        file.write_text(mutant.changed())
        tool, name = {".l": ("flex", "Scanner.cpp"), ".y": ("bison", "Grammar.cpp")}.get(file.suffix, (None, file.name))
        with_header = ["-d"] if tool == "bison" else []
        if tool and not quietly([tool, *with_header, "-o", file.with_name(name), file], self.folder):
            return None
        return str(pathlib.Path(mutant.path).with_name(name))

    def compile(self, outputs, name):
        """Compiles the objects that depend on the file; False if that fails."""
        for output in outputs:
            if name not in self.build.headers.get(output, ()):
                continue
            command = [word for word in self.build.commands[output] if not word.endswith("ccache")]
            source = self.folder / "changed" / name if name.endswith(".cpp") else command[-1]
            result = self.folder / "objects" / output.replace("/", "_")
            command[command.index("-o"):] = ["-o", result, "-c", source]
            if not quietly([command[0], f"-I{self.folder / 'changed'}", *command[1:]], self.build.folder):
                return False
            if result.read_bytes() != (self.build.folder / output).read_bytes():
                self.objects[output] = str(result)
        return True

    def link(self, target):
        """Links a program of tests, or the shared library, with the changed objects. Returns its path, or None."""
        command = self.build.links[target]
        place = command.index("-o") + 1
        # A library gets the name that programs look for.
        names = [word.rpartition(",")[2] for word in command if "-soname," in word]
        result = self.folder / (names[0] if names else pathlib.Path(target).name)
        words = []
        for word in command[1:place] + [result] + command[place + 1:]:
            words += self.build.objects if str(word).endswith("libqzsignal_internal.a") else [word]
        # Where several objects define a function, the first one is linked.
        changed = [self.objects[word] for word in words if word in self.objects]
        words = [word for word in words if word not in self.objects]
        return result if quietly([command[0], *changed, *words], self.build.folder) else None

    def expect_links(self):
        """Everything has to link without a mutant: otherwise, all of them would count as invalid."""
        for target in self.build.links:
            if self.link(target) is None:
                sys.exit(f"mutate.py: without a mutant, {target} cannot be linked")

    def failure(self, stages):
        """The first failure of the tests, or None."""
        programs = {}
        for stage in stages:
            if stage.target not in programs:
                # These are not built again; they use the shared library.
                is_outside = "process_tests" in stage.target
                linked = self.link(Build.SHARED if is_outside else stage.target)
                programs[stage.target] = self.build.folder / stage.target if linked and is_outside else linked
            if programs[stage.target] is None:
                return "invalid"
            failure = stage.failure(programs[stage.target], self.folder)
            if failure:
                return f"{stage.target}: {failure}"
        return None

    def outcome(self, mutant, stages):
        """What becomes of a mutant: invalid, same, survived, or the failure by which it is caught."""
        self.objects.clear()
        name = self.change(mutant)
        if not name or not self.compile(self.build.objects, name):
            return "invalid"
        failure = self.failure(stages) if self.objects else None
        if not failure and name.endswith(".h"):
            folder = f"unit_tests.dir/{pathlib.Path(name).parent.name}/"
            if not self.compile([output for output in self.build.commands if folder in output], name):
                return "invalid"
            failure = self.failure(stages[:1]) if self.objects else None
        return failure or ("survived" if self.objects else "same")


def time_of(stage, build):
    """Seconds that the tests take, and have to pass in, without a mutant."""
    begin = time.monotonic()
    failure = stage.failure(build.folder / stage.target, SCRATCH)
    if failure:
        sys.exit(f"mutate.py: without a mutant, {stage.target} --gtest_filter={stage.tests}: {failure}; see "
                 f"{SCRATCH}/output.txt")
    return time.monotonic() - begin


def try_all(mutants, jobs):
    """Pairs of mutant and outcome, as they come."""
    build = Build()
    workers = queue.SimpleQueue()
    for number in range(jobs):
        worker = Worker(build, number)
        worker.expect_links()
        workers.put(worker)
    stages, measured = {}, {}
    for folder in sorted({pathlib.Path(mutant.path).parent.name for mutant in mutants}):
        stages[folder] = build.stages(folder)
        for stage in stages[folder]:
            if (stage.target, stage.tests) not in measured:
                measured[stage.target, stage.tests] = time_of(stage, build)
            stage.seconds = measured[stage.target, stage.tests]

    def attempt(mutant):
        worker = workers.get()
        try:
            return mutant, worker.outcome(mutant, stages[pathlib.Path(mutant.path).parent.name])
        finally:
            workers.put(worker)

    pool = concurrent.futures.ThreadPoolExecutor(jobs)
    try:
        for done in concurrent.futures.as_completed([pool.submit(attempt, mutant) for mutant in mutants]):
            yield done.result()
    finally:
        pool.shutdown(cancel_futures=True)
