"""Injects one-line faults into a copy of the code and runs the in-process tests on each.

Called by scripts/mutate, which makes the copy and protects the machine. Faults without an effect
that a user or caller could see are listed in scripts/mutate.same with the reason, and skipped.
"""

import argparse
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
        # The comment tells in scripts/mutate.same which line this is.
        yield re.match(r"^\s*", line)[0] + ";  // " + line.strip()


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
        code, mark, comment = line.partition("  //")
        for name, rule in RULES.items():
            for faulty in rule(code):
                yield at, name, faulty + mark + comment


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
            return subprocess.run(["cmake", "--build", self.build, "-j2"],
                                  stdout=log, stderr=log).returncode == 0

    def failing(self, first, each):
        """The tests that fail; only some of them unless "each". Those of the room "first", which
        most likely notice the fault, run first."""
        failed = []
        for part in ["-L", "-LE"]:
            if each or not failed:
                failed += self.failing_part([part, f"^{first}$"], each)
        return failed

    def failing_part(self, part, each):
        command = ["ctest", "--test-dir", self.build, "-E", "^e2e", "-j4", "--timeout", "60", *part]
        if not each:
            command += ["--stop-on-failure"]
        log = self.copy / "test.log"
        with open(log, "w") as out:
            try:
                status = subprocess.run(command, stdout=out, stderr=out, timeout=LIMIT).returncode
            except subprocess.TimeoutExpired:
                return ["(time)"]
        failed = re.findall(r"^\s+\d+ - (\S+) \((?!Skipped|Not Run)", log.read_text(), re.MULTILINE)
        return failed if status == 0 or failed else ["(ctest)"]


def work(wanted):
    """Makes this worker's share of the faults, prints those that no test notices, and writes what
    became of each into the file "tally": room, result and the tests that failed."""
    copy, project = wanted.copy, pathlib.Path.cwd()
    tests = Tests(copy)
    tests.configure()
    if not tests.builds():
        sys.exit(f"It does not build without any fault: {copy}/build.log")
    if failed := tests.failing("", False):
        sys.exit(f"Tests fail without any fault: {failed}, {copy}/test.log")
    same = same_faults(project)
    faults = []
    for room in wanted.room or ROOMS:
        for path in sorted((project / room).glob("*.cc")):
            name = str(path.relative_to(project))
            faults += [(name, *fault) for fault in faults_in(path)
                       if (name, fault[2].strip()) not in same]
    random.Random(wanted.seed).shuffle(faults)
    made, share = 0, range(wanted.worker - 1, wanted.count, wanted.workers)
    with open(copy / "tally", "w") as tally:
        for name, at, rule, faulty in faults[wanted.worker - 1 :: wanted.workers]:
            if made == len(share):
                break
            path = copy / name
            original = path.read_text()
            lines = original.split("\n")
            old, lines[at] = lines[at], faulty
            path.write_text("\n".join(lines))
            room = name.split("/")[0]
            # A fault that does not compile can't be overlooked.
            if tests.builds():
                made += 1
                failed = tests.failing(room, wanted.each)
                print(room, *failed, file=tally, flush=True)
                if not failed:
                    print(f"{name}:{at + 1}: {rule}\n  - {old.strip()}\n  + {faulty.strip()}",
                          flush=True)
            path.write_text(original)


def sum_up(tallies):
    """Prints the share of noticed faults per room, and what each test noticed that no other did."""
    faults = [line.split() for tally in tallies for line in tally.read_text().splitlines()]
    for room in ROOMS:
        of_room = [failed for at, *failed in faults if at == room]
        print(f"{room:10} {sum(map(bool, of_room)):4} of {len(of_room):4} noticed")
    noticed = [failed for _, *failed in faults if failed]
    print(f"{'all':10} {len(noticed):4} of {len(faults):4} noticed")
    if any(len(failed) > 1 for failed in noticed):
        for test in sorted({test for failed in noticed for test in failed}):
            alone = sum(failed == [test] for failed in noticed)
            print(f"{sum(test in failed for failed in noticed):4} {alone:4} alone  {test}")


def main():
    parser = argparse.ArgumentParser(prog="scripts/mutate")
    parser.add_argument("copy", type=pathlib.Path, nargs="?")
    parser.add_argument("--sum", type=pathlib.Path, nargs="+")
    parser.add_argument("--worker", type=int)
    parser.add_argument("--workers", type=int)
    parser.add_argument("--count", type=int, default=150)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--room", action="append", choices=ROOMS)
    parser.add_argument("--each", action="store_true")
    wanted = parser.parse_args()
    sum_up(wanted.sum) if wanted.sum else work(wanted)


if __name__ == "__main__":
    main()
