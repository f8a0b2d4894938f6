# SPDX-License-Identifier: MIT
"""Where the tests find what was built: KOWEN_BUILD is the folder of program and plug-in."""

import os
import subprocess
from pathlib import Path

import pytest

from display import Display
from gimp import Gimp
from pictures import draw_pictures

BUILD = Path(os.environ["KOWEN_BUILD"])


@pytest.fixture(scope="session")
def gimp(tmp_path_factory):
    """GIMP with the plug-in, and a profile folder that no other GIMP has."""
    return Gimp(BUILD / "plug-ins", tmp_path_factory.mktemp("gimp"))


@pytest.fixture(scope="session")
def pictures(tmp_path_factory):
    """A folder of pictures, by name."""
    folder = tmp_path_factory.mktemp("pictures")
    draw_pictures(folder)
    return folder


@pytest.fixture(scope="session")
def program(tmp_path_factory):
    """Runs the command line and returns the JPEG that it makes of a picture file."""
    folder = tmp_path_factory.mktemp("program")

    def run(picture, *options):
        out = folder / "by-the-program.jpg"
        subprocess.run([BUILD / "kowen", "export", picture, "-o", out, "-q", *options], check=True,
                       cwd=folder)
        return out.read_bytes()

    return run


@pytest.fixture(scope="session")
def display():
    """A screen that nobody sees."""
    with Display() as screen:
        yield screen
