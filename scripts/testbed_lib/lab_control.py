# SPDX-License-Identifier: GPL-3.0-or-later
"""Works the lab from a command on its client: cables, daemons, names of hosts."""

import json
import os
import signal
import subprocess
import sys
import time

from . import lab, namespaces, processes
from .bed import accepts_tcp, spawn

PATIENCE = 100  # an AFP mount that hangs is begun anew after 20 seconds, and may hang again


class Missing(Exception):
    """Something did not happen in time."""


def wait_for(condition, what, seconds=PATIENCE):
    """The first true value of the condition."""
    value = processes.wait_until(condition, seconds)
    if not value:
        raise Missing(what() if callable(what) else what)
    return value


class Machine:
    """One machine of the lab. Its daemons can be ended and started by any process of the lab."""

    def __init__(self, name, fields):
        self.name = name
        self.pid = fields["pid"]
        self.address = fields["address"]
        self.directory = fields["directory"]
        self.exports = fields["exports"]
        self.system_bus = f"unix:path=/proc/{self.pid}/root" + fields["system_bus"].removeprefix("unix:path=")
        self._gateway = fields["gateway"]
        self._running = fields["running"]

    def run(self, *command, text=None, check=True, seconds=60):
        """What a tool writes that runs on this machine."""
        done = subprocess.run(command, input=text, capture_output=True, text=True, timeout=seconds, check=False,
                              preexec_fn=lambda: namespaces.enter(self.pid))
        if check and done.returncode != 0:
            raise Missing(f"{self.name}: {' '.join(command)} gave {done.returncode}: {done.stderr}{done.stdout}")
        return done.stdout

    def log_of(self, daemon):
        with open(os.path.join(self.directory, "log", f"{daemon}.log"), encoding="utf-8", errors="replace") as file:
            return file.read()

    # ---- its cable -----------------------------------------------------

    def take_card_away(self):
        """As somebody does who switches the network off: the card has neither carrier nor routes."""
        self.run("ip", "link", "set", "eth0", "down")

    def give_card_back(self):
        self.run("ip", "-batch", "-", text="\n".join(lab.cable_commands(self.address, self._gateway)) + "\n")

    def serves(self, port):
        """Whether something accepts connections there, whatever its cable carries."""
        with namespaces.network_of(self.pid):
            return accepts_tcp(self.address, port)

    # ---- its daemons ---------------------------------------------------

    def pid_of(self, daemon):
        return self._running[daemon]

    def end(self, daemon, number=signal.SIGTERM):
        """Ends a daemon with what it started, and waits until it is gone."""
        pid = self._running.pop(daemon)
        try:
            os.killpg(pid, number)
        except ProcessLookupError:
            pass
        wait_for(lambda: not processes.group_alive(pid), f"{daemon} on {self.name} does not end")

    def start(self, daemon):
        """Starts a daemon again just as the lab did."""
        with open(os.path.join(self.directory, "log", f"{daemon}.json"), encoding="utf-8") as file:
            recipe = json.load(file)

        def settle():
            namespaces.enter(self.pid)
            processes.die_with_parent(signal.SIGKILL)

        self._running[daemon] = spawn(recipe["command"], recipe["environment"],
                                      os.path.join(self.directory, "log", f"{daemon}.log"), preexec_fn=settle).pid


class Lab:
    """The lab that the calling process runs in."""

    def __init__(self):
        with open(os.environ["QTB_LAB"], encoding="utf-8") as file:
            machines = json.load(file)
        self.machines = {name: Machine(name, fields) for name, fields in machines.items()}
        self.switch, self.client = self.machines["switch"], self.machines["client"]
        self.servers = [self.machines[name] for name, _ in lab.SERVERS]

    def pull_cable(self, machine):
        """At the switch: the machine keeps addresses and routes, and has no carrier."""
        self.switch.run("ip", "link", "set", machine.name, "down")

    def plug_cable(self, machine):
        self.switch.run("ip", "link", "set", machine.name, "up")

    @staticmethod
    def client_reaches(machine):
        """Whether the client gets an answer of its SMB server."""
        return accepts_tcp(machine.address, 445)

    @staticmethod
    def write_hosts(lines):
        """The client's /etc/hosts, in place, as another file would not be seen."""
        with open(os.environ["QTB_HOSTS_FILE"], "w", encoding="utf-8") as file:
            file.write("127.0.0.1 localhost\n" + "".join(f"{line}\n" for line in lines))


def now():
    """The clock of every moment here, in seconds."""
    return time.monotonic()


def say(text):
    """One line of a test's report."""
    print(text, flush=True)


def expect(condition, what):
    if not condition:
        raise Missing(what)


class Stopwatch:
    """From a cause to its effect, in seconds."""

    def __init__(self):
        self.began = time.monotonic()

    def seconds(self):
        return time.monotonic() - self.began


def run_steps(owner, names):
    """Calls these methods one after another and prints how long each took. An exit status."""
    for name in names:
        watch = Stopwatch()
        try:
            getattr(owner, name)()
        except Exception as error:  # pylint: disable=broad-except
            print(f"FAILED  {name}: {type(error).__name__}: {error}", file=sys.stderr, flush=True)
            return 1
        say(f"ok  {name} ({watch.seconds():.2f} s)")
    return 0
