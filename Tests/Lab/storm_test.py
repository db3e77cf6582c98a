#!/usr/bin/python3 -B
# SPDX-License-Identifier: GPL-3.0-or-later
"""storm_test.py QUORRELCTL [--events N] [--names N]: very many services come and go at once.

Runs under scripts/lab. Half of the names are hosts of the catalogue. From outside it is watched how long the keeper's
main thread is busy at a stretch, what it holds meanwhile, and what it holds afterwards.
"""

import argparse
import os
import sys
import threading
import time

import keeping
from keeping import expect
from testbed_lib import announcing, catalogue, lab_control, sanitizers
from testbed_lib.lab_control import say

LONGEST_STRETCH = 0.05 * sanitizers.SLOWNESS  # seconds
PATIENCE = 120


class BusyWatch:
    """Sums up how long the main thread of a process computes without once giving way to wait for something.

    Time on a processor between two looks counts as one stretch as long as the thread has not gone to sleep of its own
    accord. So what it does in several short pieces between two looks may count as one: the figure errs upwards.
    """

    _LOOK = 0.002

    def __init__(self, pid):
        self._folder = f"/proc/{pid}/task/{pid}"
        self.longest = 0.0
        self.total = 0.0
        self._ends = threading.Event()
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def _look(self):
        with open(f"{self._folder}/schedstat", encoding="ascii") as file:
            computed = int(file.read().split()[0]) / 1e9
        with open(f"{self._folder}/status", encoding="ascii", errors="replace") as file:
            slept = next(line.split()[1] for line in file if line.startswith("voluntary_ctxt_switches"))
        return computed, slept

    def _run(self):
        try:
            begin, last_slept = self._look()
            start = begin
            while not self._ends.wait(self._LOOK):
                computed, slept = self._look()
                self.longest = max(self.longest, computed - start if slept == last_slept else 0.0)
                if slept != last_slept:
                    start, last_slept = computed, slept
                self.total = computed - begin
        except (OSError, StopIteration):
            pass  # the process has ended

    def end(self):
        self._ends.set()
        self._thread.join()


class Storm:
    def __init__(self, options):
        self.options = options
        self.lab = lab_control.Lab()
        self.names = [f"Server {number:03}" for number in range(options.names)]
        self.announcer = announcing.Announcer(self.lab.servers[1])
        catalogue.write([share for name in self.names[::2] for share in (
            keeping.afp_share(name, automatically=False), catalogue.Share(name, catalogue.AFP, "Private", "Private",
                                                                          automatically=False))])
        keeping.write_preferences()
        self.keeper = keeping.Keeper(options.program)
        self.events = 0
        self.most = {}
        self.held = None

    def close(self):
        self.keeper.kill()

    def _count(self):
        log = self.keeper.log()
        return log.count(" Appeared"), log.count(" Left")

    def _watch(self):
        held = self.keeper.held()
        self.most = {key: max(value, self.most.get(key, 0)) for key, value in held.items()}

    def _await_counts(self, wanted):
        def reached():
            self._watch()
            return self._count() >= wanted

        self.keeper.await_(reached, lambda: f"wanted are {wanted}, there are {self._count()}", PATIENCE)

    def _round(self):
        appeared, left = self._count()
        for name in self.names:
            self.announcer.announce(announcing.AFP, name)
        self._await_counts((appeared + len(self.names), left))
        self.announcer.withdraw_all()
        self._await_counts((appeared + len(self.names), left + len(self.names)))
        self.events += 2 * len(self.names)

    # ---- in this order -------------------------------------------------

    def all_come_and_go_once(self):
        self._round()
        self.held = self.keeper.await_rest()
        say(f"    before: {self.held}")

    def then_come_all_the_events(self):
        self.events = 0
        began = time.monotonic()
        watch = BusyWatch(self.keeper.process.pid)
        while self.events < self.options.events:
            self._round()
        watch.end()
        took = time.monotonic() - began
        say(f"    {self.events} events in {took:.1f} s; main thread {watch.total:.2f} s on a processor, "
            f"{watch.longest * 1000:.1f} ms at the longest stretch; most held: {self.most}")
        expect(watch.longest <= LONGEST_STRETCH, f"the main thread is busy for {watch.longest * 1000:.0f} ms on end")
        expect(self.most["threads"] <= self.held["threads"] + 4, f"threads: {self.most['threads']}")

    def it_holds_no_more_than_before(self):
        held = self.keeper.await_rest()
        say(f"    after:  {held}")
        keeping.expect_no_more(held, self.held)

    def the_keeper_ends(self):
        self.keeper.end()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program", type=os.path.realpath)
    parser.add_argument("--events", type=int, default=1000)
    parser.add_argument("--names", type=int, default=250)
    storm = Storm(parser.parse_args())
    try:
        return lab_control.run_steps(storm, ("all_come_and_go_once", "then_come_all_the_events",
                                             "it_holds_no_more_than_before", "the_keeper_ends"))
    finally:
        storm.close()


if __name__ == "__main__":
    sys.exit(main())
