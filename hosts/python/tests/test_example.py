# SPDX-License-Identifier: MIT
"""The example that makes a picture of the documentation."""

import os
import subprocess
import sys
from pathlib import Path

import numpy
from PIL import Image

import kowen
from pictures import gradient

EXAMPLE = Path(__file__).parents[3] / "examples" / "beside_pillow.py"
SHOWN, CAPTION = 256, 34


def test_the_sheet_shows_the_picture_three_times_with_a_caption(tmp_path):
    picture = gradient(200, 150)
    Image.fromarray(picture).save(tmp_path / "picture.png")
    package = Path(kowen.__file__).parents[1]
    subprocess.run([sys.executable, EXAMPLE, "picture.png", "sheet.png", "40,20"], cwd=tmp_path,
                   env={**os.environ, "PYTHONPATH": str(package)}, check=True)
    sheet = numpy.asarray(Image.open(tmp_path / "sheet.png").convert("RGB")).astype(int)
    assert sheet.shape == (SHOWN + CAPTION, 3 * SHOWN, 3)
    expected = numpy.asarray(Image.fromarray(picture[20:116, 40:136]).resize(
        (SHOWN, SHOWN), Image.Resampling.NEAREST)).astype(int)
    for left in range(0, 3 * SHOWN, SHOWN):
        shown = sheet[:SHOWN, left:left + SHOWN]
        assert numpy.abs(shown - expected).mean() < 6
        caption = sheet[SHOWN:, left:left + SHOWN]
        assert (caption < 64).any() and (caption > 192).mean() > 0.5
