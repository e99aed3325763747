#!/usr/bin/env python3
"""Measures a plug-in and prints the page docs/performance.md: times and ratios from orvek23_bench,
instructions from callgrind, sizes from `size`."""

import argparse
import json
import os
import re
import statistics
import subprocess
import sys
import tempfile

REPETITIONS = 9
SHIPPED = "shipped"  # label of the plug-in that everything else stands beside

# What the measured figures are held to.
MOST_INSTRUCTIONS = {"FKx": 2300, "FKr": 890, "ID": 3500, "MM": 3900, "PJ": 3700, "PC": 500}
LEAST_RATIO = {"MuJoCo/FK": 8.5, "MuJoCo/ID": 10, "MuJoCo/FKx+MM": 6.2}
LEAST_THREADS_RATIO = 1.95
LEAST_BATCH_RATIO = {"all": 2.7, "small": 3.3}
LEAST_BATCH_THREADS_RATIO = 1.9

# The pass of an operation, and what moves values between lanes.
PASSES = {"FKx": "root_kinematics", "FKr": "world_poses", "ID": "inverse_dynamics",
          "MM": "mass_matrix", "PJ": "partial_jacobian", "PC": "partial_first_moment"}
SHUFFLES = re.compile(r"v?(shufp|unpck|p?insert|p?extract|pshuf|punpck|perm|palignr|mov[hl]+p[hs]|"
                      r"movddup|movs[hl]dup|broadcast\w+ +%)")


def run(*command):
    return subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE).stdout


class Times:
    """What orvek23_bench says: the rows of all repetitions, by name, in its order."""

    def __init__(self, program, plugins):
        others = {label: path for label, path in plugins.items() if label != SHIPPED}
        beside = [argument for other in others.items() for argument in ("--beside", *other)]
        with tempfile.NamedTemporaryFile(suffix=".json") as out:
            subprocess.run([program, "--plugin", plugins[SHIPPED], *beside,
                            f"--benchmark_repetitions={REPETITIONS}", "--benchmark_min_time=0.05",
                            "--benchmark_enable_random_interleaving=true",
                            "--benchmark_display_aggregates_only=true",
                            "--benchmark_out=" + out.name], check=True, stdout=sys.stderr)
            result = json.load(out)
        self.context = result["context"]
        self.rows = {}
        for row in sorted(result["benchmarks"], key=lambda row: row["family_index"]):
            if row["run_type"] == "iteration":
                own_clock = re.search("/(manual|real)_time", row["run_name"])
                row["ns"] = row["real_time" if own_clock else "cpu_time"]
                name = re.sub("/(manual_time|real_time|iterations:1)", "", row["run_name"])
                self.rows.setdefault(name, []).append(row)

    def names(self, pattern):
        return [name for name in self.rows if re.fullmatch(pattern, name)]

    def calls(self, name):
        return self.rows[name][0]["label"]

    def ns(self, name):
        return min(row["ns"] for row in self.rows[name])

    def ratio(self, name):
        return statistics.median(row["ratio"] for row in self.rows[name])

    def rate(self, name):
        return max(row["items_per_second"] for row in self.rows[name])


def instructions(program, plugin):
    """Instructions of a call, by operation."""
    with tempfile.TemporaryDirectory() as folder:
        calls = int(run("valgrind", "--quiet", "--tool=callgrind", "--collect-atstart=no",
                        f"--callgrind-out-file={folder}/out", program, plugin))
        totals = {}
        for dump in os.listdir(folder):
            with open(os.path.join(folder, dump), encoding="ascii") as file:
                text = file.read()
            operation = re.search(r"^desc: Trigger: Client Request: (.*)$", text, re.M)
            if operation:
                totals[operation[1]] = int(re.search(r"^totals: (\d+)$", text, re.M)[1])
    counting = totals.pop("nothing")
    return {name: (total - counting) / calls for name, total in totals.items()}


def shuffles(plugin, region):
    """Opcodes that move values between lanes, in the code of each operation's pass."""
    code = run("objdump", "--disassemble", "--demangle", "--no-show-raw-insn", plugin)
    found = {}
    for function in re.split(r"\n\n", code):
        head, _, body = function.partition("\n")
        for operation, name in PASSES.items():
            if f"<void {region}::lanes::{name}<" in head:
                opcodes = re.findall(r"^ +[0-9a-f]+:\t(.*)$", body, re.M)
                found[operation] = sum(bool(SHUFFLES.match(opcode)) for opcode in opcodes)
    return found


def compile_seconds(build):
    """CPU time to compile each source of the plug-in."""
    with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as file:
        commands = json.load(file)
    for entry in commands:
        if "/orvek23_objects.dir/" in entry["command"]:
            before = os.times()
            subprocess.run(entry["command"], shell=True, check=True, cwd=entry["directory"])
            after = os.times()
            yield (os.path.relpath(entry["file"], entry["directory"] + "/../../.."),
                   after.children_user - before.children_user)


