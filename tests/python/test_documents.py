"""The programs of the documents, run cell by cell: each must print what stands below it.

ORVEK23_WRITE_DOCS=1 writes what they print into the documents, and their pictures."""

import contextlib
import io
import os
import re
import shutil
import warnings

import pytest

DOCS = os.environ["ORVEK23_DOCS"]
CELL = re.compile(r"```python\n(.*?)```\n(?:\n```text\n(.*?)```\n)?", re.S)


@pytest.mark.parametrize("name", ["python.md", "python_calibration.md"])
def test_document_prints_what_it_shows(name, tmp_path, monkeypatch):
    write = bool(os.environ.get("ORVEK23_WRITE_DOCS"))
    monkeypatch.chdir(tmp_path)
    path = os.path.join(DOCS, name)
    text = open(path).read()
    names, cells = {"__name__": "__main__"}, list(CELL.finditer(text))
    assert len(cells) >= 5
    new, end = "", 0
    for cell in cells:
        out = io.StringIO()
        with contextlib.redirect_stdout(out), warnings.catch_warnings():
            warnings.simplefilter("error")
            exec(compile(cell[1], f"{name}: {cell[1][:40]}...", "exec"), names)
        printed = out.getvalue()
        if not write:
            assert printed == (cell[2] or ""), cell[1]
        shown = f"```python\n{cell[1]}```\n" + (f"\n```text\n{printed}```\n" if printed else "")
        new += text[end : cell.start()] + shown
        end = cell.end()
    if write:
        open(path, "w").write(new + text[end:])
        for picture in tmp_path.glob("*.png"):
            shutil.copy(picture, DOCS)
