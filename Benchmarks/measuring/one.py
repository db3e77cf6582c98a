# SPDX-License-Identifier: GPL-3.0-or-later
"""One mount of each protocol."""

import os
import re
import signal
import subprocess
import sys

from . import servers
from .running import session_processes

_NAMES = {"smb": "SMB", "dav": "WebDAV", "ftp": "FTP", "afp": "AFP"}
_LIMITS = {"a bare GIO mount": 1.03, "gio mount": None}
_TRIES = 5


def _end_apple_back_ends():
    """gvfs's AFP now and then waits for itself; whoever mounts that place next would wait with it."""
    for pid in session_processes():
        try:
            with open(f"/proc/{pid}/comm", encoding="utf-8") as file:
                if file.read().strip() == "gvfsd-afp":
                    os.kill(int(pid), signal.SIGTERM)
        except OSError:
            pass  # gone meanwhile


def _measure(programs, table, protocol, rounds, environment):
    """The lines of the program that measures."""
    for left in reversed(range(_TRIES)):
        try:
            done = subprocess.run([programs.mounts, str(rounds), protocol], env=environment, capture_output=True,
                                  text=True, timeout=20 + 10 * rounds, stdin=subprocess.DEVNULL, check=True)
            return done.stdout
        except (subprocess.TimeoutExpired, subprocess.CalledProcessError) as error:
            table.say(f"{_NAMES[protocol]}: {error}; {(error.stderr or '')[-300:]!r}")
            if not left or protocol != "afp":
                sys.exit(f"compare: {_NAMES[protocol]} cannot be measured")
            _end_apple_back_ends()
    return ""


def run(programs, table, rounds):
    hosts, started = servers.start_dav()
    environment = dict(os.environ, QTB_OPEN_HOST=hosts[0], QTB_OPEN_PORT="80", QTB_OPEN_PATH=servers.NAMES[0])
    for protocol, name in _NAMES.items():
        printed = _measure(programs, table, protocol, rounds, environment)
        for line in printed.splitlines()[1:]:
            _, ours, other, _, _, beside = re.split(r"\s{2,}", line.strip().replace(" ms", " "), maxsplit=5)
            table.compare(f"one mount, {name}", "ms", float(ours), beside, float(other), _LIMITS[beside])
        table.say(f"one mount, {name}: done")
    servers.end(started)
