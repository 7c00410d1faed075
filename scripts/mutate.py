#!/usr/bin/python3
"""Breaks the module's sources on purpose, one small change at a time, and tells which changes no test notices.

    scripts/mutate.py BUILD [--sample N] [--seed N] [--jobs N] [--list] [FILE...]

A change, a mutant, is a swapped operator, a number one off or 0, a condition negated or forced, a statement left out,
true for false, the minimum for the maximum. BUILD is a folder with the module and its tests; the module in it is
swapped for each mutant, on which the file's own test program and test_AllNodes run, or for what nodes share, the tests
of the nodes that use it. A mutant is killed by a test that fails, crashes or doesn't end. Those that don't compile and
those whose code equals the original's don't count. Without FILE all sources of the module are taken.

The status is 0 whatever survives; what does is printed as FILE:LINE: original -> mutant.
"""

import argparse
import concurrent.futures
import json
import os
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
from collections import Counter, namedtuple
from pathlib import Path

PROJECT = Path(__file__).resolve().parent.parent
SOURCES = PROJECT / "src/alg/plugalg_manipulation/src"
MEMORY = 4 << 30  # bytes that a program may hold; some tests reserve far more and never touch it
COMPILE_SECONDS = 120

Mutant = namedtuple("Mutant", "file line start end text")

# What no mutant touches: comments, texts, characters, lines for the preprocessor, and what only the compiler reads.
UNTOUCHED = re.compile(
    r'R"\((?:.|\n)*?\)"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])\'|//[^\n]*|/\*(?:.|\n)*?\*/'
    r'|^[ \t]*#[^\n]*(?:\\\n[^\n]*)*|\bstatic_assert\b[^;]*;|__attribute__\(\(.*?\)\)\)?|\btemplate <[^\n]*?>',
    re.MULTILINE)

# Operators have blanks around them, which tells them from pointers, references and template arguments.
OPERATORS = {
    " + ": [" - "], " - ": [" + "], " * ": [" / "], " / ": [" * "], " % ": [" * "],
    " < ": [" <= ", " >= "], " <= ": [" < ", " > "], " > ": [" >= ", " < "], " >= ": [" > ", " <= "],
    " == ": [" != "], " != ": [" == "], " && ": [" || "], " || ": [" && "],
    " += ": [" -= "], " -= ": [" += "], " *= ": [" += "], "++": ["--"], "--": ["++"],
    " & ": [" | "], " | ": [" & "], " << ": [" >> "], " >> ": [" << "],
}
OPERATOR = re.compile("|".join(re.escape(text) for text in sorted(OPERATORS, key=len, reverse=True)))
WORDS = {"true": "false", "false": "true", "std::min": "std::max", "std::max": "std::min", "break": "continue",
         "std::floor": "std::ceil", "std::ceil": "std::floor"}
WORD = re.compile(r"(?<![\w:])(?:" + "|".join(WORDS) + r")\b(?!::)")
WHOLE = re.compile(r"(?<![\w.])\d+(?=[UL]*\b)(?![\w]*\.)(?!')")
DECIMAL = re.compile(r"(?<![\w.])\d+\.\d+(?=F?\b)")
CONDITION = re.compile(r"\b(?:if|while) \((?=[^\n]*\) \{\n)")
CHOICE = re.compile(r"(?<=[=(,] )[^=(,?;\n]+(?= \? )|(?<=return )[^?;\n]+(?= \? )")
STATEMENT = re.compile(r"^[ \t]*[\w:.\[\]>*-]+(?: [-+*/]?= [^;{}\n]*|\([^;{}\n]*\)|\+\+|--);$", re.MULTILINE)


def closing(text, start):
    """The end of the parenthesis that opens before `start`."""
    depth = 1
    for place in range(start, len(text)):
        depth += {"(": 1, ")": -1}.get(text[place], 0)
        if depth == 0:
            return place
    return start


def changes(text):
    """Every change of a source as (start, end, what stands there then)."""
    for found in OPERATOR.finditer(text):
        for other in OPERATORS[found[0]]:
            yield found.start(), found.end(), other
    for found in WORD.finditer(text):
        yield found.start(), found.end(), WORDS[found[0]]
    for found in WHOLE.finditer(text):
        yield found.start(), found.end(), str(int(found[0]) + 1)
        if int(found[0]) > 1:
            yield found.start(), found.end(), "0"
    for found in DECIMAL.finditer(text):
        yield found.start(), found.end(), str(float(found[0]) + 1)
        if float(found[0]) != 0:
            yield found.start(), found.end(), "0.0"
    for found in CONDITION.finditer(text):
        end = closing(text, found.end())
        condition = text[found.end():end]
        yield found.end(), end, f"!({condition})"
        if found[0].startswith("if"):
            yield found.end(), end, f"({condition}) || true"
        yield found.end(), end, f"({condition}) && false"
    for found in CHOICE.finditer(text):
        yield found.start(), found.end(), f"!({found[0]})"
    for found in STATEMENT.finditer(text):
        if not re.match(r"\s*(?:return|throw|delete|using|static_cast<void>)\b", found[0]):
            yield found.start(), found.end(), ";"


