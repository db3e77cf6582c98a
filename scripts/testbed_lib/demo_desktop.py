# SPDX-License-Identifier: GPL-3.0-or-later
"""The demo's second half: the program on a screen in memory, worked as by a person, and pictures of it."""

import os
import subprocess

from . import catalogue, screen, trays
from .catalogue import DAV, FTP, SMB, Share

# Of a mount that has to start its daemons first, on a machine that is busy.
_MOUNT_SECONDS = 60

# What stands behind the names of the demo; its test bed answers for them.
NAMES = {"nas.home": "smb", "cloud.home": "dav", "media.home": "ftp"}


def shares():
    nas, cloud, media = NAMES
    login = {"userName": os.environ["QTB_USER"], "password": catalogue.password(), "automatically": False}
    guest = {"guestLogin": True, "automatically": False}
    # What the servers hold beside what every test bed has.
    os.makedirs(os.path.join(os.environ["QTB_DAV_ROOT"], "Projects"), exist_ok=True)
    return [
        Share(nas, SMB, "Documents", favroite=True, **guest),
        Share(nas, SMB, "Music", **guest),
        Share(nas, SMB, "Photos", **guest),
        Share(nas, SMB, "priv", userName=os.environ["QTB_USER"], passwordPrompt=True, automatically=False),
        # There is none of this name: what is wrong with it is to be seen.
        Share(nas, SMB, "Backup 2019", **guest),
        Share(cloud, DAV, "Projects", favroite=True, **login),
        Share(media, FTP, "", **login),
    ]


class Showing:
    """One run of the program, whose pictures go to a folder; failure.png shows where it ended if it did.

    `texts` gives a text as the program shows it in the language that it runs in.
    """

    def __init__(self, program, pictures, environment=None, texts=str):
        self._program = program
        self._pictures = pictures
        self._environment = dict(os.environ, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", **(environment or {}))
        self._text = texts
        self._tray = None
        self._window = None

    def run(self):
        """Every step, the last of which unmounts all. Raises screen.Missing or what subprocess does."""
        screen.set_background("#54708f")
        process = subprocess.Popen([self._program], env=self._environment, stdin=subprocess.DEVNULL)
        try:
            self._tray = trays.Panel()
            self._tray.icon()
            self._mount()
            self._show_menu()
            self._show_window()
            self._show_editor()
            self._show_preferences()
            self._tray.choose(self._text("Unmount All"))
            self._await_rows("Offline", 5)
            self._tray.choose(self._text("Quit"))
            if process.wait(10) != 0:
                raise screen.Missing(f"the program ended with {process.returncode}")
        except (screen.Missing, subprocess.SubprocessError):
            screen.picture(os.path.join(self._pictures, "failure.png"))
            raise
        finally:
            if process.poll() is None:
                process.kill()
                process.wait(10)

    # ---- what is on the screen -----------------------------------------

    def _application(self):
        return screen.application(os.path.basename(self._program))

    def _picture(self, name, *places):
        screen.move_away()
        place = os.path.join(self._pictures, f"{name}.png")
        screen.steady_picture(place, screen.around(places, margin=0 if len(places) == 1 else 12))
        print(f"picture  {os.path.relpath(place)}", flush=True)

    def _rows(self, status):
        status = self._text(status)
        rows = self._window.look(self._text("Shares"), "list")
        return [row for row in rows.children if status in row.name.split(", ")] if rows else []

    def _await_rows(self, status, count):
        screen.wait_for(lambda: len(self._rows(status)) == count,
                        lambda: f"not {count} shares are {status}:\n{self._window.tree()}", _MOUNT_SECONDS)

    def _select(self, *names):
        """The host, and a share of it."""
        for title, name in zip(("Servers", "Shares"), names):
            found = self._window.find(self._text(title), "list")
            row = found.find(lambda text, name=name: text.startswith(name), "list item")
            row.click()
            screen.wait_for(lambda row=row: row.has("SELECTED"), f"{name} is not selected")

    # ---- the steps -----------------------------------------------------

    def _mount(self):
        self._tray.choose(self._text("Mount All"))
        dialog = self._application().find(self._text("Password Needed"), "dialog", seconds=_MOUNT_SECONDS)
        place = screen.window_place(self._text("Password Needed"))
        password = catalogue.password()
        field = dialog.find(role="password text")
        screen.type_text(password)
        # The text itself is not told to anybody.
        screen.wait_for(lambda: field.cursor == len(password),
                        lambda: f"of what was typed, {field.cursor} of {len(password)} characters arrive")
        self._picture("password", place)
        dialog.find(self._text("OK"), "push button").click()
        self._application().await_gone(self._text("Password Needed"), "dialog")

    def _show_window(self):
        self._tray.choose(self._text("Show Shares"))
        self._window = self._application().find("Quorrel", "frame")
        screen.window_place("Quorrel")  # only then do its rows stay where they are
        self._select("nas.home")
        self._await_rows("Online", 4)
        self._select("nas.home", "Music")
        button = self._window.find(self._text("Unmount"), "push button")
        screen.wait_for(lambda: button.has("SENSITIVE"), "Unmount stays disabled")
        button.click()
        self._await_rows("Online", 3)
        self._select("nas.home", "Documents")
        self._picture("main-window", screen.window_place("Quorrel"))

    def _show_menu(self):
        open_menus = self._tray.open(self._text("Mount"), "nas.home", "Photos")
        menus = screen.wait_for(lambda: len(self._tray.places()) >= open_menus + 3 and self._tray.places(),
                                "the menus are not all there")
        self._picture("tray-menu", self._tray.icon(), *menus)
        screen.press("Escape", "Escape", "Escape")
        screen.wait_for(lambda: len(self._tray.places()) <= open_menus, "the menus stay")

    def _show_editor(self):
        self._select("nas.home", "priv")
        button = self._window.find(self._text("Edit"), "push button")
        screen.wait_for(lambda: button.has("SENSITIVE"), "Edit stays disabled")
        button.click()
        title = self._text("Edit Share")
        dialog = self._application().find(title, "dialog")
        self._picture("editor", screen.window_place(title))
        dialog.find(self._text("Cancel"), "push button").click()
        self._application().await_gone(title, "dialog")

    def _show_preferences(self):
        self._tray.choose(self._text("Preferences"))
        title = self._text("Preferences")
        dialog = self._application().find(title, "dialog")
        self._picture("preferences", screen.window_place(title))
        dialog.find(self._text("Close"), "push button").click()
        self._application().await_gone(title, "dialog")
