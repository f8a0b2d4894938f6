# SPDX-License-Identifier: MIT
"""The pictures that GIMP is given, and those that must be equal to what it shows of them."""

import numpy
from PIL import Image, ImageCms

WIDTH, HEIGHT = 150, 101
DPI = (150, 150)


def colours(width=WIDTH, height=HEIGHT, first=60):
    y, x = numpy.mgrid[0:height, 0:width]
    red = first + 120 * x // max(1, width - 1)
    green = 60 + 120 * y // max(1, height - 1)
    return numpy.dstack([red, green, 240 - red // 2 - green // 3]).astype("u1")


def noise(width, height):
    return numpy.random.default_rng(1).integers(0, 256, (height, width, 3), dtype="u1")


def swapped_profile():
    """A profile whose red is sRGB's green: nobody takes its pixels for sRGB's."""
    profile = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()
    return profile.replace(b"rXYZ", b"?XYZ", 1).replace(b"gXYZ", b"rXYZ", 1).replace(
        b"?XYZ", b"gXYZ", 1)


def pasted(base, top, left, upper):
    """A picture with another one laid over it, cut at its edges."""
    whole = Image.fromarray(base)
    whole.paste(Image.fromarray(top), (left, upper))
    return whole


def draw_pictures(folder):
    """Writes `NAME.png`, and `NAME-shown.png` for what GIMP is to make of several."""

    def write(name, image, **more):
        image.save(folder / f"{name}.png", dpi=DPI, **more)

    base = Image.fromarray(colours())
    alpha = Image.linear_gradient("L").resize(base.size)
    write("rgb", base)
    write("grey", base.convert("L"))
    write("rgba", Image.merge("RGBA", (*base.split(), alpha)))
    write("grey-alpha", Image.merge("LA", (base.convert("L"), alpha)))
    indexed = base.quantize(16, dither=Image.Dither.NONE)
    write("indexed", indexed)
    write("indexed-alpha", indexed, transparency=3)
    write("with-profile", base, icc_profile=swapped_profile())
    write("large", Image.fromarray(noise(1500, 1500)))
    write("top", Image.fromarray(colours(60, 40, 100)))
    draw_shown(write)
    exif = base.getexif()
    exif[0x010F] = "Maker"  # Make
    base.save(folder / "camera.jpg", exif=exif, comment=b"a comment", quality=95, dpi=(72, 72))


def draw_shown(write):
    """What layers make, worked out with plain copies."""
    base, top = colours(), colours(60, 40, 100)
    white = numpy.full_like(base, 255)
    write("small-shown", pasted(white, top, 20, 10))
    write("crop-shown", Image.fromarray(base[30:91, 25:125]))
    write("layers-shown", pasted(base, top, 110, -15))
    left_only = base.copy()
    left_only[:, 75:] = 255
    write("mask-shown", Image.fromarray(left_only))
