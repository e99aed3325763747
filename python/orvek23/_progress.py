"""How far a long call is, where somebody sees it."""

from __future__ import annotations

import sys
import time
from typing import Any, Callable, Optional, Union

Progress = Union[None, bool, Callable[[float], object]]


class Bar:
    """Calls the caller's function with the share that is done, or shows it through tqdm, if that is
    installed: on a terminal or in a notebook, from the third second on."""

    def __init__(self, what: str, progress: Progress) -> None:
        self._what = what
        self._call = progress if callable(progress) else None
        seen = sys.stderr.isatty() or "ipykernel" in sys.modules
        self._due = None if self._call or progress is False or not (progress or seen) else 2.0
        if progress is True:
            self._due = 0.0
        self._start = time.monotonic()
        self._bar: Optional[Any] = None

    def __call__(self, share: float) -> None:
        if self._call:
            self._call(share)
            return
        if self._due is None or time.monotonic() - self._start < self._due:
            return
        if self._bar is None:
            try:
                from tqdm.auto import tqdm
            except ImportError:
                self._due = None
                return
            self._bar = tqdm(total=100, desc=self._what, unit="%", leave=False)
        self._bar.update(round(100 * share) - self._bar.n)

    def __enter__(self) -> "Bar":
        return self

    def __exit__(self, *_: object) -> None:
        if self._bar is not None:
            self._bar.close()
