"""Many logs on a Dask cluster of two processes, one of which is killed in the middle."""

import json
import os
import signal
import threading
import time

import numpy as np
import pytest
from conftest import WALK, as_csv, replay

import orvek23

WANT = ["com", "pose", "torque", "zmp"]


@pytest.fixture(scope="module")
def logs(tmp_path_factory, turning):
    folder = tmp_path_factory.mktemp("logs")
    text = open(WALK).read()
    for k in range(6):
        lines = text.split("\n")
        (folder / f"walk{k}.csv").write_text("\n".join([lines[0], *lines[1 + k :]]))
    as_csv(turning, folder / "turning.csv")
    return folder


def contents(folder):
    return {path.name: path.read_bytes() for path in sorted(folder.rglob("*")) if path.is_file()}


def test_pieces_are_the_whole(logs, tmp_path):
    for piece in (17, 700, 10_000):
        out = tmp_path / str(piece)
        record, = orvek23.evaluate_files([logs / "turning.csv"], WANT, out, piece=piece)
        assert record["samples"] == 3000 and not record["resumed"]
        want = replay(logs / "turning.csv", tmp_path / "want.csv", WANT)
        assert (out / "turning.csv").read_bytes() == want


def test_a_killed_worker_costs_only_its_task(logs, tmp_path):
    distributed = pytest.importorskip("distributed")
    one = tmp_path / "one"
    orvek23.evaluate_files(str(logs / "*.csv"), WANT, one)
    two = tmp_path / "two"
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None) as cluster:
        with distributed.Client(cluster) as client:
            victim = list(client.run(os.getpid).values())[0]
            # While it is in the middle: as soon as there is a first result.
            def kill():
                while not list(two.glob("manifest/*.json")):
                    time.sleep(0.005)
                os.kill(victim, signal.SIGKILL)

            killer = threading.Thread(target=kill)
            killer.start()
            records = orvek23.evaluate_files(str(logs / "*.csv"), WANT, two, client=client, piece=300)
            killer.join()
            with pytest.raises(ProcessLookupError):
                os.kill(victim, 0)
    assert contents(one) == contents(two) and len(contents(two)) == 14
    assert not any("error" in record for record in records)


def test_an_interrupted_run_goes_on_and_does_nothing_twice(logs, tmp_path):
    out = tmp_path / "out"
    orvek23.evaluate_files([logs / "walk0.csv", logs / "walk1.csv"], WANT, out)
    os.remove(out / "walk1.csv")  # as if it had been interrupted before
    before = os.stat(out / "walk0.csv").st_mtime_ns
    again = orvek23.evaluate_files([logs / f"walk{k}.csv" for k in range(3)], WANT, out)
    assert [record["resumed"] for record in again] == [True, False, False]
    assert os.stat(out / "walk0.csv").st_mtime_ns == before
    manifest = json.loads((out / "manifest" / "walk0.json").read_text())
    assert manifest["want"] == WANT and len(manifest["log_hash"]) == len(manifest["plugin_hash"]) == 64
    assert orvek23.evaluate_files([logs / "walk0.csv"], ["com"], out)[0]["resumed"] is False


def test_a_bad_log_is_told_and_the_others_are_done(logs, tmp_path):
    (tmp_path / "bad.csv").write_text("time,x\n0,1\n")
    with pytest.warns(UserWarning, match="1 of 2 logs failed, first .*bad.csv"):
        bad, good = orvek23.evaluate_files([tmp_path / "bad.csv", logs / "walk0.csv"], WANT, tmp_path / "out")
    assert "are missing" in bad["error"] and good["samples"] == 801
    assert sorted(path.name for path in (tmp_path / "out").iterdir()) == ["manifest", "walk0.csv"]


def test_npz_in_and_out(logs, tmp_path):
    motion = orvek23.load(logs / "walk0.csv")
    motion.save(tmp_path / "walk0.npz")
    orvek23.evaluate_files([tmp_path / "walk0.npz"], WANT, tmp_path / "out", format="npz")
    want = orvek23.evaluate(motion, WANT)
    with np.load(tmp_path / "out" / "walk0.npz") as got:
        assert np.array_equal(got["time"], motion.time)
        assert all(np.array_equal(got[name], want[name], equal_nan=True) for name in WANT)