class Batches:
    """What orvek23_bench_batch says: nanoseconds a state by kind/results/states, the best of some."""

    def __init__(self, program):
        result = json.loads(run(program, "--benchmark_format=json", "--benchmark_repetitions=5",
                                "--benchmark_min_time=0.1",
                                "--benchmark_enable_random_interleaving=true"))
        self.ns, self.bytes = {}, {}
        for row in result["benchmarks"]:
            if row["run_type"] == "iteration":
                name = row["run_name"].replace("/real_time", "")
                self.ns[name] = min(row["ns"], self.ns.get(name, float("inf")))
                self.bytes[name] = row["bytes"]


def batches_table(batches):
    rows = []
    for name in batches.ns:
        if not name.startswith("batch/"):
            continue
        _, results, states = name.split("/")
        loop, one, two = (batches.ns[f"{kind}/{results}/{states}"]
                          for kind in ("loop", "batch", "batch-2"))
        many = int(states) > 1000
        rows.append([f"{results}, {states}", f"{batches.bytes[name]:.0f}", f"{loop:.0f}", f"{one:.0f}",
                     held_to(loop / one, LEAST_BATCH_RATIO.get(results) if many else None, False,
                             "{:.2f}"),
                     held_to(one / two, LEAST_BATCH_THREADS_RATIO if many else None, False,
                             "{:.2f}"),
                     f"{batches.bytes[name] / one:.1f}"])
    return table(["Results, states", "bytes a state", "loop, ns a state", "batch, ns a state",
                  "ratio", "two threads, ratio", "GB/s"], rows)


def held_to(value, limit, at_most, form):
    """A figure with its limit, in bold where it misses it."""
    if limit is None:
        return form.format(value)
    missed = value > limit if at_most else value < limit
    sign = "≤" if at_most else "≥"
    text = f"{form.format(value)} ({sign} {limit})"
    return f"**{text}**" if missed else text


def table(heads, rows):
    lines = ["| " + " | ".join(map(str, row)) + " |" for row in [heads, *rows]]
    lines.insert(1, "|---" + "|---:" * (len(heads) - 1) + "|")
    return "\n".join(lines)


def operations_table(times, counts, moved):
    others = [label for label in counts if label != SHIPPED]

    def row(name):
        cold = f"cold/{name}"
        yield f"{name}: {times.calls(name)}"
        yield f"{times.ns(name):.3g}" if times.ns(name) < 10 else f"{times.ns(name):.0f}"
        yield f"{times.ns(cold) / 1000:.1f} us" if cold in times.rows else ""
        yield held_to(counts[SHIPPED][name], MOST_INSTRUCTIONS.get(name), True, "{:.0f}")
        yield moved.get(name, "")
        for label in others:
            yield f"{times.ratio(f'{label}/{name}'):.2f}"
            yield f"{counts[label][name]:.0f}"

    heads = ["Operation", "ns", "cold caches", "instructions", "of them shuffles"]
    for label in others:
        heads += [f"{label}: time, ratio", f"{label}: instructions"]
    return table(heads, [list(row(name)) for name in times.names("[^/]*")])


def peers_table(times):
    return table(["Library, quantity", "ns", "ratio to ours", "What it calls"],
                 [[name, f"{times.ns(name):.0f}",
                   held_to(times.ratio(name), LEAST_RATIO.get(name), False, "{:.1f}"),
                   times.calls(name)] for name in times.names("(MuJoCo|KDL)/.*")])


def sizes_table(plugins):
    rows = []
    for label, path in plugins.items():
        text, data, bss = run("size", path).splitlines()[1].split()[:3]
        rows.append([label, text, data, bss, os.path.getsize(path)])
    return table(["Plug-in", "text", "data", "bss", "file"], rows)


def machine():
    cpu = dict(line.split(":", 1) for line in run("env", "LC_ALL=C", "lscpu").splitlines())
    avx2 = "with" if "avx2" in cpu["Flags"].split() else "without"
    caches = ", ".join(f"{name[:-6]} {cpu[name].strip()}" for name in cpu if name.endswith(" cache"))
    return f"{cpu['Model name'].strip()}, {cpu['CPU(s)'].strip()} CPUs {avx2} AVX2; {caches}"


def threads_table(times):
    rows = []
    for name in times.names("threads/.*/threads:1"):
        one, two = times.rate(name), times.rate(name[:-1] + "2")
        _, operation, moved, _ = name.split("/")
        rows.append([f"{operation}, {moved}", f"{one:.0f}", f"{two:.0f}",
                     held_to(two / one, LEAST_THREADS_RATIO, False, "{:.2f}")])
    return table(["Operation, bytes moved", "1 thread, a second", "2 threads, a second", "ratio"],
                 rows)


