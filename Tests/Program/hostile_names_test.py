#!/usr/bin/python3 -B
# SPDX-License-Identifier: GPL-3.0-or-later
"""hostile_names_test.py PROGRAM: names that networks and files tell, and that stand in the catalogue, stay names.

Runs under scripts/testbed with --netns --servers avahi --desktop panel.
"""

import json
import os
import plistlib
import re
import signal
import subprocess
import sys
import types

HERE = os.path.dirname(os.path.realpath(__file__))
sys.path[:0] = [HERE, os.path.join(HERE, "..", "..", "scripts")]

import running  # noqa: E402
from running import expect, run_steps  # noqa: E402
from testbed_lib import announcing, screen, trays  # noqa: E402

SERVICE = "Server Message Block (smb)"
STAMP = "2026-11-21 10:11:12.345 Quorrel[1:1] "
MARKER = "Mr. X"  # in every name, so that what becomes of it is found

# At most 63 bytes, as one label of DNS has.
NAMES = [
    f"{MARKER}\n{STAMP}Forged.",
    f"{MARKER}\x1b[2J\x1b]0;t\x07\r\x08\tb",
    f"{MARKER} gnp.\u202eexe\u2066",
    f"<h1>{MARKER}</h1><img src='/etc/passwd'>",
    f"../../../{MARKER}",
    f"--{MARKER}",
    f"%n%s%@ {MARKER} \"'`$(id)",
    f"\u2003\u2003a&b_c__{MARKER}&",
    f"{MARKER} {'x' * 50}",
]
SHOWN = {  # in menus and lists
    NAMES[0]: f"{MARKER} {STAMP}Forged.",
    NAMES[1]: f"{MARKER} [2J ]0;t    b",
    NAMES[2]: f"{MARKER} gnp. exe ",
}
# What nmblookup tells of other machines, and the words of a hosts file, which is ASCII without blanks in its names. A
# carriage return ends a line there, too.
TOLD = ["Mr. T\x1b[2J\x07", "../Mr. T", "-Mr. T", "%n%s%@Mr. T\"'`$(id)", "<b>Mr. T</b>", f"T\r{STAMP}Told.",
        "Mr. T\0\x7f"]
LISTED = [name.replace(" ", "") + "-listed" for name in TOLD]
CONTROLS = re.compile("[\x00-\x08\x0b-\x1f\x7f-\x9f\u2028\u2029\u202a-\u202e\u2066-\u2069]")
LINE = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} Quorrel\[(\d+):\d+\] ")


def shown(name):
    return SHOWN.get(name) or "".join(" " if character < " " or character == "\x7f" else character for character in name)


def cover(place, content, mode):
    """Puts a file of ours in the place of the machine's, for what runs in the bed's namespace."""
    path = os.path.join(os.environ["QTB_DIR"], "cover-" + os.path.basename(place))
    with open(path, "w", encoding="utf-8", newline="") as file:
        file.write(content)
    os.chmod(path, mode)
    subprocess.run(["mount", "--bind", path, place], stdin=subprocess.DEVNULL, timeout=20, check=True)


def write_files():
    path = running.catalogue_file()
    os.makedirs(os.path.dirname(path), 0o700)
    with open(path, "wb") as file:
        plistlib.dump([{"displayName": name, "services": [{"displayType": SERVICE}], "sharePoints": [
            {"displayType": SERVICE, "sharePoint": name, "automatically": False, "guestLogin": True,
             "favroite": True}]} for name in NAMES], file, fmt=plistlib.FMT_BINARY)
    path = os.path.join(os.environ["XDG_CONFIG_HOME"], "Quorrel", "Quorrel.conf")
    os.makedirs(os.path.dirname(path), 0o700)
    with open(path, "w", encoding="utf-8") as file:
        file.write("[Flags]\nscanForSMBHosts=true\nlookUpHostFile=true\nlogToConsole=true\n")
    names = os.path.join(os.environ["QTB_DIR"], "netbios-names")
    with open(names, "w", encoding="utf-8", newline="") as file:
        file.write("".join(f"{name}, 10.77.0.2 *<00>\n" for name in TOLD))
    cover("/usr/bin/nmblookup", f"#!/bin/sh\nexec cat '{names}'\n", 0o755)
    cover("/etc/hosts", "127.0.0.1 localhost\n" + "".join(f"127.0.0.9 {name}\n" for name in LISTED), 0o644)


def log():
    path = os.path.join(os.environ["XDG_STATE_HOME"], "Quorrel", "Quorrel.log")
    with open(path, "rb") as file:
        return file.read().decode()  # no byte of it is anything but UTF-8


