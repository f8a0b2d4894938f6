#!/usr/bin/env python3
"""Shows a detail of a picture as kowen and as Pillow save it, enlarged, and what each file takes.

    beside_pillow.py PICTURE SHEET.png [LEFT,TOP]
"""

import io
import sys

from PIL import Image, ImageDraw

import kowen

SIDE, ENLARGED = 96, 256  # of the detail, in pixels
CAPTION = 34  # height of what stands below it
QUALITY = 75


def as_pillow_saves(image, tables):
    """Pillow's own JPEG with the same tables."""
    stream = io.BytesIO()
    image.save(stream, "JPEG", qtables=tables, subsampling="4:2:2")
    return stream.getvalue()


def detail(image, corner):
    left, top = corner
    return (image.convert("RGB").crop((left, top, left + SIDE, top + SIDE))
            .resize((ENLARGED, ENLARGED), Image.Resampling.NEAREST))


def sheet_of(columns, corner):
    sheet = Image.new("RGB", (ENLARGED * len(columns), ENLARGED + CAPTION), "white")
    draw = ImageDraw.Draw(sheet)
    for number, (image, caption) in enumerate(columns):
        sheet.paste(detail(image, corner), (number * ENLARGED, 0))
        draw.multiline_text((number * ENLARGED + 6, ENLARGED + 3), caption, fill="black")
    return sheet


def main(picture, sheet, corner="0,0"):
    image = Image.open(picture).convert("RGB")
    ours = kowen.encode(image, quality=QUALITY)
    decoded = Image.open(io.BytesIO(ours))
    theirs = as_pillow_saves(image, [decoded.quantization[n] for n in sorted(decoded.quantization)])
    columns = [
        (image, "the picture"),
        (decoded, f"kowen.encode, quality {QUALITY}\n{len(ours) / 1000:.1f} kB"),
        (Image.open(io.BytesIO(theirs)),
         f"Pillow, the same tables\n{len(theirs) / 1000:.1f} kB"),
    ]
    place = tuple(int(number) for number in corner.split(","))
    sheet_of(columns, place).quantize(128, dither=Image.Dither.NONE).save(sheet, optimize=True)


if not 3 <= len(sys.argv) <= 4:
    sys.exit(__doc__)
main(*sys.argv[1:])
