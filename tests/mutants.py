#!/usr/bin/env python3
"""Plants small faults in a copy of the sources, one at a time, and counts those that the tests find.

The faults follow from the sources: each kind is a few patterns, and the ids of all places are put in
an order by their hashes, so that a change elsewhere in the sources leaves the choice as it is. The
test of the pinned hash is not run. docs/mutants.md says of faults that no test can find why.
"""

import argparse
import hashlib
import os
import random
import re
import resource
import shutil
import subprocess
import sys
import time
from collections import deque
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

# What the last full run found, kept for whoever draws a sample: id, verdict, by what.
FOUND = ROOT / "tests/mutants.tsv"

# Folder: (how many faults, files). Of motion/, what reads a file and what makes rates.
QUOTAS = {
    "spatial": (45, "spatial/*.hpp"),
    "model": (20, "model/*.hpp"),
    "algorithms": (30, "algorithms/*.hpp"),
    "host": (40, "host/adapter*.hpp host/kt_math_conversions.hpp host/lane_dynamics.hpp "
                 "host/plain_dynamics.hpp"),
    "ktmath": (18, "ktmath/ktmath.cpp"),
    "lanes": (55, "lanes/*.hpp"),
    "motion": (34, "motion/csv_fields.cpp motion/csv_reader.cpp motion/motion_columns.cpp "
                   "motion/motion_file.cpp motion/rates.cpp"),
}
# Faults that once slipped through: file, text, text put in its place.
REMEMBERED = [
    ("host/adapter_kinematics.hpp", "q_[3], q_[4], q_[5]));", "q_[3], -q_[4], q_[5]));"),
    ("host/adapter_kinematics.hpp", "q_[3], q_[4], q_[5]));", "q_[3], q_[3], q_[5]));"),
]

# (kind, pattern, replacements); group 1 is what is replaced.
NAMES = ["x() y()", "y() z()", "z() x()", "yx() zx()", "xx() yy()", "w() v()", "n() f()", "m() n()",
         "apply applyInv", "cos sin", "q_ dq_", "ddq_ dq_", "poses_ posesInRoot_", "low high",
         "high low", "min max", "max min", "column row", "c_ s_", "s_ c_", "roll pitch", "E1 E2",
         "r1 r2", "ky kz", "kx ky", "c3 s3", "s4 c4", "c5 s5", "cb sb", "ca sa", "cg sg", "sa ca",
         "alpha gamma", "parent id", "before after", "previous next", "rows() cols()", "a b", "b a"]
PATTERNS = [
    ("sign", r"[\w\])}] ([+-]) [\w({]", lambda s: "-" if s == "+" else "+"),
    ("sign", r" ([+-])= ", lambda s: "-" if s == "+" else "+"),
    ("sign", r"[({,=] ?(-)[\w(]", lambda s: ""),
    ("index", r"[\[(<, ](\d)[\]),>;]", lambda s: str(int(s) + 1) if s == "0" else str(int(s) - 1)),
    ("constant", r"[^\w.]((?:\d+\.\d*|\d+(?=e))(?:e-?\d+)?f?)\b",
     lambda s: "1.01f * " + s if s.endswith("f") else "1.01 * " + s),
    ("constant", r"[\w\]] [*+-] (\d+)\b(?![.\w])", lambda s: str(int(s) + 1)),
    ("term", r"[\w\])}]( [+-] [\w:]+(?:\.\w+)*(?:\([^()]*\))?(?:\[[^\[\]]*\])?)(?= ?[,;)}+-])",
     lambda s: ""),
    ("term", r"[\w\])}]( \* [\w:]+(?:\.\w+)*(?:\([^()]*\))?(?:\[[^\[\]]*\])?)(?= ?[,;)}+-])",
     lambda s: ""),
    ("condition", r" (==|!=) ", lambda s: "!=" if s == "==" else "=="),
    ("condition", r"\w (<|>|<=|>=) \w", lambda s: s[0] if s.endswith("=") else s + "="),
    ("condition", r" (&&|\|\|) ", lambda s: "||" if s == "&&" else "&&"),
    ("condition", r"\bif \((?=\w)(.*)\) (?:\{|return|continue|break|throw)",
     lambda s: "!(" + s + ")"),
    ("operand", r"[\w\]](?:<[^<>]*>)?\((\w+(?:\.\w+\(\))?, \w+(?:\.\w+\(\))?)\)",
     lambda s: ", ".join(reversed(s.split(", ")))),
    ("operand", r"([\w.()]+ - [\w.()]+)(?= ?[,;)])", lambda s: " - ".join(reversed(s.split(" - ")))),
    ("write", r"^ +((?!return|using|const|auto|static|throw|template|typename|friend|virtual|inline|"
              r"break|continue|if|for|while|else|public|private|Names |Columns |float |double |std::\w+ |"
              r"S |Vector |unsigned |bool |int )[\w:][\w.>()\[\]:* +-]*(?: [-+*|]?= .*|<< .*|\(.*\)));$",
     lambda s: ""),
] + [("operand", r"(?<![\w.])(?:\w+\.)?\b(%s)(?!\w)" % re.escape(a), lambda s, b=b: b)
     for a, b in (pair.split() for pair in NAMES)]


