# SPDX-License-Identifier: GPL-3.0-or-later
"""The lab's life: everything lives below one process whose end, however it comes, is the kernel's end of all of it.

That process is the first of a process namespace, and dies with the one that started it. What it writes lies on file
systems in memory of its own, so that there is nothing to clean up.
"""

import json
import os
import secrets
import select
import signal
import sys

from . import afp, crashes, desktop, lab_servers, namespaces, processes, sanitizers
from .bed import Failure
from .lab_host import Host
from .supervisor import EXIT_BROKEN, EXIT_TIMEOUT, SIGNALS, Stopped, judge, listen, raise_stopped, run_command

DIRECTORY = "/run/lab"
_ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))

SWITCH, CLIENT, SERVERS = ("switch", "10.77.0.254"), ("client", "10.77.0.1"), \
    (("fileserver", "10.77.0.2"), ("attic", "10.77.0.3"))


def _say(text):
    print(f"lab: {text}", file=sys.stderr, flush=True)


# ---- inside ----------------------------------------------------------------

def _needs_tmp(options):
    """Whether what is to run lies where the desktop wants its sockets for itself."""
    places = [_ROOT, os.getcwd(), *options.command]
    return any(os.path.realpath(place).startswith("/tmp/") for place in places if "/" in place)


def _furnish_computer(options):
    namespaces.separate(namespaces.MOUNTS | namespaces.NETWORK)
    namespaces.mount_proc()
    namespaces.mount_tmpfs("/run")
    for folder in ("dbus", "avahi-daemon", "samba", "lock", "lab"):
        os.makedirs(f"/run/{folder}")
    if options.desktop and not _needs_tmp(options):
        namespaces.mount_tmpfs("/tmp", "1777")
        os.makedirs("/tmp/.X11-unix")
        os.chmod("/tmp/.X11-unix", 0o1777)


def _ip(host, commands):
    host.run_tool(["ip", "-batch", "-"], text="\n".join(commands) + "\n")


def cable_commands(address, gateway):
    """What connects a machine anew whose cable was taken out and put in again."""
    commands = ["link set eth0 up", "route replace 224.0.0.0/4 dev eth0"]
    return commands + ([f"route replace default via {gateway}"] if address != gateway else [])


def _cable(switch, machines):
    bridge = ["link add br0 type bridge mcast_snooping 0", f"address add {switch.address}/24 brd + dev br0",
              "link set br0 up"]
    for machine in machines:
        bridge += [f"link add {machine.name} type veth peer name eth0 netns {machine.pid}",
                   f"link set {machine.name} master br0 up"]
    _ip(switch, bridge)
    for machine in machines:
        _ip(machine, [f"address add {machine.address}/24 brd + dev eth0",
                      *cable_commands(machine.address, switch.address)])


def _build(options, password, hosts):
    """Puts every machine with its servers into `hosts`, and makes the client's session. The client."""
    switch, client = Host(*SWITCH, DIRECTORY), Host(*CLIENT, DIRECTORY)
    servers = [Host(*each, DIRECTORY) for each in SERVERS]
    machines = [client, *servers]
    hosts += [switch, *machines]
    for host in hosts:
        host.boot()
        host.furnish_as(password)
    _cable(switch, machines)
    waits = lab_servers.start_names(switch, machines)
    for host in machines:
        lab_servers.cover_names(host, switch)
        waits += lab_servers.start_avahi(host)
    for host in servers:
        waits += lab_servers.start_files(host, options.afp_source)
    if options.desktop:
        desktop.start_screen(client, options.scale)
    crashes.tell(client)
    client.start_bus()
    if options.desktop:
        desktop.start_desktop(client, options.desktop, options.scale)
    for host, name, answers in waits:
        host.await_ready(name, answers)
    _write_down(switch, client, servers)
    return client


