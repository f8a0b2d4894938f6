# SPDX-License-Identifier: MIT
"""Saving: the module, its calls, progress, results."""

from __future__ import annotations

import ctypes
import os
import threading
from dataclasses import dataclass
from typing import Any, BinaryIO, Callable, Optional, Union

from . import _library
from ._errors import BusyError, KowenError, ModuleError, SettingError, raise_for
from ._pictures import Picture, as_picture, path_bytes
from ._settings import SettingValue, options

Progress = Callable[[float], object]
Path = Union[str, "os.PathLike[str]"]


@dataclass(frozen=True)
class Result:
    """What an export made.

    Attributes:
        bytes: length of the JPEG.
        width, height: of the JPEG, in pixels.
        dpi: the resolution that the JPEG states, across and down.
        components: 3, or 1 for grey.
        progressive: whether it builds up in several scans.
        quality: that it was made with.
        clipped_percent: pixels that come out visibly paler, 0 to 100.
        notes: sentences about what one might not expect: something dropped, enlarged, clipped.
        profile: the settings profile in use, or "".
    """

    bytes: int
    width: int
    height: int
    dpi: tuple[int, int]
    components: int
    progressive: bool
    quality: int
    clipped_percent: float
    notes: tuple[str, ...]
    profile: str

    @classmethod
    def of(cls, record: _library.ResultRecord) -> Result:
        text = record.notesText.decode("utf-8", "replace")
        return cls(record.bytes, record.width, record.height, (record.xDpi, record.yDpi),
                   record.components, record.scans > 1, record.quality, record.clippedPercent,
                   tuple(text.splitlines()), os.fsdecode(record.profilePath))


class _Host:
    """The loaded host library and the module that it opened: one of each for the process.

    The lock is held for looking at them and changing them, not while a module is opened: that waits
    for the exports of other threads, and their callbacks may come here.
    """

    def __init__(self) -> None:
        self._lock = threading.Lock()
        self._library: Optional[ctypes.CDLL] = None
        self._module: Optional[int] = None

    def library(self) -> ctypes.CDLL:
        with self._lock:
            if self._library is None:
                try:
                    self._library = _library.load()
                except (OSError, AttributeError) as error:
                    raise ModuleError(str(error), 2) from error
            return self._library

    def module(self) -> int:
        with self._lock:
            module = self._module
        return module if module is not None else self._first()

    def _first(self) -> int:
        """Opens the module that is found, unless another thread has done so meanwhile."""
        library = self.library()
        found = self._open(library, None)
        with self._lock:
            if self._module is None:
                self._module = found
            module = self._module
        if module != found:
            library.KowenCloseModule(found)
        return module

    def open(self, path: Path) -> None:
        opened = self._open(self.library(), path_bytes(path))
        with self._lock:
            # The one in use until now stays open: other threads may be at work with it.
            self._module = opened

    @staticmethod
    def _open(library: ctypes.CDLL, path: Optional[bytes]) -> int:
        record = _library.ResultRecord()
        module: Optional[int] = library.KowenOpenModule(path, ctypes.byref(record))
        if not module:
            raise_for(record)
            raise ModuleError("the module cannot be opened", 2)
        return module


_host = _Host()


class _UnderWay(threading.local):
    """A with statement around each call of the library that reads or exports pixels: it knows that
    this thread is inside one, which is when the program's callbacks run.

    Raises BusyError when the thread is inside one already.
    """

    def __init__(self) -> None:
        self._inside = False
        self._unwanted: list[int] = []

    def refuse(self) -> None:
        """Raises BusyError inside a callback."""
        if self._inside:
            raise BusyError("an export is under way on this thread: its callbacks must not call "
                            "again", 10)

    def __enter__(self) -> None:
        self.refuse()
        self._inside = True

    def __exit__(self, *_: object) -> None:
        self._inside = False
        while self._unwanted:
            _host.library().KowenFreePrepared(self._unwanted.pop())

    def free(self, prepared: int) -> None:
        """Frees a prepared picture; the library refuses that inside a callback, so afterwards."""
        if self._inside:
            self._unwanted.append(prepared)
        else:
            _host.library().KowenFreePrepared(prepared)


