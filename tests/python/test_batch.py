"""Whole motions: the replay's bytes, whatever the threads, the pieces and the form of the input."""

import os
import signal
import subprocess
import sys
import time

import numpy as np
import pytest
from conftest import SIGNALS, WALK, as_csv, replay
from hypothesis import given, settings
from hypothesis import strategies as st

import orvek23

PLAIN = ("com", "pose", "torque", "jacobian", "partial-com:LElbowRoll", "pose:Torso")


@pytest.mark.parametrize("threads", [1, 3])
def test_results_are_the_replays_byte_for_byte(walk, tmp_path, threads):
    want = replay(WALK, tmp_path / "want.csv", SIGNALS)
    orvek23.evaluate(walk, SIGNALS, threads=threads).to_csv(tmp_path / "got.csv")
    assert (tmp_path / "got.csv").read_bytes() == want


def test_a_motion_with_rates_wrenches_and_turns_too(turning, tmp_path):
    path = as_csv(turning, tmp_path / "turning.csv")
    motion = orvek23.load(path)
    for by, names in (("batch", ["com", "pose", "torque", "jacobian"]), ("plug-in", ["pose", "zmp", "root-wrench"])):
        want = replay(path, tmp_path / "want.csv", names, *("--bodies", "Torso,LElbowRoll"))
        wanted = sum((["pose:Torso", "pose:LElbowRoll"] if n == "pose" else [n] for n in names), [])
        r = orvek23.evaluate(motion, wanted, threads=2)
        r.to_csv(tmp_path / "got.csv")
        assert r.computed_by == by and (tmp_path / "got.csv").read_bytes() == want
    turns = (np.diff(np.sign(r["pose:Torso"][:, 3:]), axis=0) != 0).any(axis=0)
    assert turns.any()  # signs go on, or else there would be nothing to choose


@pytest.mark.parametrize("names", [PLAIN, ("torque", "pose", "com-velocity", "margin")])
def test_bits_do_not_depend_on_threads(turning, names):
    want = orvek23.evaluate(turning, names, threads=1)
    for threads in (2, 5):
        got = orvek23.evaluate(turning, names, threads=threads)
        assert all(np.array_equal(got[name], want[name], equal_nan=True) for name in names)


@settings(max_examples=15, deadline=None)
@given(st.integers(1, 2990), st.integers(1, 40))
def test_parts_of_a_motion_have_rates_of_their_own_ends(turning, begin, size):
    """A slice is a motion: what the C++ rates make of it is what they make of its arrays."""
    part = turning[begin : begin + size]
    again = orvek23.Motion(part.time, part.q, root=np.dstack((part.rotation, part.position)), dq=part.dq)
    assert np.array_equal(part.rates()[0], again.rates()[0]) and np.array_equal(part.rates()[1], again.rates()[1])
    assert np.isfinite(part.rates()[1]).all()


def test_arrays_columns_and_files_are_the_same_motion(walk, tmp_path):
    import pandas

    table = pandas.read_csv(WALK)
    names = table.columns
    rows = np.genfromtxt(WALK, delimiter=",", names=True, deletechars="", dtype=None)
    q = table[list(names[1:29])].to_numpy()
    wrenches = {"LAnkleRoll": table[list(names[29:35])], "RAnkleRoll": table[list(names[35:])]}
    walk.save(tmp_path / "walk.npz")
    want = orvek23.evaluate(walk, ("torque", "cop"))
    for motion in (table, {n: table[n] for n in names}, rows, tmp_path / "walk.npz",
                   orvek23.Motion(table["time"], q, wrenches=wrenches)):  # fmt: skip
        got = orvek23.evaluate(motion, ("torque", "cop"))
        assert np.array_equal(got.torque, want.torque) and np.array_equal(got.cop, want.cop, equal_nan=True)


