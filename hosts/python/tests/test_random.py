# SPDX-License-Identifier: MIT
"""Pictures, layouts, settings and nonsense by chance, the same in every run.

KOWEN_RANDOM_SEED and KOWEN_RANDOM_ROUNDS make other and longer runs: scripts/fuzz-python.
"""

import ctypes
import io
import os

import numpy
import pytest

import kowen

SEED = int(os.environ.get("KOWEN_RANDOM_SEED", "1"))
ROUNDS = int(os.environ.get("KOWEN_RANDOM_ROUNDS", "60"))
CHANNELS = {"L": 1, "LA": 2, "RGB": 3, "RGBA": 4}
REFUSALS = (kowen.KowenError, ValueError, TypeError, OverflowError, MemoryError,
            ctypes.ArgumentError)

# Pictures stay small with each of these.
SETTINGS = {
    "quality": [45, 100, 20, "x", True],
    "progressive": [True, False, "maybe"],
    "colour": ["grey", "ycc422", "rgb444"],
    "colour_mode": ["inverted", "grey", "none"],
    "size": ["8x60px", "1x1px", "1x2cm", "0x0px"],
    "dpi": [72, (100, 150), "picture", 0, -1, float("inf")],
    "background": ["#12aBfF", "red", ""],
    "exif": [True, False],
    "icc": [True, False],
    "comment": [True, False],
    "max_bytes": ["600", 2000, "1k", -5],
    "as_filter": [True, False],
    "nothing": [1],
}
NONSENSE = [None, 0, -1, 1 << 40, 1.5, float("nan"), "", "RGB", "P", b"", b"\0" * 9, (), (1, 2, 3),
            [1], {}, object(), memoryview(b"12"), numpy.zeros(0), numpy.zeros((2, 0, 3), "u1"),
            numpy.zeros((1, 1, 1, 1), "u1"), numpy.zeros((2, 2), "c16"), numpy.zeros((2, 2), "i1")]


@pytest.fixture(params=range(ROUNDS))
def chance(request):
    return numpy.random.RandomState([SEED, request.param])


def pick(chance, choices):
    return choices[chance.randint(len(choices))]


def some_settings(chance):
    names = chance.permutation(list(SETTINGS))[:chance.randint(4)]
    return {str(name): pick(chance, SETTINGS[name]) for name in names}


def some_metadata(chance):
    metadata = {"orientation": int(chance.randint(10)),
                "comment": pick(chance, [None, "c", b"\xff"]),
                "dpi": pick(chance, [None, 72, (30.5, 600)])}
    for name in ("exif", "icc"):
        metadata[name] = pick(chance, [None, chance.bytes(chance.randint(200))])
    return metadata


def laid_out(chance, pixels):
    """The same pixels in an order of axes, a direction and steps of each by chance."""
    order = tuple(chance.permutation(pixels.ndim))
    steps = chance.randint(1, 4, pixels.ndim)
    room = numpy.full([n * step for n, step in zip((pixels.shape[i] for i in order), steps)], 0xA5,
                      "u1")
    view = room[tuple(slice(None, None, step) for step in steps)]
    view = view.transpose(numpy.argsort(order))
    view = view[tuple(slice(None, None, pick(chance, [1, -1])) for _ in order)]
    view[...] = pixels
    return view


def outcome(call):
    """The bytes, or what was raised."""
    try:
        return call()
    except REFUSALS as error:
        return type(error), str(error)


def test_every_layout_of_a_picture_is_saved_alike(chance):
    mode = pick(chance, list(CHANNELS))
    width, height = chance.randint(1, 30), chance.randint(1, 90)
    pixels = chance.randint(0, 256, (height, width, CHANNELS[mode])).astype("u1")
    settings, metadata = some_settings(chance), some_metadata(chance)
    expected = outcome(lambda: kowen.encode(kowen.Picture(
        pixels.tobytes(), mode=mode, width=width, height=height, **metadata), **settings))
    view = laid_out(chance, pixels)
    assert outcome(lambda: kowen.encode(kowen.Picture(view, **metadata), **settings)) == expected

    def written():
        stream = io.BytesIO()
        kowen.save(kowen.Picture(view, **metadata), stream, **settings)
        return stream.getvalue()

    def prepared():
        with kowen.Prepared(kowen.Picture(view, **metadata), **settings) as picture:
            return picture.encode(**settings)

    assert outcome(written) == expected
    assert outcome(prepared) == expected


def test_rows_of_a_buffer_may_be_anywhere(chance):
    mode = pick(chance, ["L", "RGB", "1", "P"])
    width, height = int(chance.randint(1, 30)), int(chance.randint(1, 20))
    row = (width + 7) // 8 if mode == "1" else width * (3 if mode == "RGB" else 1)
    stride = row + int(chance.randint(5))
    pixels = chance.randint(0, 256, (height, row)).astype("u1")
    palette = {"palette": chance.bytes(768)} if mode == "P" else {}
    expected = kowen.encode(kowen.Picture(pixels.tobytes(), mode=mode, width=width, height=height,
                                          **palette))
    room = numpy.full((height, stride), 0x5A, "u1")
    upward = bool(chance.randint(2))
    room[::-1 if upward else 1, :row] = pixels
    buffer = room.tobytes()[:stride * (height - 1) + row]
    assert kowen.encode(kowen.Picture(buffer, mode=mode, width=width, height=height,
                                      stride=-stride if upward else stride,
                                      **palette)) == expected


def test_a_callback_that_raises_ends_the_call(chance):
    pixels = chance.randint(0, 256, (int(chance.randint(1, 200)), 20, 3)).astype("u1")
    left = int(chance.randint(6))

    def fail(_):
        nonlocal left
        left -= 1
        if left < 0:
            raise LookupError("enough")

    class Stream:
        write = staticmethod(fail)

    def save():
        if chance.randint(2):
            kowen.encode(pixels, progress=fail)
        else:
            kowen.save(pixels, Stream())

    try:
        save()
    except LookupError:
        assert left < 0


def test_nonsense_is_refused(chance):
    names = ["mode", "width", "height", "stride", "palette", "dpi", "exif", "icc", "comment",
             "orientation"]
    arguments = {str(name): pick(chance, NONSENSE)
                 for name in chance.permutation(names)[:chance.randint(6)]}
    image = pick(chance, [*NONSENSE, bytes(64), numpy.zeros((4, 4, 3), "u1")])
    try:
        made = kowen.encode(kowen.Picture(image, **arguments))
    except (*REFUSALS, AttributeError, UnicodeError):
        return
    assert made[:2] == b"\xff\xd8"
