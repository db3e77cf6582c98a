# SPDX-License-Identifier: GPL-3.0-or-later
"""Processes, namespaces and mounts as the kernel shows them in /proc."""

import ctypes
import fcntl
import os
import signal
import socket
import struct
import subprocess
import time

_libc = ctypes.CDLL(None, use_errno=True)

_PR_SET_PDEATHSIG = 1
_PR_SET_CHILD_SUBREAPER = 36
_CLONE_NEWNS = 0x00020000
_CLONE_NEWNET = 0x40000000
_CLONE_NEWUSER = 0x10000000
_MS_REC = 0x4000
_MS_PRIVATE = 1 << 18
_SIOCGIFFLAGS = 0x8913
_SIOCSIFFLAGS = 0x8914
_SIOCSIFADDR = 0x8916
_IFF_UP = 0x1

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


def _write(place, text):
    with open(place, "w", encoding="ascii") as file:
        file.write(text)


def is_real_root():
    """Whether we are root with every user at hand, not just root of a small user namespace."""
    if os.geteuid() != 0:
        return False
    with open("/proc/self/uid_map", encoding="ascii") as file:
        return [line.split()[2] for line in file] == ["4294967295"]


def enter_private_network():
    """A network with nothing but loopback, and mounts that nobody else sees.

    Who is not root becomes the root of a user namespace that holds no other user.
    """
    uid, gid = os.geteuid(), os.getegid()
    if uid == 0:
        _check(_libc.unshare(_CLONE_NEWNS | _CLONE_NEWNET), "unshare")
    else:
        _check(_libc.unshare(_CLONE_NEWUSER | _CLONE_NEWNS | _CLONE_NEWNET), "unshare")
        _write("/proc/self/setgroups", "deny")
        _write("/proc/self/uid_map", f"0 {uid} 1")
        _write("/proc/self/gid_map", f"0 {gid} 1")
    _check(_libc.mount(b"none", b"/", None, ctypes.c_ulong(_MS_REC | _MS_PRIVATE), None),
           "making the mounts private")
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as handle:
        request = struct.pack("16sh14x", b"lo", 0)
        flags = struct.unpack("16sh14x", fcntl.ioctl(handle, _SIOCGIFFLAGS, request))[1]
        fcntl.ioctl(handle, _SIOCSIFFLAGS, struct.pack("16sh14x", b"lo", flags | _IFF_UP))


def look_connected():
    """Gives the private network an address besides 127.0.0.1: with that alone, IPv4 counts as switched off, and the
    resolver answers nothing to programs that ask for addresses they could use."""
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as handle:
        address = struct.pack("H2x4s8x", socket.AF_INET, socket.inet_aton("127.0.0.254"))
        fcntl.ioctl(handle, _SIOCSIFADDR, struct.pack("16s16s8x", b"lo:1", address))


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
