#!/usr/bin/python3 -B
# SPDX-License-Identifier: GPL-3.0-or-later
"""How long a window's thread takes to answer, measured from outside.

A window manager asks a window now and then whether it still lives (_NET_WM_PING), and
the program answers from the thread that serves its windows. Here that is asked fifty
times a second. Beside each question goes a message to a window of our own: what that
takes is the machine's share. A process of its own does it, as the test has other work.
"""

import ctypes
import select
import subprocess
import sys
import time

_BEAT = 0.02
_CLIENT_MESSAGE = 33
# Qt sends its answer to those who hear of the root window itself; it ought to be those who hear of its children.
_NOTIFY = 1 << 17 | 1 << 19


class Readings:
    """In milliseconds: the worst answer of the window, and of a window of our own; how many were answered."""

    def __init__(self, window, bare, answers):
        self.window = window
        self.bare = bare
        self.answers = answers

    def __str__(self):
        return f"{self.window:.0f} ms (machine {self.bare:.0f} ms)"


class Heartbeat:
    def __init__(self, window):
        self._process = subprocess.Popen(  # pylint: disable=consider-using-with
            [sys.executable, "-B", __file__, str(window)], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.take()

    def take(self):
        """What was read since the last call. A question that is still open counts with what it took so far."""
        self._process.stdin.write("take\n")
        self._process.stdin.flush()
        if not select.select([self._process.stdout], [], [], 30)[0]:
            raise AssertionError("the heartbeat's own process does not answer")
        return Readings(*map(float, self._process.stdout.readline().split()))

    def close(self):
        """May be called again."""
        self._process.stdin.close()  # which ends it
        try:
            self._process.wait(5)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait(5)
        self._process.stdout.close()


class _Message(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong), ("message_type", ctypes.c_ulong),
                ("format", ctypes.c_int), ("data", ctypes.c_long * 5), ("padding", ctypes.c_long * 24)]


def _library():
    x = ctypes.CDLL("libX11.so.6")
    pointer, number = ctypes.c_void_p, ctypes.c_ulong
    for name, result, *arguments in (
            ("XOpenDisplay", pointer, ctypes.c_char_p), ("XDefaultRootWindow", number, pointer),
            ("XInternAtom", number, pointer, ctypes.c_char_p, ctypes.c_int),
            ("XSelectInput", ctypes.c_int, pointer, number, ctypes.c_long),
            ("XCreateSimpleWindow", number, pointer, number, *[ctypes.c_int] * 2, *[ctypes.c_uint] * 3, number, number),
            ("XSendEvent", ctypes.c_int, pointer, number, ctypes.c_int, ctypes.c_long, pointer),
            ("XFlush", ctypes.c_int, pointer), ("XPending", ctypes.c_int, pointer),
            ("XNextEvent", ctypes.c_int, pointer, pointer), ("XConnectionNumber", ctypes.c_int, pointer)):
        getattr(x, name).restype = result
        getattr(x, name).argtypes = arguments
    return x


class _Pulse:
    """Asks and takes the answers."""

    def __init__(self, window):
        self.x = _library()
        self.display = self.x.XOpenDisplay(None)
        self.window = window
        root = self.x.XDefaultRootWindow(self.display)
        self.protocols = self.x.XInternAtom(self.display, b"WM_PROTOCOLS", 0)
        self.ping = self.x.XInternAtom(self.display, b"_NET_WM_PING", 0)
        self.x.XSelectInput(self.display, root, _NOTIFY)  # the answers go to there
        self.own = self.x.XCreateSimpleWindow(self.display, root, 0, 0, 1, 1, 0, 0, 0)
        self.number = 0
        self.open = {self.window: {}, self.own: {}}
        self.worst = {self.window: 0.0, self.own: 0.0}
        self.answers = 0

    def connection(self):
        return self.x.XConnectionNumber(self.display)

    def ask(self):
        self.number += 1
        for target in (self.window, self.own):
            message = _Message(_CLIENT_MESSAGE, 0, 1, self.display, target, self.protocols, 32)
            message.data[:3] = (self.ping, self.number, target)
            self.open[target][self.number] = time.monotonic()
            self.x.XSendEvent(self.display, target, 0, 0, ctypes.byref(message))
        self.x.XFlush(self.display)

    def listen(self):
        while self.x.XPending(self.display):
            message = _Message()
            self.x.XNextEvent(self.display, ctypes.byref(message))
            # Whatever else happens on the root window is told as well.
            if message.type != _CLIENT_MESSAGE or message.message_type != self.protocols \
                    or message.data[0] != self.ping:
                continue
            asked = self.open.get(message.data[2], {}).pop(message.data[1], None)
            if asked is not None:
                self.answers += message.data[2] == self.window
                self._note(message.data[2], asked)

    def _note(self, target, asked):
        self.worst[target] = max(self.worst[target], time.monotonic() - asked)

    def take(self):
        for target, waiting in self.open.items():
            if waiting:
                self._note(target, min(waiting.values()))
        print(self.worst[self.window] * 1000, self.worst[self.own] * 1000, self.answers, flush=True)
        self.worst = dict.fromkeys(self.worst, 0.0)
        self.answers = 0


def main():
    pulse = _Pulse(int(sys.argv[1]))
    following = time.monotonic()
    while True:
        if time.monotonic() >= following:
            pulse.ask()
            following = time.monotonic() + _BEAT
        ready = select.select([pulse.connection(), sys.stdin], [], [], max(following - time.monotonic(), 0))[0]
        pulse.listen()
        if sys.stdin in ready:
            if not sys.stdin.readline():
                return 0
            pulse.take()


if __name__ == "__main__":
    sys.exit(main())