def _write_down(switch, client, servers):
    """What whoever runs on the client needs to know to work the lab."""
    client.export(LAB=client.write(os.path.join(DIRECTORY, "lab.json"), json.dumps({
        host.name: {"pid": host.pid, "address": host.address, "directory": host.directory, "gateway": switch.address,
                    "exports": host.exports, "running": {name: each.pid for name, each in host.running.items()},
                    "system_bus": host.session.get("DBUS_SYSTEM_BUS_ADDRESS", "")}
        for host in [switch, client, *servers]}, indent=2)))
    client.save_exports()


def _show_logs(hosts):
    for host in hosts:
        for name in host.running:
            _say(f"log of {name} on {host.name}:\n{host.log_of(name)}")


def _inner(options):
    code = EXIT_BROKEN
    hosts = []
    try:
        if options.timeout:
            signal.alarm(options.timeout)
        _furnish_computer(options)
        client = _build(options, secrets.token_hex(16), hosts)
        code = run_command(client, options.command)
        if code != 0:
            options.crashed[0] = crashes.count_in(client) > 0
    except Stopped as stop:
        code = 128 + stop.number
        if stop.number == signal.SIGALRM:
            _say(f"stopped after {options.timeout} s")
            code = EXIT_TIMEOUT
    except (Failure, OSError) as failure:
        _say(str(failure))
    listen(signal.SIG_IGN)
    code = judge([report for host in hosts for report in sanitizers.reports_in(host)], options, code)
    if code != 0 and options.logs:
        _show_logs(hosts)
    return code


def _first_process(options, alive):
    """Never returns. `alive` is a pipe that closes with the process that started us."""
    code = EXIT_BROKEN
    try:
        processes.die_with_parent(signal.SIGKILL)
        listen(raise_stopped)
        signal.pthread_sigmask(signal.SIG_UNBLOCK, SIGNALS)
        # It may have died before the kernel was told to watch it.
        if not select.select([alive], [], [], 0)[0]:
            code = _inner(options)
    except Stopped as stop:
        code = 128 + stop.number
    finally:
        sys.stdout.flush()
        sys.stderr.flush()
        os._exit(code)


# ---- outside ---------------------------------------------------------------

def _members(namespace):
    """Processes of a process namespace, by the file that stands for it."""
    found = []
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            if os.readlink(f"/proc/{pid}/ns/pid") == namespace:
                found.append(pid)
        except OSError:
            pass
    return found


def run(options):
    """Builds the lab, runs the command on its client, takes everything away. Returns the exit code."""
    try:
        options.afp_source = afp.prepare()
    except Failure as failure:
        _say(str(failure))
        return EXIT_BROKEN
    return crashes.again(options, _run_once)


def _run_once(options):
    try:
        if processes.is_real_root():
            namespaces.return_to_own_processes()
        namespaces.separate(namespaces.PROCESSES)
    except OSError as error:
        _say(f"no namespaces to be had: {error}")
        return EXIT_BROKEN
    alive, ours = os.pipe()
    # Held back until both sides have their handlers.
    signal.pthread_sigmask(signal.SIG_BLOCK, SIGNALS)
    inner = os.fork()
    if inner == 0:
        os.close(ours)
        _first_process(options, alive)
    os.close(alive)
    namespace = os.readlink(f"/proc/{inner}/ns/pid")
    listen(lambda number, _frame: processes.send([inner], number))
    signal.pthread_sigmask(signal.SIG_UNBLOCK, SIGNALS)
    code = os.waitstatus_to_exitcode(os.waitpid(inner, 0)[1])
    if code < 0:
        _say(f"its first process was killed by signal {-code}")
        code = 128 - code
    # The kernel gives the first process's end only after all the others'; what it holds in memory goes with them.
    left = _members(namespace)
    if left or processes.mounts_below(DIRECTORY):
        _say(f"LEFT BEHIND: processes {left}, mounts {processes.mounts_below(DIRECTORY)}")
        return EXIT_BROKEN
    _say("nothing left behind")
    return code
