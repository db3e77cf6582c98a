# SPDX-License-Identifier: GPL-3.0-or-later
"""The table: what was measured, ours beside the others, and what was wanted."""

import math
import statistics
import sys
import time


def _number(value, unit):
    if value is None:
        return "-"
    digits = 1 if unit in ("MB", "") or abs(value) < 10 else 0
    return f"{value:.{digits}f}{' ' + unit if unit else ''}"


class Table:
    """Rows as they come; printed whole at the end."""

    _HEADS = ("measured", "ours", "beside", "of it", "target", "")

    def __init__(self):
        self.rows = []
        self._began = time.monotonic()

    def say(self, text):
        print(f"[{time.monotonic() - self._began:4.0f} s] {text}", file=sys.stderr, flush=True)

    def compare(self, what, unit, ours, name, other, limit=None):
        """At most so many times the other's."""
        ratio = ours / other if other else math.inf
        self.rows.append((what, _number(ours, unit), f"{_number(other, unit)}  {name}", f"{ratio:.3f}",
                          "" if limit is None else f"{limit:g}", self._verdict(limit is None or ratio <= limit, limit)))

    def bound(self, what, unit, ours, limit):
        """At most so much."""
        self.rows.append((what, _number(ours, unit), "", "", "" if limit is None else _number(limit, unit),
                          self._verdict(limit is None or ours <= limit, limit)))

    def text(self, what, *columns):
        self.rows.append((what, *columns, *[""] * (len(self._HEADS) - 1 - len(columns))))

    @staticmethod
    def _verdict(is_met, limit):
        return "" if limit is None else "met" if is_met else "MISSED"

    def alternate(self, contenders, rounds, what, unit, factor, limits):
        """Has them take turns, each round another one first, after one round that warms all up. Medians of each."""
        times = {name: [] for name in contenders}
        names = list(contenders)
        for turn in range(rounds + 1):
            for name in names:
                took = contenders[name]() * factor
                if turn > 0:
                    times[name].append(took)
            names.append(names.pop(0))
        medians = {name: statistics.median(each) for name, each in times.items()}
        self.say(f"{what}: " + ", ".join(
            f"{name} {_number(medians[name], unit)} ({min(each):.0f}-{max(each):.0f})" for name, each in times.items()))
        for other, limit in limits:
            if other in medians:
                self.compare(what, unit, medians["ours"], other, medians[other], limit)
        return medians

    @property
    def has_missed(self):
        return any(row[-1] == "MISSED" for row in self.rows)

    def print(self):
        rows = [self._HEADS, *self.rows]
        widths = [max(len(row[column]) for row in rows) for column in range(len(self._HEADS))]
        print()
        for row in rows:
            print("  ".join(cell.ljust(width) if column in (0, 2) else cell.rjust(width)
                            for column, (cell, width) in enumerate(zip(row, widths))).rstrip())
