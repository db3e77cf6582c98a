#!/usr/bin/python3 -B
# SPDX-License-Identifier: GPL-3.0-or-later
"""program_test.py PROGRAM: a share's whole life in the program, clicked, on the tray that the test bed brings.

Runs under scripts/testbed with --netns --servers smb --desktop panel|trayer. After each
step the catalogue's file is looked at.
"""

import os
import plistlib
import subprocess
import sys

HERE = os.path.dirname(os.path.realpath(__file__))
sys.path[:0] = [HERE, os.path.join(HERE, "..", "..", "scripts")]

from running import expect, failed  # noqa: E402
from testbed_lib import screen, trays  # noqa: E402

SERVICE = "Server Message Block (smb)"
SHARE = "priv"


class Journey:
    """One program on one desktop."""

    def __init__(self, program):
        self.program = program
        self.environment = dict(os.environ, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1")
        self.name = os.path.basename(program)
        self.host = os.environ["QTB_SMB_HOST"]
        with open(os.environ["QTB_PASSWORD_FILE"], encoding="utf-8") as file:
            self.password = file.read().strip()
        self.tray = None
        self.window = None

    # ---- what is on the disk -------------------------------------------

    def catalogue(self):
        try:
            with open(os.path.join(os.environ["XDG_DATA_HOME"], "Quorrel", "Quorrel2.plist"), "rb") as file:
                return plistlib.load(file)
        except FileNotFoundError:
            return []

    def await_catalogue(self, condition, what):
        screen.wait_for(lambda: condition(self.catalogue()), lambda: f"{what}: {self.shown_catalogue()}")

    def shown_catalogue(self):
        text = repr(self.catalogue())
        return text.replace(self.password, "***")

    def folder(self):
        return os.path.join(os.environ["HOME"], "Volumes", SHARE)

    # ---- what is on the screen -----------------------------------------

    def application(self):
        return screen.application(self.name)

    def share_row(self, part):
        def look():
            rows = self.window.look("Shares", "list")
            return rows and rows.look(lambda name: name.startswith(SHARE) and part in name, "list item")

        return screen.wait_for(look, lambda: f"no share with {part!r} in\n{self.window.tree()}")

    # ---- the steps -----------------------------------------------------

    def starts(self):
        process = subprocess.Popen([self.program], env=self.environment, stdin=subprocess.DEVNULL)
        self.tray = trays.Panel() if os.environ["QTB_DESKTOP"] == "panel" else trays.Trayer(self.name)
        self.tray.icon()
        rows = self.tray.titles()
        expect([row for row in rows if row in ("Mount All", "Unmount All", "Show Shares", "Quit")]
               == ["Mount All", "Unmount All", "Show Shares", "Quit"], f"the fixed rows are {rows}")
        expect(self.catalogue() == [], "the catalogue is not empty")
        return process

    def adds_a_share(self):
        self.tray.choose("Add Share…")
        dialog = self.application().find("Add Share", "dialog")
        dialog.find("Server name:", "combo box").find(role="text").click()
        screen.type_text(self.host)
        service = dialog.find(lambda name: name == "Apple Filing Protocol (afp)", "combo box")
        service.click()
        self.application().find(SERVICE, "list item").click()
        dialog.find("Share name:", "text").click()
        screen.type_text(SHARE)
        dialog.find("User name:", "text").click()
        screen.type_text(os.environ["QTB_USER"])
        dialog.find("Password:", "password text").click()
        screen.type_text(self.password)
        automatically = dialog.find("Mount automatically", "check box")
        if automatically.has("CHECKED"):
            automatically.click()
        dialog.find("Save", "push button").click()
        self.application().await_gone("Add Share", "dialog")

        def is_right(hosts):
            if len(hosts) != 1 or len(hosts[0]["sharePoints"]) != 1:
                return False
            share = hosts[0]["sharePoints"][0]
            return hosts[0]["displayName"] == self.host and share["sharePoint"] == SHARE \
                and share["displayType"] == SERVICE and share["userName"] == os.environ["QTB_USER"] \
                and share["password"] == self.password and not share.get("automatically") and not share.get("favroite")

        self.await_catalogue(is_right, "the new share is not in the catalogue")

    def shows_it_in_the_menus(self):
        for menu in ("Mount", "Unmount"):
            rows = self.tray.titles(menu, self.host)
            expect("Server" in rows and SHARE in rows, f"{menu} has {rows}")

    def mounts_from_the_tray(self):
        self.tray.choose("Mount", self.host, SHARE)
        self.tray.choose("Show Shares")
        self.window = self.application().find("Quorrel", "frame")
        self.share_row("Online")
        with open(os.path.join(self.folder(), "hello.txt"), encoding="utf-8") as file:
            expect(file.read().strip() == f"Hello from {SHARE}", "the mounted share holds something else")

    def keeps_a_share_with_open_files(self):
        with open(os.path.join(self.folder(), "hello.txt"), encoding="utf-8"):
            self.tray.choose("Unmount", self.host, SHARE)
            self.share_row("open")
        expect(os.path.exists(self.folder()), "the share is gone with its files open")

    def unmounts(self):
        self.share_row("Online").click()
        button = self.window.find("Unmount", "push button")
        screen.wait_for(lambda: button.has("SENSITIVE"), "Unmount stays disabled")
        button.click()
        self.share_row("Offline")
        expect(not os.path.lexists(self.folder()), "the share's folder is still there")

    def makes_it_a_favourite(self):
        self.share_row("Offline").click()
        self.window.find("Share", "menu item").click()
        self.window.find("Favorite").click()
        self.await_catalogue(lambda hosts: hosts and hosts[0]["sharePoints"][0].get("favroite"), "it is no favourite")
        rows = self.tray.titles()
        expect("Favorites" in rows and f"{self.host} : {SHARE}" in rows, f"the favourites are missing: {rows}")

    def toggles_the_favourite(self):
        for state in ("Online", "Offline"):
            self.tray.choose(f"{self.host} : {SHARE}")
            self.share_row(state)
        self.await_catalogue(lambda hosts: hosts and hosts[0]["sharePoints"][0].get("favroite"), "it is no favourite now")

    def deletes_it(self):
        self.share_row("Offline").click()
        self.window.find("Delete", "push button").click()
        question = self.application().find(role="alert")
        expect(question.look(lambda name: name.startswith("Do you really want to delete")), question.tree())
        question.find("Remove", "push button").click()
        self.await_catalogue(lambda hosts: hosts == [], "the share is still in the catalogue")
        rows = self.tray.titles()
        expect("Favorites" not in rows and f"{self.host} : {SHARE}" not in rows, f"the favourites stay: {rows}")

    def quits(self, process):
        self.tray.choose("Quit")
        expect(process.wait(5) == 0, f"it ended with {process.returncode}")
        screen.wait_for(lambda: not self.tray.has_icon(), "the icon stays")

    def log_holds_no_password(self):
        with open(os.path.join(os.environ["XDG_STATE_HOME"], "Quorrel", "Quorrel.log"), encoding="utf-8") as file:
            expect(self.password not in file.read(), "the log holds the password")


def main():
    journey = Journey(os.path.realpath(sys.argv[1]))
    process = None
    step = "starts"
    try:
        process = journey.starts()
        for step in ("adds_a_share", "shows_it_in_the_menus", "mounts_from_the_tray",
                     "keeps_a_share_with_open_files", "unmounts", "makes_it_a_favourite",
                     "toggles_the_favourite", "deletes_it"):
            getattr(journey, step)()
            print(f"ok  {step}", flush=True)
        step = "quits"
        journey.quits(process)
        journey.log_holds_no_password()
        print("ok  quits")
    except Exception as error:  # pylint: disable=broad-except
        return failed(step, error)
    finally:
        if process and process.poll() is None:
            process.kill()
            process.wait(5)
    return 0


if __name__ == "__main__":
    sys.exit(main())
