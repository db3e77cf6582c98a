#!/usr/bin/python3 -B
# SPDX-License-Identifier: GPL-3.0-or-later
"""failing_save_test.py PROGRAM: the user learns that nothing can be saved, or that somebody else saved, and is held up
by nothing.

Runs under scripts/testbed with --netns, whose mounts are its own, and --desktop bare.
"""

import os
import plistlib
import signal
import subprocess
import sys

HERE = os.path.dirname(os.path.realpath(__file__))
sys.path[:0] = [HERE, os.path.join(HERE, "..", "..", "scripts")]

import running  # noqa: E402
from running import expect, run_steps  # noqa: E402
from testbed_lib import screen  # noqa: E402

SERVICE = "Server Message Block (smb)"
TITLE = "Your shares could not be saved"
EDITED = "Your shares were changed outside Quorrel"
FILE = running.catalogue_file()
FOLDER = os.path.dirname(FILE)


def write_files():
    os.makedirs(FOLDER, 0o700)
    with open(FILE, "wb") as file:
        plistlib.dump([{"displayName": "cellar.test", "services": [{"displayType": SERVICE}], "sharePoints": [
            {"displayType": SERVICE, "sharePoint": "music", "automatically": False, "guestLogin": True}]}], file)
    # Nothing but the user changes anything.
    path = os.path.join(os.environ["XDG_CONFIG_HOME"], "Quorrel", "Quorrel.conf")
    os.makedirs(os.path.dirname(path), 0o700)
    with open(path, "w", encoding="utf-8") as file:
        file.write("[Flags]\nBrowseForServices=false\nscanForSMBHosts=false\nlogToConsole=true\n")


def mount(*arguments):
    subprocess.run(["mount", *arguments], stdin=subprocess.DEVNULL, timeout=20, check=True)


def is_favourite():
    with open(FILE, "rb") as file:
        return bool(plistlib.load(file)[0]["sharePoints"][0].get("favroite"))


class Saves:
    def __init__(self, program):
        write_files()
        self.program = program
        self.run = None
        self.window = None

    def toggle_favourite(self):
        item = self.window.find("Favorite", "menu item", showing=False)
        screen.wait_for(lambda: item.has("SENSITIVE"), "no share is selected")
        item.act()

    def log(self):
        with open(os.path.join(os.environ["XDG_STATE_HOME"], "Quorrel", "Quorrel.log"), encoding="utf-8") as file:
            return file.read()

    def failures(self):
        return self.log().count("Save Failed hosts.")

    def alerts(self, title=TITLE):
        return [node for node in self.run.application().walk() if node.matches(title, "alert")]

    def open_window(self):
        self.run = running.Running(self.program)
        application = self.run.application()
        notice = application.find(role="alert")  # that there is no tray
        notice.find(role="push button").click()
        self.window = application.find("Quorrel", "frame")
        rows = self.window.find("Shares", "list")
        rows.find(lambda name: name.startswith("music"), "list item").click()

    # ---- in this order -------------------------------------------------

    def what_can_be_saved_is_no_news(self):
        self.open_window()
        self.toggle_favourite()
        screen.wait_for(is_favourite, "the favourite is not saved")
        expect(not self.alerts(), "it complains")

    def what_was_only_copied_over_itself_is_no_news(self):
        with open(FILE, "rb") as file:
            content = file.read()
        with open(FILE, "wb") as file:
            file.write(content)
        self.toggle_favourite()
        screen.wait_for(lambda: not is_favourite(), "the change is not saved")
        expect(not self.alerts(EDITED), "it complains")
        expect(os.listdir(FOLDER) == [os.path.basename(FILE)], f"beside it are {os.listdir(FOLDER)}")

    def what_somebody_edited_meanwhile_is_kept_and_told(self):
        edited = plistlib.dumps([{"displayName": "attic.test"}])
        with open(FILE, "wb") as file:
            file.write(edited)
        self.toggle_favourite()
        alert = self.run.application().find(EDITED, "alert")
        expect(alert.look(lambda name: name.startswith(f"{FILE} is not as Quorrel left it: "), "label"), alert.tree())
        screen.picture(os.path.join(os.environ.get("PICTURES", os.environ["QTB_DIR"]) + "-edited.png"))
        screen.wait_for(lambda: os.path.exists(FILE) and is_favourite(), "the change is not saved")
        with open(FILE + ".damaged", "rb") as file:
            expect(file.read() == edited, "what was kept is not what was edited")
        os.unlink(FILE + ".damaged")
        alert.find(role="push button").click()
        self.run.application().await_gone(EDITED, "alert")

    def a_failed_save_is_told_with_file_and_cause(self):
        mount("--bind", FOLDER, FOLDER)
        mount("-o", "remount,bind,ro", FOLDER)
        self.toggle_favourite()
        alert = self.run.application().find(TITLE, "alert")
        expect(alert.look(lambda name: name.startswith(f"{FILE} cannot be written: Read-only file system."), "label"),
               alert.tree())
        expect(is_favourite(), "the old catalogue has changed")
        screen.picture(os.path.join(os.environ.get("PICTURES", os.environ["QTB_DIR"]) + "-alert.png"))

    def the_program_goes_on_and_repeats_nothing(self):
        for count in (2, 3):
            self.toggle_favourite()
            screen.wait_for(lambda count=count: self.failures() == count, lambda: f"it did not try again: {self.log()}")
        expect(len(self.alerts()) == 1, f"{len(self.alerts())} alerts are shown")

    def the_next_change_saves_it_all_and_the_alert_goes(self):
        subprocess.run(["umount", FOLDER], stdin=subprocess.DEVNULL, timeout=20, check=True)
        self.toggle_favourite()
        self.run.application().await_gone(TITLE, "alert")
        screen.wait_for(is_favourite, "the change is not saved")
        self.toggle_favourite()
        screen.wait_for(lambda: not is_favourite(), "the next change is not saved")
        expect(os.listdir(FOLDER) == [os.path.basename(FILE)], f"beside it are {os.listdir(FOLDER)}")
        expect(self.failures() == 3, self.log())
        self.run.end(signal.SIGTERM)

    def what_is_being_saved_when_it_ends_is_saved_whole(self):
        # So much that it would have ended long before, did it not wait.
        with open(FILE, "rb") as file:
            hosts = plistlib.load(file)
        hosts[0]["sharePoints"].append({"displayType": SERVICE, "sharePoint": "films", "automatically": False,
                                        "guestLogin": True, "scriptArguments": "x" * 2_000_000})
        with open(FILE, "wb") as file:
            plistlib.dump(hosts, file)
        self.open_window()
        self.toggle_favourite()
        self.run.process.send_signal(signal.SIGTERM)
        expect(self.run.process.wait(30) == 0, "it did not end in order")
        expect(is_favourite(), "the last change is not saved")
        expect(os.listdir(FOLDER) == [os.path.basename(FILE)], f"beside it are {os.listdir(FOLDER)}")

    def close(self):
        if self.run:
            self.run.kill()


def main():
    return run_steps(Saves(os.path.realpath(sys.argv[1])), (
        "what_can_be_saved_is_no_news", "what_was_only_copied_over_itself_is_no_news",
        "what_somebody_edited_meanwhile_is_kept_and_told", "a_failed_save_is_told_with_file_and_cause",
        "the_program_goes_on_and_repeats_nothing", "the_next_change_saves_it_all_and_the_alert_goes",
        "what_is_being_saved_when_it_ends_is_saved_whole"))


if __name__ == "__main__":
    sys.exit(main())
