# SPDX-License-Identifier: MIT
"""Arrays of any layout, and buffers that have none."""

import numpy
import pytest

import kowen
from pictures import decoded, furthest, gradient

BASE = gradient(24, 16)
GREY = numpy.ascontiguousarray(BASE[:, :, 0])
WIDE = numpy.zeros((40, 60, 5), "u1")
WIDE[4:36:2, 6:54:2, 1:4] = BASE

# Each is BASE's pixels in another layout of memory.
LAYOUTS = {
    "contiguous": BASE,
    "fortran": numpy.asfortranarray(BASE),
    "every second row and column of a larger one": WIDE[4:36:2, 6:54:2, 1:4],
    "rows backwards": numpy.ascontiguousarray(BASE[::-1])[::-1],
    "columns backwards": numpy.ascontiguousarray(BASE[:, ::-1])[:, ::-1],
    "channels backwards": numpy.ascontiguousarray(BASE[:, :, ::-1])[:, :, ::-1],
    "all backwards": numpy.ascontiguousarray(BASE[::-1, ::-1, ::-1])[::-1, ::-1, ::-1],
    "planes": numpy.ascontiguousarray(BASE.transpose(2, 0, 1)).transpose(1, 2, 0),
    "transposed": numpy.ascontiguousarray(BASE.transpose(1, 0, 2)).transpose(1, 0, 2),
    "read only": numpy.frombuffer(BASE.tobytes(), "u1").reshape(BASE.shape),
    "padded rows": numpy.pad(BASE, ((0, 0), (0, 3), (0, 0)))[:, :24],
    "of RGBA": numpy.dstack([BASE, numpy.full((16, 24), 7, "u1")])[:, :, :3],
    "opaque RGBA": numpy.dstack([BASE, numpy.full((16, 24), 255, "u1")]),
    "16 bits": BASE.astype("u2") * 257,
    "32 bits": BASE.astype("u4") * 16843009,
    "floats": BASE.astype("f4") / 255,
    "doubles": BASE.astype("f8") / 255,
    "memoryview": memoryview(BASE.tobytes()).cast("B", BASE.shape),
}

GREY_LAYOUTS = {
    "rows and columns": GREY,
    "one channel": GREY[:, :, None],
    "a channel of a colour array": BASE[:, :, 0],
    "fortran": numpy.asfortranarray(GREY),
    "opaque": numpy.dstack([GREY, numpy.full((16, 24), 255, "u1")]),
}


@pytest.mark.parametrize("name", LAYOUTS)
def test_every_layout_gives_the_same_bytes(name):
    assert kowen.encode(LAYOUTS[name]) == kowen.encode(
        kowen.Picture(BASE.tobytes(), mode="RGB", width=24, height=16))


@pytest.mark.parametrize("name", GREY_LAYOUTS)
def test_every_grey_layout_gives_the_same_bytes(name):
    assert kowen.encode(GREY_LAYOUTS[name]) == kowen.encode(
        kowen.Picture(GREY.tobytes(), mode="L", width=24, height=16))


def test_the_reference_layout_is_the_picture():
    found = decoded(kowen.encode(kowen.Picture(BASE.tobytes(), mode="RGB", width=24, height=16)))
    assert found.size == (24, 16)
    assert furthest(found, BASE) <= 8


def test_half_floats_are_near():
    assert furthest(decoded(kowen.encode(BASE.astype("f2") / numpy.float16(255))), BASE) <= 8


def test_floats_out_of_range_are_clipped_and_what_is_no_number_is_black():
    strange = numpy.array([[2.0, -1.0, numpy.nan, 1.0]] * 8).repeat(8, axis=1)
    clean = numpy.array([[255, 0, 0, 255]] * 8, "u1").repeat(8, axis=1)
    assert kowen.encode(strange) == kowen.encode(clean)


def test_bool_is_black_and_white():
    bits = numpy.zeros((8, 16), bool)
    bits[:, :8] = True
    found = numpy.asarray(decoded(kowen.encode(bits)).convert("L"))
    assert found[:, :8].min() == 255 and found[:, 8:].max() == 0


@pytest.mark.parametrize("array", [
    numpy.broadcast_to(BASE[0:1], (16, 24, 3)),
    numpy.broadcast_to(BASE[:, 0:1], (16, 24, 3)),
    numpy.broadcast_to(BASE[:, :, 0:1], (16, 24, 3)),
    numpy.broadcast_to(numpy.uint8(90), (16, 24)),
], ids=["rows", "columns", "channels", "everything"])
def test_repeated_memory_is_read_as_often_as_it_is_seen(array):
    assert kowen.encode(array) == kowen.encode(numpy.ascontiguousarray(array))


@pytest.mark.parametrize("stride, data", [
    (80, b"".join(row.tobytes().ljust(80, b"\7") for row in BASE)),
    (-72, BASE[::-1].tobytes()),
], ids=["gaps", "bottom row first"])
def test_buffers_with_a_stride(stride, data):
    picture = kowen.Picture(data, mode="RGB", width=24, height=16, stride=stride)
    assert kowen.encode(picture) == kowen.encode(BASE)


def test_palette_buffers():
    data = bytes([0, 1, 2, 1] * 4 * 8)
    picture = kowen.Picture(data, mode="P", width=16, height=8,
                            palette=bytes([90, 90, 90, 10, 10, 10, 200, 200, 200]))
    expected = numpy.array([90, 10, 200, 10] * 4 * 8, "u1").reshape(8, 16)
    assert furthest(decoded(kowen.encode(picture)).convert("L"), expected) <= 2


@pytest.mark.parametrize("shape", [(4,), (2, 2, 5), (1, 2, 2, 3)])
def test_shapes_that_are_no_picture_are_refused(shape):
    with pytest.raises(ValueError):
        kowen.encode(numpy.zeros(shape, "u1"))


@pytest.mark.parametrize("kind", ["i1", "i4", "c8"])
def test_types_that_are_no_pixels_are_refused(kind):
    with pytest.raises(TypeError, match="pixels"):
        kowen.encode(numpy.zeros((8, 8), kind))


def test_a_buffer_that_is_too_short_is_refused():
    with pytest.raises(ValueError, match="47 bytes"):
        kowen.Picture(bytes(47), mode="RGB", width=4, height=4)


def test_an_object_without_memory_is_refused():
    with pytest.raises(TypeError):
        kowen.encode(object())


def test_an_empty_array_is_refused():
    with pytest.raises((kowen.KowenError, ValueError)):
        kowen.encode(numpy.zeros((0, 8, 3), "u1"))


@pytest.mark.parametrize("comment", [-1, 0, 1.5, [b"text"], memoryview(b"text")])
def test_a_comment_is_text_or_bytes(comment):
    with pytest.raises(TypeError, match="comment"):
        kowen.Picture(GREY, comment=comment)
