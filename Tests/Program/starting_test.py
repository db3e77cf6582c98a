#!/usr/bin/python3 -B
# SPDX-License-Identifier: GPL-3.0-or-later
"""starting_test.py PROGRAM: without a tray, with one that comes late, and started again.

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
from testbed_lib import screen, trays  # noqa: E402

WIDTH, HEIGHT = 1280, 800
FRAME = 60  # no title bar and no border is wider


class Starts:
    def __init__(self, program):
        self.program = program
        self.name = os.path.basename(program)
        self.run = None
        self.trayer = None

    def window(self):
        """Its number, left, top, width and height; None while it is not shown."""
        found = subprocess.run(["xdotool", "search", "--onlyvisible", "--class", self.name], capture_output=True,
                               text=True, timeout=20, check=False).stdout.split()
        for number in found:
            lines = subprocess.run(["xdotool", "getwindowname", number, "getwindowgeometry", "--shell", number],
                                   capture_output=True, text=True, timeout=20, check=False).stdout.splitlines()
            if lines and lines[0] == "Quorrel":
                place = dict(line.split("=") for line in lines[1:])
                if int(place["WIDTH"]) > WIDTH // 4:
                    return (number, *(int(place[key]) for key in ("X", "Y", "WIDTH", "HEIGHT")))
        return None

    def await_window(self):
        return screen.wait_for(self.window, "the window does not show")

    def close_window(self):
        screen.tool("xdotool", "windowactivate", "--sync", self.await_window()[0], "key", "ctrl+w")
        screen.wait_for(lambda: not self.window(), "the window stays")

    def notice(self):
        return self.run.application().look(role="alert")

    def start_again(self):
        second = subprocess.run([self.program], env=dict(os.environ), stdin=subprocess.DEVNULL, timeout=30, check=False)
        expect(second.returncode == 0, f"the second launch ended with {second.returncode}")

    # ---- in this order -------------------------------------------------

    def without_a_tray_it_opens_its_window_and_says_so(self):
        self.run = running.Running(self.program)
        _, left, top, width, height = self.await_window()
        distance = abs(left + width // 2 - WIDTH // 2), abs(top + height // 2 - HEIGHT // 2)
        expect(max(distance) < FRAME, f"it is off the middle by {distance}")
        notice = self.run.application().find(role="alert")
        expect(notice.look("There is no tray"), notice.tree())
        notice.find(role="push button").click()
        screen.wait_for(lambda: not self.notice(), "the notice stays")

    def a_second_launch_opens_the_first_ones_window(self):
        self.close_window()
        self.start_again()
        self.await_window()
        names = [each.name for each in screen.applications()]
        expect(names.count(self.name) == 1, f"there run {names}")
        expect(not self.notice(), "it says again that there is no tray")

    def a_tray_that_comes_late_gets_the_icon(self):
        self.trayer = subprocess.Popen(  # pylint: disable=consider-using-with
            ["trayer", "--edge", "top", "--align", "right", "--widthtype", "request", "--height", "28"],
            stdin=subprocess.DEVNULL)
        tray = trays.Trayer(self.name)
        self.close_window()
        tray.icon()
        tray.choose("Show Shares")
        self.await_window()

    def the_window_is_where_it_was_left(self):
        number = self.await_window()[0]
        screen.tool("xdotool", "windowsize", "--sync", number, "900", "500", "windowmove", "--sync", number, "70", "90")
        screen.wait_for(lambda: self.await_window()[3:] == (900, 500), "it does not take the size")
        left = self.await_window()
        # What the screen's server knows may still be on its way to the program.
        screen.wait_for(lambda: "900 500" in self.stored(), lambda: f"the frame is not stored:\n{self.stored()}")
        self.run.end(signal.SIGTERM)
        # More than once: a frame may not creep by the width of its border.
        for _ in range(3):
            self.run = running.Running(self.program)
            screen.wait_for(running.owns_name, "it does not start")
            self.start_again()
            place = None

            def is_there():
                nonlocal place
                place = self.await_window()
                return place[1:] == left[1:]

            screen.wait_for(is_there, lambda: f"it is at {place[1:]} instead of {left[1:]}", seconds=5)
            self.run.end(signal.SIGTERM)

    @staticmethod
    def stored():
        with open(os.path.join(os.environ["XDG_CONFIG_HOME"], "Quorrel", "Quorrel.conf"), encoding="utf-8") as file:
            return file.read()

    def close(self):
        if self.run:
            self.run.kill()
        if self.trayer:
            self.trayer.terminate()
            self.trayer.wait(5)


def main():
    return run_steps(Starts(os.path.realpath(sys.argv[1])), (
        "without_a_tray_it_opens_its_window_and_says_so", "a_second_launch_opens_the_first_ones_window",
        "a_tray_that_comes_late_gets_the_icon", "the_window_is_where_it_was_left"))


if __name__ == "__main__":
    sys.exit(main())
