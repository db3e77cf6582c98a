#!/usr/bin/python3 -B
# SPDX-License-Identifier: GPL-3.0-or-later
"""ending_test.py PROGRAM: the program ends at once, whatever it is in the middle of, and leaves nothing behind.

Runs under scripts/testbed with --netns --desktop panel.
"""

import os
import signal
import socket
import sys
import threading
import time
from unittest import mock

HERE = os.path.dirname(os.path.realpath(__file__))
sys.path[:0] = [HERE, os.path.join(HERE, "..", "..", "scripts")]

import running  # noqa: E402
from running import expect, failed  # noqa: E402
from testbed_lib import catalogue, screen, trays  # noqa: E402

HOST = "127.0.0.9"
HANGS, ASKS = "hangs", "asks"


class SilentServer:
    """Takes connections and what is said on them, and never answers."""

    def __init__(self):
        self.listener = socket.create_server((HOST, 445))
        self.sockets = []
        self.asked = threading.Event()
        threading.Thread(target=self._serve, daemon=True).start()

    def _serve(self):
        while True:
            client, _ = self.listener.accept()
            self.sockets.append(client)
            threading.Thread(target=self._listen, args=(client,), daemon=True).start()

    def _listen(self, client):
        try:
            # To see whether anybody is there a connection is enough; who says something wants a share.
            if client.recv(1):
                self.asked.set()
        except OSError:
            pass

    def hang_up(self):
        for client in self.sockets:
            client.close()
        self.sockets.clear()
        self.asked.clear()


class Endings:
    def __init__(self, program):
        self.program = program
        self.server = SilentServer()
        self.tray = trays.Panel()
        self.run = None
        catalogue.write([
            catalogue.Share(HOST, catalogue.SMB, HANGS, guestLogin=True, automatically=False),
            catalogue.Share(HOST, catalogue.SMB, ASKS, userName="anna", passwordPrompt=True, automatically=False)])
        self.catalogue = running.catalogue_state()

    def start(self):
        self.run = running.Running(self.program)
        self.tray.icon()

    def hang(self):
        self.tray.choose("Mount", HOST, HANGS)
        expect(self.server.asked.wait(20), "nobody asked the server for a share")

    def ended(self):
        screen.wait_for(lambda: not self.tray.has_icon(), "the icon stays")
        expect(running.catalogue_state() == self.catalogue, "the catalogue was written")
        self.server.hang_up()
        screen.wait_for(lambda: not running.mounts(), lambda: f"left behind: {running.mounts()}")

    # ---- the endings ---------------------------------------------------

    def term_at_rest(self):
        self.run.end(signal.SIGTERM)

    def term_with_the_prompt_open(self):
        self.tray.choose("Mount", HOST, ASKS)
        self.run.application().find(role="password text").click()
        screen.type_text("half a pass")
        self.run.end(signal.SIGTERM)
        expect(not self.server.sockets, "it went on without a password")

    def term_with_a_hung_mount(self):
        self.hang()
        self.run.end(signal.SIGTERM)

    def quit_with_a_hung_mount(self):
        self.hang()
        ends = []

        def wait():
            self.run.process.wait(30)
            ends.append(time.monotonic())

        waiting = threading.Thread(target=wait)
        waiting.start()
        # To go through the menu takes its time: the last key is the one that counts.
        with mock.patch.object(screen, "press", wraps=screen.press) as press:
            pressed = []
            press.side_effect = lambda *_: pressed.append(time.monotonic()) or mock.DEFAULT
            self.tray.choose("Quit")
        waiting.join()
        seconds = ends[0] - pressed[-1]
        expect(seconds < running.PROMPTNESS, f"it took {seconds:.2f} s to end")
        self.run.await_end(time.monotonic())

    def quit_with_the_prompt_open(self):
        self.tray.choose("Mount", HOST, ASKS)
        self.run.application().find(role="password text")
        self.tray.choose("Quit")
        expect(self.run.process.wait(10) == 0, "it ended with an error")
        expect(not self.server.sockets, "it went on without a password")


def main():
    endings = Endings(os.path.realpath(sys.argv[1]))
    for name in ("term_at_rest", "term_with_the_prompt_open", "term_with_a_hung_mount", "quit_with_a_hung_mount",
                 "quit_with_the_prompt_open"):
        try:
            endings.start()
            getattr(endings, name)()
            endings.ended()
            print(f"ok  {name}", flush=True)
        except Exception as error:  # pylint: disable=broad-except
            return failed(name, error)
        finally:
            endings.run.kill()
    return 0


if __name__ == "__main__":
    sys.exit(main())
