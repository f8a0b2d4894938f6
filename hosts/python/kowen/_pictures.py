# SPDX-License-Identifier: MIT
"""Pictures as the host library takes them: Pillow images, arrays, plain buffers."""

from __future__ import annotations

import ctypes
import os
from typing import Any, Callable, Optional, Union

from . import _library
from ._buffers import Buffer

Dpi = Union[float, "tuple[float, float]", "list[float]", None]

_FORMAT_OF_MODE = {
    "RGB": _library.PIXEL_RGB,
    "RGBA": _library.PIXEL_RGBA,
    "L": _library.PIXEL_GREY,
    "LA": _library.PIXEL_GREY_ALPHA,
    "P": _library.PIXEL_INDEXED,
    "1": _library.PIXEL_BILEVEL,
}
_CHANNELS = {"RGB": 3, "RGBA": 4, "L": 1, "LA": 2, "P": 1}
_MODE_OF_CHANNELS = {1: "L", 2: "LA", 3: "RGB", 4: "RGBA"}
_BLACK_AND_WHITE = bytes((0, 0, 0, 255, 255, 255))
_STRIP_ROWS = 64  # rows of a Pillow image or a converted array that are in memory at a time
_ORIENTATION = 0x0112  # EXIF's tag

FillRows = Callable[[int, int], "bytes | bytearray | memoryview"]


