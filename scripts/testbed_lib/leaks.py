# SPDX-License-Identifier: GPL-3.0-or-later
"""Looks for passwords where none may be, while a command runs in a test bed.

What is found is told without the password itself.
"""

import base64
import os
import stat
import threading
import time
import urllib.parse

# A tool that looks up a name lives for some ten milliseconds.
_LOOK_SECONDS = 0.01
_LONGEST_FILE = 64 << 20


def forms_of(user, password):
    """{bytes: what they are} of everything that gives the password away."""
    plain = password.encode()
    found = {plain: "the password", password.encode("utf-16-le"): "the password in UTF-16"}
    for safe in ("", "/", "!$&'()*+,;=:@/"):
        found.setdefault(urllib.parse.quote(password, safe).encode(), "the password, percent-encoded")
    found.setdefault("".join(f"%{byte:02x}" for byte in plain).encode(), "the password, percent-encoded throughout")
    found.setdefault(plain.hex().encode(), "the password in hexadecimal")
    # Base 64 has three spellings of a text, by where it starts in what was encoded; each ends in characters that hang
    # on what follows.
    for start in range(3):
        encoded = base64.b64encode(b"\0" * start + plain)
        first = (start * 8 + 5) // 6
        found.setdefault(encoded[first:(start + len(plain)) * 8 // 6], "the password in base 64")
    found.setdefault(base64.b64encode(f"{user}:{password}".encode()), "user and password in base 64")
    return found


def _read(place, longest=-1):
    """What is there; None once it is gone or is nobody's business."""
    try:
        with open(place, "rb") as file:
            return file.read(longest)
    except OSError:
        return None


def _mount_points():
    with open("/proc/self/mountinfo", encoding="utf-8", errors="surrogateescape") as file:
        return {line.split()[4].encode("utf-8", "surrogateescape").decode("unicode_escape") for line in file}


class Watch:
    """Reads command lines and environments of a run's processes, and what is written below some folders, from `begin`
    to `end`. Its findings are complete after `end`.

    `allowed` are the files that may hold the password, if their owner alone may read them; `held` are those that do.
    """

    def __init__(self, user, password, marker, folders, allowed=()):
        self._forms = forms_of(user, password)
        self._marker = marker  # stands in the environment of every process of the run
        self._folders = folders
        self._allowed = {os.path.realpath(place) for place in allowed}
        self._since = time.time() - 1
        self._ours, self._others = {}, set()
        self._files = {}
        self._stopping = threading.Event()
        self._thread = threading.Thread(target=self._run)
        self.findings = set()
        self.held = set()
        self.programs = set()
        self.core_limits = {}  # of the processes by name, as last seen
        self.looks = 0

    def begin(self):
        self._thread.start()

    def end(self):
        self._stopping.set()
        self._thread.join()
        self._look_at_files()

    def file_count(self):
        return len(self._files)

    def check(self, data, where):
        for form, meaning in self._forms.items():
            if form in data:
                self.findings.add(f"{meaning} is in {where}")

    # ---- processes -----------------------------------------------------

    def _run(self):
        while not self._stopping.wait(_LOOK_SECONDS):
            self._look_at_processes()
            if self.looks % 5 == 0:
                self._look_at_files()
            self.looks += 1

    def _look_at_processes(self):
        living = {int(name) for name in os.listdir("/proc") if name.isdigit()}
        self._others &= living
        self._ours = {pid: name for pid, name in self._ours.items() if pid in living}
        for pid in living - self._others:
            environment = _read(f"/proc/{pid}/environ")
            if pid not in self._ours:
                if environment and not self._is_ours(pid, environment):
                    self._others.add(pid)
                if not environment or pid in self._others:
                    continue
            self._look_at_process(pid, environment or b"")

    def _is_ours(self, pid, environment):
        if self._marker in environment.split(b"\0"):
            return True
        status = _read(f"/proc/{pid}/stat") or b""
        fields = status.rpartition(b") ")[2].split()
        return len(fields) > 1 and int(fields[1]) in self._ours

    def _look_at_process(self, pid, environment):
        command = _read(f"/proc/{pid}/cmdline") or b""
        name = (_read(f"/proc/{pid}/comm") or b"?").decode(errors="replace").strip()
        self._ours[pid] = name
        if command:
            self.programs.add(os.path.basename(command.split(b"\0")[0].split(b" ")[0]).decode(errors="replace"))
        self.check(command, f"the command line of {name}")
        for entry in environment.split(b"\0"):
            variable = entry.partition(b"=")[0].decode(errors="replace")
            self.check(entry, f"the environment of {name}, as {variable[:40]}")
        if name not in ("quorrel", "quorrelctl"):
            return
        for line in (_read(f"/proc/{pid}/limits") or b"").decode().splitlines():
            if line.startswith("Max core file size"):
                self.core_limits[name] = line.split()[4]

    # ---- files ---------------------------------------------------------

    def _look_at_files(self):
        mounts = _mount_points()
        for folder in self._folders:
            self._look_into(folder, mounts)

    def _look_into(self, folder, mounts):
        try:
            entries = list(os.scandir(folder))
        except OSError:
            return
        for entry in entries:
            # A mounted share may hang, and is a server's.
            if entry.is_dir(follow_symlinks=False) and entry.path not in mounts:
                self._look_into(entry.path, mounts)
            elif entry.is_file(follow_symlinks=False):
                self._look_at_file(entry.path)
            self.check(os.fsencode(entry.name), f"the name of a file in {folder}")

    def _look_at_file(self, place):
        try:
            status = os.lstat(place)
        except OSError:
            return
        state = (status.st_ino, status.st_size, status.st_mtime_ns, status.st_mode)
        if status.st_ctime < self._since or not stat.S_ISREG(status.st_mode) or self._files.get(place) == state:
            return
        data = _read(place, _LONGEST_FILE)
        if data is None:
            return
        self._files[place] = state
        # Only a program's own saving makes a file of that name beside the one that may hold it, and its mode counts.
        home = place.partition(".plist.")[0] + ".plist" if ".plist." in place else place
        if os.path.realpath(home) not in self._allowed:
            self.check(data, f"the file {place}")
        elif any(form in data for form in self._forms):
            self.held.add(place)
            if stat.S_IMODE(status.st_mode) & 0o077:
                self.findings.add(f"{place} holds the password and has the mode {stat.S_IMODE(status.st_mode):o}")
