"""Whole motions through the plug-in: arrays, tables, the replay's file, a picture."""

from __future__ import annotations

import os
import warnings
from typing import TYPE_CHECKING, Any, Dict, Iterator, List, Mapping, Optional, Sequence, Tuple, Union

import numpy as np

from . import _core
from ._motion import Motion, Path, load
from ._progress import Bar, Progress

if TYPE_CHECKING:
    import matplotlib.figure
    import pandas

DEFAULT_WANT = ("com", "pose", "torque")


class Result:
    """What came out of a motion: for each signal that was wanted an array, a row a sample, float32.

    r["torque"] or r.torque is (N, 22), r["torque.LKneePitch"] one of its columns, (N,);
    r.columns["torque"] are their names. "jacobian" is (N, 6, 28), "mass-matrix" (N, 28, 28). Units
    and frames: the table of signals in apps/replay/README.md. nan is in the columns of what is not
    there, such as the zero-moment point in flight.
    """

    def __init__(
        self,
        motion: Motion,
        tables: Mapping[str, np.ndarray],
        columns: Mapping[str, Sequence[str]],
        plugin: str,
        computed_by: str,
    ) -> None:
        self.motion = motion
        self.time = motion.time
        self.columns: Dict[str, Tuple[str, ...]] = {k: tuple(v) for k, v in columns.items()}
        self.plugin = plugin
        self.computed_by = computed_by
        self._tables = dict(tables)

    def __len__(self) -> int:
        return len(self.time)

    def __iter__(self) -> Iterator[str]:
        return iter(self._tables)

    def __contains__(self, name: object) -> bool:
        return name in self._tables

    def __getitem__(self, name: str) -> np.ndarray:
        if name in self._tables:
            table = self._tables[name]
            if name == "jacobian":
                return table.reshape(-1, 6, 28)
            if name == "mass-matrix":
                return table[:, :784].reshape(-1, 28, 28)
            return table[:, 0] if self.columns[name] == (name,) else table
        for signal, columns in self.columns.items():
            if name in columns:
                return self._tables[signal][:, columns.index(name)]
        known = [*self._tables, *(column for c in self.columns.values() for column in c)]
        near = _core.nearest_name(name, known)
        raise KeyError(f'no result "{name}"' + (f', did you mean "{near}"?' if near else ""))

    def __getattr__(self, name: str) -> np.ndarray:
        signal = name.replace("_", "-")
        if name.startswith("_") or signal not in self._tables:
            raise AttributeError(f"no result {name!r}; there are {', '.join(self.__dict__.get('_tables', ()))}")
        return self[signal]

    def __dir__(self) -> List[str]:
        return [*super().__dir__(), *(name.replace("-", "_") for name in self._tables)]

    def __repr__(self) -> str:
        tables = ", ".join(f"{name} {self[name].shape}" for name in self._tables)
        return f"<orvek23.Result of {len(self)} samples: {tables}>"

    def to_dataframe(self) -> "pandas.DataFrame":
        """A pandas table: a row a sample, the index the time (s), the replay's columns."""
        import pandas

        names = [column for columns in self.columns.values() for column in columns]
        index = pandas.Index(self.time, name="time")
        return pandas.DataFrame(np.hstack(list(self._tables.values())), index=index, columns=names)

    def to_csv(self, path: Path) -> None:
        """The results as orvek23-replay -o writes them, byte for byte; the file is there when it is
        whole."""
        from ._files import written_whole

        names = [column for columns in self.columns.values() for column in columns]
        with written_whole(path) as place:
            writer = _core.CsvWriter(place, names)
            writer.add(self.time, list(self._tables.values()))
            writer.close()

    def to_html(
        self, path: Path, limits: Optional[Path] = None, title: Optional[str] = None
    ) -> None:
        """The motion as the page that orvek23-replay --report writes, byte for byte: one file, to walk
        around in a browser. It has all the page's columns, computed anew, whatever was wanted.

        `limits`: of the joints, a CSV file of joint, low, high (rad), torque (N m). `title`: by
        default the page's name without its ending. The file is there when it is whole; Ctrl-C ends
        it. FileNotFoundError where the page's template is not installed (Debian: orvek23-tools),
        InputError for faults in the limits, ValueError for a name that does not end in .html.
        """
        from ._files import written_whole

        stem, ending = os.path.splitext(os.path.basename(path))
        if ending not in (".html", ".htm"):
            raise ValueError(f"{os.fspath(path)}: a page's name ends in .html")
        if limits is not None and os.path.realpath(limits) == os.path.realpath(path):
            raise ValueError(f"{os.fspath(path)}: the page would replace the limits")
        table = None if limits is None else os.fspath(limits)
        robot = _core.Robot(self.plugin)
        samples = self.motion._samples(robot)
        with Bar("making the page", None) as bar, written_whole(path) as place:
            _core.write_page(robot, samples, place, table, stem if title is None else title, bar)

    def plot(self, figure: Optional["matplotlib.figure.Figure"] = None) -> "matplotlib.figure.Figure":
        """The motion as the replay draws it: from the side, from above, torques over time. In a
        matplotlib figure, a new one if none is given. What it shows is computed anew."""
        from ._plot import draw

        return draw(self, figure)


