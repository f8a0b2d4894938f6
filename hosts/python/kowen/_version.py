# SPDX-License-Identifier: MIT
"""The package's version: that of the whole project."""

VERSION = "2.0.5"