_under_way = _UnderWay()


def open_module(path: Path) -> None:
    """Uses the filter in this file from now on, in place of the one that is found by itself.

    Raises ModuleError when it cannot be loaded; then nothing has changed.
    """
    _host.open(path)


def module_path() -> str:
    """The path of the filter in use."""
    module = _host.module()
    return os.fsdecode(_host.library().KowenModulePath(module))


def version() -> tuple[str, str]:
    """The versions of the host library and of the filter, such as ("2.0.5", "2.0.5")."""
    module = _host.module()
    number = _host.library().KowenModuleVersion(module)
    filter_version = f"{number >> 24}.{number >> 16 & 0xFF}.{number & 0xFFFF}"
    return _host.library().KowenHostVersion().decode("ascii"), filter_version


class _Settings:
    """The library's settings record, made from keyword arguments, for a with statement."""

    def __init__(self, settings: dict[str, SettingValue]) -> None:
        self._settings = dict(settings)

    def __enter__(self) -> int:
        library = _host.library()
        self._handle: Optional[int] = library.KowenNewSettings()
        if not self._handle:
            raise MemoryError("not enough memory for the settings")
        try:
            self._fill(library, self._handle)
        except BaseException:
            self.__exit__()
            raise
        return self._handle

    def __exit__(self, *_: object) -> None:
        _host.library().KowenFreeSettings(self._handle)

    def _fill(self, library: ctypes.CDLL, handle: int) -> None:
        profile = self._settings.pop("profile", None)
        section = self._settings.pop("section", None)
        record = _library.ResultRecord()
        result = ctypes.byref(record)
        for name, text in options(self._settings):
            library.KowenSet(handle, name.encode(), text.encode(), result)
            raise_for(record)
        if profile is not None:
            named = str(section).encode() if section is not None else None
            library.KowenLoadProfile(handle, path_bytes(str(profile)), named, result)
            raise_for(record)
        elif section is not None:
            raise SettingError("a section needs a profile", 1)


class _Guard:
    """Runs what a program gave from inside a callback; keeps the exception that ended the call."""

    def __init__(self) -> None:
        self.error: Optional[BaseException] = None

    def __call__(self, call: Callable[[], object]) -> int:
        if self.error is not None:
            return 1
        try:
            call()
        except BaseException as error:  # pylint: disable=broad-except
            self.error = error
            return 1
        return 0


class _Calls:
    """The callbacks of one call. They do not refer to this object: what refers to itself lives on
    until the garbage collector comes by."""

    def __init__(self, progress: Optional[Progress] = None,
                 stream: Optional[BinaryIO] = None) -> None:
        guard = self._guard = _Guard()
        self.progress: Any = None
        self.writer: Any = None
        if progress is not None:
            given = progress

            def report(_context: int, fraction: float) -> int:
                return guard(lambda: given(fraction))
            record = _library.ProgressRecord(callback=_library.ProgressCallback(report))
            self.progress = ctypes.byref(record)
        if stream is not None:
            to = stream

            def write(_context: int, data: int, count: int) -> int:
                return guard(lambda: _write_all(to, ctypes.string_at(data, count)))
            self.writer = _library.Writer(write)

    @property
    def error(self) -> Optional[BaseException]:
        """What the program's own code raised."""
        return self._guard.error


def _write_all(stream: BinaryIO, data: bytes) -> None:
    while data:
        written = stream.write(data)
        if written is None:
            if getattr(stream, "raw", stream) is stream and hasattr(stream, "fileno"):
                raise BlockingIOError("the stream takes nothing now")
            return
        data = data[written:]


def _finish(record: _library.ResultRecord, calls: _Calls, picture: Optional[Picture],
            path: Optional[str] = None) -> Result:
    error = calls.error or (picture.take_error() if picture is not None else None)
    if record.code != 0 and error is not None:
        raise error
    raise_for(record, path)
    return Result.of(record)