class Names:
    def __init__(self, program):
        write_files()
        self.program = program
        self.run = None
        self.tray = None
        self.announcer = None

    # ---- in this order -------------------------------------------------

    def the_network_announces_them(self):
        self.run = running.Running(self.program)
        self.tray = trays.Panel()
        self.tray.icon()
        machine = types.SimpleNamespace(system_bus=os.environ["DBUS_SYSTEM_BUS_ADDRESS"], name="testbed")
        self.announcer = announcing.Announcer(machine)
        for name in NAMES:
            self.announcer.announce(announcing.SMB, name)
        screen.wait_for(lambda: log().count(" Appeared\n") >= len(NAMES), lambda: f"they do not appear:\n{log()}",
                        seconds=60)

    def none_forges_a_line_of_the_log(self):
        text = log()
        for line in text.splitlines():
            found = LINE.match(line)
            # What the tools print stands there, too.
            expect(not found or int(found[1]) == self.run.process.pid, f"forged: {line!r}")
        expect(not CONTROLS.search(text), f"the log has controls in it: {text!r}")
        expect(f"{MARKER}\\n{STAMP}Forged. Appeared\n" in text, text)

    def the_terminal_shows_each_on_one_line(self):
        tool = os.path.join(os.path.dirname(self.program), "quorrelctl")
        # With a log of its own, so that each line of the program's is the program's.
        environment = {**os.environ, "XDG_STATE_HOME": os.path.join(os.environ["QTB_DIR"], "tool")}

        def printed(*arguments):
            text = subprocess.run([tool, *arguments], stdin=subprocess.DEVNULL, capture_output=True, timeout=60,
                                  env=environment, check=True).stdout.decode()
            expect(not CONTROLS.search(text), f"quorrelctl {arguments} prints {text!r}")
            return text

        lines = printed("list").splitlines()
        expect(len(lines) == 1 + len(NAMES), f"quorrelctl lists {lines}")
        expect(sorted(row["host"] for row in json.loads(printed("list", "--json"))) == sorted(NAMES), "not all in JSON")

    def each_is_one_row_of_each_menu(self):
        wanted = sorted(shown(name).strip() for name in NAMES)
        for menu in ("Mount", "Unmount"):
            rows = self.tray.titles(menu)
            expect(sorted(row for row in rows if MARKER in row) == wanted, f"{menu} has {rows}")
        for name in NAMES:
            rows = self.tray.titles("Mount", shown(name).strip())
            rows = [row.replace("\u02cd", "_") for row in rows]  # what this desktop would drop
            expect([row for row in rows if MARKER in row] == [shown(name).strip()], f"{name!r} has {rows}")

    def the_window_shows_them_as_they_stand(self):
        self.tray.choose("Show Shares")
        window = self.run.application().find("Quorrel", "frame")
        screen.window_place("Quorrel")  # only then do its rows stay where they are
        rows = window.find("Servers", "list")
        found = screen.wait_for(lambda: sorted(node.name.rsplit(", ", 2)[0] for node in rows.walk()
                                               if node.role == "list item") or None, "no rows")
        expect(found == sorted(shown(name) for name in NAMES), f"the rows are {found}")
        rows.find(lambda name: name.startswith("<h1>"), "list item").click()
        window.find("Shares", "list").find(lambda name: name.startswith("<h1>"), "list item").click()
        self.picture("window")
        open_menus = self.tray.open("Mount", shown(NAMES[0]).strip())
        screen.wait_for(lambda: len(self.tray.places()) >= open_menus + 2, "the menus are not all there")
        self.picture("menu")
        screen.press("Escape", "Escape")

    def the_editor_offers_them(self):
        self.tray.choose("Add Share…")
        dialog = self.run.application().find("Add Share", "dialog")
        offered = dialog.find("Server name:", "list", showing=False)
        wanted = {shown(name) for name in NAMES + [each.split("\r")[-1] for each in TOLD + LISTED]}
        missing = lambda: wanted - {node.name for node in offered.walk()}  # noqa: E731
        screen.wait_for(lambda: not missing(), lambda: f"not all are offered: {missing()}")
        self.picture("editor")
        dialog.find("Cancel", "push button").click()
        self.run.application().await_gone("Add Share", "dialog")

    def nothing_is_made_of_them(self):
        self.announcer.withdraw_all()
        screen.wait_for(lambda: log().count(" Left\n") >= len(NAMES), lambda: f"they do not leave:\n{log()}", seconds=60)
        self.none_forges_a_line_of_the_log()
        for folder, _, names in os.walk(os.environ["HOME"]):
            expect(not any(MARKER in name for name in names), f"{folder} has {names}")
        self.run.end(signal.SIGTERM)

    @staticmethod
    def picture(name):
        screen.picture(os.path.join(os.environ.get("PICTURES", os.environ["QTB_DIR"]) + f"-{name}.png"))

    def close(self):
        if self.run:
            self.run.kill()
        if self.announcer:
            self.announcer.close()


def main():
    return run_steps(Names(os.path.realpath(sys.argv[1])), (
        "the_network_announces_them", "none_forges_a_line_of_the_log",
        "the_terminal_shows_each_on_one_line", "each_is_one_row_of_each_menu",
        "the_window_shows_them_as_they_stand", "the_editor_offers_them", "nothing_is_made_of_them"))


if __name__ == "__main__":
    sys.exit(main())
