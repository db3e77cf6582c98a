# SPDX-License-Identifier: GPL-3.0-or-later
"""What sanitizers report of any program that a bed starts, also of one whose output and exit code nobody looks at."""

import os

# How many times as long a program may take, and as much it may hold, that a sanitizer watches.
SLOWNESS = float(os.environ.get("QUORREL_SLOWNESS", "1"))

# The blocked signals, all but SIGSYS, of the thread by which ThreadSanitizer looks after itself ten times a second.
OWN_THREAD = "fffffffe3ffbfeff"

_VARIABLES = ("ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS")
_FOLDER = "sanitizers"


def listen(bed):
    """The environment in which programs write their reports into the bed. Those built without sanitizers ignore it."""
    place = os.path.join(bed.make_folder(_FOLDER), "report")
    return {name: ":".join(filter(None, (os.environ.get(name), f"log_path={place}", "log_exe_name=1")))
            for name in _VARIABLES}


def lean():
    """The caller's environment for a program whose memory is measured: little of what it frees is kept to watch it."""
    return {**os.environ, "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":quarantine_size_mb=8"}


def reports_in(bed):
    """The texts of all reports."""
    texts = []
    folder = bed.path(_FOLDER)
    for name in sorted(os.listdir(folder)) if os.path.isdir(folder) else []:
        with open(os.path.join(folder, name), encoding="utf-8", errors="replace") as file:
            texts.append(f"{name}:\n{file.read()}")
    return texts
