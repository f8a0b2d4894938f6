# SPDX-License-Identifier: MIT
"""Files, errors, progress, threads, and the command line beside it."""

import gc
import io
import os
import pickle
import subprocess
import sys
import threading
import traceback
import weakref

import numpy
import pytest
from PIL import Image

import kowen
from pictures import decoded, gradient

PICTURE = gradient()


def leftovers(folder):
    return sorted(os.listdir(folder))


@pytest.mark.parametrize("settings, options", [
    ({}, []),
    ({"quality": 75}, ["--quality", "75"]),
    ({"quality": 60, "progressive": True}, ["--quality", "60", "--progressive"]),
    ({"colour": "grey"}, ["--colour", "grey"]),
    ({"as_filter": True, "quality": 30}, ["--as-filter", "--quality", "30"]),
    ({"dpi": 300, "size": "4x3in"}, ["--dpi", "300", "--size", "4x3in"]),
    ({"max_bytes": 1500}, ["--max-bytes", "1500"]),
], ids=str)
def test_the_command_line_makes_the_same_bytes(tmp_path, program, settings, options):
    path = tmp_path / "source.png"
    Image.fromarray(PICTURE).save(path)
    assert kowen.encode(PICTURE, **settings) == program(path, tmp_path, *options)


def test_save_encode_and_streams_agree(tmp_path):
    result = kowen.save(PICTURE, tmp_path / "a.jpg", quality=80)
    stream = io.BytesIO()
    kowen.save(PICTURE, stream, quality=80)
    jpeg = kowen.encode(PICTURE, quality=80)
    assert (tmp_path / "a.jpg").read_bytes() == jpeg == stream.getvalue()
    assert (result.bytes, result.width, result.height, result.quality) == (len(jpeg), 48, 33, 80)
    assert (result.components, result.progressive) == (3, False)


def test_prepared_pictures_give_the_same_bytes_each_time():
    with kowen.Prepared(PICTURE) as prepared:
        for quality in (50, 100, 50):
            assert prepared.encode(quality=quality) == kowen.encode(PICTURE, quality=quality)
    with pytest.raises(kowen.KowenError, match="closed"):
        prepared.encode()


def test_settings_come_from_a_profile(tmp_path):
    profile = tmp_path / "prints.ini"
    profile.write_text("[KOWEN]\n~Mode=JPG Export\n[JPG Export]\nDriver=KOWEN\n"
                       "Quality Mode=242\nQuality=60\n")
    result = kowen.save(PICTURE, tmp_path / "a.jpg", profile=profile)
    assert result.quality == 60
    assert result.profile == str(profile)
    assert kowen.save(PICTURE, tmp_path / "b.jpg", profile=profile, quality=70).quality == 70


@pytest.mark.parametrize("settings, words", [
    ({"quality": 101}, "101"),
    ({"quality": 44}, "44"),
    ({"speed": "fast"}, "speed"),
    ({"section": "x"}, "profile"),
])
def test_wrong_settings_are_named(settings, words):
    with pytest.raises(kowen.SettingError, match=words) as caught:
        kowen.encode(PICTURE, **settings)
    assert isinstance(caught.value, ValueError) and caught.value.code == 1


def test_a_missing_profile_is_named(tmp_path):
    with pytest.raises(kowen.ProfileError, match="none.ini"):
        kowen.encode(PICTURE, profile=tmp_path / "none.ini")


def test_a_file_that_is_no_jpeg_is_kept(tmp_path):
    path = tmp_path / "letter.jpg"
    path.write_text("not a picture")
    with pytest.raises(kowen.ExistsError) as caught:
        kowen.save(PICTURE, path)
    assert isinstance(caught.value, FileExistsError) and caught.value.filename == str(path)
    assert path.read_text() == "not a picture" and leftovers(tmp_path) == ["letter.jpg"]
    kowen.save(PICTURE, path, replace="any")
    assert decoded(path.read_bytes()).size == (48, 33)


def test_a_folder_that_is_not_there_is_an_oserror(tmp_path):
    with pytest.raises(OSError) as caught:
        kowen.save(PICTURE, tmp_path / "no" / "a.jpg")
    assert isinstance(caught.value, kowen.OutputError)
    assert caught.value.errno == 2 and caught.value.code == 6
    assert caught.value.strerror == "No such file or directory"


def test_errors_pass_from_process_to_process(tmp_path):
    with pytest.raises(kowen.OutputError) as caught:
        kowen.save(PICTURE, tmp_path / "no" / "a.jpg")
    copy = pickle.loads(pickle.dumps(caught.value))
    assert type(copy) is kowen.OutputError and str(copy) == str(caught.value)
    assert (copy.code, copy.errno, copy.filename) == (6, 2, str(tmp_path / "no" / "a.jpg"))
    assert "kowen.OutputError: " in "".join(traceback.format_exception(caught.value))


