# SPDX-License-Identifier: GPL-3.0-or-later
"""quorrelctl watch while what it stands on is killed: platform_test.py PROGRAM [TEST...], run in the test bed's own
network with the servers smb, avahi, and dns, which knows the name Den for the SMB server."""

import json
import os
import signal
import subprocess
import sys
import tempfile
import time
import unittest

from gi.repository import Gio, GLib

import console_bed
import keeper_test
from console_bed import LOG, PASSWORD, SMB, USER, VOLUMES, await_, catalogue, run, share, states
from keeper_test import Announcement, Keeper, logged
from testbed_lib import processes
from testbed_lib.bed import accepts_unix, spawn

HOST, SHARES = "Den", ("pub", "priv")
TRUTH = 5  # seconds: within so many a share's status follows what happened
BUS, RUN = "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"


def gvfs(program, session):
    """The processes of that one of gvfs's programs, oldest first."""
    return sorted(pid for pid, name in processes.strangers_with(RUN, session[RUN]).items() if name == program)


def back_end(share_name):
    """The process that serves the share."""
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)

    def call(destination, path, method, arguments=None):
        return bus.call_sync(destination, path, *method.rsplit(".", 1), arguments, None, Gio.DBusCallFlags.NONE, 20000,
                             None).unpack()

    mounts, = call("org.gtk.vfs.Daemon", "/org/gtk/vfs/mounttracker", "org.gtk.vfs.MountTracker.ListMounts")
    owner = next(mount[0] for mount in mounts if f"share={share_name}" in mount[3])
    return call("org.freedesktop.DBus", "/", "org.freedesktop.DBus.GetConnectionUnixProcessID",
                GLib.Variant("(s)", (owner,)))[0]


def kill(pid):
    os.kill(pid, signal.SIGKILL)
    return time.monotonic()


def read(name):
    with open(os.path.join(VOLUMES, name, "hello.txt"), encoding="utf-8") as file:
        return file.read()


def is_readable(name):
    try:
        return read(name) == f"Hello from {name}\n"
    except OSError:
        return False


class OwnSession:
    """A session bus that may be killed, in a runtime folder of its own."""

    def __init__(self):
        folder = os.path.join(os.environ["QTB_DIR"], "session")
        os.makedirs(folder, 0o700)
        self.socket = os.path.join(folder, "bus")
        self.environment = {RUN: folder, BUS: f"unix:path={self.socket}"}
        self.process = None

    def start(self):
        if os.path.exists(self.socket):
            os.unlink(self.socket)
        self.process = spawn(["dbus-daemon", "--session", "--nofork", "--nopidfile", f"--address={self.environment[BUS]}"],
                             {**os.environ, **self.environment},
                             os.path.join(os.environ["QTB_DIR"], "log", "session.log"))
        await_(lambda: accepts_unix(self.socket), "the session bus does not start")

    def stop(self, number=signal.SIGKILL):
        if self.process and self.process.poll() is None:
            self.process.send_signal(number)
            self.process.wait(20)
        return time.monotonic()

    def close(self):
        self.stop(signal.SIGTERM)
        await_(lambda: not [each for name in ("gvfsd", "gvfsd-fuse", "gvfsd-smb")
                            for each in gvfs(name, self.environment)], "gvfs does not leave with its bus")


