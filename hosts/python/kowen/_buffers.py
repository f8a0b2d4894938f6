# SPDX-License-Identifier: MIT
"""Pixels of any object with the buffer protocol, where they lie: nothing is copied."""

from __future__ import annotations

import ctypes
from typing import Any

_PYBUF_RECORDS_RO = 0x1C  # shape, strides and format; need not be writable


class _PyBuffer(ctypes.Structure):
    _fields_ = [
        ("buf", ctypes.c_void_p),
        ("obj", ctypes.py_object),
        ("len", ctypes.c_ssize_t),
        ("itemsize", ctypes.c_ssize_t),
        ("readonly", ctypes.c_int),
        ("ndim", ctypes.c_int),
        ("format", ctypes.c_char_p),
        ("shape", ctypes.POINTER(ctypes.c_ssize_t)),
        ("strides", ctypes.POINTER(ctypes.c_ssize_t)),
        ("suboffsets", ctypes.POINTER(ctypes.c_ssize_t)),
        ("internal", ctypes.c_void_p),
    ]


_get_buffer = ctypes.pythonapi.PyObject_GetBuffer
_get_buffer.argtypes = [ctypes.py_object, ctypes.POINTER(_PyBuffer), ctypes.c_int]
_get_buffer.restype = ctypes.c_int
_release_buffer = ctypes.pythonapi.PyBuffer_Release
_release_buffer.argtypes = [ctypes.POINTER(_PyBuffer)]
_release_buffer.restype = None


class Buffer:
    """A view of an object's memory, held until ``release`` or the end of its life.

    Attributes:
        address: of the first element.
        shape, strides: of each dimension; strides in bytes, of any sign.
        format: the element's type as the ``struct`` module writes it, without a byte order.
    """

    def __init__(self, owner: Any) -> None:
        self._view = _PyBuffer()
        self._held = False
        try:
            _get_buffer(owner, ctypes.byref(self._view), _PYBUF_RECORDS_RO)
        except TypeError:
            raise TypeError(f"{type(owner).__name__} is no picture; Pillow images, arrays and "
                            "objects with the buffer protocol are") from None
        self._held = True
        dimensions = range(self._view.ndim)
        self.address = self._view.buf or 0
        self.shape = tuple(self._view.shape[i] for i in dimensions)
        self.strides = tuple(self._view.strides[i] for i in dimensions)
        self.format = (self._view.format or b"B").decode("ascii").lstrip("@=<>!")
        self.size = self._view.len

    def release(self) -> None:
        if self._held:
            self._held = False
            _release_buffer(ctypes.byref(self._view))

    def __del__(self) -> None:
        self.release()