def _export(run: Callable[[Any, Any, Any], None], picture: Optional[Picture],
            output: _library.OutputRecord, calls: _Calls, path: Optional[str] = None) -> Result:
    record = _library.ResultRecord()
    with _under_way:
        run(ctypes.byref(output), calls.progress, ctypes.byref(record))
    return _finish(record, calls, picture, path)


def _output(target: Union[Path, BinaryIO], replace: str,
            calls: _Calls) -> tuple[_library.OutputRecord, Optional[str]]:
    if replace not in _library.REPLACE:
        raise ValueError(f"replace is one of {', '.join(_library.REPLACE)}, not {replace!r}")
    output = _library.OutputRecord(replace=_library.REPLACE[replace])
    if hasattr(target, "write"):
        output.write = calls.writer
        return output, None
    output.path = path_bytes(target)
    return output, os.fspath(target)


def _stream_of(target: Union[Path, BinaryIO]) -> Optional[BinaryIO]:
    return target if hasattr(target, "write") else None  # type: ignore[return-value]


def _memory(output: _library.OutputRecord) -> bytes:
    return ctypes.string_at(output.memory, output.memorySize)


def save(image: Any, path: Union[Path, BinaryIO], *, progress: Optional[Progress] = None,
         replace: str = "jpeg", **settings: SettingValue) -> Result:
    """Saves an image as a JPEG file.

    A file appears under its name only when it is whole; one that is there keeps its mode and owner,
    or stays as it was when anything fails.

    Args:
        image: a Pillow image, an array, a buffer or a Picture; see Picture.
        path: the file's name, or a binary stream to write to.
        progress: called every few rows with the fraction done, 0.0 to 1.0, on the calling thread.
            An exception that it raises cancels the export and reaches the caller.
        replace: ``"jpeg"`` replaces a JPEG of that name and refuses any other file, ``"never"``
            refuses every file, ``"any"`` replaces every file.
        settings: see below.

    Settings are the command line's, with _ for -:

    =================  =========================================================================
    quality            45 to 100 (default 100)
    progressive        True or False
    colour             ``"ycc422"`` (default) or ``"grey"``
    colour_mode        ``"unchanged"`` (default), ``"inverted"``, ``"greys-inverted"``, ``"grey"``,
                       ``"grey-inverted"``
    size               a box to fit into, such as ``"10x15cm"``, ``"A4"``, ``"800x600px"``
    dpi                a number, a pair, or ``"picture"``
    page               ``"WxH@DPI"``
    background         what shows through transparent pixels: ``"#rrggbb"``, a name such as
                       ``"black"`` or (red, green, blue); default white
    exif, icc          True (default): kept; False: dropped
    comment            False (default) or True
    max_bytes          the highest quality up to `quality` that fits: a number, ``"300k"``, ``"2M"``
    as_filter          True: pixels, sizes and stream as the filter itself has them
    profile, section   start from these settings; what is given here counts more
    =================  =========================================================================

    Returns a Result. Raises SettingError, OutputError, ExistsError and other KowenErrors, and
    MemoryError.

    >>> import os, tempfile
    >>> folder = tempfile.TemporaryDirectory()
    >>> grey = memoryview(bytes(16 * 8)).cast("B", (8, 16))
    >>> result = save(grey, os.path.join(folder.name, "grey.jpg"), quality=75, colour="grey")
    >>> (result.width, result.height, result.components)
    (16, 8, 1)
    >>> save(grey, os.path.join(folder.name, "grey.jpg"), replace="never")
    Traceback (most recent call last):
        ...
    kowen.ExistsError: ...
    >>> folder.cleanup()
    """
    picture = as_picture(image)
    calls = _Calls(progress, _stream_of(path))
    output, name = _output(path, replace, calls)
    module = _host.module()
    with _Settings(settings) as handle:
        def run(out: Any, report: Any, result: Any) -> None:
            _host.library().KowenSave(module, picture.reference, handle, out, report,
                                      result)
        return _export(run, picture, output, calls, name)


