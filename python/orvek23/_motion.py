"""Motions as arrays: from the files that orvek23-replay reads, from arrays, from named columns."""

from __future__ import annotations

import os
import warnings
from typing import Any, Dict, Iterator, List, Mapping, Optional, Sequence, Tuple, Union

import numpy as np

from . import _core
from ._progress import Bar, Progress

Path = Union[str, "os.PathLike[str]"]
_ROOT = ("vx", "vy", "vz", "wx", "wy", "wz")
_WRENCH = ("fx", "fy", "fz", "nx", "ny", "nz")
_ARRAYS = ("time", "position", "rotation", "q", "dq", "ddq", "wrenches")


class Motion:
    """N samples of a motion, float64.

    time (N,) s, increasing; position (N, 3) m and rotation (N, 3, 3) of the root in the world;
    q (N, 22) rad; dq, ddq (N, 28) rates that are given, NaN where none are, or None: the others are
    formed by the replay's rules; wrenches (N, 6 k) on the k bodies of wrench_bodies: force (N),
    moment (N m), in the body's frame about its origin.
    """

    def __init__(
        self,
        time: Any,
        q: Any,
        *,
        root: Any = None,
        dq: Any = None,
        ddq: Any = None,
        wrenches: Optional[Mapping[Union[str, int], Any]] = None,
        robot: Optional[_core.Robot] = None,
    ) -> None:
        """`time`: (N,) s, or the step between samples. `q`: (N, 28) with the root's x, y, z, roll,
        pitch, yaw first, or (N, 22) beside `root`: (N, 4, 4), (N, 3, 4), (N, 6) or (N, 7) with a
        quaternion w, x, y, z last. `dq`, `ddq`: (N, 28) rates, the root's in its own frame; (N, 22):
        of the joints alone. `wrenches`: body to (N, 6). ValueError, KeyError."""
        angles = _table(q, "q")
        if root is None:
            if angles.shape[1] != 28:
                raise ValueError(
                    f"q has {angles.shape[1]} columns: 28 are needed, or 22 beside root="
                )
            root, angles = angles[:, :6], angles[:, 6:]
        if angles.shape[1] != 22:
            raise ValueError(f"q has {angles.shape[1]} columns beside root=, 22 needed")
        n = len(angles)
        if n == 0:
            raise ValueError("q has no row: a motion has a sample at least")
        step = np.asarray(time, dtype=float)
        if step.ndim == 0 and not step > 0:
            raise ValueError("time: a step is positive")
        self.time = np.arange(n) * step if step.ndim == 0 else np.ascontiguousarray(step)
        self.position, self.rotation = _poses(root, n)
        self.q = angles
        self.dq, self.ddq = (_rates(v, n, w) for v, w in ((dq, "dq"), (ddq, "ddq")))
        self.wrench_bodies, self.wrenches = _wrenches(wrenches or {}, n, robot)
        self._check()

    def _check(self) -> None:
        n = len(self)
        if self.time.shape != (n,) or len(self.q) != n:
            raise ValueError(f"time has {self.time.size} entries, q {len(self.q)} rows")
        for name in ("time", "position", "rotation", "q", "wrenches"):
            bad = ~np.isfinite(getattr(self, name).reshape(n, -1).astype(np.float32)).all(axis=1)
            if bad.any():
                raise ValueError(f"{name}: sample {bad.argmax()} is not finite in single precision")
        if not (np.diff(self.time) > 0).all():
            at = int((~(np.diff(self.time) > 0)).argmax())
            raise ValueError(
                f"time must increase, {self.time[at + 1]:.15g} follows {self.time[at]:.15g}"
            )

    def __len__(self) -> int:
        return len(self.time)

    def __repr__(self) -> str:
        on = f", wrenches on {', '.join(self.wrench_bodies)}" if self.wrench_bodies else ""
        return f"<orvek23.Motion of {len(self)} samples, {np.ptp(self.time):.4g} s{on}>"

    def __getitem__(self, samples: slice) -> "Motion":
        """Some of the samples, as a motion of its own: rates at its ends are one-sided."""
        if not isinstance(samples, slice):
            raise TypeError("a motion is cut by a slice; one sample's numbers are in its arrays")
        part = {k: v if v is None else v[samples] for k, v in self._arrays().items()}
        return _of_arrays(part, self.wrench_bodies)

    def _arrays(self) -> Dict[str, Any]:
        return {name: getattr(self, name) for name in _ARRAYS}

    def _samples(self, robot: _core.Robot) -> _core.Samples:
        bodies = [robot.get_body_id(name) for name in self.wrench_bodies]
        return _core.Samples(**self._arrays(), wrench_bodies=bodies)

    def rates(self) -> Tuple[np.ndarray, np.ndarray]:
        """dq and ddq of every sample, (N, 28): those that are given, and the replay's differences."""
        dq, ddq = self._samples(_core.Robot()).rates()
        return dq, ddq

    def save(self, path: Path) -> None:
        """Writes an .npz file, which load() reads many times faster than text, with the same bits."""
        from ._files import written_whole

        arrays = {k: v for k, v in self._arrays().items() if v is not None}
        with written_whole(path) as place, open(place, "wb") as file:
            np.savez(file, wrench_bodies=np.array(self.wrench_bodies, dtype=str), **arrays)