class PlatformTest(unittest.TestCase):
    def setUp(self):
        keeper_test.quiet_preferences()
        if os.path.exists(LOG):
            os.unlink(LOG)
        catalogue({HOST: [share(SMB, "pub", guestLogin=True), share(SMB, "priv", userName=USER, password=PASSWORD)]})
        self.session = {RUN: os.environ[RUN]}

    def tearDown(self):
        done = run("unmount", "--all", env={**os.environ, **self.session})
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertFalse(os.path.lexists(VOLUMES))
        self.assertNotIn(PASSWORD, logged())

    # ---- what each test is made of -------------------------------------

    def online(self, keeper):
        """The server comes, and everything is mounted."""
        with Announcement(HOST):
            self.await_states(keeper, "Online")
        await_(lambda: f"{HOST} Left" in logged(), "the server does not leave")

    def again(self, keeper):
        """It comes once more."""
        before = logged().count("Mount Operation Finished")
        with Announcement(HOST):
            await_(lambda: logged().count("Mount Operation Finished") >= before + len(SHARES),
                   lambda: f"nothing was tried: {logged()}", 30)
        await_(lambda: logged().count(f"{HOST} Left") >= 2, "the server does not leave")
        self.assertIsNone(keeper.process.poll())

    def last_states(self, keeper):
        lines = [line.split(": ") for line in keeper.output().splitlines()]
        return {line[0].partition("/")[2]: line[1] for line in lines if line[1] in ("Online", "Offline")}

    def await_states(self, keeper, *wanted, since=None):
        """Those of the shares, in their order; of one, for all."""
        whole = dict(zip(SHARES, wanted * len(SHARES) if len(wanted) == 1 else wanted))
        await_(lambda: self.last_states(keeper) == whole, lambda: f"not {whole}: {keeper.output()}{logged()}", 30)
        if since:
            seconds = time.monotonic() - since
            print(f"{self.id().rpartition('.')[2]}: {', '.join(wanted)} after {seconds:.2f} s")
            self.assertLess(seconds, TRUTH)

    def assert_mounted(self, keeper):
        self.await_states(keeper, "Online")
        for name in SHARES:
            await_(lambda name=name: is_readable(name), lambda name=name: f"{name} cannot be read: {logged()}")
        done = run("list", "--json", env={**os.environ, **self.session})
        self.assertEqual(states(done), {(HOST, name): "Online" for name in SHARES}, json.dumps(done.stderr))

    def end(self, keeper):
        status, seconds = keeper.end()
        self.assertEqual(status, 0, keeper.errors())
        self.assertLess(seconds, console_bed.PROMPTNESS)

    # ---- what is killed ------------------------------------------------

    def test_gvfsd(self):
        with Keeper() as keeper:
            self.online(keeper.ready())
            self.await_states(keeper, "Offline", since=kill(gvfs("gvfsd", self.session)[0]))
            self.again(keeper)
            self.assert_mounted(keeper)
            self.end(keeper)

    def test_back_end(self):
        with Keeper() as keeper:
            self.online(keeper.ready())
            self.await_states(keeper, "Online", "Offline", since=kill(back_end("priv")))
            self.assertTrue(is_readable("pub"))
            self.again(keeper)
            self.assert_mounted(keeper)
            self.end(keeper)

    def test_files_of_gvfs(self):
        """What shows the mounts as files goes alone; gvfs itself, and who uses it, does not need it."""
        with Keeper() as keeper:
            self.online(keeper.ready())
            kill(gvfs("gvfsd-fuse", self.session)[0])
            await_(lambda: not is_readable("pub"), "it lives on")
            self.assertEqual(self.last_states(keeper), dict.fromkeys(SHARES, "Online"))
            self.again(keeper)
            self.assert_mounted(keeper)
            self.assertEqual(logged().count("has died; it was started again"), 1, logged())
            self.end(keeper)

    def test_session_bus(self):
        own = OwnSession()
        self.addCleanup(own.close)
        self.session = own.environment
        own.start()
        with Keeper(environment=self.session) as keeper:
            self.online(keeper.ready())
            self.await_states(keeper, "Offline", since=own.stop())
            self.again(keeper)
            self.assertEqual(self.last_states(keeper), dict.fromkeys(SHARES, "Offline"))
            self.assertIn(f"Cannot mount smb://{HOST}/pub without a session bus", logged())
            self.assertNotIn("shutting down", keeper.output())
            own.start()
            # GIO keeps to the bus that it knew; only a new program gets over that, and says so.
            before = logged().count("start the program again")
            with Announcement(HOST):
                await_(lambda: logged().count("start the program again") > before, lambda: f"no word: {logged()}", 30)
            keeper.process.send_signal(signal.SIGHUP)
            self.assertEqual([keeper.told(), keeper.told()], ["RELOADING=1", "READY=1"])
            with Announcement(HOST):
                self.await_states(keeper, "Online")
                self.assert_mounted(keeper)
            self.end(keeper)
            # Before the bus goes for good.
            self.assertEqual(run("unmount", "--all", env={**os.environ, **self.session}).returncode, 0)