@pytest.mark.parametrize("kind", ["u1", "u2"])
def test_pictures_are_let_go_of_at_once(kind):
    """Not with the next garbage collection, which counts objects, not megabytes."""
    picture = PICTURE.astype(kind)
    alive = weakref.ref(picture)
    stream = io.BytesIO()
    gc.disable()
    try:
        kowen.save(picture, stream, progress=lambda _done: None)
        del picture
        assert alive() is None
    finally:
        gc.enable()


@pytest.mark.parametrize("what, words", [
    ("holiday.png", "str is no picture"),
    ([[1, 2], [3, 4]], "list is no picture"),
    (numpy.zeros((8, 8), int), "astype"),
])
def test_what_is_no_picture_is_told_with_what_is_one(what, words):
    with pytest.raises(TypeError, match=words):
        kowen.encode(what)


def test_a_resolution_is_a_number_or_a_pair():
    assert kowen.encode(PICTURE, dpi=[300, 150]) == kowen.encode(PICTURE, dpi="300x150")
    for pair in ((300, 150), [300, 150], numpy.array([300, 150]).tolist()):
        assert decoded(kowen.encode(kowen.Picture(PICTURE, dpi=pair))).info["dpi"] == (300, 150)
    for wrong in ((1, 2, 3), [300], "a lot", (300, "x"), {1: 2}):
        with pytest.raises(TypeError, match="dpi is a number or a pair"):
            kowen.Picture(PICTURE, dpi=wrong)
    for wrong in (float("nan"), (300, "x"), [300, float("inf")], [1, 2, 3]):
        with pytest.raises(kowen.SettingError, match="a resolution is"):
            kowen.encode(PICTURE, dpi=wrong)


def test_settings_take_numpys_numbers():
    assert (kowen.encode(PICTURE, quality=numpy.int64(80), progressive=numpy.bool_(True))
            == kowen.encode(PICTURE, quality=80, progressive=True))


def test_a_full_device_is_an_oserror():
    with pytest.raises(kowen.OutputError) as caught:
        kowen.save(PICTURE, "/dev/full", replace="any")
    assert caught.value.errno == 28


class Stop(Exception):
    pass


@pytest.mark.parametrize("after", [0.0, 0.3, 0.9])
def test_an_exception_in_the_progress_callback_cancels_and_passes_through(tmp_path, after):
    path = tmp_path / "a.jpg"
    kowen.save(PICTURE, path, quality=50)
    before = path.read_bytes()

    def stop(done):
        if done >= after:
            raise Stop(done)

    with pytest.raises(Stop):
        kowen.save(gradient(700, 500), path, progress=stop)
    assert path.read_bytes() == before and leftovers(tmp_path) == ["a.jpg"]


def test_progress_never_falls_and_ends_at_one():
    seen = []
    kowen.encode(gradient(200, 400), progress=seen.append)
    assert seen == sorted(seen) and seen[-1] == 1.0 and len(seen) > 10


def test_an_exception_in_a_stream_passes_through():
    class Broken(io.RawIOBase):
        def write(self, _data):
            raise Stop()

    with pytest.raises(Stop):
        kowen.save(PICTURE, Broken())


def test_short_writes_are_gone_on_with():
    class Slow(io.RawIOBase):
        taken = b""

        def write(self, data):
            self.taken += bytes(data[:7])
            return min(7, len(data))

    stream = Slow()
    kowen.save(PICTURE, stream, quality=70)
    assert stream.taken == kowen.encode(PICTURE, quality=70)


def test_a_call_from_inside_a_callback_is_refused():
    def nested(_done):
        kowen.encode(PICTURE)

    with pytest.raises(kowen.BusyError):
        kowen.encode(PICTURE, progress=nested)
    assert kowen.encode(PICTURE)[-2:] == b"\xff\xd9"


