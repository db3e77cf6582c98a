# SPDX-License-Identifier: GPL-3.0-or-later
"""Starts a server of a run again, from inside the run, as a machine that comes back."""

import json
import os
import signal
import sys

from . import processes
from .bed import accepts_tcp, spawn

_SECONDS = 45


def _say(text):
    print(f"testbed: {text}", file=sys.stderr)
    return 1


def _save(place, exports):
    handle = os.open(place + ".new", os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600)
    with os.fdopen(handle, "w", encoding="utf-8") as file:
        json.dump(exports, file, indent=2, sort_keys=True)
    os.replace(place + ".new", place)


def run(name):
    """Ends what is left of the server, starts it, waits until it answers, prints its new pid."""
    directory = os.environ.get("QTB_DIR")
    if not directory:
        return _say("restart works inside a run only")
    exports_file = os.path.join(directory, "testbed.json")
    with open(exports_file, encoding="utf-8") as file:
        exports = json.load(file)
    key = f"QTB_{name.upper()}"
    if f"{key}_PORT" not in exports:
        return _say(f"{name} cannot be restarted; it is not one of this run's servers with a port")
    old = int(exports[f"{key}_PID"])
    place = exports[f"{key}_HOST"], int(exports[f"{key}_PORT"])
    with open(os.path.join(directory, "log", f"{name}.json"), encoding="utf-8") as file:
        recipe = json.load(file)

    try:
        os.killpg(old, signal.SIGKILL)
    except ProcessLookupError:
        pass
    if not processes.wait_until(lambda: not processes.group_alive(old), _SECONDS):
        return _say(f"process group {old} of {name} does not end")
    process = spawn(recipe["command"], recipe["environment"], os.path.join(directory, "log", f"{name}.log"))
    processes.wait_until(lambda: accepts_tcp(*place) or process.poll() is not None, _SECONDS)
    if process.poll() is not None or not accepts_tcp(*place):
        return _say(f"{name} did not come back")
    exports[f"{key}_PID"] = str(process.pid)
    _save(exports_file, exports)
    print(process.pid)
    return 0
