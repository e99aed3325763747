"""Many logs: a task a log, on this machine or a Dask cluster, resumed where it was interrupted."""

from __future__ import annotations

import contextlib
import glob
import hashlib
import json
import os
import tempfile
import warnings
from typing import Any, Dict, Iterator, List, Optional, Sequence, Union

import numpy as np

from . import _core
from ._motion import Path, pieces
from ._progress import Bar, Progress
from ._results import threads_of

Record = Dict[str, Any]


@contextlib.contextmanager
def written_whole(path: Path) -> Iterator[str]:
    """A place to write to; at the end the file is under its name, or nothing is left of it."""
    final = os.fspath(path)
    handle, place = tempfile.mkstemp(
        prefix=f".{os.path.basename(final)}.", dir=os.path.dirname(final) or "."
    )
    try:
        mask = os.umask(0)
        os.umask(mask)
        os.fchmod(handle, 0o666 & ~mask)
        os.close(handle)
        yield place
        os.replace(place, final)
    except BaseException:
        with contextlib.suppress(OSError):
            os.unlink(place)
        raise


def evaluate_files(
    pattern: Union[str, Sequence[Path]],
    want: Union[str, Sequence[str]],
    out: Path,
    *,
    client: Any = None,
    format: str = "csv",
    plugin: Optional[Path] = None,
    threads: int = 1,
    piece: int = 200_000,
    progress: Progress = None,
) -> List[Record]:
    """Evaluates every log that `pattern` (of glob, or a list of paths) names, into the folder `out`.

    Writes LOG.csv (the replay's bytes) or LOG.npz (one array a signal, and time) for each, whole or
    not at all, and out/manifest/LOG.json: hash of the log, hash of the plug-in, version, signals,
    samples. A log with such a record that still holds is not computed again. `client`: a
    distributed.Client; a log is a task, and a worker that dies costs only the tasks it had. None:
    one after another here. `piece`: samples in memory at a time. Returns the records, in the order
    of the logs; a log that could not be read has "error", and a warning tells.
    """
    if format not in ("csv", "npz"):
        raise ValueError(f'format: "csv" or "npz" is possible, not {format!r}')
    paths = sorted(glob.glob(pattern)) if isinstance(pattern, str) else [os.fspath(p) for p in pattern]
    if not paths:
        raise FileNotFoundError(f"no log matches {pattern!r}")
    names = [os.path.basename(path) for path in paths]
    stems = [os.path.splitext(name)[0] for name in names]
    for stem in stems:
        if stems.count(stem) > 1:
            raise ValueError(f"two logs would have the results {stem}.{format}")
    wanted = [want] if isinstance(want, str) else list(want)
    robot = _core.Robot(plugin)
    _core.Evaluator(robot, wanted, [], 1)  # an unknown signal is found here, not on every worker
    folder = os.fspath(out)
    os.makedirs(os.path.join(folder, "manifest"), exist_ok=True)
    job: Record = dict(want=wanted, out=folder, format=format, plugin=robot.plugin,
               plugin_hash=_hash(robot.plugin), threads=threads_of(threads), piece=piece)  # fmt: skip

    records: Dict[str, Record] = {}
    with Bar("logs", progress) as bar:
        for path, record in _results(client, paths, job):
            records[path] = record
            bar(len(records) / len(paths))
    failed = [path for path in paths if "error" in records[path]]
    if failed:
        warnings.warn(
            f"{len(failed)} of {len(paths)} logs failed, first {failed[0]}: "
            f"{records[failed[0]]['error']}",
            stacklevel=2,
        )
    return [records[path] for path in paths]


def _results(client: Any, paths: Sequence[str], job: Dict[str, Any]) -> Iterator[Any]:
    if client is None:
        for path in paths:
            yield path, evaluate_file(path, **job)
        return
    from distributed import as_completed

    tasks = {client.submit(evaluate_file, p, **job, pure=False, retries=3): p for p in paths}
    for task in as_completed(list(tasks)):
        yield tasks[task], task.result()


def evaluate_file(
    path: str,
    want: Sequence[str],
    out: str,
    format: str,
    plugin: str,
    plugin_hash: str,
    threads: int,
    piece: int,
) -> Record:
    """One log's results and record, unless they are there. The record is written last."""
    stem = os.path.splitext(os.path.basename(path))[0]
    results = os.path.join(out, f"{stem}.{format}")
    place = os.path.join(out, "manifest", f"{stem}.json")
    try:
        made_of: Record = dict(log=os.path.basename(path), log_hash=_hash(path), plugin_hash=plugin_hash,
                       version=_core.__version__, want=list(want), format=format)  # fmt: skip
        done = _record(place)
        if done is not None and all(done.get(key) == made_of[key] for key in made_of):
            if os.path.exists(results) and os.path.getsize(results) == done["bytes"]:
                return {**done, "resumed": True}
        if _hash(plugin) != plugin_hash:
            raise RuntimeError(f"{plugin}: another plug-in than where the run was started")
        with written_whole(results) as temporary:
            samples = _evaluate_pieces(path, want, temporary, format, plugin, threads, piece)
            record = {**made_of, "samples": samples, "bytes": os.path.getsize(temporary)}
        with written_whole(place) as temporary, open(temporary, "w") as file:
            json.dump(record, file, indent=1)
        for left in glob.glob(os.path.join(glob.escape(out), f".{glob.escape(stem)}.{format}.*")):
            os.unlink(left)  # by a worker that died
        return {**record, "resumed": False}
    except (OSError, ValueError, KeyError, RuntimeError) as fault:
        return {"log": os.path.basename(path), "error": str(fault)}


def _evaluate_pieces(
    path: str, want: Sequence[str], place: str, format: str, plugin: str, threads: int, size: int
) -> int:
    robot = _core.Robot(plugin)
    evaluator: Optional[_core.Evaluator] = None
    writer: Optional[_core.CsvWriter] = None
    kept: List[List[np.ndarray]] = []
    for motion, begin, end in pieces(path, robot, size):
        if evaluator is None:
            bodies = [robot.get_body_id(body) for body in motion.wrench_bodies]
            evaluator = _core.Evaluator(robot, list(want), bodies, threads)
        tables = evaluator.evaluate(motion._samples(robot), begin, end, None)
        time = motion.time[begin:end]
        if format == "npz":
            kept.append([time, *tables])
            continue
        if writer is None:
            writer = _core.CsvWriter(place, [c for columns, _ in evaluator.columns for c in columns])
        writer.add(time, tables)
    if writer is not None:
        writer.close()
        return sum(1 for _ in open(place, "rb")) - 1
    whole = [np.concatenate(column) for column in zip(*kept)]
    with open(place, "wb") as file:
        np.savez(file, **dict(zip(("time", *want), whole)))
    return len(whole[0])


def _record(place: str) -> Optional[Record]:
    try:
        with open(place) as file:
            return dict(json.load(file))
    except (OSError, ValueError):
        return None


def _hash(path: str) -> str:
    sha = hashlib.sha256()
    with open(path, "rb") as file:
        while block := file.read(1 << 20):
            sha.update(block)
    return sha.hexdigest()
