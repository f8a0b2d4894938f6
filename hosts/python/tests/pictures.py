# SPDX-License-Identifier: MIT
"""Small pictures that tests save and decode."""

import io

import numpy
from PIL import Image


def gradient(width=48, height=33):
    """Smooth colours: a JPEG of quality 100 is within a few steps of them."""
    y, x = numpy.mgrid[0:height, 0:width]
    red = 60 + 120 * x // max(1, width - 1)
    green = 60 + 120 * y // max(1, height - 1)
    blue = 240 - red // 2 - green // 3
    return numpy.dstack([red, green, blue]).astype("u1")


def luma(rgb):
    """T.871's luminance."""
    weights = numpy.array([0.299, 0.587, 0.114])
    return numpy.rint(numpy.asarray(rgb, dtype=float) @ weights)


def decoded(jpeg):
    """The JPEG as Pillow's own decoder sees it."""
    image = Image.open(io.BytesIO(jpeg))
    image.load()
    return image


def furthest(one, other):
    """The largest difference between two arrays."""
    return int(numpy.abs(numpy.asarray(one, dtype=int) - numpy.asarray(other, dtype=int)).max())
