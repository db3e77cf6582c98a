# SPDX-License-Identifier: GPL-3.0-or-later
"""Networks, mounts and processes of one's own, as the kernel makes them."""

import contextlib
import ctypes
import fcntl
import os
import socket
import struct

MOUNTS, NAME, PROCESSES, NETWORK = 0x00020000, 0x04000000, 0x20000000, 0x40000000
_USER = 0x10000000

_MS_REC = 0x4000
_MS_PRIVATE = 1 << 18
_SIOCGIFFLAGS = 0x8913
_SIOCSIFFLAGS = 0x8914
_SIOCSIFADDR = 0x8916
_IFF_UP = 0x1

_FILES = {MOUNTS: "mnt", NAME: "uts", NETWORK: "net"}

_libc = ctypes.CDLL(None, use_errno=True)


def _check(result, what):
    if result != 0:
        error = ctypes.get_errno()
        raise OSError(error, f"{what}: {os.strerror(error)}")


def _mount(source, target, kind, flags, options):
    encoded = [text and text.encode() for text in (source, target, kind, options)]
    _check(_libc.mount(encoded[0], encoded[1], encoded[2], ctypes.c_ulong(flags), encoded[3]), f"mounting {target}")


def mount_tmpfs(place, mode="755"):
    _mount("tmpfs", place, "tmpfs", 0, f"mode={mode}")


def mount_proc():
    _mount("proc", "/proc", "proc", 0, None)


def make_mounts_private():
    _mount("none", "/", None, _MS_REC | _MS_PRIVATE, None)


def _write(place, text):
    with open(place, "w", encoding="ascii") as file:
        file.write(text)


def separate(kinds):
    """Gives the caller namespaces of its own of these kinds; for processes, its next child.

    Who is not root becomes the root of a user namespace that holds no other user.
    """
    uid, gid = os.geteuid(), os.getegid()
    _check(_libc.unshare(kinds if uid == 0 else kinds | _USER), "unshare")
    if uid != 0:
        _write("/proc/self/setgroups", "deny")
        _write("/proc/self/uid_map", f"0 {uid} 1")
        _write("/proc/self/gid_map", f"0 {gid} 1")
    if kinds & MOUNTS:
        make_mounts_private()
    if kinds & NETWORK:
        _switch_loopback_on()


def return_to_own_processes():
    """Has the caller's next child live where the caller does, so that it may separate once more. Needs the real root."""
    handle = os.open("/proc/self/ns/pid", os.O_RDONLY | os.O_CLOEXEC)
    try:
        _check(_libc.setns(handle, PROCESSES), "setns")
    finally:
        os.close(handle)


def _switch_loopback_on():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as handle:
        request = struct.pack("16sh14x", b"lo", 0)
        flags = struct.unpack("16sh14x", fcntl.ioctl(handle, _SIOCGIFFLAGS, request))[1]
        fcntl.ioctl(handle, _SIOCSIFFLAGS, struct.pack("16sh14x", b"lo", flags | _IFF_UP))


def enter_private_network():
    """A network with nothing but loopback, and mounts that nobody else sees."""
    separate(MOUNTS | NETWORK)


def look_connected():
    """Gives the private network an address besides 127.0.0.1: with that alone, IPv4 counts as switched off, and the
    resolver answers nothing to programs that ask for addresses they could use."""
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as handle:
        address = struct.pack("H2x4s8x", socket.AF_INET, socket.inet_aton("127.0.0.254"))
        fcntl.ioctl(handle, _SIOCSIFADDR, struct.pack("16s16s8x", b"lo:1", address))


def enter(pid, kinds=MOUNTS | NAME | NETWORK):
    """Moves the caller, which may have but one thread, to where that process is."""
    place = os.getcwd()
    handles = [(os.open(f"/proc/{pid}/ns/{file}", os.O_RDONLY | os.O_CLOEXEC), kind)
               for kind, file in _FILES.items() if kind & kinds]
    root = os.open(f"/proc/{pid}/root", os.O_PATH | os.O_CLOEXEC)
    for handle, kind in handles:
        _check(_libc.setns(handle, kind), "setns")
        os.close(handle)
    # The kernel leaves whoever enters mounts at their root, which need not be that of the process.
    if kinds & MOUNTS:
        os.fchdir(root)
        os.chroot(".")
    os.close(root)
    with contextlib.suppress(OSError):
        os.chdir(place)


@contextlib.contextmanager
def network_of(pid):
    """What is opened meanwhile is opened in the network of that process."""
    own = os.open("/proc/thread-self/ns/net", os.O_RDONLY | os.O_CLOEXEC)
    try:
        enter(pid, NETWORK)
        yield
    finally:
        _check(_libc.setns(own, NETWORK), "setns")
        os.close(own)
