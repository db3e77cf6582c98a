# SPDX-License-Identifier: GPL-3.0-or-later
"""The tray of a screen in memory, which is the benchmark itself."""

import select
import time

DOCK_SECONDS = 60
WINDOW_SECONDS = 20


class Tray:
    """An XEmbed tray that tells when an icon asks for its place."""

    def __init__(self):
        from Xlib import X, display
        from Xlib.protocol import event
        self._x = X
        self._event = event
        self._display = display.Display()
        # Icons vanish with their programs, in the middle of being given their place too.
        self._display.set_error_handler(lambda *_: None)
        root = self._display.screen().root
        self._window = root.create_window(0, 0, 200, 32, 0, X.CopyFromParent, override_redirect=1,
                                          event_mask=X.StructureNotifyMask | X.SubstructureNotifyMask)
        selection = self._display.intern_atom("_NET_SYSTEM_TRAY_S0")
        self._opcode = self._display.intern_atom("_NET_SYSTEM_TRAY_OPCODE")
        self._window.set_selection_owner(selection, X.CurrentTime)
        self._window.map()
        root.send_event(event.ClientMessage(window=root, client_type=self._display.intern_atom("MANAGER"),
                                            data=(32, [X.CurrentTime, selection, self._window.id, 0, 0])),
                        event_mask=X.StructureNotifyMask)
        self._display.sync()

    def _embed(self, number):
        window = self._display.create_resource_object("window", number)
        window.reparent(self._window, 0, 0)
        window.map()
        window.send_event(self._event.ClientMessage(
            window=window, client_type=self._display.intern_atom("_XEMBED"),
            data=(32, [self._x.CurrentTime, 0, 0, self._window.id, 0])))
        self._display.sync()

    def await_icon(self):
        """The moment at which an icon came; None if none did."""
        end = time.monotonic() + DOCK_SECONDS
        while time.monotonic() < end:
            while self._display.pending_events():
                event = self._display.next_event()
                if event.type == self._x.ClientMessage and event.client_type == self._opcode \
                        and event.data[1][1] == 0:
                    moment = time.monotonic()
                    self._embed(event.data[1][2])
                    return moment
            select.select([self._display], [], [], 0.2)
        return None

    def await_window(self):
        """Whether the window manager has a window in its care within the time."""
        root = self._display.screen().root
        clients = self._display.intern_atom("_NET_CLIENT_LIST")
        end = time.monotonic() + WINDOW_SECONDS
        while time.monotonic() < end:
            windows = root.get_full_property(clients, self._x.AnyPropertyType)
            if windows and len(windows.value):
                return True
            time.sleep(0.05)
        return False