class Fault:
    def __init__(self, path, line, column, old, new, kind, text):
        self.path, self.line, self.column, self.old, self.new = path, line, column, old, new
        changed = text[:column] + new + text[column + len(old):]
        self.folder, self.kind = path.split("/")[0], kind
        name = hashlib.sha256(f"{path}\n{text.strip()}\n{column}\n{changed.strip()}".encode())
        self.id = name.hexdigest()[:8]
        self.shown = f"{text.strip()} -> {changed.strip()}"

    def planted(self, source):
        lines = source.split("\n")
        text = lines[self.line]
        end = self.column + len(self.old)
        lines[self.line] = text[:self.column] + self.new + text[end:]
        return "\n".join(lines)


def code_lines(source):
    """The lines with strings and comments blanked; None where no fault is planted."""
    depth = 0  # in a static_assert that goes over lines
    for line in source.split("\n"):
        code = re.sub(r'"(?:\\.|[^"\\])*"', lambda m: " " * len(m.group()), line)
        code = re.sub(r"//.*", lambda m: " " * len(m.group()), code)
        if "static_assert" in code or depth > 0:
            depth += code.count("(") - code.count(")")
            yield None
        elif re.match(r"\s*(#|template|namespace|using |struct |class |friend |public|private|$)", code):
            yield None
        else:
            yield code


def faults_of(path):
    source = (ROOT / path).read_text()
    texts = source.split("\n")
    seen = set()
    for number, code in enumerate(code_lines(source)):
        for kind, pattern, change in PATTERNS if code else []:
            for match in re.finditer(pattern, code):
                old = match.group(1)
                text = texts[number]
                if text[match.start(1):match.end(1)] != old and kind != "write":
                    continue
                old = text[match.start(1):match.end(1)]
                if kind != "write" and old.count("(") != old.count(")"):
                    continue
                if old in ("a", "b") and "&" in code:  # names of parameters
                    continue
                fault = Fault(path, number, match.start(1), old, change(old), kind, text)
                if fault.new != old and fault.id not in seen:
                    seen.add(fault.id)
                    yield fault


def remembered():
    for path, old, new in REMEMBERED:
        for number, text in enumerate((ROOT / path).read_text().split("\n")):
            if old in text:
                yield Fault(path, number, text.index(old), old, new, "remembered", text)


