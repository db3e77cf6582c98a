#!/usr/bin/python3 -B
# SPDX-License-Identifier: GPL-3.0-or-later
"""one_instance_test.py PROGRAM: the desktop starts the program over the bus, a second start and the desktop entry's
actions reach the first, and quorrelctl has it mount and unmount.

Runs under scripts/testbed with --desktop bare and the server smb.
"""

import json
import os
import plistlib
import signal
import subprocess
import sys

HERE = os.path.dirname(os.path.realpath(__file__))
sys.path[:0] = [HERE, os.path.join(HERE, "..", "..", "scripts")]

from gi.repository import Gio, GLib  # noqa: E402

import running  # noqa: E402
from running import expect, run_steps  # noqa: E402
from testbed_lib import screen  # noqa: E402

SERVICE = "Server Message Block (smb)"
HOST = os.environ["QTB_SMB_HOST"]
SECONDS = 60
REMOTE = "org.quorrel.Quorrel1"


def write_catalogue():
    os.makedirs(os.path.dirname(running.catalogue_file()), 0o700, exist_ok=True)
    shares = [{"displayType": SERVICE, "sharePoint": "pub", "automatically": False, "guestLogin": True},
              {"displayType": SERVICE, "sharePoint": "priv", "automatically": False, "passwordPrompt": True,
               "userName": os.environ["QTB_USER"]}]
    with open(running.catalogue_file(), "wb") as file:
        plistlib.dump([{"displayName": HOST, "services": [{"displayType": SERVICE}], "sharePoints": shares}], file)


def call(name, path, interface, method, parameters, timeout=30000):
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    return bus.call_sync(name, path, interface, method, parameters, None, Gio.DBusCallFlags.NONE, timeout, None)


def ask_application(method, parameters):
    call(running.BUS_NAME, "/org/quorrel/Quorrel", "org.freedesktop.Application", method, parameters)


def owner(name):
    """The process; None while there is none."""
    try:
        return call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                    "GetConnectionUnixProcessID", GLib.Variant("(s)", (name,))).unpack()[0]
    except GLib.Error:
        return None


def tool(*words):
    return subprocess.run(words, stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60, check=False)


class Follower:
    """quorrelctl status --follow, and what it has written."""

    def __init__(self, console):
        folder = os.environ["QTB_DIR"]
        self.names = [os.path.join(folder, name) for name in ("follow.out", "follow.err")]
        streams = [open(name, "w", encoding="utf-8") for name in self.names]  # pylint: disable=consider-using-with
        self.process = subprocess.Popen(  # pylint: disable=consider-using-with
            [console, "status", "--follow", "--json"], stdin=subprocess.DEVNULL, stdout=streams[0], stderr=streams[1])
        for stream in streams:
            stream.close()

    def states(self, share):
        with open(self.names[0], encoding="utf-8") as file:
            lines = [json.loads(line) for line in file.read().splitlines()]
        return [line["state"] for line in lines if line["share"] == share]

    def errors(self):
        with open(self.names[1], encoding="utf-8") as file:
            return file.read()

    def await_(self, condition, what):
        screen.wait_for(condition, lambda: f"{what}: {self.states('pub')} {self.errors()}", seconds=SECONDS)

    def end(self):
        self.process.send_signal(signal.SIGINT)
        return self.process.wait(10)


