# SPDX-License-Identifier: GPL-3.0-or-later
"""Forty shares on four servers, from the network that is there to all of them mounted."""

import os
import shutil
import subprocess
import sys
import time

from gi.repository import GLib

from . import homes, servers
from .running import end
from .volumes import Volumes

_LINK, _OWN, _MONITORED = "compare0", "10.99.0.1/24", "10.99.0.2"
_REST_SECONDS = 0.7


def _ip(*words):
    subprocess.run(["ip", *words], check=True, timeout=20, stdin=subprocess.DEVNULL)


def _make_link():
    """The network that comes: the program watches a host behind it. The servers are there all along."""
    _ip("link", "add", _LINK, "type", "veth", "peer", "name", _LINK + "-peer")
    _ip("link", "set", _LINK + "-peer", "up")
    _ip("address", "add", _OWN, "dev", _LINK)


def _shell_loop(shares):
    """What somebody writes who has no program for it."""
    loop = "for place; do gio mount -a \"$place\" || exit 1; done"
    begin = time.monotonic()
    subprocess.run(["sh", "-c", loop, "sh", *[share.url for share in shares]], check=True, timeout=120,
                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return begin


class _Lines:
    """A program's standard output, read in the main loop."""

    def __init__(self, stream):
        self._rest = b""
        self.lines = []
        self._stream = stream
        os.set_blocking(stream.fileno(), False)
        self._watch = GLib.io_add_watch(stream.fileno(), GLib.IO_IN | GLib.IO_HUP, self._read)

    def _read(self, _handle, condition):
        data = self._stream.read() or b""
        *whole, self._rest = (self._rest + data).split(b"\n")
        self.lines += [line.decode() for line in whole]
        if condition & GLib.IO_HUP and not data:
            self._watch = 0
            return False
        return True

    def online(self):
        return {line for line in self.lines if line.endswith(": Online")}

    def close(self):
        if self._watch:
            GLib.source_remove(self._watch)


class Forty:
    """One set of shares, mounted by each contender in turn."""

    def __init__(self, volumes, programs, service, hosts):
        self._volumes = volumes
        self._programs = programs
        self._shares = [homes.Share(service, host, name) for host in hosts for name in servers.NAMES]

    def _finish(self):
        self._volumes.unmount([share.url for share in self._shares])
        # What the back ends leave behind is not to burden whoever comes next.
        time.sleep(_REST_SECONDS)

    def shell(self):
        begin = _shell_loop(self._shares)
        took = self._volumes.await_count(len(self._shares)) - begin
        self._finish()
        return took

    def gigolo(self):
        """From its start, as it connects then, and later once a minute only."""
        home = homes.of_gigolo("gigolo-forty", self._shares, True)
        begin = time.monotonic()
        process = subprocess.Popen(["gigolo"], env=home.environment(), stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            took = self._volumes.await_count(len(self._shares)) - begin
        finally:
            end(process)
        self._finish()
        return took

    def ours(self):
        home = homes.of_quorrel("ours-forty", self._shares, True, _MONITORED)
        # At a place that this session has mounted before, it waits until gvfs has got over the former mount, which
        # the others do not: each round is to be a session's first.
        shutil.rmtree(os.path.join(os.environ["XDG_RUNTIME_DIR"], "quorrel-former-mounts"), ignore_errors=True)
        process = subprocess.Popen([self._programs.quorrelctl, "watch"], stdin=subprocess.DEVNULL,
                                   env=home.environment(), stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        lines = _Lines(process.stdout)
        try:
            # It has found out that there is no network, and idles.
            time.sleep(_REST_SECONDS)
            if lines.online():
                sys.exit("compare: shares came before the network")
            begin = time.monotonic()
            _ip("link", "set", _LINK, "up")
            took = self._volumes.await_count(len(self._shares),
                                             lambda: len(lines.online()) == len(self._shares)) - begin
        finally:
            end(process)
            lines.close()
            process.stdout.close()
            _ip("link", "set", _LINK, "down")
        self._finish()
        return took


def run(programs, table, rounds):
    volumes = Volumes()
    _make_link()
    for name, service, start in (("SMB", homes.SMB, servers.start_smb), ("WebDAV", homes.DAV, servers.start_dav)):
        hosts, started = start()
        forty = Forty(volumes, programs, service, hosts)
        contenders = {"shell loop": forty.shell, "ours": forty.ours}
        # Of guests at SMB it asks for each share whether they are guests, so that nothing connects by itself.
        if service == homes.DAV:
            contenders["Gigolo"] = forty.gigolo
        table.alternate(contenders, rounds, f"40 shares, {name}", "ms", 1000, (("shell loop", 0.4), ("Gigolo", 1.0)))
        servers.end(started)
