# SPDX-License-Identifier: MIT
"""A display of its own, and a hand and an eye on it."""

import os
import subprocess
import time

from PIL import ImageGrab

SECONDS = 60  # until something that must happen counts as failed


def wait_for(what, condition):
    """What the condition returns, as soon as that is true."""
    end = time.monotonic() + SECONDS
    while time.monotonic() < end:
        found = condition()
        if found:
            return found
        time.sleep(0.05)
    raise TimeoutError(f"waited in vain for {what}")


class Display:
    """Xvfb, which chooses a number that is free, and xdotool."""

    SIZE = "1280x900x24"

    def __enter__(self):
        read, write = os.pipe()
        self._server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-screen", "0", self.SIZE, "-nolisten", "tcp"],
            pass_fds=[write], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        os.close(write)
        with open(read, encoding="ascii") as number:
            self.name = ":" + number.readline().strip()
        self.environment = {"DISPLAY": self.name}
        return self

    def __exit__(self, *_):
        self._server.terminate()
        self._server.wait()

    def _xdotool(self, *arguments):
        done = subprocess.run(["xdotool", *map(str, arguments)], text=True, check=False,
                              capture_output=True, env={**os.environ, **self.environment})
        return done.stdout.split()

    def windows(self, title):
        return self._xdotool("search", "--onlyvisible", "--name", title)

    def window(self, title):
        """The window of that title, once it is there; it gets the keyboard."""
        window = wait_for(f"a window '{title}'", lambda: self.windows(title))[0]
        self._xdotool("windowfocus", "--sync", window)
        return window

    def place(self, window, width, height):
        self._xdotool("windowmove", "--sync", window, 0, 0)
        self._xdotool("windowsize", window, width, height)

    def press(self, *keys):
        self._xdotool("key", "--clearmodifiers", *keys)

    def enter(self, text):
        self._xdotool("type", "--clearmodifiers", text)

    def click(self, x, y):
        self._xdotool("mousemove", "--sync", x, y, "click", 1)

    def position(self, window):
        pairs = dict(line.split("=") for line in self._xdotool("getwindowgeometry", "--shell",
                                                               window))
        return tuple(int(pairs[name]) for name in ("X", "Y", "WIDTH", "HEIGHT"))

    def picture(self, window):
        left, top, width, height = self.position(window)
        return ImageGrab.grab((left, top, left + width, top + height), xdisplay=self.name)