def test_results_have_names(walk):
    r = orvek23.evaluate(walk, ["torque", "mass-matrix", "margin", "com-velocity"])
    table = r.to_dataframe()
    assert np.array_equal(table["torque.LKneePitch"], r["torque.LKneePitch"])
    assert table.index.name == "time" and len(table) == len(r) == 801 and list(r) == list(r.columns)
    assert np.array_equal(r["mass-matrix"], r.mass_matrix.transpose(0, 2, 1)) and r.margin.shape == (801,)
    with pytest.raises(KeyError, match="torque.LKneePitch"):
        r["torque.LKneePich"]
    with pytest.raises(AttributeError, match="com-velocity"):
        r.com


def bad_column(walk):
    return {"time": walk.time, **dict(zip(orvek23.Robot().joints, walk.q.T)), "LKneePich": walk.time}


BAD = [
    (lambda m, p: orvek23.evaluate(m, "torqe"), KeyError, 'did you mean "torque"'),
    (lambda m, p: orvek23.evaluate(m, ("com", "com")), ValueError, "twice"),
    (lambda m, p: orvek23.evaluate(m, ()), ValueError, "nothing"),
    (lambda m, p: orvek23.evaluate(m, "pose:LAnkel"), KeyError, "no body named"),
    (lambda m, p: orvek23.evaluate(m, "com").to_html(p), ValueError, "ends in .html"),
    (lambda m, p: orvek23.evaluate(m, "com").to_html(p.with_suffix(".html"), p), orvek23.InputError, 'column "time"'),
    (lambda m, p: orvek23.evaluate(m, threads=0), ValueError, "threads"),
    (lambda m, p: orvek23.load("no.csv"), orvek23.InputError, "no.csv: cannot be read: No such file"),
    (lambda m, p: orvek23.load(p), orvek23.InputError, 'line 3, column 9 (HeadPitch): "nan"'),
    (lambda m, p: orvek23.load(bad_column(m)), KeyError, 'did you mean "LKneePitch"'),
    (lambda m, p: orvek23.Motion(0.01, np.zeros((3, 27))), ValueError, "28 are needed"),
    (lambda m, p: orvek23.Motion([0, 1, 1], np.zeros((3, 28))), ValueError, "1 follows 1"),
    (lambda m, p: orvek23.Motion(0.01, np.full((3, 28), np.nan)), ValueError, "not finite"),
    (lambda m, p: orvek23.Motion(0.01, np.zeros((0, 28))), ValueError, "no row"),
    (lambda m, p: orvek23.Motion(0.01, np.zeros((3, 28)), wrenches={"LAnkleRol": np.zeros((3, 6))}), KeyError, "LAnkleRoll"),
    (lambda m, p: orvek23.Motion(0.01, np.zeros((3, 22)), root=np.zeros((3, 4, 4))), ValueError, "no rotation"),
]  # fmt: skip


@pytest.mark.parametrize("case", range(len(BAD)))
def test_bad_input_says_what_is_wrong(walk, tmp_path, case):
    lines = open(WALK).read().split("\n")
    fields = lines[2].split(",")
    fields[8] = "nan"
    (tmp_path / "bad.csv").write_text("\n".join([*lines[:2], ",".join(fields), *lines[3:]]))
    call, kind, text = BAD[case]
    with pytest.raises(kind) as fault:
        call(walk, tmp_path / "bad.csv")
    assert text in str(fault.value)


def test_what_is_not_finite_and_what_looks_like_degrees_is_told(tmp_path):
    q = np.zeros((5, 28))
    dq = np.full((5, 28), 1e30)
    with pytest.warns(UserWarning, match="not finite, first torque"):
        orvek23.evaluate(orvek23.Motion(0.01, q, dq=dq), "torque")
    q[:, 9] = 45
    with pytest.warns(UserWarning, match="degrees"):
        orvek23.load(as_csv(orvek23.Motion(0.01, q), tmp_path / "degrees.csv"))


def test_no_half_file_is_left(walk, tmp_path):
    r = orvek23.evaluate(walk, "com")
    r.columns["com"], r._tables["com"] = ("x",), np.zeros((3, 1), np.float32)
    with pytest.raises(ValueError, match="length"):
        r.to_csv(tmp_path / "half.csv")
    assert not list(tmp_path.iterdir())


