# SPDX-License-Identifier: MIT
"""The package with the checking module behind it, which tells every rule that a call breaks."""

import os
import re
import subprocess
import sys
from pathlib import Path

import numpy
from PIL import Image

import kowen
from conftest import BUILD
from pictures import gradient

EXAMPLE = Path(__file__).parents[3] / "examples" / "beside_pillow.py"

SAVES = """
import numpy
import kowen
pixels = numpy.arange(32 * 24 * 3, dtype=numpy.uint8).reshape(24, 32, 3)
kowen.save(pixels, "colour.jpg", quality=80)
kowen.save(pixels[:, :, 0].copy(), "grey.jpg", progressive=True)
assert kowen.encode(pixels).startswith(b"\\xff\\xd8")
try:
    kowen.save(pixels, "colour.jpg", quality=1000)
except Exception as failure:
    print(failure)
"""

PREPARES = """
import io
import numpy
import kowen
pixels = numpy.arange(32 * 24 * 3, dtype=numpy.uint8).reshape(24, 32, 3)
stream = io.BytesIO()

def stop(fraction):
    raise InterruptedError("stopped")

with kowen.Prepared(pixels, as_filter=True) as first, kowen.Prepared(pixels) as second:
    for quality in 50, 90:
        first.save("first.jpg", quality=quality, replace="any")
        second.save(stream, quality=quality)
        assert second.encode(quality=quality).endswith(b"\\xff\\xd9")
    try:
        second.save("stopped.jpg", progress=stop)
    except InterruptedError as failure:
        print(failure)
"""


def run_checked(folder, *words):
    """Runs a Python program with no mistake; returns what it prints, and the trace."""
    trace = folder / "trace.txt"
    done = subprocess.run(
        [sys.executable, *words], cwd=folder, capture_output=True, text=True, check=False,
        env={**os.environ, "KOWEN_MODULE": str(BUILD / "kowen-check.so"),
             "KOWEN_CHECKED_MODULE": str(BUILD / "kowen.so"), "KOWEN_CHECK_TRACE": str(trace),
             "PYTHONPATH": str(Path(kowen.__file__).parents[1])})
    assert done.returncode == 0
    assert re.fullmatch(r"kowen-check: \d+ calls?, 0 mistakes\n", done.stderr), done.stderr
    assert trace.read_text().endswith(" calls, 0 mistakes\n")
    return done.stdout, trace.read_text()


def test_saving_breaks_no_rule(tmp_path):
    said, trace = run_checked(tmp_path, "-c", SAVES)
    assert "1000" in said
    assert trace.count(" ExportCellData(") == 3
    assert (tmp_path / "grey.jpg").read_bytes().endswith(b"\xff\xd9")


def test_prepared_pictures_break_no_rule(tmp_path):
    said, trace = run_checked(tmp_path, "-c", PREPARES)
    assert said == "stopped\n"
    assert trace.count(" ExportCellData(") >= 6
    assert (tmp_path / "first.jpg").read_bytes().endswith(b"\xff\xd9")


def test_the_example_breaks_no_rule(tmp_path):
    Image.fromarray(gradient(200, 150)).save(tmp_path / "picture.png")
    _, trace = run_checked(tmp_path, EXAMPLE, "picture.png", "sheet.png", "40,20")
    assert trace.count(" ExportCellData(") >= 1
    assert numpy.asarray(Image.open(tmp_path / "sheet.png")).any()
