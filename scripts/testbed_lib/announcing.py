# SPDX-License-Identifier: GPL-3.0-or-later
"""DNS-SD on any machine of the lab through its own Avahi daemon: what it announces, and what it sees."""

import threading

from gi.repository import Gio, GLib

from . import lab_control

AFP, SMB, DEVICE = "_afpovertcp._tcp", "_smb._tcp", "_device-info._tcp"
PORTS = {AFP: 548, SMB: 445, DEVICE: 0}

_NAME = "org.freedesktop.Avahi"
_ANY = -1


class _Connection:
    """To the Avahi daemon of one machine, over that machine's system bus."""

    def __init__(self, machine):
        self.bus = Gio.DBusConnection.new_for_address_sync(
            machine.system_bus, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
            | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        self.bus.set_exit_on_close(False)

    def call(self, path, interface, method, arguments=None):
        return self.bus.call_sync(_NAME, path, f"{_NAME}.{interface}", method, arguments, None,
                                  Gio.DBusCallFlags.NONE, 10000, None).unpack()

    def await_daemon(self):
        def answers():
            try:
                return self.call("/", "Server", "GetState")
            except GLib.Error:
                return None

        lab_control.wait_for(answers, "the Avahi daemon does not answer")

    def close(self):
        self.bus.close_sync(None)


def _texts(pairs):
    return [list(f"{key}={value}".encode()) for key, value in pairs.items()]


class Announcer:
    """Announces services of one machine. One entry group per service name, type and port."""

    def __init__(self, machine):
        self._machine = machine
        self._connection = _Connection(machine)
        self._connection.await_daemon()
        self._groups = {}

    def _group(self, key):
        if key not in self._groups:
            self._groups[key] = self._connection.call("/", "Server", "EntryGroupNew")[0]
        return self._groups[key]

    def announce(self, kind, name=None, text=None):
        """Does not wait: others see it once the name is known to be free, 0.2 to 0.8 s later."""
        name = name or self._machine.name
        group = self._group((kind, name))
        self._connection.call(group, "EntryGroup", "AddService", GLib.Variant(
            "(iiussssqaay)", (_ANY, _ANY, 0, name, kind, "", "", PORTS[kind], _texts(text or {}))))
        self._connection.call(group, "EntryGroup", "Commit")

    def change_text(self, kind, text, name=None):
        name = name or self._machine.name
        self._connection.call(self._groups[kind, name], "EntryGroup", "UpdateServiceTxt", GLib.Variant(
            "(iiusssaay)", (_ANY, _ANY, 0, name, kind, "", _texts(text))))

    def withdraw(self, kind, name=None):
        """Says goodbye for it; what the daemon keeps of it goes too."""
        group = self._groups.pop((kind, name or self._machine.name))
        self._connection.call(group, "EntryGroup", "Free")

    def withdraw_all(self):
        for kind, name in list(self._groups):
            self.withdraw(kind, name)

    def close(self):
        """The daemon withdraws everything."""
        self._groups.clear()
        self._connection.close()


class Browser:
    """What one machine sees of one type of service, with the moment of each appearance and departure.

    It listens in a thread of its own, so that a moment is the signal's and not that of somebody's next look.
    """

    def __init__(self, machine, kind):
        self._kind = kind
        self.seen = {}
        self.events = []
        self._context = GLib.MainContext()
        self._loop = GLib.MainLoop(self._context)
        self._connection = _Connection(machine)
        self._connection.await_daemon()
        listens = threading.Event()
        self._thread = threading.Thread(target=self._listen, args=(listens,), daemon=True)
        self._thread.start()
        listens.wait()
        self._connection.call("/", "Server", "ServiceBrowserNew", GLib.Variant("(iissu)", (_ANY, _ANY, kind, "", 0)))

    def _listen(self, listens):
        self._context.push_thread_default()
        # All of its signals: the first come before the browser's path is known to us.
        self._connection.bus.signal_subscribe(_NAME, f"{_NAME}.ServiceBrowser", None, None, None,
                                              Gio.DBusSignalFlags.NONE, self._hear)
        listens.set()
        self._loop.run()
        self._context.pop_thread_default()

    def _hear(self, _bus, _sender, _path, _interface, signal, arguments):
        if signal in ("ItemNew", "ItemRemove"):
            moment = lab_control.now()
            name = arguments.unpack()[2]
            self.events.append((moment, signal == "ItemNew", name))
            if signal == "ItemNew":
                self.seen[name] = moment
            else:
                self.seen.pop(name, None)

    def sees(self, name):
        """When it appeared, or None."""
        return self.seen.get(name)

    def resolve(self, name):
        """The name of the machine that has the service."""
        found = self._connection.call("/", "Server", "ResolveService", GLib.Variant(
            "(iisssiu)", (_ANY, _ANY, name, self._kind, "local", 0, 0)))
        return found[5]

    def await_name(self, name, seconds=lab_control.PATIENCE):
        return lab_control.wait_for(lambda: self.sees(name), f"{name} does not appear", seconds)

    def await_gone(self, name, seconds=lab_control.PATIENCE):
        lab_control.wait_for(lambda: self.sees(name) is None, f"{name} does not go", seconds)

    def last(self, name, appeared):
        """When it last came, or last went."""
        return next(moment for moment, new, each in reversed(self.events) if each == name and new == appeared)

    def close(self):
        self._loop.quit()
        self._thread.join()
        self._connection.close()
