#!/usr/bin/python3 -B
# SPDX-License-Identifier: GPL-3.0-or-later
"""accessibility_test.py PROGRAM: the program by ear and by keys.

Runs under scripts/testbed with --netns --servers smb --desktop bare. Every window is
walked as assistive tools see it; then a share is added, mounted and deleted, once by
what those tools can do alone, and once by the keyboard alone.
"""

import os
import subprocess
import sys

import program_test
from program_test import SERVICE, SHARE  # which finds the test bed's modules, too
import hearing
from running import expect, run_steps
from testbed_lib import screen

STEPS = ("starts", "hears_the_empty_window", "hears_the_preferences", "hears_the_about_panel",
         "is_told_what_is_missing", "adds_a_share", "mounts_it", "hears_the_lists", "has_the_password_asked_for",
         "answers_the_prompt", "deletes_it",
         "adds_by_keys", "mounts_by_keys", "edits_by_keys", "sets_preferences_by_keys", "deletes_by_keys", "quits")


class Journey(program_test.Journey):
    """By ear: no mouse and no pictures; keys only where a step says so."""

    def __init__(self, program):
        super().__init__(program)
        self.process = None
        self.dialog = None

    # ---- what can be heard and done ------------------------------------

    def holds(self, window, by_keys=True):
        faults = hearing.shortcomings(window)
        if by_keys:
            faults += [f"{name} is out of the keys' reach" for name in hearing.unreachable(window)]
        expect(not faults, f"{window.name!r}:\n" + "\n".join(faults))

    def command(self, title):
        item = self.window.find(title, "menu item", showing=False)
        screen.wait_for(lambda: item.has("SENSITIVE"), f"{title} stays disabled")
        item.act()

    def opened(self, title, role="dialog"):
        self.dialog = self.application().find(title, role)
        return self.dialog

    def closes(self, button):
        title, role = self.dialog.name, self.dialog.role
        self.dialog.find(button, "push button").act()
        self.application().await_gone(title, role)

    def field(self, label, role="text"):
        """A field by the label that says what it is; a combo box is called by its value."""
        return screen.wait_for(lambda: next((node for node in self.dialog.walk() if node.matches(role=role)
                                             and label in (node.name, *node.labels)), None),
                               lambda: f"no {role} labelled {label!r} in\n{self.dialog.tree()}")

    def set_box(self, title, is_on):
        box = self.dialog.find(title, "check box")
        if box.has("CHECKED") != is_on:
            box.act()
        screen.wait_for(lambda: box.has("CHECKED") == is_on, f"{title} does not change")

    def select_share(self):
        row = self.share_row("")
        if not row.has("SELECTED"):
            row.act()
        screen.wait_for(lambda: row.has("SELECTED"), "the share cannot be selected")

    def hears_alert(self, title, text, by_keys=True):
        alert = self.opened(title, "alert")
        alert.find(lambda name: name.startswith(text), "label")
        self.holds(alert, by_keys)

    def await_one_share(self, user, password):
        def is_right(hosts):
            if len(hosts) != 1 or len(hosts[0]["sharePoints"]) != 1:
                return False
            share = hosts[0]["sharePoints"][0]
            return hosts[0]["displayName"] == self.host and share["sharePoint"] == SHARE \
                and share["displayType"] == SERVICE and share["userName"] == user \
                and share.get("password", "") == password and not share.get("automatically")

        self.await_catalogue(is_right, "the share is not in the catalogue as it was entered")

    # ---- every window, by ear ------------------------------------------

    def starts(self):
        self.process = subprocess.Popen([self.program], env=self.environment, stdin=subprocess.DEVNULL)
        self.window = self.application().find("Quorrel", "frame")
        self.hears_alert("There is no tray", "This desktop has no place for Quorrel's icon.",
                         by_keys=False)  # a notice leaves the keys to the window
        self.closes("OK")

    def hears_the_empty_window(self):
        self.window.find("No servers yet", "label")
        self.holds(self.window)

    def hears_the_preferences(self):
        self.command("Preferences…")
        self.opened("Preferences")
        for tab, content in (("General", "Write a log"), ("Discovery", "Browse the local network for servers"),
                             ("Network", "Mount automatically when this host can be reached:")):
            self.dialog.find(tab, "page tab").act()
            self.dialog.find(content)
            self.holds(self.dialog)
        host = self.field("Mount automatically when this host can be reached:")
        host.write("localhost")
        expect(self.dialog.find("Clear", "push button").actions, "the host cannot be cleared")
        host.write("")
        self.dialog.find("General", "page tab").act()
        self.dialog.find(lambda name: name.endswith("/Quorrel.log"), "label")
        self.closes("Close")

    def hears_the_about_panel(self):
        self.command("About Quorrel")
        self.opened("About Quorrel")
        self.dialog.find("Licence", "check box").act()
        licence = self.dialog.find("Licence", "text")
        expect("GNU GENERAL PUBLIC LICENSE" in licence.text, "the licence cannot be read")
        self.holds(self.dialog)
        self.closes("Close")

    # ---- a share's life, by actions and editable text ------------------

    def is_told_what_is_missing(self):
        self.command("Add Share…")
        editor = self.opened("Add Share")
        self.holds(editor)
        for alert, text, label in (("Oups!", "Server Name is a needed field.", "Server name:"),
                                   ("Hey!", "Share name is a needed field", "Share name:"),
                                   ("Hey!", "User Name needed, or check the guest login option", "User name:")):
            editor.find("Save", "push button").act()
            self.hears_alert(alert, text)
            self.closes("Ok")
            self.dialog = editor
            if label == "Server name:":
                self.field(label, "combo box").find(role="text").write(self.host)
            else:
                field = self.field(label)
                screen.wait_for(lambda field=field: field.has("FOCUSED"), f"the focus is not at {label}")
                field.write(SHARE if label == "Share name:" else os.environ["QTB_USER"])

    def adds_a_share(self):
        service = self.field("Service:", "combo box")
        service.find(SERVICE, "list item").act()
        screen.wait_for(lambda: service.forget().name == SERVICE, lambda: f"the service is {service.name}")
        self.field("Password:", "password text").write(self.password)
        expect(self.field("Password:", "password text").text != self.password, "the password can be heard")
        self.set_box("Mount automatically", False)
        self.closes("Save")
        self.await_one_share(os.environ["QTB_USER"], self.password)

    def mounts_it(self):
        self.select_share()
        self.command("Mount")
        row = self.share_row("Online")
        expect(SERVICE in row.name and os.environ["QTB_USER"] in row.name, f"the row is {row.name}")
        with open(os.path.join(self.folder(), "hello.txt"), encoding="utf-8") as file:
            expect(file.read().strip() == f"Hello from {SHARE}", "the mounted share holds something else")

    def hears_the_lists(self):
        self.window.find("Servers", "list").find(f"{self.host}, 1 share, 1 service", "list item")
        self.holds(self.window)

    def has_the_password_asked_for(self):
        self.command("Unmount")
        self.share_row("Offline")
        self.command("Edit…")
        self.opened("Edit Share")
        self.field("Password:", "password text").write("")
        self.set_box("Ask for the password when mounting", True)
        self.closes("Save")
        self.await_one_share(os.environ["QTB_USER"], "")

    def answers_the_prompt(self):
        self.select_share()
        self.command("Mount")
        prompt = self.opened("Password Needed")
        self.holds(prompt)
        self.field("Password:", "password text").write(self.password)
        self.closes("OK")
        self.share_row("Online")
        self.command("Unmount")
        self.share_row("Offline")

    def deletes_it(self):
        self.select_share()
        self.command("Delete…")
        self.hears_alert("Do you really want to delete the selected share definition?", "There is no undo")
        self.closes("Cancel")
        self.select_share()
        self.command("Delete…")
        self.opened("Do you really want to delete the selected share definition?", "alert")
        self.closes("Remove")
        self.await_catalogue(lambda hosts: hosts == [], "the share is still in the catalogue")
        self.window.find("No servers yet", "label")

    # ---- the same, by keys ---------------------------------------------

    def await_focus(self, what, seen):
        screen.wait_for(lambda: (focused := (self.dialog or self.window).focused()) and seen(focused),
                        lambda: f"the focus is not at {what} in\n{self.application().tree()}")

    def goes_to(self, key, label):
        screen.press(key)
        self.await_focus(label, lambda node: label in (node.name, *node.labels))

    def opens_by(self, key, title, role="dialog"):
        screen.press(key)
        self.opened(title, role)
        screen.wait_for(lambda: self.dialog.has("ACTIVE"), f"{title} does not get the keys")

    def closes_by(self, key):
        title, role = self.dialog.name, self.dialog.role
        screen.press(key)
        self.application().await_gone(title, role)
        self.dialog = None
        screen.wait_for(lambda: self.window.has("ACTIVE"), f"the keys do not come back from {title}")

    def goes_to_share(self):
        self.goes_to("alt+e", "Shares")
        row = self.share_row("")
        if not row.has("SELECTED"):
            screen.press("Down")
        screen.wait_for(lambda: row.has("SELECTED"), "the keys select no share")

    def adds_by_keys(self):
        self.opens_by("ctrl+n", "Add Share")
        self.await_focus("Server name:", lambda node: "Server name:" in node.labels)
        screen.type_text(self.host)
        self.goes_to("Tab", "Service:")
        screen.type_text(SERVICE[:3])
        self.goes_to("Tab", "Share name:")
        screen.type_text(SHARE)
        self.goes_to("alt+u", "User name:")
        screen.type_text(os.environ["QTB_USER"])
        self.goes_to("alt+p", "Password:")
        screen.type_text(self.password)
        self.goes_to("alt+a", "Mount automatically")
        box = self.dialog.find("Mount automatically", "check box")
        screen.wait_for(lambda: not box.has("CHECKED"), "its letter does not change the box")
        self.closes_by("Return")
        self.await_one_share(os.environ["QTB_USER"], self.password)

    def mounts_by_keys(self):
        self.goes_to_share()
        for key, state in (("ctrl+m", "Online"), ("ctrl+u", "Offline")):
            screen.press(key)
            self.share_row(state)
        screen.press("ctrl+d")
        self.await_catalogue(lambda hosts: hosts[0]["sharePoints"][0].get("favroite"), "it is no favourite")
        self.share_row("Favorite")

    def edits_by_keys(self):
        self.goes_to_share()
        self.opens_by("F2", "Edit Share")
        self.goes_to("alt+u", "User name:")
        screen.press("ctrl+a")
        screen.type_text("berta")
        self.closes_by("Return")
        self.await_one_share("berta", self.password)
        self.goes_to_share()  # which is another now
        self.opens_by("Return", "Edit Share")
        self.closes_by("Escape")

    def sets_preferences_by_keys(self):
        self.opens_by("ctrl+comma", "Preferences")
        for key, title in (("alt+d", "Discovery"), ("alt+t", "Network"), ("alt+g", "General")):
            screen.press(key)
            tab = self.dialog.find(title, "page tab")
            screen.wait_for(lambda tab=tab: tab.has("FOCUSED"), f"no key chooses {title}")
        box = self.dialog.find("Write a log", "check box")
        was_on = box.has("CHECKED")
        for is_on in (not was_on, was_on):
            screen.press("alt+l")
            screen.wait_for(lambda is_on=is_on: box.has("CHECKED") == is_on, "no key switches the log")
        self.closes_by("ctrl+w")
        self.opens_by("shift+F1", "About Quorrel")
        self.closes_by("Escape")

    def deletes_by_keys(self):
        self.goes_to_share()
        question = "Do you really want to delete the selected share definition?"
        self.opens_by("Delete", question, "alert")
        self.closes_by("Escape")
        expect(len(self.catalogue()) == 1, "the share is gone though nobody said so")
        self.goes_to_share()
        self.opens_by("Delete", question, "alert")
        self.await_focus("Remove", lambda node: node.name == "Remove")
        self.closes_by("Return")
        self.await_catalogue(lambda hosts: hosts == [], "the share is still in the catalogue")

    def quits(self):
        screen.press("ctrl+q")
        expect(self.process.wait(10) == 0, f"it ended with {self.process.returncode}")
        self.log_holds_no_password()

    def close(self):
        if self.process and self.process.poll() is None:
            self.process.kill()
            self.process.wait(5)


def main():
    return run_steps(Journey(os.path.realpath(sys.argv[1])), STEPS)


if __name__ == "__main__":
    sys.exit(main())
