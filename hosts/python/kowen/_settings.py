# SPDX-License-Identifier: MIT
"""Settings as keyword arguments."""

from __future__ import annotations

import os
from numbers import Integral, Real
from typing import Mapping, Union

SettingValue = Union[str, int, float, bool, "tuple[float, ...]", "list[float]",
                     "os.PathLike[str]", None]
"""Text as the command line takes it, a number, True or False, a pair for ``dpi``, three numbers for
``background``, a path for ``profile``."""


def option_text(name: str, value: SettingValue) -> str:
    """A value as the command line's option of that name takes it.

    >>> option_text("quality", 85), option_text("progressive", True)
    ('85', 'yes')
    >>> option_text("dpi", (300, 150)), option_text("dpi", [300, 150]), option_text("exif", False)
    ('300x150', '300x150', 'drop')
    >>> option_text("background", (255, 240, 0))
    '#fff000'
    """
    if isinstance(value, bool) or type(value).__name__ in ("bool_", "bool"):  # numpy's as well
        words = ("drop", "keep") if name in ("exif", "icc", "comment") else ("no", "yes")
        return words[bool(value)]
    if name == "background" and isinstance(value, (tuple, list)):
        return "#" + "".join(f"{int(part):02x}" for part in value)
    if isinstance(value, (tuple, list)):
        return "x".join(number_text(part) for part in value)
    if isinstance(value, (int, float)):
        return number_text(value)
    return str(value)


def number_text(value: object) -> str:
    """A number without an empty fraction; anything else as it prints, for the library to refuse.

    >>> number_text(72.0), number_text(2.5), number_text(float("nan"))
    ('72', '2.5', 'nan')
    """
    if isinstance(value, Integral):
        return str(int(value))
    if isinstance(value, Real):
        number = float(value)
        return str(int(number)) if number.is_integer() else repr(number)
    return str(value)


def option_name(keyword: str) -> str:
    """The setting's name: ``max_bytes`` is ``max-bytes``, ``color`` is ``colour``.

    >>> option_name("max_bytes"), option_name("color_mode")
    ('max-bytes', 'colour-mode')
    """
    return keyword.replace("_", "-").replace("color", "colour")


def options(settings: Mapping[str, SettingValue]) -> list[tuple[str, str]]:
    """The settings by name; those that are None are left out."""
    found = []
    for keyword, value in settings.items():
        if value is not None:
            name = option_name(keyword)
            found.append((name, option_text(name, value)))
    return found
