# SPDX-License-Identifier: MIT
"""Scripts: what file-kowen-save makes is what the command line makes, to the byte.

One GIMP makes all files, since it takes seconds to start.
"""

import io

import pytest
from PIL import Image

from conftest import BUILD
from gimp import END, lisp, load, save

PLAIN = ("rgb", "rgba", "grey", "grey-alpha", "indexed", "indexed-alpha", "with-profile")
PROFILE = """[KOWEN]
~Mode=First

[First]
Driver=KOWEN.1
Color Format=212
Quality Mode=242
Quality=60

[Second]
Driver=KOWEN.1
Color Format=212
Operation=246
Quality Mode=242
Quality=70
"""
# Name of a picture, arguments of file-kowen-save, options of the command line.
SETTINGS = {
    "quality": ("rgb", {"quality": 85}, ["--quality", "85"]),
    "progressive": ("rgb", {"progressive": 1}, ["--progressive"]),
    "grey": ("rgb", {"grey": 1}, ["--colour", "grey"]),
    "background": ("rgba", {"settings": "background=#ff8000 dpi='300x200'"},
                   ["--background", "#ff8000", "--dpi", "300x200"]),
    "size": ("rgb", {"settings": "size=75x75px max-bytes=2k"},
             ["--size", "75x75px", "--max-bytes", "2k"]),
    "profile": ("rgb", {"profile": "PROFILE"}, ["--profile", "PROFILE"]),
    "section": ("rgb", {"profile": "PROFILE", "section": "Second"},
                ["--profile", "PROFILE", "--section", "Second"]),
    "above-profile": ("rgb", {"profile": "PROFILE", "quality": 95},
                      ["--profile", "PROFILE", "--quality", "95"]),
    "srgb": ("with-profile", {"settings": "icc=drop"}, ["--icc", "drop"]),
}
# What a script does to `image` and `layer` before it saves; the picture it must be equal to.
ADD_TOP = ("(let ((top (car (gimp-file-load-layer RUN-NONINTERACTIVE image {top}))))"
           " (gimp-image-insert-layer image top 0 0) (gimp-layer-set-offsets top 110 -15)) ")
HIDDEN = ("(let ((hidden (car (gimp-layer-copy layer FALSE))))"
          " (gimp-image-insert-layer image hidden 0 0) (gimp-layer-scale hidden 20 20 FALSE)"
          " (gimp-item-set-visible hidden FALSE)) ")
MASK = ("(gimp-layer-add-alpha layer)"
        " (let ((mask (car (gimp-layer-create-mask layer ADD-MASK-WHITE))))"
        " (gimp-layer-add-mask layer mask)"
        " (gimp-image-select-rectangle image CHANNEL-OP-REPLACE 75 0 75 101)"
        " (gimp-context-set-foreground '(0 0 0)) (gimp-edit-fill mask FILL-FOREGROUND)"
        " (gimp-selection-none image)) ")
PRECISION = "(gimp-image-convert-precision image {}) "
CHANGES = {
    "16-bit": ("rgb", PRECISION.format("PRECISION-U16-GAMMA"), "rgb"),
    "16-bit-linear-alpha": ("rgba", PRECISION.format("PRECISION-U16-LINEAR"), "rgba"),
    "half": ("grey", PRECISION.format("PRECISION-HALF-GAMMA"), "grey"),
    "float-linear": ("rgb", PRECISION.format("PRECISION-FLOAT-LINEAR"), "rgb"),
    "double": ("grey-alpha", PRECISION.format("PRECISION-DOUBLE-GAMMA"), "grey-alpha"),
    "float-with-profile": ("with-profile", PRECISION.format("PRECISION-FLOAT-GAMMA"),
                           "with-profile"),
    "small": ("top", "(gimp-image-resize image 150 101 20 10) ", "small-shown"),
    "crop": ("rgb", "(gimp-image-resize image 100 61 -25 -30) ", "crop-shown"),
    "layers": ("rgb", ADD_TOP + HIDDEN, "layers-shown"),
    "float-layers": ("rgb", PRECISION.format("PRECISION-FLOAT-LINEAR") + ADD_TOP, "layers-shown"),
    "mask": ("rgb", MASK, "mask-shown"),
    "group": ("rgb", "(let ((group (car (gimp-layer-group-new image))))"
              " (gimp-image-insert-layer image group 0 0)"
              " (gimp-image-reorder-item image layer group 0)) ", "rgb"),
}
# What the window keeps of its last export, here until GIMP ends.
REMEMBERED = ('(gimp-attach-parasite (list "kowen-settings" 0'
              ' "[settings]\\nquality=60\\nprogressive=yes\\n")) ')
UNTOUCHED = ("(gimp-image-clean-all image) {save}"
             "(gimp-message (string-append \"dirty \""
             " (number->string (car (gimp-image-is-dirty image))) \" layers \""
             " (number->string (car (gimp-image-get-layers image))) \" images \""
             " (number->string (car (gimp-image-list)))))")


