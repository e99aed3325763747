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
MOST_INSTRUCTIONS = {"FKx": 3000, "FKr": 1000, "ID": 5400, "MM": 6000, "PJ": 9000, "PC": 560}
LEAST_RATIO = {"MuJoCo/FK": 7, "MuJoCo/ID": 8, "MuJoCo/FKx+MM": 4.5}
MOST_BASELINE_RATIO = 1.4
LEAST_THREADS_RATIO = 1.9


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


def operations_table(times, counts):
    others = [label for label in counts if label != SHIPPED]

    def row(name):
        cold = f"cold/{name}"
        yield f"{name}: {times.calls(name)}"
        yield f"{times.ns(name):.3g}" if times.ns(name) < 10 else f"{times.ns(name):.0f}"
        yield f"{times.ns(cold) / 1000:.1f} us" if cold in times.rows else ""
        yield held_to(counts[SHIPPED][name], MOST_INSTRUCTIONS.get(name), True, "{:.0f}")
        for label in others:
            limited = label == "baseline" and name in MOST_INSTRUCTIONS
            limit = MOST_BASELINE_RATIO if limited else None
            yield held_to(times.ratio(f"{label}/{name}"), limit, True, "{:.2f}")
            yield f"{counts[label][name]:.0f}"

    heads = ["Operation", "ns", "cold caches", "instructions"]
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


def page(times, counts, plugins):
    c = times.context
    one, two = (times.rate(f"threads/cycle/threads:{n}") for n in (1, 2))
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
- The passes are long straight lines of code: a time also depends on how the library's pages lie in the
  caches. Fresh copies of one file differed by up to a quarter in a single row.

## Operations

{operations_table(times, counts)}

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

An object for each thread; wall time, setters included.

| | cycles a second |
|---|---:|
| 1 thread | {one:.0f} |
| 2 threads | {two:.0f} |
| ratio | {held_to(two / one, LEAST_THREADS_RATIO, False, "{:.2f}")} |

## Sizes

An object is a heap block of {c["object_bytes"]} bytes; with its matrices it takes {c["heap_bytes"]}.
Sections of the library, bytes:

{sizes_table(plugins)}
"""


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--programs", required=True, help="folder of the benchmark programs")
    parser.add_argument("--plugin", required=True, help="the plug-in as it is shipped")
    parser.add_argument("--beside", action="append", nargs=2, default=[],
                        metavar=("LABEL", "PATH"), help="another build of it, such as baseline PATH")
    arguments = parser.parse_args()
    plugins = {SHIPPED: arguments.plugin, **dict(arguments.beside)}
    counter = os.path.join(arguments.programs, "orvek23_count_calls")
    counts = {label: instructions(counter, path) for label, path in plugins.items()}
    times = Times(os.path.join(arguments.programs, "orvek23_bench"), plugins)
    print(page(times, counts, plugins), end="")


if __name__ == "__main__":
    main()