def candidates(folder):
    """In the order in which they are tried, no two of one line beside each other."""
    found = []
    for pattern in QUOTAS[folder][1].split():
        for path in sorted(ROOT.glob(pattern)):
            found += faults_of(str(path.relative_to(ROOT)))
    found.sort(key=lambda f: hashlib.sha256(b"23" + f.id.encode()).digest())
    # Lines before second faults of a line; the table of bodies would else be most of model/.
    count, keyed = {}, []
    for fault in found:
        place = (fault.path, fault.line)
        if fault.path.endswith("_data.hpp"):
            place = fault.path
        count[place] = count.get(place, 0) + 1
        keyed.append((count[place] // (4 if place == fault.path else 1), fault))
    keyed.sort(key=lambda pair: pair[0])
    first = [f for f in remembered() if f.folder == folder]
    return first + [fault for _, fault in keyed if fault.id not in {f.id for f in first}]


def explained():
    """Of docs/mutants.md: id to the reason why nothing can find the fault."""
    rows = re.findall(r"^\| `(\w{8})` \| (.*) \|$", (ROOT / "docs/mutants.md").read_text(), re.M)
    return dict(rows)


def found_before():
    return FOUND.read_text().splitlines() if FOUND.exists() else []


class Workshop:
    """The copy of the sources, and its build."""

    def __init__(self, folder):
        self.tree = folder / "tree"
        self.tree.mkdir(parents=True, exist_ok=True)
        names = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                               cwd=ROOT, capture_output=True, check=True).stdout.decode().split("\0")
        for name in filter(None, names):
            here, there = ROOT / name, self.tree / name
            if not here.is_file():
                continue
            data = here.read_bytes()
            if not there.exists() or there.read_bytes() != data:
                there.parent.mkdir(parents=True, exist_ok=True)
                there.write_bytes(data)
                shutil.copymode(here, there)
        self.isa = None
        self.sound = set()  # programs of tests that find nothing where no fault is planted

    def configure(self, isa):
        # For the plug-in -O1: less takes longer to run, more takes longer to compile.
        flags = [] if isa == "auto" else ["-DCMAKE_CXX_FLAGS_RELEASE=-O1", f"-DORVEK23_ISA={isa}",
                                           "-DORVEK23_WARNINGS_AS_ERRORS=OFF", "-DORVEK23_BATCH=OFF",
                                           "-DORVEK23_PYTHON=OFF", "-DORVEK23_REPORT=OFF"]
        if isa != self.isa:
            self.build = self.tree / "build" / ("ci" if isa == "auto" else "faults")
            self.run(["cmake", "--preset", "ci", "-B", self.build, *flags], check=True)
            self.isa = isa
            self.sound.clear()

    def run(self, command, timeout=1800, check=False, limit=None):
        def limits():
            os.setpgid(0, 0)
            if limit:
                resource.setrlimit(resource.RLIMIT_AS, (limit, limit))
        with subprocess.Popen([str(c) for c in command], cwd=self.tree, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, errors="replace",
                              preexec_fn=limits) as process:
            try:
                output, _ = process.communicate(timeout=timeout)
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, 9)
                process.communicate()
                return None, "time"
        if check and process.returncode != 0:
            sys.exit(output)
        return process.returncode, output

    def make(self, *targets, jobs):
        return self.run(["ninja", "-C", self.build, "-j", jobs, *targets])

    def finds(self, program, arguments=()):
        """What of a test program fails, or nothing."""
        code, output = self.run([self.build / "bin" / program, "--gtest_brief=1", "--gtest_fail_fast",
                                 *arguments], timeout=90, limit=16 << 30)
        if code is None:
            return f"{program}: never ends"
        if code != 0:
            failed = re.search(r"\[  FAILED  \] ([\w/.]+)", output)
            return f"{program}: {failed.group(1) if failed else f'exit {code}'}"
        return None

    def require_sound(self, program, jobs):
        """A test that fails anyhow would find every fault."""
        if program not in self.sound:
            code, output = self.make(program, jobs=jobs)
            found = output if code != 0 else self.finds(program)
            if found:
                sys.exit(f"Without a fault, as {self.isa}: {found}")
            self.sound.add(program)


# What is built and run, in this order until something fails: the cheap first.
STAGES = {
    "motion": [["replay_tests"]],
    "other": [["plugin_tests"], ["internal_tests"],
              ["quantities_tests", "replay_tests", "threads_tests"]],
}


def isa_of(fault):
    """What is compiled into the plug-in; internal_tests run every form, whatever is chosen here."""
    if fault.folder == "motion":
        return "auto"
    plain = (fault.folder in ("algorithms", "model", "spatial") or
             fault.path in ("host/plain_dynamics.hpp", "host/kt_math_conversions.hpp"))
    return "plain" if plain else "baseline"