@pytest.fixture(scope="module")
def made(gimp, pictures, tmp_path_factory):
    """The folder of files that GIMP made, and what it printed."""
    folder = tmp_path_factory.mktemp("made")
    (pictures / "profile.ini").write_text(PROFILE)
    jobs = []

    def add(name, picture, before="", **arguments):
        texts = {key: str(pictures / "profile.ini") if value == "PROFILE" else value
                 for key, value in arguments.items()}
        jobs.append(load(pictures / picture) + before + save(folder / f"{name}.jpg", **texts) + END)

    for name in PLAIN:
        add(name, f"{name}.png")
    for name, (picture, arguments, _) in SETTINGS.items():
        add(f"settings-{name}", f"{picture}.png", **arguments)
    for name, (picture, before, _) in CHANGES.items():
        add(name, f"{picture}.png", before.format(top=lisp(pictures / "top.png")))
    add("camera", "camera.jpg", settings="comment=keep")
    add("camera-bare", "camera.jpg", settings="exif=drop")
    add("linear", "with-profile.png", PRECISION.format("PRECISION-FLOAT-LINEAR"))
    kjpg = folder / "plain.kjpg"
    jobs.append(load(pictures / "rgb.png") +
                f"(gimp-file-save RUN-NONINTERACTIVE image layer {lisp(kjpg)} {lisp(kjpg)}) " + END)
    remembered = save(folder / "remembered.jpg", quality=90)  # which does not count then
    jobs.append(load(pictures / "rgb.png") + REMEMBERED +
                remembered.replace("RUN-NONINTERACTIVE", "RUN-WITH-LAST-VALS") + END)
    untouched = UNTOUCHED.format(save=save(folder / "untouched.jpg"))
    jobs.append(load(pictures / "rgb.png") + ADD_TOP.format(top=lisp(pictures / "top.png")) +
                untouched + END)
    return folder, gimp.batch(*jobs)


@pytest.mark.parametrize("name", PLAIN)
def test_an_image_of_each_type_gives_the_programs_bytes(made, pictures, program, name):
    assert (made[0] / f"{name}.jpg").read_bytes() == program(pictures / f"{name}.png")


@pytest.mark.parametrize("name", SETTINGS)
def test_settings_give_the_programs_bytes(made, pictures, program, name):
    picture, _, options = SETTINGS[name]
    options = [str(pictures / "profile.ini") if text == "PROFILE" else text for text in options]
    assert (made[0] / f"settings-{name}.jpg").read_bytes() == program(pictures / f"{picture}.png",
                                                                      *options)


@pytest.mark.parametrize("name", CHANGES)
def test_what_is_shown_gives_the_programs_bytes(made, pictures, program, name):
    shown = CHANGES[name][2]
    assert (made[0] / f"{name}.jpg").read_bytes() == program(pictures / f"{shown}.png")


def test_the_ending_kjpg_is_saved_with_the_defaults(made, pictures, program):
    assert (made[0] / "plain.kjpg").read_bytes() == program(pictures / "rgb.png")


def test_the_last_values_are_those_of_the_window(made, pictures, program):
    assert (made[0] / "remembered.jpg").read_bytes() == program(
        pictures / "rgb.png", "--quality", "60", "--progressive")


def test_no_rule_of_the_module_is_broken(gimp, pictures, tmp_path, program):
    """The checking module tells them, as docs/checking.md says."""
    trace = tmp_path / "trace"
    printed = gimp.batch(load(pictures / "rgba.png") + save(tmp_path / "new.jpg") + END,
                         KOWEN_MODULE=str(BUILD / "kowen-check.so"),
                         KOWEN_CHECKED_MODULE=str(BUILD / "kowen.so"),
                         KOWEN_CHECK_TRACE=str(trace))
    said = [line for line in printed.splitlines() if "kowen-check:" in line]
    assert all(line.endswith(", 0 mistakes") for line in said), said
    assert trace.read_text().count(" ExportCellData(") == 1
    assert trace.read_text().endswith(", 0 mistakes\n")
    assert (tmp_path / "new.jpg").read_bytes() == program(pictures / "rgba.png")


def test_the_image_stays_clean_and_no_copy_is_left(made):
    assert "dirty 0 layers 2 images 1" in made[1]


def test_no_call_failed(made):
    assert "execution error" not in made[1]


def opened(made, name):
    return Image.open(io.BytesIO((made[0] / name).read_bytes()))


def test_exif_and_comment_are_kept(made):
    jpeg = opened(made, "camera.jpg")
    assert jpeg.getexif()[0x010F] == "Maker"
    assert jpeg.info["comment"] == b"a comment"
    assert 0x0102 not in jpeg.getexif()  # BitsPerSample, which belongs to TIFF files


def test_exif_is_left_out_on_request(made):
    jpeg = opened(made, "camera-bare.jpg")
    assert not jpeg.getexif()
    assert "comment" not in jpeg.info


def test_a_linear_image_is_not_stored_in_linear_light(made):
    """Within rounding it has the pixels of the image that it was converted from."""
    one, other = opened(made, "linear.jpg"), opened(made, "with-profile.jpg")
    assert one.info["icc_profile"][36:40] == b"acsp"
    difference = [abs(a - b) for a, b in zip(one.tobytes(), other.tobytes())]
    assert max(difference) <= 4
