# SPDX-License-Identifier: MIT
"""The window, driven by keys: one GIMP from its start to its end."""

import os
import re
import signal
import subprocess
from pathlib import Path

import pytest
from PIL import Image

from display import wait_for
from gimp import END, lisp, load
from pictures import DPI, swapped_profile

TITLE = "Export through kowen"
OLD = b"\xff\xd8\xff an older picture"
SHORTCUT = "ctrl+alt+k"


class Desk:
    """GIMP on its display: what it has open, and what it says."""

    def __init__(self, gimp, display, folder, log):
        self.display = display
        self._log = open(log, "wb+")
        self._seen = 0
        self.process = gimp.start(display, self._log, folder / "photo.png", folder / "hidden.xcf",
                                  folder / "large.png")

    def close(self):
        self.process.kill()
        self.process.wait()
        self._log.close()

    def _said(self):
        self._log.flush()
        with open(self._log.name, encoding="utf-8", errors="replace") as log:
            return log.read()

    def forget(self):
        """Estimates from now on count."""
        self._seen = len(self._said())

    def estimate(self, size):
        """Waits until the window has told this size."""
        wait_for(f"an estimate of {size} bytes, got {self._estimates()}",
                 lambda: self._estimates()[-1:] == [size])

    def refusal(self, code, times=1):
        """Waits until the window has told this often that there is no estimate, and why."""
        wait_for(f"a refusal of code {code}",
                 lambda: self._said()[self._seen:].count(f"kowen: estimate {code},") == times)

    def _estimates(self):
        return [int(found) for found in
                re.findall(r"kowen: estimate 0, (\d+) bytes", self._said()[self._seen:])]

    def open_window(self, image):
        self.forget()
        self.display.window(image)
        self.display.press(SHORTCUT)
        return self.display.window(TITLE)

    def gone(self, title):
        wait_for(f"'{title}' to close", lambda: not self.display.windows(title))

    def exporting(self, folder):
        """The plug-in's process once it writes a file that has no name yet."""

        def found():
            for child in subprocess.run(["pgrep", "-P", str(self.process.pid)], check=False,
                                        text=True, capture_output=True).stdout.split():
                try:
                    links = [os.readlink(link) for link in Path(f"/proc/{child}/fd").iterdir()]
                except OSError:
                    continue
                if any(re.match(f"{folder}/#.*deleted", link) for link in links):
                    return int(child)
            return 0

        return wait_for("the plug-in to write", found)


@pytest.fixture(scope="module")
def folder(gimp):
    folder = gimp.home / "Pictures"
    folder.mkdir()
    sample = Path(os.environ["KOWEN_BUILD"]) / "kowen_sample"
    subprocess.run([sample, folder / "photo.ppm"], check=True)
    Image.open(folder / "photo.ppm").save(folder / "photo.png", dpi=DPI,
                                          icc_profile=swapped_profile())
    (folder / "photo.ppm").unlink()
    Image.new("RGB", (9000, 8000), (90, 120, 60)).save(folder / "large.png", dpi=DPI)
    (folder / "large.jpg").write_bytes(OLD)
    hidden = lisp(folder / "hidden.xcf")
    gimp.batch(load(folder / "photo.png") + "(gimp-item-set-visible layer FALSE) "
               f"(gimp-xcf-save RUN-NONINTERACTIVE image layer {hidden} {hidden}) " + END)
    return folder


@pytest.fixture(scope="module")
def desk(gimp, display, folder, tmp_path_factory):
    desk = Desk(gimp, display, folder, tmp_path_factory.mktemp("desk") / "log")
    yield desk
    desk.close()


