"""Injects one-line faults into a copy of the code and runs the in-process tests on each.

Called by scripts/mutate, which makes the copy and protects the machine. Faults without an effect
that a user or caller could see are listed in scripts/mutate.same with the reason, and skipped.
"""

import argparse
import os
import pathlib
import random
import re
import subprocess
import sys

ROOMS = ["platform", "tools", "support", "builder", "motif", "engine", "ui", "startup"]
# Longest time for all tests after one fault, in seconds; what takes longer hangs.
LIMIT = 240


def condition(line):
    found = re.match(r"^(\s*(?:\} else )?(?:if|while) \()(.+)(\) .*|\)|\) \{)$", line)
    if found and found[2].count("(") == found[2].count(")"):
        yield f"{found[1]}!({found[2]}){found[3]}"


def replaced(old, new):
    def rule(line):
        for found in re.finditer(re.escape(old), line):
            yield line[: found.start()] + new + line[found.end() :]

    return rule


def result(line):
    found = re.match(r"^(\s*return )([^;{]+);$", line)
    if found and found[2] not in ("{}", "*this"):
        yield f"{found[1]}!({found[2]});"


def left_out(line):
    if re.match(r"^\s+(?!return|case|default|using|const|static|else|if|for|while|throw|break)[\w:.>*\[\]-]+"
                r"(\(.*\)|\s*[-+|&]?= .*);$", line):
        yield re.match(r"^\s*", line)[0] + ";"


def text(line):
    for found in re.finditer(r'(?<!include )"((?:[^"\\]|\\.)+)"', line):
        yield line[: found.end() - 1] + "~" + line[found.end() - 1 :]


def number(line):
    for found in re.finditer(r"(?<![\w.\"%-])(\d+)(?![\w.\"])", line):
        if line.count('"', 0, found.start()) % 2 == 0:
            yield line[: found.start()] + str(int(found[1]) + 1) + line[found.end() :]


RULES = {
    "condition": condition,
    "and": replaced(" && ", " || "),
    "or": replaced(" || ", " && "),
    "equal": replaced(" == ", " != "),
    "unequal": replaced(" != ", " == "),
    "result": result,
    "left out": left_out,
    "text": text,
    "number": number,
}


def faults_in(path):
    """All faults that the rules inject into a file: (line index, rule, the line's new text)."""
    for at, line in enumerate(path.read_text().split("\n")):
        if line.lstrip().startswith(("//", "#", "static_assert")):
            continue
        for name, rule in RULES.items():
            for faulty in rule(line):
                yield at, name, faulty


def same_faults(project):
    """The faults to skip: (file, faulty line without its indentation)."""
    listed = (project / "scripts" / "mutate.same").read_text().split("\n\n")
    return {tuple(part.strip() for part in entry.split("\n")[:2]) for entry in listed if entry.strip()}


class Tests:
    def __init__(self, copy):
        self.copy = copy
        self.build = copy / "build"

    def configure(self):
        subprocess.run(
            ["cmake", "-S", self.copy, "-B", self.build, "-DCMAKE_BUILD_TYPE=Debug",
             "-DCMAKE_CXX_FLAGS=-O0 -g0 -Wno-error"], check=True, stdout=subprocess.DEVNULL)

    def builds(self):
        with open(self.copy / "build.log", "w") as log:
            return subprocess.run(["cmake", "--build", self.build, "-j", str(os.cpu_count())],
                                  stdout=log, stderr=log).returncode == 0

    def pass_all(self, first=None):
        """Runs the tests of one room first, which most likely notice the fault."""
        parts = [["-L", f"^{first}$"], ["-LE", f"^{first}$"]] if first else [[]]
        return all(self.pass_part(part) for part in parts)

    def pass_part(self, part):
        command = ["ctest", "--test-dir", self.build, "-E", "^e2e", "-j4", "--stop-on-failure",
                   "--timeout", "60", *part]
        with open(self.copy / "test.log", "w") as log:
            try:
                return subprocess.run(command, stdout=log, stderr=log, timeout=LIMIT).returncode == 0
            except subprocess.TimeoutExpired:
                return False


def main():
    parser = argparse.ArgumentParser(prog="scripts/mutate")
    parser.add_argument("copy", type=pathlib.Path)
    parser.add_argument("--count", type=int, default=150)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--room", action="append", choices=ROOMS)
    wanted = parser.parse_args()
    copy, project = wanted.copy, pathlib.Path.cwd()
    tests = Tests(copy)
    tests.configure()
    if not tests.builds() or not tests.pass_all():
        sys.exit(f"The tests fail without any fault: {copy}/build.log, {copy}/test.log")
    same = same_faults(project)
    faults = []
    for room in wanted.room or ROOMS:
        for path in sorted((project / room).glob("*.cc")):
            name = str(path.relative_to(project))
            faults += [(name, *fault) for fault in faults_in(path)
                       if (name, fault[2].strip()) not in same]
    random.Random(wanted.seed).shuffle(faults)
    made, survivors, tally = 0, [], {}
    for name, at, rule, faulty in faults:
        if made == wanted.count:
            break
        path = copy / name
        original = path.read_text()
        lines = original.split("\n")
        old, lines[at] = lines[at], faulty
        path.write_text("\n".join(lines))
        room = name.split("/")[0]
        # What does not compile is no fault that could be overlooked.
        if tests.builds():
            made += 1
            overlooked = tests.pass_all(room)
            killed, total = tally.get(room, (0, 0))
            tally[room] = (killed + (not overlooked), total + 1)
            if overlooked:
                survivors.append((name, at, rule, old, faulty))
                print(f"{name}:{at + 1}: {rule}\n  - {old.strip()}\n  + {faulty.strip()}", flush=True)
        path.write_text(original)
    print()
    for room, (killed, total) in sorted(tally.items()):
        print(f"{room:10} {killed:4} of {total:4} noticed")
    print(f"seed {wanted.seed}: {made - len(survivors)} of {made} noticed")


if __name__ == "__main__":
    main()
