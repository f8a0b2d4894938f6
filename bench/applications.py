#!/usr/bin/env python3
"""Measures what programs gain and lose when they save through kowen in place of their own code.

    scripts/bench --applications [PICTURE...]

Speed is that of a picture of 15 megapixels, drawn ones side by side: milliseconds of processor
time, medians of several saves to memory that take turns. Size and likeness are means over the
pictures that are given: kilobytes, and PSNR in dB of the decoded JPEG's red, green and blue against
the picture's. Qualities are pairs with like tables: kowen's 75 and 89 have those of libjpeg's 50
and 75; its 100 is near 95.
"""

from __future__ import annotations

import io
import math
import os
import shutil
import statistics
import subprocess
import sys
import time
from pathlib import Path
from typing import Callable

import numpy
from PIL import Image

import kowen

BUILD = Path(os.environ["KOWEN_BUILD"])
LIKE = {75: 50, 89: 75, 100: 95}
WIDTH, HEIGHT = 5000, 3000
TURNS = int(os.environ.get("KOWEN_BENCH_REPETITIONS", "9"))


def large_picture(sample: Path) -> Image.Image:
    drawn = numpy.asarray(Image.open(sample).convert("RGB"))
    down, across = -(-HEIGHT // drawn.shape[0]), -(-WIDTH // drawn.shape[1])
    return Image.fromarray(numpy.tile(drawn, (down, across, 1))[:HEIGHT, :WIDTH].copy())


def by_pillow(image: Image.Image, quality: int, progressive: bool = False) -> bytes:
    out = io.BytesIO()
    image.save(out, "JPEG", quality=quality, subsampling="4:2:2", progressive=progressive)
    return out.getvalue()


def like_pillow(image: Image.Image, quality: int, progressive: bool) -> Callable[[], bytes]:
    """Pillow with the very tables that kowen's file of that quality has."""
    small = kowen.encode(image.crop((0, 0, 16, 16)), quality=quality)
    tables = getattr(Image.open(io.BytesIO(small)), "quantization")
    quantization = [tables[number] for number in sorted(tables)]

    def save() -> bytes:
        out = io.BytesIO()
        image.save(out, "JPEG", qtables=quantization, subsampling="4:2:2",
                   progressive=progressive)
        return out.getvalue()
    return save


def medians(*calls: Callable[[], object]) -> list[float]:
    """Milliseconds of processor time of each, taking turns."""
    times: list[list[float]] = [[] for _ in calls]
    for call in calls:
        call()
    for _ in range(TURNS):
        for call, taken in zip(calls, times):
            start = time.process_time()
            call()
            taken.append(1000 * (time.process_time() - start))
    return [statistics.median(taken) for taken in times]


def qt_saves(version: int, *arguments: str) -> list[float]:
    """What the program for that version of Qt prints; nothing when it was not built."""
    program = BUILD / f"kowen_qt{version}_save"
    if not program.exists():
        return []
    return [float(word) for word in subprocess.check_output([program, *arguments]).split()]


def speed(sample: Path, folder: Path) -> None:
    image = large_picture(sample)
    array = numpy.asarray(image)
    path = folder / "large.ppm"
    image.save(path)
    print(f"{'15 megapixels, quality 75':34} {'kowen ms':>9} {'own ms':>9} {'ratio':>7}")

    def row(name: str, times: list[float]) -> None:
        if times:
            print(f"{name:34} {times[0]:9.0f} {times[1]:9.0f} {times[1] / times[0]:7.2f}")
    for word, progressive in (("sequential", False), ("progressive", True)):
        own = like_pillow(image, 75, progressive)
        row(f"Pillow, {word}", medians(
            lambda: kowen.encode(image, quality=75, progressive=progressive), own))
        row(f"numpy by Pillow, {word}", medians(
            lambda: kowen.encode(array, quality=75, progressive=progressive),
            lambda: by_pillow(Image.fromarray(array), 50, progressive)))
        for version in (5, 6):
            row(f"Qt {version}, {word}",
                qt_saves(version, "--time", str(TURNS), str(path), "75", str(LIKE[75]), word))


def decibels(jpeg: bytes, picture: Image.Image) -> float:
    found = numpy.asarray(Image.open(io.BytesIO(jpeg)).convert("RGB"), dtype=float)
    error = float(((found - numpy.asarray(picture, dtype=float)) ** 2).mean())
    return 10 * math.log10(255 * 255 / error)


def by_qt(path: Path, quality: int, folder: Path) -> bytes:
    out = folder / "qt.jpg"
    version = 6 if (BUILD / "kowen_qt6_save").exists() else 5
    if not qt_saves(version, str(path), str(out), "jpg", str(quality)):
        return b""
    return out.read_bytes()


def by_program(command: list[str], path: Path, quality: int, folder: Path) -> bytes:
    if shutil.which(command[0]) is None:
        return b""
    out = folder / "by-program.jpg"
    subprocess.check_call([*command, path, "-quality", str(quality), out])
    return out.read_bytes()


def likeness(pictures: list[Path], folder: Path) -> None:
    print(f"{'means of ' + str(len(pictures)) + ' pictures':34} "
          f"{'quality':>9} {'kB':>9} {'dB':>7}")

    def row(name: str, quality: int, save: Callable[[Path, Image.Image], bytes]) -> None:
        made = []
        for path in pictures:
            picture = Image.open(path).convert("RGB")
            jpeg = save(path, picture)
            if jpeg:
                made.append((len(jpeg) / 1000, decibels(jpeg, picture)))
        if made:
            size, near = (statistics.mean(column) for column in zip(*made))
            print(f"{name:34} {quality:9} {size:9.1f} {near:7.2f}")
    for ours, own in LIKE.items():
        row("kowen, anywhere", ours, lambda _path, picture: kowen.encode(picture, quality=ours))
        row("Pillow, 4:2:2", own, lambda _path, picture: by_pillow(picture, own))
        row("Qt", own, lambda path, _picture: by_qt(path, own, folder))
        for command in (["convert-im6.q16"], ["gm", "convert"]):
            row(command[0], own, lambda path, _picture: by_program(command, path, own, folder))


def main() -> None:
    sample, folder = Path(sys.argv[1]), Path(sys.argv[2])
    speed(sample, folder)
    if len(sys.argv) > 3:
        print(flush=True)
        likeness([Path(name) for name in sys.argv[3:]], folder)


main()