def test_threads_wait_for_each_other_and_none_gets_anothers_picture():
    pictures = [numpy.roll(PICTURE, step * 5, axis=1) for step in range(4)]
    expected = [kowen.encode(picture, quality=75) for picture in pictures]
    wrong = []

    def work(index):
        for _ in range(50):
            if kowen.encode(pictures[index], quality=75) != expected[index]:
                wrong.append(index)

    threads = [threading.Thread(target=work, args=(index,)) for index in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert wrong == [] and len(set(expected)) == 4


def ends(code, *arguments):
    """Whether this program comes to its end: a test that hangs in itself ends no test run."""
    run = subprocess.Popen([sys.executable, "-c", code, *map(str, arguments)],
                           stderr=subprocess.PIPE, text=True)
    try:
        _, errors = run.communicate(timeout=60)
    except subprocess.TimeoutExpired:
        run.kill()
        run.communicate()
        return False
    assert run.returncode == 0, errors
    return True


def test_the_interpreter_goes_on_while_the_filter_works(tmp_path):
    """A file larger than a pipe holds, into a pipe that another thread of Python's reads."""
    os.mkfifo(tmp_path / "pipe")
    assert ends("""
import os, sys, threading
import kowen, numpy

picture = numpy.random.default_rng(1).integers(0, 256, (400, 400, 3), "u1")
expected, taken = kowen.encode(picture), []
assert len(expected) > 100_000

def read():
    with open(sys.argv[1], "rb") as pipe:
        taken.append(pipe.read())

reader = threading.Thread(target=read)
reader.start()
kowen.save(picture, sys.argv[1], replace="any")
reader.join()
assert taken == [expected]
""", tmp_path / "pipe")


@pytest.mark.parametrize("call", ["prepared.encode()", "prepared.save('/dev/null', replace='any')",
                                  "prepared.close()"])
def test_a_prepared_picture_refuses_calls_from_its_own_callbacks(call):
    assert ends(f"""
import kowen

picture = memoryview(bytes(64)).cast("B", (8, 8))
with kowen.Prepared(picture) as prepared:
    before = prepared.encode()
    try:
        prepared.encode(progress=lambda _done: {call})
    except kowen.BusyError:
        assert prepared.encode() == before
    else:
        raise AssertionError("it was not refused")
""")


@pytest.mark.parametrize("call", ["encode", "close"])
def test_a_prepared_picture_that_waits_is_refused_to_the_callback_it_waits_for(call):
    """One thread is about to export it, and waits for the other's export, which asks for it."""
    assert ends(f"""
import threading
import kowen
from kowen import _export

picture = memoryview(bytes(64)).cast("B", (8, 8))
prepared = kowen.Prepared(picture)
library = _export._host.library()
export, waits = library.KowenExportPrepared, threading.Event()

def about_to_wait(*arguments):
    waits.set()
    return export(*arguments)

library.KowenExportPrepared = about_to_wait
other = threading.Thread(target=prepared.encode)

def nested(_done):
    if not waits.is_set():
        other.start()
        waits.wait()
    prepared.{call}()

try:
    kowen.encode(picture, progress=nested)
except kowen.BusyError:
    other.join()
else:
    raise AssertionError("it was not refused")
""")


def test_a_prepared_picture_dropped_in_a_callback_is_freed_afterwards(monkeypatch):
    library = kowen._export._host.library()
    free, freed, inside = library.KowenFreePrepared, [], []

    def count(handle):
        freed.append(inside[-1])
        free(handle)

    monkeypatch.setattr(library, "KowenFreePrepared", count)
    dropped = [kowen.Prepared(PICTURE)]

    def drop(_done):
        inside.append(True)
        dropped.clear()
        inside.append(False)

    kowen.encode(PICTURE, progress=drop)
    assert freed == [False]


def test_a_module_that_is_being_opened_keeps_no_callback_waiting():
    """One thread opens a module, and waits for the other's export, which asks for the path."""
    assert ends("""
import threading
import kowen
from kowen import _export

path = kowen.module_path()
library = _export._host.library()
open_module, waits = library.KowenOpenModule, threading.Event()

def about_to_wait(*arguments):
    waits.set()
    return open_module(*arguments)

library.KowenOpenModule = about_to_wait
other = threading.Thread(target=lambda: kowen.open_module(path))

def ask(_done):
    if not waits.is_set():
        other.start()
        waits.wait()
    assert kowen.module_path() == path

kowen.encode(memoryview(bytes(64)).cast("B", (8, 8)), progress=ask)
other.join()
""")


def test_threads_that_open_the_module_first_share_one():
    """Both find none open yet; what the slower one opened is closed again."""
    assert ends("""
import threading
from kowen import _export

library = _export._host.library()
opened, closed, both = [], [], threading.Barrier(2)
open_module, close_module = library.KowenOpenModule, library.KowenCloseModule

def open_and_meet(*arguments):
    module = open_module(*arguments)
    opened.append(module)
    both.wait()
    return module

def close(module):
    closed.append(module)
    close_module(module)

library.KowenOpenModule, library.KowenCloseModule = open_and_meet, close
used = []
threads = [threading.Thread(target=lambda: used.append(_export._host.module())) for _ in "12"]
for thread in threads:
    thread.start()
for thread in threads:
    thread.join()
assert used[0] == used[1] == _export._host.module() and len(opened) == 2
assert closed == [module for module in opened if module != used[0]]
""")


@pytest.mark.parametrize("variable, value, words", [
    ("KOWEN_MODULE", "/nowhere/kowen.so", "/nowhere/kowen.so"),
    ("KOWEN_MODULE", "/bin/true", "/bin/true"),
    ("KOWEN_HOST_LIBRARY", "/nowhere/lib.so", "KOWEN_HOST_LIBRARY"),
])
def test_what_is_missing_is_named(variable, value, words):
    code = ("import kowen\ntry:\n    kowen.encode(memoryview(bytes(64)).cast('B', (8, 8)))\n"
            "except kowen.ModuleError as error:\n    print(error)\n")
    run = subprocess.run([sys.executable, "-c", code], env={**os.environ, variable: value},
                         capture_output=True, text=True, check=True)
    assert words in run.stdout


def test_the_package_has_the_librarys_version():
    assert kowen.version()[0] == kowen.__version__
