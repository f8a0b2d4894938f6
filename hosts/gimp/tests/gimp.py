# SPDX-License-Identifier: MIT
"""Runs GIMP: without windows for scripts, or on a display of its own."""

import os
import resource
import signal
import subprocess

INSTALLED = "/usr/lib/gimp/2.0/plug-ins"
NEEDED = ("file-jpeg", "file-png", "script-fu")  # each takes time at the start
OPTIONS = ["--no-interface", "--no-data", "--no-fonts", "--no-splash"]
QUIT = ["-b", "(gimp-quit 0)"]


def lisp(text):
    return '"' + str(text).replace("\\", "\\\\").replace('"', '\\"') + '"'


def load(picture):
    """What binds `image` to a picture file and `layer` to its layer; to be followed by the rest."""
    name = lisp(picture)
    return (f"(let* ((image (car (gimp-file-load RUN-NONINTERACTIVE {name} {name})))"
            " (layer (car (gimp-image-get-active-layer image)))) ")


def save(path, quality=0, progressive=0, grey=0, settings="", profile="", section=""):
    return (f"(file-kowen-save RUN-NONINTERACTIVE image layer {lisp(path)} {lisp(path)} {quality}"
            f" {progressive} {grey} {lisp(settings)} {lisp(profile)} {lisp(section)}) ")


END = "(gimp-image-delete image))"


class Gimp:
    """A profile folder, and GIMPs that use it one after the other."""

    def __init__(self, plug_ins, folder):
        needed = folder / "needed"
        needed.mkdir()
        for name in NEEDED:
            (needed / name).symlink_to(f"{INSTALLED}/{name}")
        self._rc = folder / "gimprc"
        self._rc.write_text(f'(plug-in-path "{plug_ins}:{needed}")\n'
                            '(color-profile-policy keep)\n')
        self.profile = folder / "profile"  # made by the first GIMP
        self.home = folder / "home"
        self.home.mkdir()
        self.environment = dict(os.environ, GIMP2_DIRECTORY=str(self.profile), HOME=str(self.home),
                                XDG_CONFIG_HOME=str(folder), XDG_DATA_HOME=str(folder),
                                XDG_CACHE_HOME=str(folder), NO_AT_BRIDGE="1", LC_ALL="C.UTF-8",
                                G_MESSAGES_DEBUG="all")

    def command(self, program, *options):
        return [program, "-g", str(self._rc), *options]

    def batch(self, *expressions, largest_file=None, **environment):
        """Evaluates each expression whether or not another one fails; returns what was printed."""

        def limit():
            if largest_file is not None:
                signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
                resource.setrlimit(resource.RLIMIT_FSIZE, (largest_file, largest_file))

        arguments = [part for text in expressions for part in ("-b", text)]
        done = subprocess.run(
            self.command("gimp-console-2.10", *OPTIONS, *arguments, *QUIT), check=True, text=True,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
            env={**self.environment, "G_MESSAGES_DEBUG": "", **environment}, preexec_fn=limit,
            timeout=120)
        return done.stdout

    def start(self, screen, log, *files):
        """Starts GIMP with its window and no docks beside it; Ctrl+Alt+K opens the plug-in's."""
        if not self.profile.exists():
            self.batch()
        (self.profile / "sessionrc").write_text("(hide-docks yes)\n(single-window-mode yes)\n")
        with open(self.profile / "menurc", "a", encoding="utf-8") as menu:
            menu.write('(gtk_accel_path "<Actions>/plug-in/plug-in-kowen-export"'
                       ' "<Primary><Alt>k")\n')
        environment = {**self.environment, **screen.environment}
        return subprocess.Popen(
            self.command("gimp-2.10", "--new-instance", "--no-data", "--no-fonts", "--no-splash",
                         *map(str, files)),
            stdin=subprocess.DEVNULL, stdout=log, stderr=subprocess.STDOUT, env=environment,
            cwd=self.home)
