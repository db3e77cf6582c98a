# SPDX-License-Identifier: GPL-3.0-or-later
"""How the main thread's time grows with the catalogue."""

import math
import statistics
import subprocess

_LIMIT = 1.1
_TITLES = {"load": "catalogue load", "save": "catalogue save", "menus": "menu rebuild",
           "drawn": "menus drawn for the first time",
           "storm": "storm: every server comes and goes", "event": "the longest event of that storm",
           "volume": "a volume comes or goes"}


def exponent(points):
    """Of the power law that fits best: the slope of logarithms over logarithms, by least squares."""
    xs, ys = [math.log(x) for x, _ in points], [math.log(y) for _, y in points]
    x, y = statistics.fmean(xs), statistics.fmean(ys)
    return sum((a - x) * (b - y) for a, b in zip(xs, ys)) / sum((a - x) ** 2 for a in xs)


def run(programs, table, rounds):
    done = subprocess.run([programs.growth, str(rounds)], check=True, capture_output=True, text=True, timeout=400,
                          stdin=subprocess.DEVNULL)
    points = {}
    for line in done.stdout.splitlines():
        what, shares, milliseconds = line.split()
        points.setdefault(what, []).append((int(shares), float(milliseconds)))
    for what, each in points.items():
        grown = exponent(each)
        times = " / ".join(f"{milliseconds:.3g}" for _, milliseconds in each)
        table.text(f"main thread, {_TITLES[what]}", f"{times} ms", "at " + " / ".join(str(n) for n, _ in each) + " shares",
                   f"n^{grown:.2f}", f"n^{_LIMIT}", "met" if grown <= _LIMIT else "MISSED")
    table.say("main thread: done")
