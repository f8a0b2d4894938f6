# SPDX-License-Identifier: MIT
"""What a failed call raises."""

from __future__ import annotations

import os
from typing import Any

from ._library import ResultRecord


class KowenError(Exception):
    """A call failed. The text says what, where and what to do.

    Attributes:
        code: the host library's code, ``KOWEN_HOST_ERR_...`` of its header.
        module_code: the filter's last code; 0 when it had none.
    """

    def __init__(self, message: str, code: int = 0, module_code: int = 0) -> None:
        super().__init__(message)
        self.code = code
        self.module_code = module_code


class ModuleError(KowenError):
    """The filter, or the host library, was not found or cannot be loaded."""


class SettingError(KowenError, ValueError):
    """An unknown setting, a value that a setting does not take, or a senseless picture."""


class PictureError(KowenError):
    """The picture's rows could not be read, or its size is none that a JPEG can have."""


class OutputError(KowenError, OSError):
    """The output could not be opened, written or given its name.

    Attributes:
        errno, strerror: the system's error and what it calls it, or None.
        filename: the output's path, or None.
    """

    def __init__(self, message: str, code: int = 0, module_code: int = 0, errno: int = 0,
                 filename: str | None = None) -> None:
        KowenError.__init__(self, message, code, module_code)
        if errno:
            self.errno, self.strerror = errno, os.strerror(errno)
        self.filename = filename

    def __str__(self) -> str:
        return str(self.args[0])

    def __reduce__(self) -> tuple[Any, ...]:
        number = self.errno or 0
        return (type(self), (self.args[0], self.code, self.module_code, number, self.filename))


class ExistsError(OutputError, FileExistsError):
    """A file of that name is there and must not be replaced."""


class ExportError(KowenError):
    """The filter gave up; module_code says with which code."""


class CancelledError(KowenError):
    """The export was cancelled; nothing was left behind."""


class BusyError(KowenError):
    """A function of this package was called from inside one of its callbacks."""


class ProfileError(KowenError):
    """A settings profile is missing, cannot be read or is none."""


class LimitError(KowenError):
    """No quality gives a file of at most max_bytes."""


_TYPES: dict[int, type[KowenError]] = {
    1: SettingError,
    2: ModuleError,
    4: PictureError,
    5: PictureError,
    6: OutputError,
    7: ExistsError,
    8: ExportError,
    9: CancelledError,
    10: BusyError,
    11: ProfileError,
    12: LimitError,
}
_MEMORY = 3


def raise_for(record: ResultRecord, path: str | None = None) -> None:
    """Raises what the result's code stands for; nothing for 0."""
    if record.code == 0:
        return
    message = record.message.decode("utf-8", "replace")
    if record.code == _MEMORY:
        raise MemoryError(message)
    kind = _TYPES.get(record.code, KowenError)
    if issubclass(kind, OutputError):
        raise kind(message, record.code, record.moduleCode, record.systemError, path)
    raise kind(message, record.code, record.moduleCode)