def evaluate(
    motion: Union[Motion, Path, Mapping[str, Any]],
    want: Union[str, Sequence[str]] = DEFAULT_WANT,
    *,
    threads: Optional[int] = None,
    plugin: Optional[Path] = None,
    progress: Progress = None,
) -> Result:
    """Every sample of a motion (or of what load() takes) through kinematics and inverse dynamics.

    `want`: signals of orvek23-replay, and "pose:BODY"; "pose" is the replay's five bodies. Rates
    that are not given are formed by the replay's rules. `threads`: by default the CPUs that the
    process may use; results do not depend on it. Where the plug-in came along with this module and
    no signal needs more, the batch library computes, with the same bits. Ctrl-C ends it.
    Warns of results that are not finite. KeyError for an unknown signal, with the nearest one.
    """
    if not isinstance(motion, Motion):
        motion = load(motion, plugin=plugin, progress=progress)
    names = [want] if isinstance(want, str) else list(want)
    robot = _core.Robot(plugin)
    samples = motion._samples(robot)
    bodies = [robot.get_body_id(body) for body in motion.wrench_bodies]
    evaluator = _core.Evaluator(robot, names, bodies, threads_of(threads))
    with Bar("computing", progress) as bar:
        tables = evaluator.evaluate(samples, 0, len(motion), bar)
    columns = dict(zip(names, evaluator.columns))
    for name, table in zip(names, tables):
        _warn_of_nonsense(motion.time, table, *columns[name])
    return Result(
        motion,
        dict(zip(names, tables)),
        {name: labels for name, (labels, _) in columns.items()},
        robot.plugin,
        evaluator.computed_by,
    )


def threads_of(threads: Optional[int]) -> int:
    """How many threads: by default as many as CPUs that this process may use."""
    if threads is None:
        return len(os.sched_getaffinity(0))
    if int(threads) != threads or not 1 <= threads <= 1024:
        raise ValueError(f"threads: 1 to 1024 is possible, not {threads}")
    return int(threads)


def _warn_of_nonsense(time: np.ndarray, table: np.ndarray, labels: Sequence[str], may_miss: bool) -> None:
    total = float(np.add.reduce(table, axis=None, dtype=np.float64))  # not finite if any is not
    if np.isfinite(total):
        return
    bad = np.isinf(table) if may_miss else ~np.isfinite(table)
    if bad.any():
        row, column = np.argwhere(bad)[0]
        warnings.warn(
            f"results are not finite, first {labels[column]} at {time[row]:g} s", stacklevel=3
        )
