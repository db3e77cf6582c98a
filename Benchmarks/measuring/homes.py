# SPDX-License-Identifier: GPL-3.0-or-later
"""A home for each contender, with what it is to know."""

import os
import plistlib
import shutil

SMB, DAV = "Server Message Block (smb)", "WebDAV (http)"
_SCHEMES = {SMB: "smb", DAV: "dav"}


class Share:
    def __init__(self, service, host, name):
        self.service = service
        self.host = host
        self.name = name

    @property
    def url(self):
        return f"{_SCHEMES[self.service]}://{self.host}/{self.name}"


def never_connected(count):
    """As many as asked for, ten to a server, that nobody connects by himself."""
    return [Share(SMB, f"server-{number // 10}.example.com", f"Share number {number}") for number in range(count)]


class Home:
    """Empty, and its places as a program's environment."""

    def __init__(self, name):
        self.path = os.path.join(os.environ["QTB_DIR"], "home-of-" + name.replace(" ", "-"))
        shutil.rmtree(self.path, ignore_errors=True)
        self.places = {"HOME": self.path, "XDG_CONFIG_HOME": self.path + "/.config",
                       "XDG_DATA_HOME": self.path + "/.local/share", "XDG_STATE_HOME": self.path + "/.local/state",
                       "XDG_CACHE_HOME": self.path + "/.cache"}
        for place in self.places.values():
            os.makedirs(place, exist_ok=True)

    def environment(self, **more):
        return dict(os.environ, **self.places, **more)

    def write(self, place, name, text):
        path = os.path.join(self.places[place], name)
        os.makedirs(os.path.dirname(path), 0o700, exist_ok=True)
        handle = os.open(path, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600)
        with os.fdopen(handle, "wb") as file:
            file.write(text if isinstance(text, bytes) else text.encode())


def of_quorrel(name, shares, automatically, monitored="nowhere.lan.test"):
    home = Home(name)
    hosts = {}
    for share in shares:
        host = hosts.setdefault(share.host, {"displayName": share.host, "automatically": automatically,
                                             "services": [{"displayType": share.service}], "sharePoints": []})
        host["sharePoints"].append({"displayType": share.service, "sharePoint": share.name, "passwordPrompt": False,
                                    "guestLogin": True, "automatically": automatically, "favroite": False})
    home.write("XDG_DATA_HOME", "Quorrel/Quorrel2.plist", plistlib.dumps(list(hosts.values()), sort_keys=False))
    home.write("XDG_CONFIG_HOME", "Quorrel/Quorrel.conf", f"[Texts]\nmonitorConnectivityHost={monitored}\n")
    return home


def of_gigolo(name, shares, automatically):
    """With an icon in the tray and no window, which is where it needs least."""
    home = Home(name)
    home.write("XDG_CONFIG_HOME", "gigolo/config",
               "[general]\nautoconnect_interval=60\n\n[ui]\nshow_in_systray=true\nstart_in_systray=true\n"
               "save_geometry=false\nshow_autoconnect_errors=false\n")
    bookmarks = []
    for number, share in enumerate(shares):
        field, port = ("share", 445) if share.service == SMB else ("path", 80)
        bookmarks.append(f"[bookmark {number}]\nhost={share.host}\nfolder=\nuser=\nscheme={_SCHEMES[share.service]}\n"
                         f"{field}={share.name}\nport={port}\n" + ("autoconnect=1\n" if automatically else ""))
    home.write("XDG_CONFIG_HOME", "gigolo/bookmarks", "\n".join(bookmarks))
    return home
