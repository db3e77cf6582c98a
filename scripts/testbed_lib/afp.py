# SPDX-License-Identifier: GPL-3.0-or-later
"""An AFP server in a copy of the small root that scripts/make-afp-root builds."""

import os
import subprocess

from . import processes
from .bed import USER, Failure, accepts_tcp

_USER_NUMBER = 1000
_MAKER = os.path.join(os.path.dirname(__file__), "..", "make-afp-root")


def prepare():
    """Makes the root where it is missing; to be called where the network still reaches a mirror.

    Returns its place.
    """
    place = subprocess.run([_MAKER, "--where"], capture_output=True, text=True, timeout=10, check=True).stdout.strip()
    done = subprocess.run([_MAKER], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                          text=True, timeout=600, check=False)
    if done.returncode != 0:
        raise Failure(f"scripts/make-afp-root cannot make the AFP server's root:\n{done.stderr.strip()}")
    return place


def _append(place, line):
    with open(place, "a", encoding="utf-8") as file:
        file.write(line + "\n")


def _add_user(bed, root):
    _append(f"{root}/etc/passwd", f"{USER}:x:{_USER_NUMBER}:{_USER_NUMBER}::/:/bin/sh")
    _append(f"{root}/etc/group", f"{USER}:x:{_USER_NUMBER}:")
    digest = bed.run_tool(["openssl", "passwd", "-6", "-stdin"], text=bed.password() + "\n").strip()
    bed.write(f"{root}/etc/shadow", f"root:*:1::::::\nnobody:*:1::::::\n{USER}:{digest}:1::::::\n")


def _give(place, number):
    os.chown(place, number, number)
    for folder, folders, files in os.walk(place):
        for name in folders + files:
            os.chown(os.path.join(folder, name), number, number)


def start(bed, address, port, source):
    root = bed.path("afp")
    # A copy, as the server keeps its databases in there and the password is this run's.
    bed.run_tool(["cp", "-a", "--reflink=auto", source, root])
    # /tmp may forbid device files; the mount namespace is ours alone.
    bed.run_tool(["mount", "--rbind", "/dev", f"{root}/dev"])
    _add_user(bed, root)
    public = bed.make_share("afp/srv/public", "Public")
    private = bed.make_share("afp/srv/private", "Private")
    if processes.is_real_root():
        _give(private, _USER_NUMBER)
    bed.write("afp/etc/afp.conf", "\n".join([
        "[Global]",
        f"afp listen = {address}",
        f"afp port = {port}",
        "uam list = uams_guest.so uams_dhx2_passwd.so",
        "guest account = nobody",
        "zeroconf = no",
        "spotlight = no",
        "server name = testbed",
        "[Public]", "path = /srv/public", "cnid scheme = last",
        "[Private]", "path = /srv/private", f"valid users = {USER}", "cnid scheme = last"]) + "\n")
    bed.export(AFP_PUBLIC=public, AFP_PRIVATE=private)
    bed.start("afp", ["chroot", root, "/usr/sbin/afpd", "-d", "-F", "/etc/afp.conf"],
              environment=bed.root_environment())
    return lambda: accepts_tcp(address, port)