class ProgramsTest(unittest.TestCase):
    """The user's scripts, and the tools that look for servers."""

    def setUp(self):
        keeper_test.quiet_preferences()
        self.folder = tempfile.mkdtemp(dir=os.environ["QTB_DIR"])

    def script(self, name, text):
        path = os.path.join(self.folder, name)
        with open(path, "w", encoding="utf-8") as file:
            file.write(f"#!/bin/sh\ncd {self.folder}\n{text}\n")
        os.chmod(path, 0o700)
        return path

    def written(self, name):
        """What the script wrote there in one go."""
        path = os.path.join(self.folder, name)

        def read():
            if not os.path.exists(path):
                return None
            with open(path, encoding="utf-8") as file:
                return file.read().strip()

        return await_(read, lambda: f"{name} does not run: {logged()[-2000:]}", 60)

    def assert_is_lean(self, keeper):
        with open(keeper.of_process("status"), encoding="utf-8") as file:
            peak = int(next(line for line in file if line.startswith("VmHWM")).split()[1])
        print(f"{self.id().rpartition('.')[2]}: at most {peak // 1024} MiB")
        self.assertLess(peak, 250 * 1024)

    def test_scripts_hold_their_own_slots_and_nothing_else(self):
        scripts = [self.script("endless", "echo $$ > endless.pid.new; mv endless.pid.new endless.pid; exec sleep 1000"),
                   self.script("parent", "sleep 1000 & echo $! > child.pid.new; mv child.pid.new child.pid"),
                   self.script("talker", "echo $$ > talker.pid.new; mv talker.pid.new talker.pid\n"
                                         "yes | head -c 400000000; echo done > said; exec sleep 1000")]
        names = ("s01", "s02", "s03")
        catalogue({HOST: [share(SMB, name, guestLogin=True, script=script) for name, script in zip(names, scripts)]
                   + [share(SMB, name, guestLogin=True) for name in ("pub", "s04", "s05")]})
        left = []
        try:
            with Keeper() as keeper:
                keeper.ready()
                with Announcement(HOST):
                    for name in (*names, "pub", "s04", "s05"):
                        keeper.prints(f"{HOST}/{name}: Online")
                left = [int(self.written(name)) for name in ("endless.pid", "child.pid", "talker.pid")]
                self.written("said")
                self.assert_is_lean(keeper)
                status, seconds = keeper.end()
                self.assertEqual(status, 0, keeper.errors())
                self.assertLess(seconds, console_bed.PROMPTNESS)
                for pid in left:
                    os.kill(pid, 0)  # what the user started goes on
        finally:
            for pid in left:
                kill(pid)
            self.assertEqual(run("unmount", "--all").returncode, 0)

    def scans(self, tool):
        """With that in the place of the tool that asks for all servers."""
        place = "/usr/bin/nmblookup"
        subprocess.run(["mount", "--bind", tool, place], check=True, timeout=20)
        try:
            keeper_test.quiet_preferences(scanForSMBHosts=True)
            catalogue({HOST: []})
            if os.path.exists(LOG):
                os.unlink(LOG)
            with Keeper() as keeper:
                keeper.ready()
                await_(lambda: "Scaning for samba hosts Thread ended" in logged(), lambda: logged()[-2000:], 60)
                self.assert_is_lean(keeper)
                self.assertEqual(keeper.end()[0], 0, keeper.errors())
        finally:
            subprocess.run(["umount", place], check=True, timeout=20)

    def test_a_scan_with_a_tool_that_prints_a_gigabyte_is_cut_short(self):
        self.scans(self.script("nmblookup", "yes '10.77.0.2, somebody' | head -c 1000000000"))
        self.assertIn("printed more than", logged())

    def test_a_scan_without_its_tool_finds_nothing(self):
        self.scans("/dev/null")

    def test_a_scan_with_a_tool_that_hangs_ends(self):
        begin = time.monotonic()
        self.scans(self.script("nmblookup", "trap '' TERM; sleep 1000 & wait"))
        self.assertLess(time.monotonic() - begin, 50)
        self.assertIn("took longer than", logged())


if __name__ == "__main__":
    console_bed.PROGRAM = os.path.realpath(sys.argv.pop(1))
    unittest.main(verbosity=2)
