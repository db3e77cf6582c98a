# SPDX-License-Identifier: GPL-3.0-or-later
"""The keeper of mounts on the lab's client: its catalogue and preferences, what it prints, logs and holds."""

import os
import plistlib
import re
import selectors
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.realpath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "scripts"))

from gi.repository import Gio, GLib  # noqa: E402

from testbed_lib import catalogue, lab_control, sanitizers  # noqa: E402
from testbed_lib.lab_control import PATIENCE, Missing, expect  # noqa: E402

# Nothing answers to that name: whoever watches it never takes the network for up.
NOWHERE = "nowhere.lan.test"

_FLAGS = {"BrowseForServices": True, "afp": True, "smb": True, "logToConsole": True}
_STATUSES = ("Online", "Offline")
_MEMORY_MARGIN = 6 * 1024 * sanitizers.SLOWNESS  # kilobytes


def smb_share(host, name, **fields):
    return catalogue.Share(host, catalogue.SMB, name, name, guestLogin=True, **fields)


def afp_share(host, **fields):
    return catalogue.Share(host, catalogue.AFP, "Public", "Public", guestLogin=True, **fields)


def write_preferences(flags=None, host=NOWHERE):
    """Replaces the file whole, as editors do."""
    folder = os.path.join(os.environ["XDG_CONFIG_HOME"], "Quorrel")
    os.makedirs(folder, 0o700, exist_ok=True)
    place = os.path.join(folder, "Quorrel.conf")
    lines = ["[Flags]"] + [f"{key}={str(value).lower()}" for key, value in {**_FLAGS, **(flags or {})}.items()]
    lines += ["[Texts]", f"monitorConnectivityHost={host}"]
    with open(place + ".new", "w", encoding="utf-8") as file:
        file.write("\n".join(lines) + "\n")
    os.replace(place + ".new", place)


def saved_hosts():
    with open(os.path.join(os.environ["XDG_DATA_HOME"], "Quorrel", "Quorrel2.plist"), "rb") as file:
        return {host["displayName"]: host for host in plistlib.load(file)}


def log_file():
    return os.path.join(os.environ["XDG_STATE_HOME"], "Quorrel", "Quorrel.log")


def whole_log():
    try:
        with open(log_file(), encoding="utf-8", errors="replace") as file:
            return file.read()
    except FileNotFoundError:
        return ""


def mounted():
    """What this session has mounted, as GIO tells everybody."""
    listed = subprocess.run(["gio", "mount", "--list"], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                            timeout=20, check=False).stdout
    return sorted(line.rsplit(" ", 1)[-1] for line in listed.splitlines() if "://" in line)


def links():
    folder = os.path.join(os.environ["HOME"], "Volumes")
    return sorted(os.listdir(folder)) if os.path.isdir(folder) else []


def text_below(link):
    """What a person reads who opens the share's folder; through a process, as a dead server may hold the reader."""
    place = os.path.join(os.environ["HOME"], "Volumes", link, "hello.txt")
    try:
        done = subprocess.run(["cat", place], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=10,
                              check=False)
    except subprocess.TimeoutExpired:
        return None
    return done.stdout.strip()


def expect_no_more(held, before):
    """Whether a keeper at rest holds as little as before."""
    for key in ("descriptors", "threads", "matches"):
        expect(held[key] <= before[key], f"{key}: {before[key]} before, {held[key]} after")
    expect(held["kilobytes"] <= before["kilobytes"] + _MEMORY_MARGIN,
           f"memory: {before['kilobytes']} kB before, {held['kilobytes']} kB after")