def verdict(fault, shop, jobs, passed, deepest):
    """(verdict, by what, or how many steps it has passed), from step `passed` to step `deepest`"""
    there = shop.tree / fault.path
    source = there.read_text()
    try:
        stages = STAGES["motion" if fault.folder == "motion" else "other"]
        for depth, programs in list(enumerate(stages))[passed:deepest]:
            for program in programs:
                there.write_text(source)
                shop.require_sound(program, jobs)
                there.write_text(fault.planted(source))
                code, output = shop.make(program, jobs=jobs)
                if code != 0:
                    # What compiles in the plug-in and not elsewhere is found by whoever builds.
                    return ("broken", "") if depth == 0 else ("caught", f"{program}: compiler")
                found = shop.finds(program)
                if found:
                    return "caught", found
        return ("survived", "") if deepest >= len(stages) else ("open", str(deepest))
    finally:
        there.write_text(source)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=Path, default=ROOT / "build/mutants")
    parser.add_argument("--jobs", type=int, default=1, help="of each worker's compiler")
    parser.add_argument("--workers", type=int, default=os.cpu_count(), help="each with a copy of its own")
    parser.add_argument("--sample", type=int, help="so many at random, of those that can be found")
    parser.add_argument("--seed", type=int, default=int(time.time()) // 86400)
    parser.add_argument("--folders", nargs="*", default=list(QUOTAS))
    parser.add_argument("--stages", type=int, default=9, help="stop after so many steps of tests")
    parser.add_argument("--only", nargs="*", help="these ids, whatever was found before")
    parser.add_argument("--fresh", action="store_true", help="forget what was found before")
    parser.add_argument("--list", action="store_true")
    arguments = parser.parse_args()

    everything = {folder: candidates(folder) for folder in arguments.folders}
    if arguments.list:
        for folder, faults in everything.items():
            for fault in faults[:QUOTAS[folder][0]]:
                print(fault.id, fault.kind, fault.path, fault.shown, sep="\t")
        print({folder: len(faults) for folder, faults in everything.items()}, file=sys.stderr)
        return 0

    reasons = explained()
    arguments.build.mkdir(parents=True, exist_ok=True)
    record = arguments.build / "results.tsv"
    if arguments.fresh:
        record.unlink(missing_ok=True)
    results = {}
    if record.exists():
        for row in record.read_text().splitlines():
            name, found, by = row.split("\t")[:3]
            results[name] = found, by

    def wanted():
        """Faults without a verdict, by what is compiled for them; broken ones have been replaced."""
        todo = []
        for folder, faults in everything.items():
            faults = [f for f in faults if results.get(f.id, ("",))[0] != "broken"]
            todo += faults[:QUOTAS[folder][0]]
        return todo

    if arguments.only:
        for faults in everything.values():
            faults[:] = [f for f in faults if f.id in arguments.only]
        for name in arguments.only:
            results.pop(name, None)
    if arguments.sample:
        results = {}
        rng = random.Random(arguments.seed)
        # What tests of the interface found: the others take minutes to compile.
        known = dict(row.split("\t")[::2] for row in found_before())
        pool = [f for f in wanted() if known.get(f.id, "").startswith("plugin_tests")]
        if pool:
            arguments.stages = 1
        else:
            pool = [f for f in wanted() if f.id not in reasons]
        chosen = {f.id for f in rng.sample(pool, min(len(pool), arguments.sample))}
        for faults in everything.values():
            faults[:] = [f for f in faults if f.id in chosen]
        print(f"seed {arguments.seed}")

    def work(shop, take):
        while True:
            try:
                fault = take()
            except IndexError:
                return
            start = time.monotonic()
            shop.configure(isa_of(fault))
            before, by = results.get(fault.id, ("", ""))
            found, by = verdict(fault, shop, arguments.jobs, int(by or 1) if before == "open" else 0,
                                arguments.stages)
            results[fault.id] = found, by
            print(f"{fault.id} {found:8} {fault.path}:{fault.line + 1}: {fault.shown}  [{by}] "
                  f"{time.monotonic() - start:.0f} s", flush=True)
            if not arguments.sample:
                with record.open("a") as file:
                    file.write("\t".join([fault.id, found, by, fault.kind, fault.path, fault.shown]) + "\n")

    shops = [Workshop(arguments.build / str(k) if k else arguments.build)
             for k in range(arguments.workers)]
    with ThreadPoolExecutor(arguments.workers) as pool:
        while True:
            todo = [f for f in wanted() if f.id not in results or
                    (results[f.id][0] == "open" and f.id not in reasons and arguments.stages > 1)]
            if not todo:
                break
            queue = deque(sorted(todo, key=isa_of))
            # From both ends: few workers change what is compiled into the plug-in.
            ends = [(queue.popleft, queue.pop)[k % 2] for k in range(len(shops))]
            for done in [pool.submit(work, shop, take) for shop, take in zip(shops, ends)]:
                done.result()

    if not arguments.sample:
        now = {f.id: "\t".join((f.id, *results[f.id])) for f in wanted() if f.id in results}
        before = {row.split("\t")[0]: row for row in found_before()}
        everywhere = {f.id for folder in QUOTAS for f in candidates(folder)}
        rows = {name: row for name, row in (before | now).items() if name in everywhere}
        FOUND.write_text("".join(row + "\n" for _, row in sorted(rows.items())))

    print(f"\n{'':12}planted  caught  equivalent  survived")
    totals = [0, 0, 0, 0]
    for folder in arguments.folders:
        mine = [f for f in wanted() if f.folder == folder and f.id in results]
        caught = [f for f in mine if results[f.id][0] == "caught"]
        left = [f for f in mine if results[f.id][0] != "caught"]
        equivalent = [f for f in left if f.id in reasons and reasons[f.id].startswith("equivalent")]
        row = [len(mine), len(caught), len(equivalent), len(left) - len(equivalent)]
        totals = [a + b for a, b in zip(totals, row)]
        print(f"{folder:12}{row[0]:7}{row[1]:8}{row[2]:12}{row[3]:10}")
        for fault in left:
            if fault not in equivalent:
                print(f"  {fault.id} {fault.path}:{fault.line + 1}: {fault.shown}")
    share = 100 * totals[1] / max(1, totals[0] - totals[2])
    print(f"{'all':12}{totals[0]:7}{totals[1]:8}{totals[2]:12}{totals[3]:10}   {share:.1f} % caught")
    return 0 if share >= 98 else 1


if __name__ == "__main__":
    sys.exit(main())
