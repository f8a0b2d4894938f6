# SPDX-License-Identifier: MIT
"""The package with the checking module behind it, which tells every rule that a call breaks."""

import os
import subprocess
import sys

from conftest import BUILD

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


def test_it_breaks_no_rule(tmp_path):
    trace = tmp_path / "trace.txt"
    done = subprocess.run(
        [sys.executable, "-c", SAVES], cwd=tmp_path, capture_output=True, text=True, check=False,
        env={**os.environ, "KOWEN_MODULE": str(BUILD / "kowen-check.so"),
             "KOWEN_CHECKED_MODULE": str(BUILD / "kowen.so"), "KOWEN_CHECK_TRACE": str(trace)})
    assert (done.returncode, done.stderr) == (0, "")
    assert "1000" in done.stdout
    assert trace.read_text().count(" ExportCellData(") == 3
    assert (tmp_path / "grey.jpg").read_bytes().endswith(b"\xff\xd9")
