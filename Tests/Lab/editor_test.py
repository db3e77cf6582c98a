#!/usr/bin/python3 -B
# SPDX-License-Identifier: GPL-3.0-or-later
"""editor_test.py PROGRAM: what the scans and the network tell of reaches the windows, as it comes.

Runs under scripts/lab with --desktop bare. Prints how long each effect took to follow its cause.
"""

import contextlib
import os
import subprocess
import sys
import time

from gi.repository import GLib

import keeping
from keeping import expect
from testbed_lib import announcing, catalogue, lab_control, screen
from testbed_lib.lab_control import say


class Editor:
    def __init__(self, program):
        self.program = program
        self.name = os.path.basename(program)
        self.lab = lab_control.Lab()
        self.attic = announcing.Announcer(self.lab.servers[1])
        self.process = None
        self.window = None
        self.dialog = None
        self.lab.write_hosts(["# those of the office", "10.77.0.9 cellar cellar.office"])

    def close(self):
        if self.process and self.process.poll() is None:
            self.process.kill()
            self.process.wait(5)

    def offered(self):
        """The names of servers that the editor offers."""
        box = next(node for node in self.dialog.walk() if node.role == "combo box" and "Server name:" in
                   (node.name, *node.labels))
        return [node.name for node in box.walk() if node.role == "list item"]

    def await_offered(self, *names):
        screen.wait_for(lambda: set(names) <= set(self.offered()),
                        lambda: f"wanted are {names}, offered are {self.offered()}")

    def choose(self, title):
        item = self.window.find(title, "menu item", showing=False)
        screen.wait_for(lambda: item.forget().has("SENSITIVE"), f"{title} stays disabled")
        item.act()

    # ---- in this order -------------------------------------------------

    def what_the_scans_find_is_offered(self):
        # nmbd needs some seconds until it answers for its name.
        for server in self.lab.servers:
            lab_control.wait_for(lambda server=server: f"{server.address} *<00>" in self.lab.client.run(
                "nmblookup", "*", "-T", check=False), f"{server.name} is not found by NetBIOS")
        catalogue.write([keeping.smb_share("fileserver", "pub")])
        keeping.write_preferences({"scanForSMBHosts": True, "lookUpHostFile": True})
        self.process = subprocess.Popen(  # pylint: disable=consider-using-with
            [self.program], env=dict(os.environ, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1"), stdin=subprocess.DEVNULL)
        self.window = screen.application(self.name).find("Quorrel", "frame")
        notice = screen.application(self.name).find("There is no tray", "alert")
        notice.find("OK", "push button").act()
        self.opens()
        self.await_offered("fileserver.lan.test", "attic.lan.test", "cellar", "cellar.office")
        self.closes()

    def a_server_that_announces_itself_is_offered_while_it_is_there(self):
        self.opens()
        for is_there, change in ((True, self.attic.announce), (False, self.attic.withdraw)):
            began = time.monotonic()
            change(announcing.SMB, "Loft")
            screen.wait_for(lambda is_there=is_there: ("Loft" in self.offered()) == is_there,
                            lambda: f"offered are {self.offered()}")
            say(f"    {time.monotonic() - began:.3f} s until the open editor "
                f"{'offers it' if is_there else 'offers it no more'}")
            self.await_offered("fileserver.lan.test", "cellar")
        self.closes()

    def opens(self):
        self.choose("Add Share…")
        self.dialog = screen.application(self.name).find("Add Share", "dialog")

    def closes(self):
        self.dialog.find("Cancel", "push button").act()
        screen.application(self.name).await_gone("Add Share", "dialog")

    def the_model_of_a_server_gives_it_another_picture(self):
        row = self.window.find("Servers", "list").find(lambda name: name.startswith("fileserver"), "list item")
        x, y, width, height = row.place()
        pictures = os.environ.get("PICTURES", os.environ["QTB_DIR"])

        def picture(name):
            return screen.steady_picture(os.path.join(pictures, name), (x, y, min(width, 2 * height), height))

        before = picture("before.png")
        with open(before, "rb") as file:
            before = file.read()
        announcer = announcing.Announcer(self.lab.servers[0])
        began = time.monotonic()
        announcer.announce(announcing.DEVICE, text={"model": "RackMac"})
        lab_control.wait_for(lambda: keeping.saved_hosts()["fileserver"].get("computerModel") == "RackMac",
                             "the model is not saved")
        say(f"    {time.monotonic() - began:.3f} s from its announcement to the catalogue's file")

        def has_changed():
            with open(picture("after.png"), "rb") as file:
                return file.read() != before

        screen.wait_for(has_changed, "its picture stays")

    def it_quits(self):
        with contextlib.suppress(GLib.Error):  # it may be gone before it has answered
            self.choose("Quit")
        expect(self.process.wait(5) == 0, f"it ended with {self.process.returncode}")


if __name__ == "__main__":
    editor = Editor(os.path.realpath(sys.argv[1]))
    try:
        code = lab_control.run_steps(editor, (
            "what_the_scans_find_is_offered", "a_server_that_announces_itself_is_offered_while_it_is_there",
            "the_model_of_a_server_gives_it_another_picture", "it_quits"))
        if code:
            screen.picture(os.path.join(os.environ.get("PICTURES", os.environ["QTB_DIR"]), "failed.png"))
    finally:
        editor.close()
    sys.exit(code)