def mutants(file):
    text = file.read_text()
    untouched = [found.span() for found in UNTOUCHED.finditer(text)]
    for start, end, other in sorted(set(changes(text))):
        if not any(start < last and first < end for first, last in untouched):
            yield Mutant(file.name, text.count("\n", 0, start) + 1, start, end, other.strip(" "))


def mutated(text, mutant):
    blank = " " if text[mutant.start] == " " and mutant.text != ";" else ""
    return text[:mutant.start] + blank + mutant.text + blank + text[mutant.end:]


def shown(mutant):
    """A mutant with the line that it changes."""
    text = (SOURCES / mutant.file).read_text()
    first, rest = text.rfind("\n", 0, mutant.start) + 1, text.find("\n", mutant.end)
    changed = mutated(text, mutant)
    original, line = (" ".join(part.split()) for part in (text[first:rest], changed[first:rest - len(text)]))
    return f"{mutant.file}:{mutant.line}: {original} -> {line}"


class Users:
    """Which sources include a header, directly or through others."""

    def __init__(self):
        self.included = {file.name: re.findall(r'#include "(\w+\.h)"', file.read_text()) for file in sources()}
        self.headers = [name for name in self.included if name.endswith(".h")]

    def of_header(self, header):
        found, waiting = set(), [header]
        while waiting:
            included = waiting.pop()
            users = {user for user, headers in self.included.items() if included in headers} - found
            found |= users
            waiting += users
        return found


def sources():
    return sorted([*SOURCES.glob("*.cpp"), *SOURCES.glob("*.h")])


def run(command, seconds, folder):
    """The status of a command, None if it took too long or too much memory. Nothing that it starts outlives it."""
    process = subprocess.Popen(command, cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL, start_new_session=True)
    end = time.monotonic() + seconds
    while time.monotonic() < end and memory_of(process) < MEMORY:
        try:
            return process.wait(0.05)
        except subprocess.TimeoutExpired:
            pass
    os.killpg(process.pid, signal.SIGKILL)
    process.wait()
    return None


def memory_of(process):
    """The bytes that a process holds."""
    pages = Path(f"/proc/{process.pid}/statm").read_text().split()[1:2]  # nothing once it has ended
    return int(*pages) * resource.getpagesize()