class Instances:
    def __init__(self, program):
        write_catalogue()
        running.write_preferences(logToConsole=True, scanForSMBHosts=False)
        self.program = program
        self.console = os.path.join(os.path.dirname(program), "quorrelctl")
        self.name = os.path.basename(program)
        self.run = self.activated = self.follower = None

    def window(self, title):
        found = tool("xdotool", "search", "--onlyvisible", "--class", self.name).stdout.split()
        return next((number for number in found
                     if tool("xdotool", "getwindowname", number).stdout.strip().startswith(title)), None)

    def await_window(self, title):
        return screen.wait_for(lambda: self.window(title), f"no window {title} shows", seconds=SECONDS)

    def close_window(self, title):
        screen.tool("xdotool", "windowactivate", "--sync", self.await_window(title), "key", "ctrl+w")
        screen.wait_for(lambda: not self.window(title), f"the window {title} stays")

    def start_again(self, *options):
        done = tool(self.program, *options)
        expect((done.returncode, done.stdout) == (0, ""), str(done))

    def shares(self):
        listed = call(REMOTE, "/org/quorrel/Quorrel1", REMOTE, "ListShares", None).unpack()[0]
        return {each["share"]: each for each in listed}

    # ---- in this order -------------------------------------------------

    def the_desktop_starts_it_over_the_bus(self):
        folder = os.path.join(os.environ["XDG_DATA_HOME"], "dbus-1", "services")
        os.makedirs(folder)
        with open(os.path.join(folder, "org.quorrel.Quorrel.service"), "w", encoding="utf-8") as file:
            file.write(f"[D-BUS Service]\nName=org.quorrel.Quorrel\nExec={self.program}\n")
        call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ReloadConfig", None)
        ask_application("Activate", GLib.Variant("(a{sv})", ({},)))
        self.await_window("Quorrel")
        self.activated = owner(running.BUS_NAME)
        expect(self.activated, "nobody has the name")
        os.kill(self.activated, signal.SIGTERM)
        screen.wait_for(lambda: owner(running.BUS_NAME) is None, "it does not end")
        self.activated = None
        os.unlink(os.path.join(folder, "org.quorrel.Quorrel.service"))
        call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ReloadConfig", None)

    def by_hand_it_starts_with_what_it_is_asked_for(self):
        self.run = running.Running(self.program, "--preferences")
        self.await_window("Preferences")
        screen.wait_for(lambda: owner(REMOTE) == self.run.process.pid, "it does not let others in")

    def a_second_start_reaches_the_first(self):
        if self.window("Quorrel"):  # without a tray it shows by itself
            self.close_window("Quorrel")
        self.start_again()
        self.await_window("Quorrel")
        self.close_window("Quorrel")
        self.start_again("--show-shares")
        self.await_window("Quorrel")
        self.close_window("Quorrel")
        data = GLib.Variant("a{sv}", {"desktop-startup-id": GLib.Variant("s", "launcher_TIME4000000000"),
                                      "activation-token": GLib.Variant("s", "token")})
        ask_application("ActivateAction", GLib.Variant.new_tuple(
            GLib.Variant("s", "show-shares"), GLib.Variant("av", []), data))
        self.await_window("Quorrel")
        expect(owner(running.BUS_NAME) == self.run.process.pid, "another one runs")

    def quorrelctl_has_it_mount_and_unmount(self):
        self.follower = Follower(self.console)
        self.follower.await_(lambda: self.follower.states("pub") == ["unmounted"], "not listed")
        done = tool(self.console, "mount", HOST + "/pub")
        expect(done.returncode == 0 and f"{HOST}/pub: Online\n" in done.stdout, str(done))
        share = self.shares()["pub"]
        expect(share["state"] == "mounted" and os.path.exists(os.path.join(share["path"], "hello.txt")), str(share))
        self.follower.await_(lambda: self.follower.states("pub") == ["unmounted", "mounting", "mounted"], "not told")
        listed = tool(self.console, "list", "--json")
        expect({each["share"]: each["status"] for each in json.loads(listed.stdout)}
               == {"pub": "Online", "priv": "Offline"}, str(listed))
        done = tool(self.console, "unmount", HOST + "/pub")
        expect(done.returncode == 0, str(done))
        self.follower.await_(lambda: self.follower.states("pub")[3:] == ["unmounting", "unmounted"], "not told")
        expect(not running.mounts(), str(running.mounts()))

    def a_password_goes_to_it_by_descriptor(self):
        done = tool(self.console, "mount", HOST + "/priv")
        expect(done.returncode == 1 and "no terminal to ask on" in done.stderr, str(done))
        done = tool(self.console, "mount", HOST + "/priv", "--password-file", os.environ["QTB_PASSWORD_FILE"])
        expect(done.returncode == 0, str(done))
        expect(self.shares()["priv"]["state"] == "mounted", "the program has not mounted it")
        expect(tool(self.console, "unmount", "--all").returncode == 0, "it stays")

    def the_actions_of_the_desktop_entry_reach_it(self):
        ask_application("ActivateAction", GLib.Variant("(sava{sv})", ("preferences", [], {})))
        self.await_window("Preferences")
        self.start_again("--mount-all")  # the other share's password was given
        screen.wait_for(lambda: all(share["mounted"] for share in self.shares().values()), "not all are mounted",
                        seconds=SECONDS)
        expect(tool(self.console, "unmount", "--all").returncode == 0, "they stay")

    def one_that_ends_is_followed_when_it_is_back(self):
        self.run.end(signal.SIGTERM)
        self.follower.await_(lambda: "Quorrel has ended" in self.follower.errors(), "not told")
        done = tool(self.console, "mount", HOST + "/pub")  # by itself
        expect(done.returncode == 0, str(done))
        self.run = running.Running(self.program)
        self.follower.await_(lambda: "Quorrel is running" in self.follower.errors()
                             and self.follower.states("pub")[-1] == "mounted", "not followed again")
        expect(tool(self.console, "unmount", "--all").returncode == 0, "it stays")
        self.follower.await_(lambda: self.follower.states("pub")[-1] == "unmounted", "not told")
        expect(self.follower.end() == 130, "another status")
        self.run.end(signal.SIGTERM)

    def close(self):
        if self.run:
            self.run.kill()
        if self.activated:
            os.kill(self.activated, signal.SIGKILL)
        if self.follower and self.follower.process.poll() is None:
            self.follower.process.kill()
            self.follower.process.wait(5)
        tool(self.console, "unmount", "--all")


def main():
    return run_steps(Instances(os.path.realpath(sys.argv[1])), (
        "the_desktop_starts_it_over_the_bus", "by_hand_it_starts_with_what_it_is_asked_for",
        "a_second_start_reaches_the_first", "quorrelctl_has_it_mount_and_unmount",
        "a_password_goes_to_it_by_descriptor", "the_actions_of_the_desktop_entry_reach_it",
        "one_that_ends_is_followed_when_it_is_back"))


if __name__ == "__main__":
    sys.exit(main())
