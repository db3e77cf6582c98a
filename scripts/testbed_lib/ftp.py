# SPDX-License-Identifier: GPL-3.0-or-later
"""FTP through pyftpdlib: the user and anonymous, each at the root of a folder of its own."""

import os
import socket

from .bed import USER


def _greets(address, port):
    def ask():
        try:
            with socket.create_connection((address, port), timeout=2) as link:
                return link.recv(64).startswith(b"220")
        except OSError:
            return False
    return ask


def start(bed, address, port):
    root = bed.make_share("ftp", "ftp")
    public = bed.make_share("ftp-public", "ftp-public")
    bed.export(FTP_ROOT=root, FTP_PUBLIC=public)
    bed.start("ftp", ["/usr/bin/python3", "-B", os.path.join(os.path.dirname(__file__), "ftp_server.py"),
                      address, str(port), USER, bed.path("password"), root, public])
    return _greets(address, port)
