# SPDX-License-Identifier: MIT
"""What goes wrong: the message says what and where, and no file is lost."""

import pytest

from gimp import END, load, save

OLD = b"\xff\xd8\xff an older picture"
LIMIT = 1 << 20  # bytes; the large picture's JPEG has more, GIMP's own files have less


@pytest.fixture(scope="module")
def refused(gimp, pictures, tmp_path_factory):
    """A folder, and what GIMP printed when it was asked for what cannot be done."""
    folder = tmp_path_factory.mktemp("refused")
    (folder / "notes.jpg").write_text("no picture")
    (folder / "old.jpg").write_bytes(OLD)
    rgb = load(pictures / "rgb.png")
    new = folder / "new.jpg"
    printed = gimp.batch(
        rgb + save(folder / "notes.jpg") + END,
        rgb + save("/dev/full") + END,
        rgb + save(folder / "no such folder" / "x.jpg") + END,
        rgb + save(new, quality=44) + END,
        rgb + save(new, settings="qualty=85") + END,
        rgb + save(new, settings="quality") + END,
        rgb + save(new, profile=folder / "no.ini") + END,
        rgb + save(new, progressive=1, grey=1) + END,
        rgb + "(gimp-image-remove-layer image layer) (set! layer -1) " + save(new) + END,
        rgb + "(gimp-item-set-visible layer FALSE) " + save(new) + END,
        rgb + "(plug-in-kowen-export RUN-NONINTERACTIVE image layer) " + END,
        load(pictures / "large.png") + save(folder / "old.jpg") + END,
        largest_file=LIMIT)
    return folder, printed


@pytest.mark.parametrize("sentence", [
    "notes.jpg: there is a file of that name that is no JPEG",
    "/dev/full: No space left on device",
    "no such folder: No such file or directory",
    "the quality is from 45 to 100, not 44",
    "there is no setting 'qualty'",
    "settings are given as name=value, not as 'quality'",
    "no.ini: No such file or directory",
    "new.jpg: the image has no visible layer",
    "progressive files are made of",
    "scripts call file-kowen-save",
    "old.jpg: File too large",
])
def test_the_message_says_what_and_where(refused, sentence):
    assert sentence in refused[1]


def test_every_call_fails(refused):
    assert refused[1].count("execution error") == 12


def test_no_file_is_lost_or_left(refused):
    assert sorted(path.name for path in refused[0].iterdir()) == ["notes.jpg", "old.jpg"]
    assert (refused[0] / "notes.jpg").read_text() == "no picture"
    assert (refused[0] / "old.jpg").read_bytes() == OLD


def test_a_missing_module_is_named(gimp, pictures, tmp_path):
    rgb = load(pictures / "rgb.png")
    printed = gimp.batch(rgb + save(tmp_path / "new.jpg") + END,
                         rgb + "(plug-in-kowen-export RUN-INTERACTIVE image layer) " + END,
                         KOWEN_MODULE="/nowhere/kowen.so")
    sentence = "cannot load the module /nowhere/kowen.so: No such file or directory"
    for procedure in ("file-kowen-save", "plug-in-kowen-export"):  # before there is a window, too
        assert f"procedure '{procedure}':\n{sentence}" in printed
    assert not list(tmp_path.iterdir())


def test_a_library_that_is_no_filter_is_named(gimp, pictures, tmp_path):
    printed = gimp.batch(load(pictures / "rgb.png") + save(tmp_path / "new.jpg") + END,
                         KOWEN_MODULE="libm.so.6")
    assert "libm.so.6" in printed
    assert not list(tmp_path.iterdir())
