# SPDX-License-Identifier: GPL-3.0-or-later
"""Stands before a server and passes on what is said, until it is told to do something else."""

import random
import re
import select
import socket
import struct
import threading

_CHUNK = 65536
_SECONDS = 30
_LOOK_AGAIN = 0.05
# FTP's two ways to say on which port a transfer waits.
_PASSIVE = re.compile(rb"^227 .*\(\d+,\d+,\d+,\d+,(\d+),(\d+)\)|^229 .*\(\|\|\|(\d+)\|\)", re.MULTILINE)

PASS, RESET, HANG_UP, MIDDLE, SILENT, GARBAGE, BABBLE = range(7)

# Lines among it, for those who read lines; the same in every run.
_NOISE = random.Random(548).randbytes(3000) + b"\r\n" + random.Random(21).randbytes(1000) + b"\r\n"


class _Cut(Exception):
    """The connection is to end with a reset."""


class Proxy:
    """One address and port before one server. Each connection gets a thread."""

    def __init__(self, address, port, server):
        self.address = address
        self.port = port
        self.server = server
        self._lock = threading.Lock()
        self._mood = PASS
        self._connections = 0
        self._cuts = 0
        self._at_answer = None
        self._listener = None
        self._accept()

    # ---- what it is told -----------------------------------------------

    def behave(self, mood, at_answer=None):
        """From the next connection on. `at_answer` is called once, before the server's first answer is passed on."""
        with self._lock:
            self._mood = mood
            self._at_answer = at_answer
            self._connections = 0

    def refuse(self):
        """Nobody is at the port any more; connections that are there stay."""
        listener, self._listener = self._listener, None
        if listener:
            listener.shutdown(socket.SHUT_RDWR)  # which wakes who waits at it
            listener.close()

    def cut(self):
        """Resets what is connected."""
        with self._lock:
            self._cuts += 1

    def recover(self):
        self.behave(PASS)
        if not self._listener:
            self._accept()

    @property
    def connections(self):
        """How many came since it was last told to behave."""
        with self._lock:
            return self._connections

    # ---- what it does --------------------------------------------------

    def _accept(self):
        self._listener = socket.create_server((self.address, self.port))
        threading.Thread(target=self._serve, args=(self._listener,), daemon=True).start()

    def _serve(self, listener):
        while True:
            try:
                client, _ = listener.accept()
            except OSError:
                return
            with self._lock:
                self._connections += 1
                mood = self._mood
            threading.Thread(target=self._meet, args=(client, mood), daemon=True).start()

    def _meet(self, client, mood):
        cuts = self._cuts
        try:
            if mood == RESET:
                raise _Cut
            if mood == HANG_UP:
                return
            if mood in (PASS, MIDDLE):
                self._pass_on(client, self.server, cuts, mood == MIDDLE)
                return
            if mood == GARBAGE:
                client.sendall(_NOISE)
                client.shutdown(socket.SHUT_WR)
            elif mood == BABBLE:
                self._babble(cuts, client)
            while self._hear(cuts, client) and client.recv(_CHUNK):
                pass
        except _Cut:
            client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        except OSError:
            pass
        finally:
            client.close()

    def _babble(self, cuts, client):
        # Slowly: who reads it all is not to fill the machine's memory with it.
        while self._cuts == cuts:
            client.sendall(_NOISE)
            if select.select([client], [], [], _LOOK_AGAIN)[0] and not client.recv(_CHUNK):
                return

    def _hear(self, cuts, *links):
        """Those of the sockets that have something to read."""
        while True:
            if self._cuts != cuts:
                raise _Cut
            if ready := select.select(links, [], [], _LOOK_AGAIN)[0]:
                return ready

    def _pass_on(self, client, place, cuts, ends_in_the_middle=False):
        answers = 0
        with socket.create_connection(place, timeout=_SECONDS) as server:
            open_ends = {client: server, server: client}
            while open_ends:
                for source in self._hear(cuts, *open_ends):
                    data = source.recv(_CHUNK)
                    if not data:
                        open_ends.pop(source).shutdown(socket.SHUT_WR)
                        continue
                    if source is server:
                        answers += 1
                        if ends_in_the_middle and answers > 1:
                            self.behave(RESET)  # whoever tries again at once finds it no better
                            raise _Cut
                        data = self._heard_from_server(data)
                    (client if source is server else server).sendall(data)

    def _heard_from_server(self, data):
        with self._lock:
            call, self._at_answer = self._at_answer, None
        if call:
            call()
        said = self.port == 21 and _PASSIVE.search(data)
        if not said:
            return data
        # The transfer has to come through here, too: its port must be taken before anybody hears of it.
        port = int(said[3]) if said[3] else int(said[1]) * 256 + int(said[2])
        listener = socket.create_server((self.address, port))
        threading.Thread(target=self._transfer, args=(listener, port), daemon=True).start()
        theirs, ours = (address.replace(".", ",").encode() for address in (self.server[0], self.address))
        return data.replace(b"(" + theirs + b",", b"(" + ours + b",")

    def _transfer(self, listener, port):
        client = None
        try:
            listener.settimeout(_SECONDS)
            client, _ = listener.accept()
            client.settimeout(None)
            self._pass_on(client, (self.server[0], port), self._cuts)
        except (OSError, _Cut):
            pass
        finally:
            listener.close()
            if client:
                client.close()
