# SPDX-License-Identifier: GPL-3.0-or-later
"""One run of the program on the test bed's desktop, and what it may not leave behind."""

import os
import subprocess
import sys
import time

from gi.repository import Gio, GLib

from testbed_lib import sanitizers, screen

BUS_NAME = "org.quorrel.Quorrel"
PROMPTNESS = 1.0 * sanitizers.SLOWNESS  # seconds: within so many the program ends, whatever hangs


def expect(condition, what):
    if not condition:
        raise AssertionError(what)


def failed(step, error):
    """Says so beside a picture of the screen, and returns the exit status."""
    folder = os.environ.get("PICTURES", os.environ["QTB_DIR"])
    print(f"FAILED  {step}: {error}\n{screen.picture(os.path.join(folder, step + '.png'))}", file=sys.stderr)
    return 1


def run_steps(owner, names):
    """Calls these methods one after another until one fails, and closes their owner. An exit status."""
    name = "nothing"
    try:
        for name in names:
            getattr(owner, name)()
            print(f"ok  {name}", flush=True)
    except Exception as error:  # pylint: disable=broad-except
        return failed(name, error)
    finally:
        owner.close()
    return 0


def catalogue_file():
    return os.path.join(os.environ["XDG_DATA_HOME"], "Quorrel", "Quorrel2.plist")


def catalogue_state():
    """What changes with every save, even with one of the same content."""
    status = os.stat(catalogue_file())
    with open(catalogue_file(), "rb") as file:
        return status.st_ino, status.st_mtime_ns, file.read(), sorted(os.listdir(os.path.dirname(catalogue_file())))


def write_preferences(**flags):
    """Before the program starts. What it would do by itself is off unless asked for."""
    path = os.path.join(os.environ["XDG_CONFIG_HOME"], "Quorrel", "Quorrel.conf")
    os.makedirs(os.path.dirname(path), 0o700, exist_ok=True)
    with open(path, "w", encoding="utf-8") as file:
        file.write("[Flags]\n" + "".join(f"{key}={str(value).lower()}\n" for key, value in
                                         {"BrowseForServices": False, **flags}.items()))


def owns_name():
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    return bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
                         GLib.Variant("(s)", (BUS_NAME,)), None, Gio.DBusCallFlags.NONE, 5000, None).unpack()[0]


def mounts():
    """What is mounted in this session, and the links to it."""
    listed = subprocess.run(["gio", "mount", "--list"], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                            timeout=20, check=False).stdout
    volumes = os.path.join(os.environ["HOME"], "Volumes")
    return [line for line in listed.splitlines() if "://" in line] \
        + (os.listdir(volumes) if os.path.isdir(volumes) else [])


def _processes_of(session):
    found = []
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{pid}/stat", encoding="utf-8") as file:
                state, _, _, its_session = file.read().rpartition(") ")[2].split()[:4]
        except (FileNotFoundError, ProcessLookupError):
            continue
        if int(its_session) == session and state != "Z":
            found.append(int(pid))
    return found


class Running:
    """The program, in a process session of its own."""

    def __init__(self, program, *options):
        self.name = os.path.basename(program)
        self.process = subprocess.Popen(  # pylint: disable=consider-using-with
            [program, *options], env=dict(os.environ, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1"), stdin=subprocess.DEVNULL,
            start_new_session=True)

    def application(self):
        return screen.application(self.name)

    def end(self, number):
        """Sends the signal; the program has to heed it in order and in time."""
        start = time.monotonic()
        self.process.send_signal(number)
        self.await_end(start)

    def await_end(self, start):
        status = self.process.wait(10)
        seconds = time.monotonic() - start
        expect(status == 0, f"it ended with {status}")
        expect(seconds < PROMPTNESS, f"it took {seconds:.2f} s to end")
        left = _processes_of(self.process.pid)
        expect(not left, f"processes {left} are left")
        screen.wait_for(lambda: not owns_name(), "its name is still on the bus")
        return seconds

    def kill(self):
        """For whoever failed: it leaves nothing in anybody's way."""
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait(5)
