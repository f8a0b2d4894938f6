# SPDX-License-Identifier: MIT
"""Where the tests find what was built: the program's folder, from KOWEN_BUILD."""

import os
import subprocess
from pathlib import Path

import pytest

BUILD = Path(os.environ["KOWEN_BUILD"])
os.environ.setdefault("KOWEN_HOST_LIBRARY", str(BUILD / "libkowenhost.so.0"))


@pytest.fixture
def program():
    """Runs the command line and returns the JPEG that it makes of a picture file."""

    def run(picture, folder, *options):
        out = Path(folder) / "by-the-program.jpg"
        subprocess.run([BUILD / "kowen", "export", picture, out, "-q", *options], check=True,
                       cwd=folder)
        return out.read_bytes()

    return run