class Picture:
    """A picture with what its pixels alone do not say.

    Every function that takes an image takes a ``Picture`` as well; it is needed for buffers without
    a shape, and for metadata of arrays.

    Args:
        image: a Pillow image; an object with the buffer protocol of shape (rows, columns) or
            (rows, columns, channels) with 1 to 4 channels of 8 bits (grey, grey and alpha, RGB,
            RGBA), any strides; a numpy array of bool, of unsigned integers (the largest number
            of their type is white) or of floats (1 is white, what lies outside of 0 to 1 is taken
            for the nearer end); or bytes, with ``width``, ``height`` and ``mode``.
        mode: ``"RGB"``, ``"RGBA"``, ``"L"``, ``"LA"``, ``"P"`` or ``"1"``; by default from the
            image.
        width, height: of a buffer without a shape, in pixels.
        stride: bytes from a row to the next one, of a buffer without a shape; default: no gaps.
        palette: red, green and blue of each colour, for ``"P"``.
        dpi: a number or a pair; default: what a Pillow image says.
        exif, icc, comment: metadata; default: what a Pillow image says. EXIF's orientation turns
            the picture upright.
        orientation: EXIF's 1 to 8, in place of what ``exif`` says.
    """

    def __init__(self, image: Any, *, mode: Optional[str] = None, width: int = 0, height: int = 0,
                 stride: int = 0, palette: Optional[bytes] = None, dpi: Dpi = None,
                 exif: Optional[bytes] = None, icc: Optional[bytes] = None,
                 comment: Union[str, bytes, None] = None, orientation: int = 0) -> None:
        self._record = _library.PictureRecord()
        self._kept: list[Any] = []  # what the record's pointers point into
        self._errors: list[BaseException] = []
        if _is_pillow(image):
            self._take_pillow(image)
            dpi = image.info.get("dpi") if dpi is None else dpi
            exif = _pillow_exif(image) if exif is None else exif
            icc = image.info.get("icc_profile") if icc is None else icc
            comment = image.info.get("comment") if comment is None else comment
            orientation = orientation or _pillow_orientation(image, exif)
        else:
            self._take_buffer(image, mode, width, height, stride, palette)
        self._take_metadata(dpi, exif, icc, comment, orientation)

    @property
    def size(self) -> tuple[int, int]:
        """Width and height as stored, in pixels."""
        return (self._record.width, self._record.height)

    def __repr__(self) -> str:
        return f"<kowen.Picture of {self.size[0]} x {self.size[1]} pixels>"

    @property
    def reference(self) -> Any:
        """The record, for the host library."""
        return ctypes.byref(self._record)

    def take_error(self) -> Optional[BaseException]:
        """What went wrong while rows were read, once; for the functions that read them."""
        return self._errors.pop() if self._errors else None

    def _take_metadata(self, dpi: Dpi, exif: Optional[bytes], icc: Optional[bytes],
                       comment: Union[str, bytes, None], orientation: int) -> None:
        record = self._record
        record.xDpi, record.yDpi = _resolution(dpi)
        record.exif, record.exifSize = exif or None, len(exif or b"")
        record.icc, record.iccSize = icc or None, len(icc or b"")
        # A number would be taken for an address.
        if not isinstance(comment, (str, bytes, type(None))):
            raise TypeError(f"a comment is text or bytes, not {type(comment).__name__}")
        record.comment = comment.encode("utf-8") if isinstance(comment, str) else comment
        record.orientation = orientation

    # Buffers.

    def _take_buffer(self, image: Any, mode: Optional[str], width: int, height: int, stride: int,
                     palette: Optional[bytes]) -> None:
        view = Buffer(image)
        self._kept.append(view)
        if len(view.shape) == 1:
            self._take_flat(view, mode, width, height, stride)
        elif view.format in ("B", "?", "c"):
            self._take_array(view, mode)
        else:
            self._take_converted(image, view)
        if view.format == "?":
            self._set_palette(_BLACK_AND_WHITE)
        elif palette is not None:
            self._set_palette(palette)
        elif mode == "P":
            raise ValueError("mode P needs a palette")

    def _take_flat(self, view: Buffer, mode: Optional[str], width: int, height: int,
                   stride: int) -> None:
        if mode not in _FORMAT_OF_MODE or width <= 0 or height <= 0:
            raise ValueError("a buffer without rows and columns needs mode, width and height")
        row = (width + 7) // 8 if mode == "1" else width * _CHANNELS[mode]
        step = stride or row
        if abs(step) < row or view.size < abs(step) * (height - 1) + row:
            raise ValueError(f"the buffer has {view.size} bytes, too few for {width} x {height} "
                             f"pixels of mode {mode}")
        start = view.address + (-step * (height - 1) if step < 0 else 0)
        self._set_pixels(_FORMAT_OF_MODE[mode], width, height, start, (step, 0, 0))

    def _take_array(self, view: Buffer, mode: Optional[str]) -> None:
        shape, strides = view.shape, view.strides
        channels = shape[2] if len(shape) == 3 else 1
        chosen = mode or _MODE_OF_CHANNELS.get(channels)
        if len(shape) > 3 or chosen is None or _CHANNELS.get(chosen) != channels:
            raise ValueError(f"an array of shape {shape} is no picture; (rows, columns) and "
                             "(rows, columns, 1 to 4) are")
        kind = _library.PIXEL_INDEXED if view.format == "?" else _FORMAT_OF_MODE[chosen]
        steps = (strides[0], strides[1], strides[2] if len(shape) == 3 else 1)
        if _repeats(shape, steps):
            self._read_strided(kind, view, steps, channels)
        else:
            self._set_pixels(kind, shape[1], shape[0], view.address, steps)

    def _read_strided(self, kind: int, view: Buffer, steps: tuple[int, int, int],
                      channels: int) -> None:
        """An array whose rows or columns are one and the same memory, as broadcasting makes."""
        width = view.shape[1]

        def fill(first: int, rows: int) -> bytearray:
            out = bytearray(rows * width * channels)
            for y in range(rows):
                row = view.address + (first + y) * steps[0]
                for c in range(channels):
                    start = row + c * steps[2]
                    out[y * width * channels + c:(y + 1) * width * channels:channels] = (
                        ctypes.string_at(start, 1) * width if steps[1] == 0 else
                        bytes(ctypes.string_at(start + x * steps[1], 1)[0] for x in range(width)))
            return out

        self._set_reader(kind, width, view.shape[0], width * channels, fill)

    def _take_converted(self, image: Any, view: Buffer) -> None:
        """Wider integers and floats, a few rows at a time."""
        if view.format not in ("H", "I", "L", "Q", "e", "f", "d") or len(view.shape) > 3:
            raise TypeError(f"pixels of type {view.format!r} are not understood; bool, unsigned "
                            "integers, and floats from 0 to 1 are: convert them, such as by "
                            "array.astype('uint8')")
        channels = view.shape[2] if len(view.shape) == 3 else 1
        if channels not in _MODE_OF_CHANNELS:
            raise ValueError(f"an array of shape {view.shape} is no picture")
        import numpy

        array = numpy.asarray(image)
        most = 1.0 if array.dtype.kind == "f" else float(numpy.iinfo(array.dtype).max)

        def fill(first: int, rows: int) -> bytes:
            part = array[first:first + rows].astype(numpy.float64) * (255.0 / most)
            whole: bytes = numpy.rint(numpy.nan_to_num(part).clip(0, 255)).astype("u1").tobytes()
            return whole

        self._set_reader(_FORMAT_OF_MODE[_MODE_OF_CHANNELS[channels]], view.shape[1], view.shape[0],
                         view.shape[1] * channels, fill)

    # Pillow.

    def _take_pillow(self, image: Any) -> None:
        image.load()
        mode, convert = _pillow_mode(image)
        width, height = image.size
        row = (width + 7) // 8 if mode == "1" else width * _CHANNELS[mode]

        def fill(first: int, rows: int) -> Any:
            strip = image if rows == height else image.crop((0, first, width, first + rows))
            return _pillow_bytes(convert(strip) if convert else strip, mode)

        self._set_reader(_FORMAT_OF_MODE[mode], width, height, row, fill)
        if mode == "P":
            self._set_palette(bytes(image.getpalette("RGB") or _BLACK_AND_WHITE),
                              image.info.get("transparency"))

    # The record.

    def _set_pixels(self, kind: int, width: int, height: int, address: int,
                    steps: tuple[int, int, int]) -> None:
        record = self._record
        record.format, record.width, record.height = kind, width, height
        record.pixels = address
        record.stride, record.pixelStride, record.channelStride = steps

    def _set_palette(self, palette: bytes, transparency: Union[int, bytes, None] = None) -> None:
        colours = min(len(palette) // 3, 256)
        if colours == 0:
            raise ValueError("a palette has at least one colour of three bytes")
        self._record.palette = bytes(palette[:3 * colours])
        self._record.paletteSize = colours
        if isinstance(transparency, int):
            transparency = b"\xff" * transparency + b"\0"
        if transparency:
            alpha = bytes(transparency)[:colours]
            self._record.paletteAlpha = alpha + b"\xff" * (colours - len(alpha))

    def _set_reader(self, kind: int, width: int, height: int, row_bytes: int,
                    fill: FillRows) -> None:
        """Rows that fill(first, count) delivers, a strip of them at a time."""
        strip: dict[str, Any] = {"first": 0, "rows": 0, "data": b""}
        errors = self._errors  # and not self, which the record's reader would refer to then

        def read(_context: int, row: int, pixels: int) -> int:
            try:
                if row >= strip["first"] + strip["rows"] or row < strip["first"]:
                    rows = min(_STRIP_ROWS, height - row)
                    data = bytes(fill(row, rows))
                    strip.update(first=row, rows=rows, data=data)
                start = (row - strip["first"]) * row_bytes
                ctypes.memmove(pixels, strip["data"][start:start + row_bytes], row_bytes)
            except BaseException as error:  # pylint: disable=broad-except
                errors.append(error)
                return 1
            return 0

        self._set_pixels(kind, width, height, 0, (0, 0, 0))
        self._record.readRow = _library.RowReader(read)


def as_picture(image: Any) -> Picture:
    """The image as a Picture; a Picture is handed back as it is."""
    return image if isinstance(image, Picture) else Picture(image)


def _resolution(dpi: Dpi) -> tuple[float, float]:
    """Across and down; 0 for what is not known."""
    pair = dpi if isinstance(dpi, (tuple, list)) else (dpi, dpi)
    try:
        across, down = (float(number or 0) for number in pair)
    except (TypeError, ValueError):
        raise TypeError(f"dpi is a number or a pair of them, not {dpi!r}") from None
    return across, down


def path_bytes(path: Union[str, "os.PathLike[str]"]) -> bytes:
    name = os.fsencode(path)
    if not name or b"\0" in name:
        raise ValueError("a file name has at least one character, and no character 0")
    return name


def _repeats(shape: tuple[int, ...], steps: tuple[int, ...]) -> bool:
    return any(step == 0 and length > 1 for length, step in zip(shape, steps))


def _is_pillow(image: Any) -> bool:
    return any(kind.__module__.startswith("PIL.") for kind in type(image).__mro__)


def _pillow_mode(image: Any) -> tuple[str, Optional[Callable[[Any], Any]]]:
    """The mode that is handed over, and what makes an image of it; None: it is one."""
    mode = str(image.mode)
    transparent = "transparency" in image.info
    if mode == "P" and (image.palette is None or image.palette.mode not in ("RGB", "RGBA")):
        return "RGB", lambda strip: strip.convert("RGB")
    if mode == "P" and image.palette.mode == "RGBA" and not transparent:
        return "RGBA", lambda strip: strip.convert("RGBA")
    if mode in ("RGB", "L", "1") and transparent:
        return "RGBA", lambda strip: strip.convert("RGBA")
    if mode in _FORMAT_OF_MODE:
        return mode, None
    if mode in ("RGBa", "PA"):
        return "RGBA", lambda strip: strip.convert("RGBA")
    if mode == "La":
        return "LA", lambda strip: strip.convert("LA")
    if mode.startswith("I;16"):
        return "L", lambda strip: strip.convert("I").point(lambda v: v / 257 + 0.5).convert("L")
    if mode in ("I", "F"):
        return "L", lambda strip: strip.convert("L")
    if mode in ("CMYK", "YCbCr", "HSV", "RGBX"):
        return "RGB", lambda strip: strip.convert("RGB")
    raise ValueError(f"a Pillow image of mode {mode} is not understood; convert it to RGB")


def _pillow_bytes(image: Any, mode: str) -> Any:
    if mode == "1":
        return image.tobytes()
    try:
        import numpy
    except ImportError:
        return image.tobytes()
    return numpy.ascontiguousarray(numpy.asarray(image)).data


def _pillow_exif(image: Any) -> Optional[bytes]:
    exif = image.info.get("exif")
    return bytes(exif) if exif else None


def _pillow_orientation(image: Any, exif: Optional[bytes]) -> int:
    if not exif and not hasattr(image, "getexif"):
        return 0
    value = image.getexif().get(_ORIENTATION, 0)
    return value if isinstance(value, int) and 1 <= value <= 8 else 0