def encode(image: Any, *, progress: Optional[Progress] = None,
           **settings: SettingValue) -> bytes:
    """Makes a JPEG in memory. Arguments and errors are those of save.

    >>> jpeg = encode(memoryview(bytes(3 * 16 * 8)).cast("B", (8, 16, 3)), quality=75)
    >>> jpeg[:2].hex(), jpeg[-2:].hex()
    ('ffd8', 'ffd9')
    """
    with _Encoded(image, progress, settings) as output:
        return _memory(output)


class _Encoded:
    """One export to memory, whose block is freed at the end of the with statement."""

    def __init__(self, image: Any, progress: Optional[Progress],
                 settings: dict[str, SettingValue]) -> None:
        self._picture = as_picture(image)
        self._calls = _Calls(progress)
        self._settings = settings
        self._output = _library.OutputRecord()

    def __enter__(self) -> _library.OutputRecord:
        module = _host.module()
        with _Settings(self._settings) as handle:
            def run(out: Any, report: Any, result: Any) -> None:
                _host.library().KowenSave(module, self._picture.reference, handle, out,
                                          report, result)
            _export(run, self._picture, self._output, self._calls)
        return self._output

    def __exit__(self, *_: object) -> None:
        _host.library().KowenFree(self._output.memory)


class Prepared:
    """A picture that was handed to the filter, to be exported any number of times.

    For previews and estimates: reading and adjusting the pixels is done once. Of the settings given
    here those hold for all exports that decide about pixels (colour, colour_mode, background, icc,
    as_filter).

    >>> with Prepared(memoryview(bytes(3 * 16 * 8)).cast("B", (8, 16, 3))) as prepared:
    ...     sizes = [len(prepared.encode(quality=quality)) for quality in (50, 100)]
    >>> sizes[0] <= sizes[1]
    True
    """

    def __init__(self, image: Any, *, progress: Optional[Progress] = None,
                 **settings: SettingValue) -> None:
        self._handle: Optional[int] = None
        self._lock = threading.Lock()
        picture = as_picture(image)
        calls = _Calls(progress)
        record = _library.ResultRecord()
        module = _host.module()
        with _Settings(settings) as handle, _under_way:
            self._handle = _host.library().KowenPrepare(
                module, picture.reference, handle, calls.progress, ctypes.byref(record))
        _finish(record, calls, picture)

    def save(self, path: Union[Path, BinaryIO], *, progress: Optional[Progress] = None,
             replace: str = "jpeg", **settings: SettingValue) -> Result:
        """Saves it; as the function save."""
        calls = _Calls(progress, _stream_of(path))
        output, name = _output(path, replace, calls)
        return self._export(output, calls, settings, name)

    def encode(self, *, progress: Optional[Progress] = None, **settings: SettingValue) -> bytes:
        """Makes a JPEG in memory; as the function encode."""
        output = _library.OutputRecord()
        try:
            self._export(output, _Calls(progress), settings, None)
            return _memory(output)
        finally:
            _host.library().KowenFree(output.memory)

    def close(self) -> None:
        """Frees the picture. Raises BusyError inside a callback."""
        _under_way.refuse()
        self._free()

    def __enter__(self) -> Prepared:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __del__(self) -> None:
        # Wherever that may be: inside a callback as well.
        self._free()

    def _free(self) -> None:
        with self._lock:
            handle, self._handle = self._handle, None
        if handle is not None:
            _under_way.free(handle)

    def _export(self, output: _library.OutputRecord, calls: _Calls,
                settings: dict[str, SettingValue], name: Optional[str]) -> Result:
        def run(out: Any, report: Any, result: Any) -> None:
            # The thread is marked before it waits for this: inside a callback it would wait for
            # itself, or for a thread that waits for it.
            with self._lock:
                if self._handle is None:
                    raise KowenError("the prepared picture was closed", 1)
                _host.library().KowenExportPrepared(self._handle, handle, out, report, result)

        with _Settings(settings) as handle:
            return _export(run, None, output, calls, name)
