# SPDX-License-Identifier: GPL-3.0-or-later
"""The file that the program keeps its hosts in, for a command inside a run."""

import os
import plistlib

AFP = "Apple Filing Protocol (afp)"
SMB, DAV, FTP = "Server Message Block (smb)", "WebDAV (http)", "File Transfer Protocol (ftp)"


class Share:
    """One share point: where it is, how it is asked for, what its hello.txt must say."""

    def __init__(self, host, service, name, text="", **fields):
        self.host = host
        self.service = service
        self.name = name
        self.folder = name.rsplit("/", 1)[-1] or host
        self.text = text
        self.fields = fields


def password():
    with open(os.environ["QTB_PASSWORD_FILE"], encoding="utf-8") as file:
        return file.read().strip()


def write(shares):
    """As the program itself would write it."""
    hosts = {}
    for share in shares:
        host = hosts.setdefault(share.host, {"displayName": share.host, "automatically": True,
                                             "services": [], "sharePoints": []})
        if {"displayType": share.service} not in host["services"]:
            host["services"].append({"displayType": share.service})
        host["sharePoints"].append({"displayType": share.service, "sharePoint": share.name,
                                    "passwordPrompt": False, "guestLogin": False, "automatically": True,
                                    "favroite": False, **share.fields})
    folder = os.path.join(os.environ["XDG_DATA_HOME"], "Quorrel")
    os.makedirs(folder, 0o700, exist_ok=True)
    place = os.path.join(folder, "Quorrel2.plist")
    handle = os.open(place + ".new", os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o600)
    with os.fdopen(handle, "wb") as file:
        plistlib.dump(list(hosts.values()), file, sort_keys=False)
    os.replace(place + ".new", place)