def load(
    source: Union[Path, Mapping[str, Any]],
    *,
    separator: Optional[str] = None,
    ignore_unknown: bool = False,
    plugin: Optional[Path] = None,
    progress: Progress = None,
) -> Motion:
    """A motion from a CSV file as orvek23-replay reads it, an .npz file of Motion.save, or named
    columns (a mapping, a pandas DataFrame, a structured array) with the names of the file's.

    InputError (a ValueError) names file, line and column of what is wrong. `separator`: of the
    file's fields, if its header is not to be asked; `ignore_unknown`: passes over columns that no
    motion has. `progress`: True, False, or a function of the share that is done.
    """
    robot = _core.Robot(plugin)
    if not isinstance(source, (str, os.PathLike)):
        return _of_columns(source, robot, ignore_unknown)
    path = os.fspath(source)
    if path.endswith(".npz"):
        return _of_npz(path)
    with Bar("reading", progress) as bar:
        reader = _core.LogReader(path, robot, separator, ignore_unknown)
        samples = reader.next(2**62, bar) or {}  # a file without samples is an error
        motion = _of_arrays(samples, tuple(reader.wrench_bodies))
    if reader.hint():
        warnings.warn(f"{path}: {reader.hint()}", stacklevel=2)
    return motion


def pieces(path: str, robot: _core.Robot, size: int) -> Iterator[Tuple[Motion, int, int]]:
    """A log piece by piece: motions, and which of their samples count. The others are those beside
    them that their rates need."""
    if path.endswith(".npz"):
        whole = _of_npz(path)
        yield whole, 0, len(whole)
        return
    reader = _core.LogReader(path, robot, None, False)
    bodies = tuple(reader.wrench_bodies)
    beside = 8  # of a rate at an end: the replay's windows
    held = reader.next(size + beside, None)
    begin = 0
    while held is not None:
        n = len(held["time"])
        more = reader.next(size, None)
        end = n if more is None else n - beside
        yield _of_arrays(held, bodies), begin, end
        if more is None:
            return
        keep = max(0, end - beside)
        begin = end - keep
        held = {
            k: None if v is None else np.concatenate((v[keep:], more[k])) for k, v in held.items()
        }


def _of_arrays(arrays: Mapping[str, Any], bodies: Tuple[str, ...]) -> Motion:
    motion = Motion.__new__(Motion)
    for name in _ARRAYS:
        setattr(motion, name, arrays[name])
    motion.wrench_bodies = bodies
    return motion


def _of_npz(path: str) -> Motion:
    with np.load(path, allow_pickle=False) as file:
        missing = [name for name in (*_ARRAYS, "wrench_bodies") if name not in file]
        if set(missing) - {"dq", "ddq"}:
            raise _core.InputError(f"{path}: not a motion: {missing[0]} is missing")
        arrays = {name: file[name] if name in file else None for name in _ARRAYS}
        motion = _of_arrays(arrays, tuple(str(body) for body in file["wrench_bodies"]))
    motion._check()
    return motion


