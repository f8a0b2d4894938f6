# SPDX-License-Identifier: MIT
"""Pillow images of every usual mode, and Pillow's own way of saving."""

import io

import numpy
import pytest
from PIL import Image

import kowen
from pictures import decoded, furthest, gradient

RGB = Image.fromarray(gradient())
NEAR = 8  # steps of 255 that quality 100 and chroma of half the columns may be away


@pytest.mark.parametrize("mode", ["RGB", "RGBX", "CMYK", "YCbCr", "HSV"])
def test_colour_modes_look_like_pillows_own_rgb(mode):
    image = RGB.convert(mode)
    found = decoded(kowen.encode(image))
    assert (found.mode, found.size) == ("RGB", (48, 33))
    assert furthest(found, image.convert("RGB")) <= NEAR


@pytest.mark.parametrize("mode", ["1", "L", "LA", "P", "RGB", "RGBA", "CMYK", "YCbCr", "HSV", "I",
                                  "F"])
def test_every_usual_mode_gives_the_bytes_of_the_command_line(tmp_path, program, mode):
    image = RGB.convert("L").convert(mode) if mode in ("I", "F") else RGB.convert(mode)
    path = tmp_path / "source.png"
    image.convert("RGB").save(path)
    assert kowen.encode(image, quality=90) == program(path, tmp_path, "--quality", "90")


def test_opaque_rgba_is_as_rgb():
    assert kowen.encode(RGB.convert("RGBA")) == kowen.encode(RGB)


def test_transparent_pixels_show_the_background():
    image = Image.new("RGBA", (32, 16), (10, 200, 30, 0))
    found = numpy.asarray(decoded(kowen.encode(image, background="#4080c0")))
    assert furthest(found, numpy.full((16, 32, 3), (0x40, 0x80, 0xC0))) <= 2


def test_grey_and_grey_with_alpha():
    grey = RGB.convert("L")
    assert furthest(decoded(kowen.encode(grey)).convert("L"), grey) <= 3
    assert kowen.encode(grey.convert("LA")) == kowen.encode(grey)


def test_palette_in_order_and_with_a_transparent_colour():
    image = Image.new("P", (32, 16), 1)
    image.putpalette([255, 0, 255, 90, 120, 60, 10, 20, 30])
    assert furthest(decoded(kowen.encode(image)), numpy.full((16, 32, 3), (90, 120, 60))) <= 3
    image.info["transparency"] = 1
    assert furthest(decoded(kowen.encode(image, background="#a0a0a0")),
                    numpy.full((16, 32, 3), 0xA0)) <= 2


def test_palette_of_colours_with_alpha():
    image = Image.new("RGBA", (32, 16), (10, 200, 30, 0))
    image.paste((90, 120, 60, 255), (0, 0, 16, 16))
    quantized = image.quantize(4, method=Image.Quantize.FASTOCTREE)
    assert quantized.palette.mode == "RGBA"
    found = numpy.asarray(decoded(kowen.encode(quantized)))
    assert furthest(found[:, 18:], numpy.full((16, 14, 3), 255)) <= 2
    assert furthest(found[:, :14], numpy.full((16, 14, 3), (90, 120, 60))) <= NEAR


@pytest.mark.parametrize("mode, transparency", [("1", 255), ("L", 255), ("RGB", (255, 255, 255))])
def test_one_transparent_colour_shows_the_background(mode, transparency):
    image = Image.new(mode, (32, 16), "white")
    image.info["transparency"] = transparency
    found = numpy.asarray(decoded(kowen.encode(image, background=(64, 128, 192))))
    assert furthest(found, numpy.full((16, 32, 3), (64, 128, 192))) <= 2


def test_bilevel_keeps_white_white():
    image = Image.new("1", (21, 9), 0)
    image.paste(1, (0, 0, 8, 9))
    found = numpy.asarray(decoded(kowen.encode(image)).convert("L"))
    assert found[:, :8].min() == 255 and found[:, 8:].max() == 0


def test_wide_integers_and_floats():
    wide = Image.fromarray((gradient()[:, :, 0].astype("u2") * 257))
    assert wide.mode.startswith("I;16")
    assert furthest(decoded(kowen.encode(wide)).convert("L"), gradient()[:, :, 0]) <= 3
    floats = Image.fromarray(gradient()[:, :, 0].astype("f4"))
    assert furthest(decoded(kowen.encode(floats)).convert("L"), gradient()[:, :, 0]) <= 3


def test_a_mode_without_meaning_is_named():
    with pytest.raises(ValueError, match="LAB"):
        kowen.encode(Image.new("LAB", (8, 8)))


def test_more_rows_than_a_strip_arrive_in_order():
    tall = Image.fromarray(gradient(16, 300))
    assert kowen.encode(tall) == kowen.encode(gradient(16, 300))


def test_orientation_is_turned_upright():
    exif = Image.Exif()
    exif[0x0112] = 6  # the stored picture's left side is its top
    image = Image.open(io.BytesIO(_jpeg_with(exif)))
    found = decoded(kowen.encode(image))
    assert found.size == (33, 48)
    assert found.getexif().get(0x0112, 1) == 1
    upright = image.convert("RGB").transpose(Image.Transpose.ROTATE_270)
    assert furthest(found, upright) <= NEAR


def _jpeg_with(exif):
    out = io.BytesIO()
    RGB.save(out, "JPEG", quality=100, subsampling=0, exif=exif)
    return out.getvalue()


def test_resolution_comes_from_the_image_and_dpi_counts_more():
    image = RGB.copy()
    image.info["dpi"] = (150, 150)
    assert decoded(kowen.encode(image)).info["dpi"] == (150, 150)
    assert decoded(kowen.encode(kowen.Picture(image, dpi=240))).info["dpi"] == (240, 240)


def test_pillow_saves_by_the_name_of_the_format(tmp_path):
    kowen.register_pillow()
    by_ending = tmp_path / "a.kjpg"
    RGB.save(by_ending, quality=80, dpi=(200, 200))
    by_format = tmp_path / "b.jpg"
    RGB.save(by_format, "KOWEN", quality=80, dpi=(200, 200))
    expected = kowen.encode(kowen.Picture(RGB, dpi=200), quality=80)
    assert by_ending.read_bytes() == expected == by_format.read_bytes()
    assert Image.open(by_format).info["dpi"] == (200, 200)


def test_pillow_is_told_of_unknown_options():
    kowen.register_pillow()
    with pytest.raises(TypeError, match="subsampling"):
        RGB.save(io.BytesIO(), "KOWEN", subsampling=0)
