# SPDX-License-Identifier: GPL-3.0-or-later
"""What an idle program takes, and how long an icon takes to come."""

import os
import statistics
import subprocess
import sys
import time

from . import homes
from .running import end, kilobytes, sleeps, threads

_SETTLE_SECONDS = 4
_WINDOW_SECONDS = 15
_IDLE_SHARES = 10
_COUNTS = (10, 1000, 10000)


class _Contender:
    def __init__(self, name, command, home, has_icon=True):
        self.name = name
        self._command = command
        self._has_icon = has_icon
        # Its own, so that the keeper and the desktop program do not refuse each other the catalogue.
        runtime = os.path.join(home.path, "run")
        os.makedirs(runtime, 0o700)
        self._environment = home.environment(XDG_RUNTIME_DIR=runtime)

    def start(self, tray):
        """The process, and the seconds to its icon."""
        begin = time.monotonic()
        process = subprocess.Popen(self._command, env=self._environment, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        if not self._has_icon:
            return process, 0
        moment = tray.await_icon()
        if moment is None:
            end(process)
            sys.exit(f"compare: {self.name} brought no icon")
        return process, moment - begin


def _contenders(programs, shares):
    return [_Contender("ours", [programs.quorrel], homes.of_quorrel("ours", shares, False)),
            _Contender("Gigolo", ["gigolo"], homes.of_gigolo("gigolo", shares, False)),
            _Contender("quorrelctl watch", [programs.quorrelctl, "watch"], homes.of_quorrel("watch", shares, False),
                       has_icon=False)]


def _memory(tray, contenders, rounds):
    """Megabytes and threads, each alone in the session."""
    megabytes = {each.name: [] for each in contenders}
    counts = {each.name: [] for each in contenders}
    for turn in range(rounds + 1):
        for each in contenders:
            process, _ = each.start(tray)
            if turn == 0:
                end(process)  # the first GTK program of a screen finds out about OpenGL, and takes 30 MB more for it
                continue
            time.sleep(_SETTLE_SECONDS)
            megabytes[each.name].append(kilobytes(process.pid) / 1024)
            counts[each.name].append(threads(process.pid))
            end(process)
    return ({name: statistics.median(values) for name, values in megabytes.items()},
            {name: statistics.median(values) for name, values in counts.items()})


def _wake_ups(tray, contenders, rounds):
    """Per minute, all of them idling side by side; windows in which nothing else happens."""
    running = {each.name: each.start(tray)[0] for each in contenders}
    try:
        time.sleep(_SETTLE_SECONDS)
        counts = {name: [] for name in running}
        before = {name: sleeps(process.pid) for name, process in running.items()}
        for _ in range(rounds):
            time.sleep(_WINDOW_SECONDS)
            for name, process in running.items():
                now = sleeps(process.pid)
                counts[name].append(sum(count - before[name].get(thread, 0) for thread, count in now.items())
                                    * 60 / _WINDOW_SECONDS)
                before[name] = now
    finally:
        for process in running.values():
            end(process)
    return {name: statistics.fmean(values) for name, values in counts.items()}


def idle(programs, table, tray, rounds):
    contenders = _contenders(programs, homes.never_connected(_IDLE_SHARES))
    megabytes, counts = _memory(tray, contenders, rounds)
    table.say(f"idle: {megabytes}, {counts}")
    woken = _wake_ups(tray, contenders, rounds)
    table.say(f"wake-ups per minute: {woken}")
    table.compare("idle, memory (PSS)", "MB", megabytes["ours"], "Gigolo", megabytes["Gigolo"], 1.0)
    table.bound("idle, memory, quorrelctl watch", "MB", megabytes["quorrelctl watch"], 6.0)
    for name in ("ours", "quorrelctl watch"):
        label = "" if name == "ours" else ", " + name
        table.text(f"idle, threads{label}", f"{counts[name]:.0f}", f"{counts['Gigolo']:.0f}  Gigolo")
        table.bound(f"idle, wake-ups a minute{label}", "", woken[name], max(1.0, woken["Gigolo"]))


def starts(programs, table, tray, rounds):
    times = {}
    for turn in range(rounds + 1):
        for count in _COUNTS:
            shares = homes.never_connected(count)
            for each in _contenders(programs, shares)[:2]:
                process, seconds = each.start(tray)
                end(process)
                if turn > 0:  # the first warms up
                    times.setdefault((each.name, count), []).append(seconds * 1000)
    medians = {key: statistics.median(values) for key, values in times.items()}
    table.say(f"start to icon, ms: {({f'{name} {count}': round(value) for (name, count), value in medians.items()})}")
    for count in _COUNTS:
        table.compare(f"start to icon, {count} shares", "ms", medians["ours", count], "Gigolo",
                      medians["Gigolo", count])
    table.compare("start to icon, 10000 shares", "ms", medians["ours", _COUNTS[-1]], "ours with 10",
                  medians["ours", _COUNTS[0]], 1.5)
