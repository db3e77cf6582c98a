# SPDX-License-Identifier: GPL-3.0-or-later
"""The session's mounts: when they come, and how they go."""

import sys
import time

from gi.repository import Gio, GLib

_TRACKER = "org.gtk.vfs.MountTracker"
_SECONDS = 90


def _iterate_until(condition, what, seconds=_SECONDS):
    """Runs the loop, which hears of mounts and of the pipes that are watched."""
    context = GLib.MainContext.default()
    late = []
    timer = GLib.timeout_source_new(int(seconds * 1000))
    timer.set_callback(late.append)
    timer.attach(context)
    while not condition() and not late:
        context.iteration(True)
    timer.destroy()
    if not condition():
        sys.exit(f"compare: {what} within {seconds} s")


class Volumes:
    """What gvfs has mounted, counted by its own announcements: nobody asks anything meanwhile."""

    def __init__(self):
        self._count = 0
        self._bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        # The first question starts gvfs, which is then there for everybody.
        self._bus.call_sync("org.gtk.vfs.Daemon", "/org/gtk/vfs/mounttracker", _TRACKER, "ListMounts", None, None,
                            Gio.DBusCallFlags.NONE, 20000, None)
        for signal, change in (("Mounted", 1), ("Unmounted", -1)):
            self._bus.signal_subscribe(None, _TRACKER, signal, None, None, Gio.DBusSignalFlags.NONE,
                                       lambda *_, change=change: self._change(change))

    def _change(self, by):
        self._count += by

    def await_count(self, count, and_also=lambda: True):
        """The moment at which so many are mounted."""
        _iterate_until(lambda: self._count == count and and_also(), f"not {count} volumes, but {self._count}")
        return time.monotonic()

    def unmount(self, urls):
        """All of them at once."""
        left = set(urls)

        def unmounted(mount, result, url):
            try:
                mount.unmount_with_operation_finish(result)
            except GLib.Error as error:
                sys.exit(f"compare: {url} does not unmount: {error.message}")
            left.discard(url)

        def found(file, result, url):
            try:
                mount = file.find_enclosing_mount_finish(result)
            except GLib.Error as error:
                sys.exit(f"compare: {url} is not mounted: {error.message}")
            mount.unmount_with_operation(Gio.MountUnmountFlags.NONE, None, None, unmounted, url)

        for url in urls:
            Gio.File.new_for_uri(url).find_enclosing_mount_async(GLib.PRIORITY_DEFAULT, None, found, url)
        _iterate_until(lambda: not left, f"{len(left)} volumes do not unmount")
        self.await_count(0)
