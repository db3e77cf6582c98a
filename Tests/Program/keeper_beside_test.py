#!/usr/bin/python3 -B
# SPDX-License-Identifier: GPL-3.0-or-later
"""keeper_beside_test.py PROGRAM: the program and "quorrelctl watch", which stands beside it, leave each other alone.

Runs under scripts/testbed with --desktop bare.
"""

import os
import signal
import subprocess
import sys

HERE = os.path.dirname(os.path.realpath(__file__))
sys.path[:0] = [HERE, os.path.join(HERE, "..", "..", "scripts")]

import running  # noqa: E402
from running import expect, run_steps  # noqa: E402
from testbed_lib import screen  # noqa: E402

LOCK = os.path.join(os.environ["XDG_RUNTIME_DIR"], "Quorrel.lock")


def holder():
    if not os.path.exists(LOCK):
        return None
    with open(LOCK, encoding="utf-8") as file:
        return int(file.read() or 0)


class Neighbours:
    def __init__(self, program):
        # A scan's tool, which nobody waits for, may outlive the program.
        running.write_preferences(logToConsole=True)
        self.program = program
        self.console = os.path.join(os.path.dirname(program), "quorrelctl")
        self.keeper = None
        self.run = None

    # ---- in this order -------------------------------------------------

    def beside_a_keeper_the_program_says_so_and_ends(self):
        self.keeper = subprocess.Popen(  # pylint: disable=consider-using-with
            [self.console, "watch"], stdin=subprocess.DEVNULL)
        screen.wait_for(lambda: holder() == self.keeper.pid, "the keeper does not start")
        before = running.catalogue_state() if os.path.exists(running.catalogue_file()) else None
        self.run = running.Running(self.program)
        alert = self.run.application().find(role="alert")
        expect(alert.look("Quorrel is running already"), alert.tree())
        expect(f"kill {self.keeper.pid}" in alert.tree(), alert.tree())
        alert.find("OK", role="push button").click()
        expect(self.run.process.wait(10) == 1, f"it ended with {self.run.process.returncode}")
        after = running.catalogue_state() if os.path.exists(running.catalogue_file()) else None
        expect(after == before, "it touched the catalogue")
        expect(self.keeper.poll() is None, "the keeper has ended")

    def a_session_that_ends_does_not_wait_for_an_answer(self):
        self.run = running.Running(self.program)
        self.run.application().find(role="alert")
        self.run.process.send_signal(signal.SIGTERM)
        self.run.process.wait(running.PROMPTNESS)

    def the_keeper_told_to_end_makes_room(self):
        self.keeper.terminate()
        expect(self.keeper.wait(5) == 0, f"the keeper ended with {self.keeper.returncode}")
        self.run = running.Running(self.program)
        screen.wait_for(lambda: running.owns_name() and holder() == self.run.process.pid, "it does not start")

    def beside_the_program_no_keeper_starts(self):
        done = subprocess.run([self.console, "watch"], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                              timeout=20, check=False)
        wanted = f"quorrelctl: Quorrel is running already, as process {self.run.process.pid}\n"
        expect((done.returncode, done.stdout, done.stderr) == (1, "", wanted), str(done))
        done = subprocess.run([self.console, "list"], stdin=subprocess.DEVNULL, capture_output=True, timeout=20,
                              check=False)
        expect(done.returncode == 0, str(done))
        self.run.end(signal.SIGTERM)

    def close(self):
        if self.run:
            self.run.kill()
        if self.keeper and self.keeper.poll() is None:
            self.keeper.kill()
            self.keeper.wait(5)


def main():
    return run_steps(Neighbours(os.path.realpath(sys.argv[1])), (
        "beside_a_keeper_the_program_says_so_and_ends", "a_session_that_ends_does_not_wait_for_an_answer",
        "the_keeper_told_to_end_makes_room", "beside_the_program_no_keeper_starts"))


if __name__ == "__main__":
    sys.exit(main())
