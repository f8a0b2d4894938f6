# SPDX-License-Identifier: MIT
"""Pillow's own way of saving: im.save(path, "KOWEN")."""

from __future__ import annotations

from typing import Any, BinaryIO

from ._export import encode
from ._pictures import Picture

FORMAT = "KOWEN"
_OURS = ("quality", "progressive", "colour", "color", "colour_mode", "color_mode", "size",
         "background", "max_bytes", "as_filter", "profile", "section", "page")


def register_pillow() -> None:
    """Lets Pillow images save themselves: ``im.save("x.kjpg")``, ``im.save("x.jpg", "KOWEN")``.

    Keyword arguments of ``Image.save`` are settings; ``dpi``, ``exif``, ``icc_profile`` and
    ``comment`` are metadata as with Pillow's own formats. Pillow empties the file before it asks
    for the picture, so a failure loses what was there: ``kowen.save`` does not.
    """
    from PIL import Image

    Image.register_save(FORMAT, _save)
    Image.register_extension(FORMAT, ".kjpg")


def _save(image: Any, stream: BinaryIO, _filename: Any) -> None:
    chosen = dict(image.encoderinfo)
    settings = {name: chosen.pop(name) for name in _OURS if name in chosen}
    exif = chosen.pop("exif", None)
    if exif is not None and not isinstance(exif, bytes):
        exif = exif.tobytes()
    comment = chosen.pop("comment", None)
    if comment is not None:
        settings["comment"] = True
    picture = Picture(image, dpi=chosen.pop("dpi", None), exif=exif,
                      icc=chosen.pop("icc_profile", None), comment=comment)
    if chosen:
        raise TypeError(f"kowen has no setting {sorted(chosen)[0]!r}")
    stream.write(encode(picture, **settings))
