# SPDX-License-Identifier: MIT
"""The host library as ctypes sees it: records, functions, and where it is found."""

from __future__ import annotations

import ctypes
import os
from pathlib import Path
from typing import Any

SONAME = "libkowenhost.so.0"

PIXEL_RGB = 1
PIXEL_RGBA = 2
PIXEL_GREY = 3
PIXEL_INDEXED = 4
PIXEL_BILEVEL = 5
PIXEL_GREY_ALPHA = 6

REPLACE = {"jpeg": 0, "never": 1, "any": 2}

RowReader = ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.c_void_p, ctypes.c_uint32, ctypes.c_void_p)
Writer = ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_size_t)
ProgressCallback = ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.c_void_p, ctypes.c_double)


class Sized(ctypes.Structure):
    """A record that starts with its own size."""

    def __init__(self, **fields: Any) -> None:
        super().__init__(**fields)
        self.size = ctypes.sizeof(self)


class ResultRecord(Sized):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("code", ctypes.c_int32),
        ("moduleCode", ctypes.c_int32),
        ("systemError", ctypes.c_int32),
        ("bytes", ctypes.c_uint64),
        ("width", ctypes.c_uint32),
        ("height", ctypes.c_uint32),
        ("xDpi", ctypes.c_uint32),
        ("yDpi", ctypes.c_uint32),
        ("components", ctypes.c_uint32),
        ("scans", ctypes.c_uint32),
        ("quality", ctypes.c_int32),
        ("notes", ctypes.c_uint32),
        ("clippedPercent", ctypes.c_double),
        ("message", ctypes.c_char * 1024),
        ("notesText", ctypes.c_char * 2048),
        ("profilePath", ctypes.c_char * 4096),
        ("profileSection", ctypes.c_char * 256),
    ]


class PictureRecord(Sized):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("format", ctypes.c_int),
        ("width", ctypes.c_uint32),
        ("height", ctypes.c_uint32),
        ("pixels", ctypes.c_void_p),
        ("stride", ctypes.c_ssize_t),
        ("pixelStride", ctypes.c_ssize_t),
        ("channelStride", ctypes.c_ssize_t),
        ("readRow", RowReader),
        ("rowContext", ctypes.c_void_p),
        ("palette", ctypes.c_char_p),
        ("paletteAlpha", ctypes.c_char_p),
        ("paletteSize", ctypes.c_uint32),
        ("orientation", ctypes.c_uint32),
        ("xDpi", ctypes.c_double),
        ("yDpi", ctypes.c_double),
        ("exif", ctypes.c_char_p),
        ("exifSize", ctypes.c_size_t),
        ("icc", ctypes.c_char_p),
        ("iccSize", ctypes.c_size_t),
        ("comment", ctypes.c_char_p),
    ]


class OutputRecord(Sized):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("replace", ctypes.c_int),
        ("path", ctypes.c_char_p),
        ("write", Writer),
        ("writeContext", ctypes.c_void_p),
        ("memory", ctypes.c_void_p),
        ("memorySize", ctypes.c_size_t),
    ]


class ProgressRecord(Sized):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("callback", ProgressCallback),
        ("context", ctypes.c_void_p),
    ]


_HANDLE = ctypes.c_void_p
_TEXT = ctypes.c_char_p
_RESULT = ctypes.POINTER(ResultRecord)
_PICTURE = ctypes.POINTER(PictureRecord)
_OUTPUT = ctypes.POINTER(OutputRecord)
_PROGRESS = ctypes.POINTER(ProgressRecord)

# Name: (what it returns, what it takes).
_FUNCTIONS: dict[str, tuple[Any, list[Any]]] = {
    "KowenOpenModule": (_HANDLE, [_TEXT, _RESULT]),
    "KowenCloseModule": (None, [_HANDLE]),
    "KowenModulePath": (_TEXT, [_HANDLE]),
    "KowenModuleVersion": (ctypes.c_uint32, [_HANDLE]),
    "KowenHostVersion": (_TEXT, []),
    "KowenNewSettings": (_HANDLE, []),
    "KowenFreeSettings": (None, [_HANDLE]),
    "KowenSet": (ctypes.c_int32, [_HANDLE, _TEXT, _TEXT, _RESULT]),
    "KowenLoadProfile": (ctypes.c_int32, [_HANDLE, _TEXT, _TEXT, _RESULT]),
    "KowenFree": (None, [_HANDLE]),
    "KowenSave": (ctypes.c_int32, [_HANDLE, _PICTURE, _HANDLE, _OUTPUT, _PROGRESS, _RESULT]),
    "KowenPrepare": (_HANDLE, [_HANDLE, _PICTURE, _HANDLE, _PROGRESS, _RESULT]),
    "KowenExportPrepared": (ctypes.c_int32, [_HANDLE, _HANDLE, _OUTPUT, _PROGRESS, _RESULT]),
    "KowenFreePrepared": (None, [_HANDLE]),
}


def candidates() -> list[str]:
    """Where the host library is looked for, the first one first.

    ``$KOWEN_HOST_LIBRARY`` alone when that is set; else a copy beside this package, then what the
    system's loader finds by the library's name.
    """
    chosen = os.environ.get("KOWEN_HOST_LIBRARY")
    if chosen:
        return [chosen]
    beside = Path(__file__).with_name(SONAME)
    return ([str(beside)] if beside.exists() else []) + [SONAME, f"/usr/local/lib/{SONAME}"]


def load() -> ctypes.CDLL:
    """Loads the host library. Raises OSError that says where it was looked for."""
    reasons = []
    for name in candidates():
        try:
            library = ctypes.CDLL(name)
        except OSError as error:
            reasons.append(str(error))
            continue
        for function, (result, arguments) in _FUNCTIONS.items():
            entry = getattr(library, function)
            entry.restype = result
            entry.argtypes = arguments
        return library
    raise OSError("the kowen host library cannot be loaded: " + "; ".join(reasons)
                  + "; install libkowenhost0 or name the file in KOWEN_HOST_LIBRARY")
