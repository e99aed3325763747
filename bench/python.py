"""How fast the module orvek23 is, beside a C++ loop that computes the same (bench/python_loop.cpp).

    cmake --preset release -DORVEK23_PYTHON=ON -DORVEK23_BENCHMARKS=ON
    cmake --build --preset release
    PYTHONPATH=build/release/python /usr/bin/python3 bench/python.py build/release/bin/orvek23_python_loop

Rates on one thread are of processor time, best of several runs that take turns; those of threads and
workers are of the clock and mean something on an idle machine only.
"""

import os
import subprocess
import sys
import tempfile
import time
import timeit

import numpy as np

import orvek23

SAMPLES = 100_000
WANTS = {"com, torque": ("com", "torque"), "com, torque, zmp": ("com", "torque", "zmp")}


def long_walk(path):
    """The walk, over and over, with times that go on."""
    header, *rows = open(orvek23.WALK).read().split("\n")[:801]
    rest = [row.split(",", 1)[1] for row in rows]
    with open(path, "w") as file:
        file.write(header + "\n")
        for k in range(SAMPLES):
            file.write(f"{k / 100:.2f},{rest[k % len(rest)]}\n")


def rate(call, clock, repeat=5):
    """Samples a second of the best run."""
    best = np.inf
    for _ in range(repeat):
        begin = clock()
        call()
        best = min(best, clock() - begin)
    return SAMPLES / best


def report(what, value, unit):
    print(f"| {what} | {value} | {unit} |", flush=True)


def clusters(folder, path):
    import distributed

    for name, suffix in (("CSV", ".csv"), (".npz", ".npz")):
        logs = [os.path.join(folder, f"log{k}{suffix}") for k in range(4)]
        motion = orvek23.load(path)
        for log in logs:
            os.link(path, log) if suffix == ".csv" else motion.save(log)
        for workers in (1, 2):
            with distributed.LocalCluster(
                n_workers=workers, threads_per_worker=1, processes=True, dashboard_address=None
            ) as cluster, distributed.Client(cluster) as client:
                client.run(lambda: __import__("orvek23"))
                begin = time.perf_counter()
                out = os.path.join(folder, f"out{workers}{suffix}")
                orvek23.evaluate_files(logs, "torque", out, client=client, format="npz")
                seconds = time.perf_counter() - begin
            report(f"evaluate_files, {name} in, {workers} worker(s)", f"{4 * SAMPLES / seconds:,.0f}", "samples/s")


def main(loop):
    print("| What | Measured | |\n|---|---:|---|")
    start = [sys.executable, "-c", "import time; t = time.perf_counter(); import orvek23; print(time.perf_counter() - t)"]
    seconds = min(float(subprocess.check_output(start)) for _ in range(7))
    report("import", f"{1000 * seconds:.0f}", "ms")
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "walk.csv")
        long_walk(path)
        report("load, CSV", f"{rate(lambda: orvek23.load(path), time.process_time):,.0f}", "samples/s a core")
        motion = orvek23.load(path)
        motion.save(path + ".npz")
        report("load, .npz", f"{rate(lambda: orvek23.load(path + '.npz'), time.process_time):,.0f}", "samples/s a core")
        forward = 0.0
        for name, want in WANTS.items():
            ours = theirs = 0.0
            for _ in range(3):
                ours = max(ours, rate(lambda: orvek23.evaluate(motion, want, threads=1), time.process_time, 3))
                line = subprocess.check_output([loop, orvek23.default_plugin(), path, ",".join(want)])
                theirs, forward = max(theirs, float(line.split()[0])), float(line.split()[1])
            by = orvek23.evaluate(motion[:20], want).computed_by
            report(f"evaluate: {name} ({by})", f"{ours:,.0f}", f"samples/s a core, {ours / theirs:.2f} of the C++ loop's")
            walls = [rate(lambda: orvek23.evaluate(motion, want, threads=n), time.perf_counter) for n in (1, 2)]
            report(f"... on two threads, {os.cpu_count()} processors", f"{walls[1] / walls[0]:.2f}", "of one")
        r = orvek23.evaluate(motion, WANTS["com, torque"])
        report("to_csv", f"{rate(lambda: r.to_csv(path + '.out'), time.process_time, 2):,.0f}", "samples/s a core")
        robot = orvek23.Robot()
        call = min(timeit.repeat(robot.forward, number=20000, repeat=20, timer=time.process_time)) / 20000
        report("forward()", f"{1e9 * call:.0f}", f"ns, the plug-in's own {forward:.0f}")
        clusters(folder, path)


if __name__ == "__main__":
    main(sys.argv[1])