class Bench:
    """The build folder, and a scratch folder with the module's sources and objects."""

    def __init__(self, build):
        self.build = build.resolve()
        self.module = self.build / "plugins/manipulation.so"
        self.scratch = Path(tempfile.mkdtemp(prefix="mutants-", dir=self.build))
        self.as_built = shutil.copy2(self.module, self.scratch / "as-built.so")
        self.testing = threading.Lock()  # the test programs find the module at one place
        self.users = Users()
        self.commands = {}
        for entry in json.loads((self.build / "compile_commands.json").read_text()):
            if Path(entry["file"]).parent == SOURCES:
                self.commands[Path(entry["file"]).name] = entry["command"].split()
        link = subprocess.run(["ninja", "-t", "commands", "plugins/manipulation.so"], cwd=self.build, check=True,
                              capture_output=True, text=True).stdout.splitlines()[-1]
        self.link = [word for word in link.split() if word not in (":", "&&")]
        self.seconds = {}

    def prepare(self, jobs):
        """Compiles the module as it stands, and measures the tests on it. Each function is made once, not for each
        width of the processor's vectors."""
        shutil.copytree(SOURCES, self.scratch / "original")
        with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
            if not all(pool.map(lambda name: self.compile(name, "original"), self.commands)):
                sys.exit("the module doesn't compile as it stands")
        self.swap({})
        for program in sorted((self.build / "tests").glob("test_*")):
            if (PROJECT / "tests/module" / f"{program.name}.cpp").exists():
                start = time.monotonic()
                if self.test(program.name, 120) != 0:
                    sys.exit(f"{program.name} fails on the module as it stands")
                self.seconds[program.name] = time.monotonic() - start

    def object(self, name, folder):
        return self.scratch / folder / (name + ".o")

    def compile(self, name, folder):
        """Compiles one source; true if that succeeds. The objects of two folders with equal code are equal."""
        where = self.scratch / folder
        command = [word for word in self.commands[name] if not word.endswith("ccache") and word != "-Werror"]
        command = [word.replace(str(SOURCES), ".") for word in command]
        command[command.index("-o") + 1] = name + ".o"
        flags = ["-O1", "-w", "-DVESSA_VECTOR_VARIANTS=", "-Wno-builtin-macro-redefined",
                 '-D__TIME__="00:00:00"', '-D__DATE__="Jan  1 2000"']
        return run([*command, *flags], COMPILE_SECONDS, where) == 0

    def swap(self, objects):
        """Links the module from the original objects but the given ones, which come first: functions that several
        objects hold are taken from them."""
        originals = {name: self.object(name, "original") for name in self.commands if name not in objects}
        files = [str(file) for file in [*objects.values(), *originals.values()]]
        first = next(index for index, word in enumerate(self.link) if word.endswith(".o"))
        command = [word for word in self.link if not word.endswith(".o")]
        command[first:first] = files
        linked = self.scratch / "manipulation.so"
        command[command.index("-o") + 1] = str(linked)
        status = run(command, COMPILE_SECONDS, self.build)
        if status == 0:
            os.replace(linked, self.module)
        return status == 0

    def close(self):
        os.replace(self.as_built, self.module)
        shutil.rmtree(self.scratch)

    def test(self, program, seconds):
        return run([f"tests/{program}", "--gtest_fail_fast", "--gtest_brief=1"], seconds, self.build)

    def programs(self, name):
        """The test program of a source, if there is one."""
        own = "test_" + Path(name).stem.removeprefix("P")
        return [own] if own in self.seconds else []

    def plan(self, name):
        """Pairs of the sources to compile and the test programs to run, in turn until one of these fails."""
        users = {user for user in self.users.of_header(self.header(name)) if user.endswith(".cpp")}
        own = [name] if name.endswith(".cpp") else []
        if self.programs(name):
            return [(own or users, [*self.programs(name), "test_AllNodes"])]
        tested = sorted(filter(self.programs, users), key=lambda user: self.seconds[self.programs(user)[0]])
        return [*((own or [user], self.programs(user)) for user in tested), (own, ["test_AllNodes"])]

    def header(self, name):
        """The header that tells of a source: the one with the longest name that begins the source's own."""
        headers = [header for header in self.users.headers if name.startswith(Path(header).stem)]
        return max(headers, key=len, default=name)

    def judge(self, mutant, number):
        """What becomes of a mutant: killed, slow, survived, equal or broken."""
        folder = f"mutant-{number}"
        where = self.scratch / folder
        shutil.copytree(self.scratch / "original", where, ignore=shutil.ignore_patterns("*.o"))
        try:
            file = where / mutant.file
            file.write_text(mutated(file.read_text(), mutant))
            objects = {}
            for names, programs in self.plan(mutant.file):
                for name in names:
                    if name not in objects and not self.compile(name, folder):
                        return "broken"
                    objects.setdefault(name, self.object(name, folder))
                changed = {name: made for name, made in objects.items()
                           if made.read_bytes() != self.object(name, "original").read_bytes()}
                outcome = self.outcome(changed, programs) if changed else None
                if outcome:
                    return outcome
            return "survived" if changed else "equal"
        finally:
            shutil.rmtree(where)

    def outcome(self, objects, programs):
        with self.testing:
            if not self.swap(objects):
                return "broken"
            for program in programs:
                status = self.test(program, 5 + 10 * self.seconds[program])
                if status != 0:
                    return "slow" if status is None else "killed"
        return None


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=Path)
    parser.add_argument("files", nargs="*", metavar="FILE")
    parser.add_argument("--sample", type=int, help="as many mutants of each file, all without it")
    parser.add_argument("--seed", type=int, default=20, help="of the sample; 20 without it")
    parser.add_argument("--jobs", type=int, default=1, help="compilers at a time; tests run one after the other")
    parser.add_argument("--list", action="store_true", help="only print the mutants")
    options = parser.parse_intermixed_args()

    files = [SOURCES / Path(name).name for name in options.files] or sources()
    chosen = []
    for file in files:
        of_file = list(mutants(file))
        if options.sample is not None and len(of_file) > options.sample:
            of_file = sorted(random.Random(f"{options.seed} {file.name}").sample(of_file, options.sample))
        chosen += of_file
    if options.list:
        print("\n".join(map(shown, chosen)))
        return
    bench = Bench(options.build)
    try:
        bench.prepare(options.jobs)
        report(bench, chosen, options.jobs)
    finally:
        bench.close()


def report(bench, chosen, jobs):
    counts = {}
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        outcomes = pool.map(bench.judge, chosen, range(len(chosen)))
        for mutant, outcome in zip(chosen, outcomes):
            counts.setdefault(mutant.file, Counter())[outcome] += 1
            if outcome == "survived":
                print(shown(mutant), flush=True)
    print("\n| file | mutants | killed | survived | equal | not compiled |\n|---|---|---|---|---|---|")
    for name, count in [*counts.items(), ("all", sum(counts.values(), Counter()))]:
        killed = count["killed"] + count["slow"]
        print(f"| {name} | {killed + count['survived']} | {killed} | {count['survived']} | {count['equal']} "
              f"| {count['broken']} |")


if __name__ == "__main__":
    main()
