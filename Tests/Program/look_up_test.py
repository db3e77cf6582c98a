#!/usr/bin/python3 -B
# SPDX-License-Identifier: GPL-3.0-or-later
"""look_up_test.py PROGRAM [--full] [--limit MILLISECONDS]: the windows answer while a dead name server is asked.

Runs under scripts/testbed with --netns --servers dns --desktop panel. The name server
is frozen, and nslookup gives up after a few seconds; with --full after as many as it
does by itself. --limit: how long a window may take beyond what the machine takes.
"""

import argparse
import os
import signal
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.realpath(__file__))
sys.path[:0] = [HERE, os.path.join(HERE, "..", "..", "scripts")]

import running  # noqa: E402
from heartbeat import Heartbeat  # noqa: E402
from running import expect, failed  # noqa: E402
from testbed_lib import catalogue, screen, trays  # noqa: E402

HOST, OTHER, SHARE = "slow.lan.test", "slower.lan.test", "docs"
TOOL = "nslookup"
SHORT = "options timeout:8 attempts:1\n"
LONGEST = 60


def write_files():
    catalogue.write([catalogue.Share(host, catalogue.FTP, SHARE, guestLogin=True, automatically=False)
                     for host in (HOST, OTHER)])
    running.write_preferences(logToConsole=True)


def silence_name_server(options):
    with open(os.path.join(os.environ["QTB_DIR"], "resolv.conf"), "w", encoding="utf-8") as file:
        file.write(f"nameserver {os.environ['QTB_DNS_HOST']}\n{options}")
    os.killpg(int(os.environ["QTB_DNS_PID"]), signal.SIGSTOP)


def tools():
    """The tools that run anywhere in this namespace."""
    found = []
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{pid}/stat", encoding="utf-8") as file:
                name, _, rest = file.read().partition("(")[2].rpartition(") ")
        except (FileNotFoundError, ProcessLookupError):
            continue
        if name == TOOL and not rest.startswith("Z"):
            found.append(int(pid))
    return found


def log():
    with open(os.path.join(os.environ["XDG_STATE_HOME"], "Quorrel", "Quorrel.log"), encoding="utf-8") as file:
        return file.read()


class Console:
    """One that mounts."""

    def __init__(self, program, *hosts):
        self.process = subprocess.Popen(  # pylint: disable=consider-using-with
            [program, "mount", *hosts], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait(5)

    def interrupt(self):
        start = time.monotonic()
        self.process.send_signal(signal.SIGINT)
        status = self.process.wait(10)
        seconds = time.monotonic() - start
        print(f"    interrupted, it ended after {seconds:.2f} s", flush=True)
        expect(status == 128 + signal.SIGINT, f"it ended with {status}")
        expect(seconds < 3 * running.PROMPTNESS, f"it took {seconds:.2f} s")


class LookUps:
    def __init__(self, program, limit):
        self.program = program
        self.console = os.path.join(os.path.dirname(program), "quorrelctl")
        self.limit = limit
        self.tray = trays.Panel()
        self.run = None
        self.beat = None

    def begin(self, *titles):
        self.tray.choose(*titles)
        screen.wait_for(tools, f"no {TOOL} runs", 20)

    # ---- in this order -------------------------------------------------

    def starts(self):
        self.run = running.Running(self.program)
        self.tray.icon()
        self.tray.choose("Show Shares")
        self.run.application().find("Quorrel", "frame")
        screen.window_place("Quorrel")
        self.beat = Heartbeat(screen.tool("xdotool", "getactivewindow").strip())

    def a_mount_that_waits_for_its_name_holds_up_no_window(self):
        self.beat.take()
        start = time.monotonic()
        self.begin("Mount", HOST, SHARE)
        self.tray.choose("Preferences")
        self.run.application().find("Preferences", "dialog")
        goes_on = tools() and "with nsLookup" not in log()
        screen.wait_for(lambda: f"Resolving {HOST} with nsLookup" in log(), "the mount was not gone on with", LONGEST)
        seconds = time.monotonic() - start
        readings = self.beat.take()
        print(f"    look-up {seconds:.1f} s; worst answer of the window {readings}", flush=True)
        expect(goes_on, "the look-up was over before anything else could be done")
        expect(readings.answers > 10 * seconds, f"only {readings.answers:.0f} answers")
        expect(readings.window < self.limit + readings.bare, f"the window took {readings}")

    def the_program_ends_at_once_during_a_look_up(self):
        self.begin("Mount", HOST, SHARE)
        self.beat.close()
        self.run.end(signal.SIGTERM)
        expect(not tools(), f"a {TOOL} goes on")

    def the_console_looks_names_up_side_by_side(self):
        before = len(log())
        with Console(self.console, HOST, OTHER) as console:
            def said(host):
                return screen.wait_for(lambda: f"Resolving {host} with nsLookup" in log()[before:] and time.monotonic(),
                                       f"nothing is said of {host}", LONGEST)

            start = time.monotonic()
            one, two = said(HOST) - start, said(OTHER) - start
            print(f"    the first name after {one:.1f} s, the second after {two:.1f} s", flush=True)
            expect(two < 1.6 * one, "one after the other")
            console.interrupt()

    def an_interrupted_console_ends_at_once(self):
        with Console(self.console, HOST) as console:
            screen.wait_for(tools, f"no {TOOL} runs", 20)
            console.interrupt()
        screen.wait_for(lambda: not tools(), f"a {TOOL} goes on", 5)

    def close(self):
        if self.beat:
            self.beat.close()
        if self.run:
            self.run.kill()
        os.killpg(int(os.environ["QTB_DNS_PID"]), signal.SIGCONT)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("--full", action="store_true")
    parser.add_argument("--limit", type=float, default=500)
    options = parser.parse_args()
    write_files()
    silence_name_server("" if options.full else SHORT)
    look_ups = LookUps(os.path.realpath(options.program), options.limit)
    try:
        for step in (look_ups.starts, look_ups.a_mount_that_waits_for_its_name_holds_up_no_window,
                     look_ups.the_program_ends_at_once_during_a_look_up,
                     look_ups.the_console_looks_names_up_side_by_side, look_ups.an_interrupted_console_ends_at_once):
            try:
                step()
                print(f"ok  {step.__name__}", flush=True)
            except Exception as error:  # pylint: disable=broad-except
                return failed(step.__name__, error)
    finally:
        look_ups.close()
    return 0


if __name__ == "__main__":
    sys.exit(main())
