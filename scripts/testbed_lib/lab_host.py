# SPDX-License-Identifier: GPL-3.0-or-later
"""One machine of the lab: a network, mounts and a name of its own, and what runs there."""

import os
import signal
import socket
import subprocess

from . import namespaces, processes
from .bed import Bed, Failure, spawn

# Of these every machine has its own, whatever the computer below keeps there.
_OWN_FOLDERS = ("/run/dbus", "/run/avahi-daemon", "/run/samba", "/etc/avahi/services")


def call(pid, command, text=None, environment=None, seconds=60):
    """Runs a short tool on the machine of that process."""
    return subprocess.run(command, input=text, env=environment, capture_output=True, text=True, timeout=seconds,
                          check=False, preexec_fn=lambda: namespaces.enter(pid))


class Host(Bed):
    """The private directory of one machine, and its namespaces, held by a process that does nothing else."""

    def __init__(self, name, address, parent):
        # Not the base's own: that one would make a directory on the computer's disk.
        self.netns = True
        self.names = {}
        self.name = name
        self.address = address
        self.directory = os.path.join(parent, name)
        self.exports = {}
        self.running = {}
        self.reports = []
        self.pid = None
        self._bus = None

    def boot(self):
        """Makes the namespaces. The network has only loopback yet."""
        os.makedirs(self.directory, 0o755, exist_ok=True)
        ready, tell = os.pipe()
        self.pid = os.fork()
        if self.pid == 0:
            try:
                self._hold(tell)
            finally:
                os._exit(1)
        os.close(tell)
        said = os.read(ready, 4096).decode()
        os.close(ready)
        if said != "up":
            raise Failure(f"{self.name}: {said or 'no namespaces to be had'}")

    def _hold(self, tell):
        processes.die_with_parent(signal.SIGKILL)
        try:
            namespaces.separate(namespaces.MOUNTS | namespaces.NAME | namespaces.NETWORK)
            for place in _OWN_FOLDERS:
                if os.path.isdir(place):
                    namespaces.mount_tmpfs(place)
            socket.sethostname(self.name)
        except OSError as error:
            os.write(tell, str(error).encode())
            return
        os.write(tell, b"up")
        os.close(tell)
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            signal.signal(number, signal.SIG_IGN)
        while True:
            signal.pause()

    def furnish_as(self, password):
        """Home and folders, with the password that the whole lab shares."""
        self.furnish()
        self.write("password", password + "\n")

    def cover(self, target, text):
        """Lays a file of its own over one of the computer's. Its place, to be rewritten later."""
        place = self.write(f"cover-{os.path.basename(target)}", text, mode=0o644)
        target = os.path.realpath(target)
        if not os.path.exists(target):
            raise Failure(f"{self.name}: {target} is missing, so nothing can be put in its place")
        self.run_tool(["mount", "--bind", place, target])
        return place

    # ---- what the base does, on this machine ---------------------------

    def start(self, name, command, environment=None):
        environment = environment or self.environment(session=False)
        self.write_recipe(name, command, environment)
        try:
            self.running[name] = spawn(command, environment, self.path("log", f"{name}.log"),
                                       preexec_fn=self._enter_for_good)
        except FileNotFoundError as error:
            raise Failure(f"{name}: {error.filename} is missing; "
                          "scripts/install-packages test installs it") from error
        return self.running[name]

    def _enter_for_good(self):
        namespaces.enter(self.pid)
        processes.die_with_parent(signal.SIGKILL)

    def launch(self, command):
        return subprocess.Popen(command, env=self.environment(), preexec_fn=lambda: namespaces.enter(self.pid))

    def run_tool(self, command, text=None, environment=None):
        try:
            done = call(self.pid, command, text, environment or self.environment(session=False))
        except FileNotFoundError as error:
            raise Failure(f"{error.filename} is missing; scripts/install-packages test installs it") from error
        if done.returncode != 0:
            raise Failure(f"{self.name}: {command[0]} failed ({done.returncode}): {done.stderr.strip()}")
        return done.stdout

    def await_ready(self, name, condition, seconds=15):
        def there():
            with namespaces.network_of(self.pid):
                return condition()

        super().await_ready(name, there, seconds)

    def inner(self, place):
        """That absolute path of this machine, as others of the lab reach it."""
        return f"/proc/{self.pid}/root{place}"