def test_ctrl_c_ends_long_work_within_a_second():
    program = """
import numpy as np, orvek23
m = orvek23.Motion(0.01, np.zeros((300_000, 28)))
print("go", flush=True)
while True: orvek23.evaluate(m, ("torque", "mass-matrix"), threads=2)
"""
    with subprocess.Popen([sys.executable, "-c", program], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True) as run:
        run.stdout.readline()
        time.sleep(0.5)
        begin = time.monotonic()
        run.send_signal(signal.SIGINT)
        assert "KeyboardInterrupt" in run.communicate(timeout=30)[1]
        assert time.monotonic() - begin < float(os.environ.get("ORVEK23_PATIENCE", "1")) + 1  # ends the process, too


def test_where_no_thread_is_to_be_had_the_bits_are_the_same():
    program = """
import os, resource, orvek23
m = orvek23.load(orvek23.WALK)
def tables(threads):
    results = orvek23.evaluate(m, ("com", "torque", "zmp"), threads=threads)
    return [results[name].tobytes() for name in results]
want = tables(1)
if os.geteuid() == 0: os.setuid(65534)  # root has no limit
if not os.access(orvek23.default_plugin(), os.R_OK): raise SystemExit(77)
resource.setrlimit(resource.RLIMIT_NPROC, (0, 0))
assert tables(3) == want
"""
    code = subprocess.run([sys.executable, "-c", program]).returncode
    if code == 77:
        pytest.skip("in a folder that only root may enter")
    assert code == 0


def test_progress_goes_from_nothing_to_all(turning):
    shares = []
    orvek23.evaluate(turning, ("com", "mass-matrix"), progress=shares.append)
    assert shares == sorted(shares) and shares[-1] == 1
    with pytest.raises(ZeroDivisionError):
        orvek23.evaluate(turning, ("com", "mass-matrix"), progress=lambda share: 1 / 0)
    assert len(orvek23.evaluate(turning, "com")) == 3000


def test_a_page_is_the_replays_byte_for_byte(walk, turning, tmp_path):
    program = os.environ["ORVEK23_REPLAY"]
    got = tmp_path / "got.html"
    if not os.path.exists(os.path.join(os.path.dirname(program), "../share/orvek23/report.html")):
        with pytest.raises(FileNotFoundError, match="orvek23-tools"):
            orvek23.evaluate(walk, "com").to_html(got)
        assert not list(tmp_path.iterdir())
        pytest.skip("the page's template is not built")
    limits = tmp_path / "limits.csv"
    limits.write_text("joint,high,torque\nLKneePitch,1.2,1.5\n")
    path = as_csv(turning, tmp_path / "turning.csv")
    for motion, source, want in ((walk, WALK, "com"), (orvek23.load(path), path, "pose")):
        command = [program, source, "--report", tmp_path / "want.html", "--limits", limits]
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
        orvek23.evaluate(motion, want).to_html(got, limits=limits, title=os.path.basename(source))
        assert got.read_bytes() == (tmp_path / "want.html").read_bytes()
    orvek23.evaluate(walk, "com").to_html(got)
    assert b'"title":"got"' in got.read_bytes() and b'"limits":[]' in got.read_bytes()


def test_a_picture_shows_the_three_panels(walk, tmp_path):
    import matplotlib

    matplotlib.use("Agg")
    figure = orvek23.evaluate(walk).plot()
    titles = [axes.get_title() for axes in figure.axes]
    assert [t.split()[0:2] for t in titles] == [["From", "the"], ["From", "above"], ["The", "six"]]
    lines = {line.get_label(): line.get_xydata() for axes in figure.axes for line in axes.lines}
    zmp = orvek23.evaluate(walk, "zmp").zmp
    assert np.array_equal(lines["zero-moment point"], zmp)
    figure.savefig(tmp_path / "walk.png")
