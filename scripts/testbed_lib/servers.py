# SPDX-License-Identifier: GPL-3.0-or-later
"""Which servers there are, where each listens, and what each needs."""

import socket

from .bed import Failure
from . import afp, crashes, ftp, names, smb, webdav

# name: (start function, loopback address and port inside a namespace)
# Without a namespace every server takes a free high port of 127.0.0.1.
_SERVERS = {
    "avahi": (names.start_avahi, None),
    "dns": (names.start_dns, None),
    "netbios": (names.start_netbios, None),
    "smb": (smb.start, ("127.0.0.2", 445)),
    "dav": (webdav.start_dav, ("127.0.0.3", 80)),
    "davs": (webdav.start_davs, ("127.0.0.4", 443)),
    "ftp": (ftp.start, ("127.0.0.5", 21)),
    "afp": (afp.start, ("127.0.0.6", 548)),
    "apache": (webdav.start_apache, ("127.0.0.7", 80)),
}
_NAMESPACE_ONLY = ("afp", "dns", "netbios", "avahi")

NAMES = tuple(_SERVERS)


def address(name):
    """Where a server listens in a network of its own."""
    return _SERVERS[name][1][0]


def check(wanted, netns):
    """Why these servers cannot be had, or None."""
    unknown = [name for name in wanted if name not in _SERVERS]
    if unknown:
        return f"unknown server {', '.join(unknown)}; there are {', '.join(NAMES)}"
    if not netns:
        needy = [name for name in wanted if name in _NAMESPACE_ONLY]
        if needy:
            return f"{', '.join(needy)}: possible with --netns only"
    return None


def _free_port(address):
    with socket.socket() as probe:
        probe.bind((address, 0))
        return probe.getsockname()[1]


def _place(name, options):
    if name in options.at:
        address, port = options.at[name]
        return address, port or _free_port(address)
    if options.netns:
        return _SERVERS[name][1]
    return "127.0.0.1", _free_port("127.0.0.1")


def prepare_servers(options):
    """What has to be done before the run leaves the machine's network."""
    if "afp" in options.servers:
        options.afp_source = afp.prepare()


def start_servers(bed, options):
    """Starts what was asked for and returns when each answers."""
    wanted = [name for name in NAMES if name in options.servers]
    bed.export(SERVERS=",".join(wanted))
    waits = []
    if "afp" in wanted:
        crashes.tell(bed)
    for name in wanted:
        start, place = _SERVERS[name]
        if place is None:
            waits.append((name, start(bed)))
            continue
        address, port = _place(name, options)
        key = name.upper()
        bed.export(**{f"{key}_HOST": address, f"{key}_PORT": port})
        more = (options.afp_source,) if name == "afp" else ()
        waits.append((name, start(bed, address, port, *more)))
        bed.export(**{f"{key}_PID": bed.running[name].pid})
    # All of them come up side by side; only now is each waited for.
    for name, answers in waits:
        if answers is None:
            raise Failure(f"{name} has no readiness test")
        bed.await_ready(name, answers)
