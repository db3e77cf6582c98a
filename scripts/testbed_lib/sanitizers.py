# SPDX-License-Identifier: GPL-3.0-or-later
"""What sanitizers report of any program that a bed starts, also of one whose output and exit code nobody looks at."""

import os

_VARIABLES = ("ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS")
_FOLDER = "sanitizers"


def listen(bed):
    """The environment in which programs write their reports into the bed. Those built without sanitizers ignore it."""
    place = os.path.join(bed.make_folder(_FOLDER), "report")
    return {name: ":".join(filter(None, (os.environ.get(name), f"log_path={place}", "log_exe_name=1")))
            for name in _VARIABLES}


def reports_in(bed):
    """The texts of all reports."""
    texts = []
    folder = bed.path(_FOLDER)
    for name in sorted(os.listdir(folder)) if os.path.isdir(folder) else []:
        with open(os.path.join(folder, name), encoding="utf-8", errors="replace") as file:
            texts.append(f"{name}:\n{file.read()}")
    return texts
