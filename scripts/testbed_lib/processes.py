# SPDX-License-Identifier: GPL-3.0-or-later
"""Processes and mounts as the kernel shows them in /proc."""

import ctypes
import os
import signal
import subprocess
import time

_libc = ctypes.CDLL(None, use_errno=True)

_PR_SET_PDEATHSIG = 1
_PR_SET_CHILD_SUBREAPER = 36

# One look at /proc while something is awaited; short, as nothing here takes long.
POLL_SECONDS = 0.02


def _check(result, what):
    if result != 0:
        error = ctypes.get_errno()
        raise OSError(error, f"{what}: {os.strerror(error)}")


def become_subreaper():
    """Orphans below this process become its children, whoever forked them."""
    _check(_libc.prctl(_PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0), "PR_SET_CHILD_SUBREAPER")


def die_with_parent(number):
    """Makes the kernel send signal `number` to the caller when its parent dies."""
    _check(_libc.prctl(_PR_SET_PDEATHSIG, int(number), 0, 0, 0), "PR_SET_PDEATHSIG")


def is_real_root():
    """Whether we are root with every user at hand, not just root of a small user namespace."""
    if os.geteuid() != 0:
        return False
    with open("/proc/self/uid_map", encoding="ascii") as file:
        return [line.split()[2] for line in file] == ["4294967295"]


def _stat_of(pid):
    """(parent, state, name, group) of a process, or None once it is gone."""
    try:
        with open(f"/proc/{pid}/stat", encoding="utf-8", errors="replace") as file:
            text = file.read()
    except OSError:
        return None
    name = text[text.index("(") + 1:text.rindex(")")]
    fields = text[text.rindex(")") + 2:].split()
    return int(fields[1]), fields[0], name, int(fields[2])


def _all_pids():
    return [int(entry) for entry in os.listdir("/proc") if entry.isdigit()]


def descendants(root=None):
    """{pid: name} of everything living below `root` (the caller if absent), zombies left out."""
    root = root or os.getpid()
    children, names = {}, {}
    for pid in _all_pids():
        found = _stat_of(pid)
        if found is None:
            continue
        parent, state, name, _ = found
        children.setdefault(parent, []).append(pid)
        if state not in "ZX":
            names[pid] = name
    result, pending = {}, [root]
    while pending:
        for pid in children.get(pending.pop(), []):
            pending.append(pid)
            if pid in names:
                result[pid] = names[pid]
    return result


def names():
    """{pid: name} of everything that lives in this process namespace."""
    found = {pid: _stat_of(pid) for pid in _all_pids()}
    return {pid: entry[2] for pid, entry in found.items() if entry is not None and entry[1] not in "ZX"}


def group_alive(group):
    """Whether a process group has a member that is not a zombie."""
    found = [_stat_of(pid) for pid in _all_pids()]
    return any(entry is not None and entry[3] == group and entry[1] not in "ZX" for entry in found)


def strangers_with(variable, value):
    """{pid: name} of living processes whose environment holds `variable` = `value`."""
    wanted = f"{variable}={value}".encode()
    result = {}
    for pid in _all_pids():
        if pid == os.getpid():
            continue
        try:
            with open(f"/proc/{pid}/environ", "rb") as file:
                if wanted not in file.read().split(b"\0"):
                    continue
        except OSError:
            continue
        found = _stat_of(pid)
        if found is not None and found[1] not in "ZX":
            result[pid] = found[2]
    return result


def reap():
    """Collects every child that has ended. Returns {pid: wait status}."""
    ended = {}
    while True:
        try:
            pid, status = os.waitpid(-1, os.WNOHANG)
        except ChildProcessError:
            return ended
        if pid == 0:
            return ended
        ended[pid] = status


def send(pids, number):
    """Signals each process; one that is gone already is no error."""
    for pid in pids:
        try:
            os.kill(pid, number)
        except ProcessLookupError:
            pass


def wait_until(condition, seconds):
    """Looks until `condition()` holds or the time is up. Returns its last value."""
    end = time.monotonic() + seconds
    while True:
        value = condition()
        if value or time.monotonic() >= end:
            return value
        time.sleep(POLL_SECONDS)


def end_all(list_pids, seconds):
    """Ends what `list_pids()` names: politely, and after `seconds` for good."""
    for number in (signal.SIGTERM, signal.SIGKILL):
        pids = list_pids()
        if not pids:
            return
        send(pids, number)
        send(pids, signal.SIGCONT)

        def gone():
            reap()
            return not list_pids()

        wait_until(gone, seconds)


def mounts_below(directory):
    """Mount points in this mount namespace at or below `directory`, the deepest first."""
    found = []
    with open("/proc/self/mountinfo", encoding="utf-8", errors="surrogateescape") as file:
        for line in file:
            place = line.split()[4]
            for code in ("040", "011", "012", "134"):
                place = place.replace("\\" + code, chr(int(code, 8)))
            if place == directory or place.startswith(directory + "/"):
                found.append(place)
    return sorted(found, key=len, reverse=True)


def unmount_below(directory):
    """Takes every mount below `directory` away, lazily: what hangs must not hang us too."""
    for place in mounts_below(directory):
        command = ["umount", "-l", place] if os.geteuid() == 0 else ["fusermount3", "-u", "-z", place]
        subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, timeout=10, check=False)