def page(times, counts, moved, batches, seconds, plugins):
    c = times.context
    peers = "; ".join(f"{name} {c[name]}" for name in ("MuJoCo", "KDL") if name in c)
    return f"""# Performance

All of this page is written by

    scripts/performance.sh

which sets up the machine, builds, measures and counts. Figures in brackets are what we hold ourselves
to; a figure that misses its limit is in bold.

| | |
|---|---|
| Machine | {machine()} |
| Compiler | {c["compiler"]} |
| Counted with | {run("valgrind", "--version").strip()} |
| Compared with | {peers} |

## How it is measured

- Through the abstract interface of the loaded plug-in, one thread, on 1,000 random states in turn.
- Each pass over the states is made twice, with the operation and without it; the time is the
  difference. The setters' cost is thus left out, but for the rows `cycle` and `call`, which have none.
- Thread CPU time, the best of {REPETITIONS} repetitions in random order. A ratio comes from passes of both sides
  in turn, in one process: the median of the repetitions.
- Cold caches: one call after a walk through 64 MB, the median of 25, wall time.
- Instructions: counted by callgrind over the same 1,000 states, so they are the same at every run.
- Shuffles: opcodes that move values between lanes, counted in the disassembly of each pass.
- The passes are long straight lines of code: a time also depends on how the library's pages lie in the
  caches. Fresh copies of one file differed by up to a quarter in a single row.

What limits a pass is the unit that shuffles lanes, then the number of instructions: in the version
before this one, 12 percent more instructions that did nothing cost at most 1 percent of time, 12 percent
more shuffles 12 to 21 percent. So what one pass hands to the next stays on lanes
([docs/lanes.md](lanes.md)).

## Operations

{operations_table(times, counts, moved)}

The shipped plug-in chooses its code path by the CPU when it is loaded. A ratio above 1 says that the
other build takes longer. MM, PJ and PC are the operation alone, after its kinematics; PJ and PC leave
out bodies 1 to 22 in turn.

## Beside general-purpose libraries

The same robot from the same table, the same states; the results are compared before the times. FK:
poses of all bodies, Jacobian, centre of mass. ID: torques, on our side with 23 external wrenches.
FKx+MM: mass matrix with the kinematics it needs. The libraries compute in double precision. A fixed
base spares KDL the root's share of the work.

{peers_table(times)}

## Sine and cosine

| 25 angles, as in one position pass | ns |
|---|---:|
| the plug-in's | {times.ns("sincos/orvek23"):.0f} |
| the C library's, one call an angle | {times.ns("sincos/libm"):.0f} |
| ratio | {times.ns("sincos/libm") / times.ns("sincos/orvek23"):.1f} |

## Threads

An object for each thread, made in a row but for a gap that moves the second one's storage against
cache lines; wall time, setters included.

{threads_table(times)}

## Many states at once

`batch/` on one thread beside the plug-in in a loop that leaves the same arrays, setters and copying
included. *all*: forward kinematics, inverse dynamics and mass matrix into poses, centre of mass, torques
and the whole matrix; *packed*: the lower triangle of it; *small*: forward kinematics and inverse
dynamics into centre of mass and torques. Bytes are those of a state's rows, in and out; what 10,000
states leave goes to memory.

{batches_table(batches)}

## Sizes

An object is a heap block of {c["object_bytes"]} bytes; with its matrices it takes {c["heap_bytes"]}.
Sections of the library, bytes:

{sizes_table(plugins)}

Time to compile the plug-in, one core: {", ".join(f"`{source}` {time:.1f} s" for source, time in seconds)}.
"""


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--programs", required=True, help="folder of the benchmark programs")
    parser.add_argument("--plugin", required=True, help="the plug-in as it is shipped")
    parser.add_argument("--beside", action="append", nargs=2, default=[],
                        metavar=("LABEL", "PATH"), help="another build of it, such as baseline PATH")
    parser.add_argument("--build", required=True, help="build folder of the plug-in as shipped")
    arguments = parser.parse_args()
    plugins = {SHIPPED: arguments.plugin, **dict(arguments.beside)}
    counter = os.path.join(arguments.programs, "orvek23_count_calls")
    counts = {label: instructions(counter, path) for label, path in plugins.items()}
    times = Times(os.path.join(arguments.programs, "orvek23_bench"), plugins)
    region = "metapod_avx2" if "avx2" in run("lscpu") else "metapod"
    moved = shuffles(arguments.plugin, region)
    batches = Batches(os.path.join(arguments.programs, "orvek23_bench_batch"))
    seconds = list(compile_seconds(arguments.build))
    print(page(times, counts, moved, batches, seconds, plugins), end="")


if __name__ == "__main__":
    main()