class Keeper:
    """`quorrelctl watch` with its output read as it comes."""

    def __init__(self, program):
        self.lines = []  # (moment, text)
        self.status = {}
        self._rest = b""
        self._witness = False
        self._errors = open(os.path.join(os.environ["QTB_DIR"], "keeper.err"), "w+b")  # pylint: disable=consider-using-with
        self._log_begin = os.path.getsize(log_file()) if os.path.exists(log_file()) else 0
        self.process = subprocess.Popen(  # pylint: disable=consider-using-with
            [program, "watch"], env=sanitizers.lean(), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
            stderr=self._errors, start_new_session=True)
        os.set_blocking(self.process.stdout.fileno(), False)
        self._selector = selectors.DefaultSelector()
        self._selector.register(self.process.stdout, selectors.EVENT_READ)

    # ---- what it says --------------------------------------------------

    def read(self, seconds=0.0):
        """Takes in what is there, or comes within that time."""
        if not self._selector.select(seconds):
            return
        data = self.process.stdout.read()
        now = time.monotonic()
        if data == b"":
            self._selector.unregister(self.process.stdout)
            raise Missing(f"the keeper ended with {self.process.wait(5)}: {self.errors()}")
        *whole, self._rest = (self._rest + (data or b"")).split(b"\n")
        for line in whole:
            text = line.decode()
            self.lines.append((now, text))
            found = re.match(r"(.+/.*): (Online|Offline|Mounting|Unmounting|Resolving)(.*)", text)
            if found:
                self.status[found.group(1)] = found.group(2)

    def errors(self):
        self._errors.flush()
        with open(self._errors.name, encoding="utf-8", errors="replace") as file:
            return file.read()

    def await_(self, condition, what, seconds=PATIENCE):
        """The moment at which what it has said made the condition true."""
        end = time.monotonic() + seconds
        while not condition():
            left = end - time.monotonic()
            if left <= 0:
                raise Missing(f"{what() if callable(what) else what}; it says {[text for _, text in self.lines[-12:]]}, "
                              f"its log ends with\n{self.log()[-1500:]}")
            self.read(min(left, 0.05))
        return self.lines[-1][0] if self.lines else time.monotonic()

    def await_status(self, share, status, seconds=PATIENCE):
        return self.await_(lambda: self.status.get(share) == status, f"{share} does not get {status}", seconds)

    def await_all(self, shares, status, seconds=PATIENCE):
        return self.await_(lambda: all(self.status.get(each) == status for each in shares),
                           f"{shares} do not all get {status}, but {self.status}", seconds)

    def await_line_after(self, count, share, status, seconds=PATIENCE):
        """The moment of the first such line after the first `count` lines."""
        def found():
            return next((moment for moment, text in self.lines[count:] if text.startswith(f"{share}: {status}")), None)

        self.await_(found, f"{share} does not get {status} again", seconds)
        return found()

    def says_nothing(self, seconds):
        """Whether it is silent for so long."""
        before = len(self.lines)
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            self.read(end - time.monotonic())
        return len(self.lines) == before

    def log(self):
        """Of this run."""
        try:
            with open(log_file(), encoding="utf-8", errors="replace") as file:
                file.seek(self._log_begin)
                return file.read()
        except FileNotFoundError:
            return ""

    def await_log(self, text, times=1, seconds=PATIENCE):
        self.await_(lambda: self.log().count(text) >= times, f"{text!r} is not in the log {times} times", seconds)
        return time.monotonic()

    def change_preferences(self, flags, host=NOWHERE):
        """Writes them, and waits until the keeper has read them: one more browser, started or stopped with them, tells.
        The moment at which they were written."""
        self._witness = not self._witness
        said = f"{'Starting' if self._witness else 'Stoping'} Bonjour Service Scanner: _ftp._tcp."
        count = self.log().count(said)
        moment = time.monotonic()
        write_preferences({**flags, "ftp": self._witness}, host)
        self.await_log(said, count + 1)
        return moment

    def write_preferences(self, flags, host=NOWHERE):
        """Does not wait."""
        self._witness = False
        write_preferences(flags, host)

    # ---- what it holds -------------------------------------------------

    def held(self):
        """Descriptors, threads, memory in kilobytes, and match rules at both buses."""
        pid = self.process.pid
        with open(f"/proc/{pid}/status", encoding="utf-8") as file:
            fields = dict(line.split(":", 1) for line in file if ":" in line)
        return {"descriptors": len(os.listdir(f"/proc/{pid}/fd")), "threads": int(fields["Threads"]),
                "kilobytes": int(fields["VmRSS"].split()[0]), "matches": match_rules(pid),
                "children": len(_children(pid))}

    def await_rest(self):
        """What it holds when it has nothing to do: the same twice, a second apart."""
        last = None
        for _ in range(40):
            held = self.held()
            if held == last and held["children"] == 0:
                return held
            last = held
            self.says_nothing(1)
        raise Missing(f"it does not come to rest: {last}")

    def descriptors(self):
        """What is behind each, sorted."""
        folder = f"/proc/{self.process.pid}/fd"
        found = []
        for number in os.listdir(folder):
            try:
                found.append(re.sub(r"\[\d+\]", "", os.readlink(f"{folder}/{number}")))
            except FileNotFoundError:
                pass  # closed meanwhile
        return sorted(found)

    def end(self):
        """As systemd does it; it has to heed that in order and in time."""
        if self.process.poll() is None:
            began = time.monotonic()
            self.process.terminate()
            code = self.process.wait(10)
            took = time.monotonic() - began
            expect(code == 0, f"the keeper ended with {code}: {self.errors()}")
            lab_control.say(f"    ended in {took:.3f} s")
            expect(took < sanitizers.SLOWNESS, f"the keeper took {took:.2f} s to end")
        self.process.stdout.close()

    def kill(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait(5)


def _children(pid):
    try:
        with open(f"/proc/{pid}/task/{pid}/children", encoding="ascii") as file:
            return file.read().split()
    except FileNotFoundError:
        return []


def match_rules(pid):
    """How many signals that process waits for, as both buses' daemons count them."""
    count = 0
    for kind in (Gio.BusType.SESSION, Gio.BusType.SYSTEM):
        bus = Gio.bus_get_sync(kind)

        def call(method, arguments=None, interface="org.freedesktop.DBus", bus=bus):
            return bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", interface, method, arguments, None,
                                 Gio.DBusCallFlags.NONE, 5000, None).unpack()[0]

        rules = call("GetAllMatchRules", interface="org.freedesktop.DBus.Debug.Stats")
        for name, own in rules.items():
            try:
                if call("GetConnectionUnixProcessID", GLib.Variant("(s)", (name,))) == pid:
                    count += len(own)
            except GLib.Error:
                pass  # gone meanwhile
    return count