def _of_columns(table: Any, robot: _core.Robot, ignore_unknown: bool) -> Motion:
    names: Sequence[str] = list(getattr(getattr(table, "dtype", None), "names", None) or table.keys())
    angles = ("qw", "qx", "qy", "qz") if "qw" in names else ("roll", "pitch", "yaw")
    root = ("x", "y", "z", *angles)
    rates = {p: [f"{p}.{c}" for c in robot.coordinates] for p in ("d", "dd")}
    wrench = {b: [f"{b}.{part}" for part in _WRENCH] for b in robot.bodies}
    known = ["time", *root, *robot.joints, *rates["d"], *rates["dd"], *sum(wrench.values(), [])]
    for name in names:
        if name not in known and not ignore_unknown:
            near = _core.nearest_name(str(name), known)
            raise KeyError(f'unknown column "{name}"' + (f', did you mean "{near}"?' if near else ""))
    missing = [name for name in ("time", *root, *robot.joints) if name not in names]
    groups = [*wrench.values(), rates["d"][:6], rates["dd"][:6]]
    for group in groups:
        present = [name for name in group if name in names]
        missing += [name for name in group if present and name not in names]
    if missing:
        raise KeyError(f"columns are missing: {', '.join(missing)}")

    def columns(wanted: Sequence[str]) -> np.ndarray:
        return np.column_stack([np.asarray(table[name], dtype=float) for name in wanted])

    def given(prefix: str) -> Optional[np.ndarray]:
        if not any(name in names for name in rates[prefix]):
            return None
        nothing = np.full(len(table[names[0]]), np.nan)
        return np.column_stack(
            [np.asarray(table[n], dtype=float) if n in names else nothing for n in rates[prefix]]
        )

    return Motion(
        np.asarray(table["time"], dtype=float),
        columns(robot.joints),
        root=columns(root),
        dq=given("d"),
        ddq=given("dd"),
        wrenches={body: columns(group) for body, group in wrench.items() if group[0] in names},
    )


def _table(values: Any, what: str) -> np.ndarray:
    table = np.ascontiguousarray(values, dtype=float)
    if table.ndim != 2:
        raise ValueError(f"{what}: a row a sample is needed, not {table.ndim} dimensions")
    return table


def _poses(root: Any, n: int) -> Tuple[np.ndarray, np.ndarray]:
    given = np.ascontiguousarray(root, dtype=float)
    if len(given) != n:
        raise ValueError(f"root has {len(given)} rows for {n} samples")
    if given.ndim == 3 and given.shape[1:] in ((4, 4), (3, 4)):
        return given[:, :3, 3].copy(), _core.rotations(given[:, :3, :3])
    if given.ndim == 2 and given.shape[1] in (6, 7):
        return given[:, :3].copy(), _core.rotations(given[:, 3:])
    raise ValueError("root: (N, 4, 4), (N, 3, 4), (N, 6) or (N, 7) is needed")


def _rates(values: Any, n: int, what: str) -> Optional[np.ndarray]:
    if values is None:
        return None
    table = _table(values, what)
    if table.shape == (n, 22):
        return np.hstack((np.full((n, 6), np.nan), table))
    if table.shape != (n, 28):
        raise ValueError(f"{what}: ({n}, 28) or ({n}, 22) is needed, not {table.shape}")
    return table


def _wrenches(
    given: Mapping[Union[str, int], Any], n: int, robot: Optional[_core.Robot]
) -> Tuple[Tuple[str, ...], np.ndarray]:
    if not given:
        return (), np.empty((n, 0))
    robot = robot or _core.Robot()
    tables: Dict[int, np.ndarray] = {}
    for body, values in given.items():
        table = _table(values, f"wrench on {body}")
        if table.shape != (n, 6):
            raise ValueError(f"wrench on {body}: ({n}, 6) is needed, not {table.shape}")
        tables[robot.get_body_id(body)] = table
    order: List[int] = sorted(tables)
    names = tuple(robot.get_body_name(body) for body in order)
    return names, np.ascontiguousarray(np.hstack([tables[body] for body in order]))