def test_cancel_in_the_middle_keeps_the_old_file(desk, display, folder):
    main = display.window("large.*GIMP")
    display.place(main, 1000, 700)
    desk.open_window("large.*GIMP")
    display.press("Return")
    display.window("Replace")
    display.press("alt+r")
    plug_in = desk.exporting(folder)
    os.kill(plug_in, signal.SIGSTOP)
    wait_for("GIMP to end the plug-in", lambda: cancelled(desk, display, main, plug_in))
    assert (folder / "large.jpg").read_bytes() == OLD
    assert sorted(path.name for path in folder.iterdir()) == [
        "hidden.xcf", "large.jpg", "large.png", "photo.png"]


def cancelled(desk, display, main, plug_in):
    """Presses Cancel, at the right end of the status bar; true when that has helped."""
    left, top, width, height = display.position(main)
    display.click(left + width - 50, top + height - 18)
    return not Path(f"/proc/{plug_in}").exists()


def test_an_image_that_shows_nothing_has_no_size_and_says_why(desk, display):
    display.window("large.*GIMP")
    display.press("ctrl+w")
    desk.open_window("hidden.*GIMP")
    desk.refusal(4)
    display.press("alt+g")  # other choices do not help
    desk.refusal(4, times=2)
    display.press("Escape")
    desk.gone(TITLE)
    display.window("hidden.*GIMP")
    display.press("ctrl+w")


def test_it_tells_the_size_and_exports_what_was_chosen(desk, display, folder, program):
    photo = folder / "photo.png"
    window = desk.open_window("photo.*GIMP")
    desk.estimate(len(program(photo)))
    display.press("alt+q")
    display.press("ctrl+a")
    display.enter("85\t")
    desk.estimate(len(program(photo, "--quality", "85")))
    display.press("alt+g")
    wanted = program(photo, "--quality", "85", "--progressive")
    desk.estimate(len(wanted))
    keep_screenshot(display, window)
    display.press("alt+n", "ctrl+a")
    display.enter("chosen")
    display.press("alt+e")
    desk.gone(TITLE)
    wait_for("the file", (folder / "chosen.jpg").exists)
    assert (folder / "chosen.jpg").read_bytes() == wanted


def keep_screenshot(display, window):
    if os.environ.get("KOWEN_SCREENSHOT"):
        picture = display.picture(window).quantize(64, dither=Image.Dither.NONE)
        picture.save(os.environ["KOWEN_SCREENSHOT"], optimize=True)


def test_file_and_settings_come_back_and_replacing_is_asked(desk, display, folder, program):
    wanted = program(folder / "photo.png", "--quality", "85", "--progressive")
    chosen = folder / "chosen.jpg"
    chosen.write_bytes(OLD)
    desk.open_window("photo.*GIMP")
    desk.estimate(len(wanted))
    display.press("alt+e")
    display.window("Replace")
    display.press("Escape")
    desk.gone("Replace")
    assert chosen.read_bytes() == OLD
    display.window(TITLE)
    display.press("alt+e")
    display.window("Replace")
    display.press("alt+r")
    wait_for("the file", lambda: chosen.read_bytes() == wanted)


def test_a_file_that_is_no_jpeg_stays_and_the_window_too(desk, display, folder):
    chosen = folder / "chosen.jpg"
    chosen.write_text("no picture")
    desk.open_window("photo.*GIMP")
    display.press("alt+e")
    display.window("Not exported")  # without a question whose answer would not count
    display.press("Escape")
    display.window(TITLE)
    display.press("Escape")
    desk.gone(TITLE)
    assert chosen.read_text() == "no picture"
    assert desk.process.poll() is None


def test_the_settings_are_kept_for_the_next_gimp(desk, display, gimp):
    display.window("photo.*GIMP")
    display.press("ctrl+q")
    wait_for("GIMP to end", lambda: desk.process.poll() is not None)
    written = (gimp.profile / "parasiterc").read_text()
    kept = re.sub(r"\\([0-7]+)", lambda code: chr(int(code[1], 8)), written)
    assert '(parasite "kowen-settings" 1' in kept
    assert "progressive=yes\nquality=85\n" in kept
