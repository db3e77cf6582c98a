# SPDX-License-Identifier: GPL-3.0-or-later
"""The status item on real trays: tray_test.py PROGRAM CLASS, run in the test bed with the desktop that the class names
in its first line. PROGRAM is tray_program."""

import os
import re
import subprocess
import sys
import threading
import unittest

import gi

sys.path.insert(0, os.path.join(os.path.dirname(os.path.realpath(__file__)), "..", "..", "..", "scripts"))

from testbed_lib import screen  # noqa: E402

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

PROGRAM = ""
WATCHER = "org.kde.StatusNotifierWatcher"
ITEM = "org.kde.StatusNotifierItem"
MENU = "com.canonical.dbusmenu"
PROPERTIES = "org.freedesktop.DBus.Properties"
PATIENCE = 20
SMALLEST_ICON = 16

# As the program's menu has them.
HARD_NAMES = ["my_share_2", "_", "R&D & sales & more", "a_&_b", "a&_b_&", "ends in &", "tab\there", "line\nbreak",
              "שרת : מסמכים", "Über uns"]
LOW_MACRON = "\u02cd"  # for the underscores that desktops on GTK would drop


def without_dropped(name):
    return name.replace("_", LOW_MACRON) if 0 <= name.find("&") < name.find("_") else name


ON_ONE_LINE = [without_dropped(re.sub(r"[\t\n]", " ", name)) for name in HARD_NAMES]

WATCHER_INTERFACE = """<node><interface name="org.kde.StatusNotifierWatcher">
<method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
<method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
<property name="RegisteredStatusNotifierItems" type="as" access="read"/>
<property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
<property name="ProtocolVersion" type="i" access="read"/>
<signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
<signal name="StatusNotifierHostRegistered"/>
</interface></node>"""


def turn():
    while GLib.MainContext.default().iteration(False):
        pass


def wait_for(condition, what):
    def look():
        turn()
        return condition()

    return screen.wait_for(look, what, PATIENCE)


def shown(label):
    """What a desktop makes of a menu's label: one underscore marks the key, two stand for one."""
    return re.sub(r"_(.?)", r"\1", label)


class Program:
    def __init__(self, patience=5000):
        environment = {**os.environ, "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}
        self.process = subprocess.Popen([PROGRAM, str(patience)], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        text=True, encoding="utf-8", env=environment)
        self.lines = []
        self.reader = threading.Thread(target=self.read)
        self.reader.start()

    def read(self):
        for line in self.process.stdout:
            self.lines.append(line.rstrip("\n"))

    def tell(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()

    def said(self, line):
        """Waits for the line, and forgets it and what came before."""
        wait_for(lambda: line in self.lines, lambda: f"not said: {line!r}, but {self.lines}")
        del self.lines[:self.lines.index(line) + 1]

    def end(self):
        if self.process.poll() is None:
            self.tell("quit")
        try:
            code = self.process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            self.process.kill()
            code = self.process.wait()
        self.reader.join()
        self.process.stdin.close()
        self.process.stdout.close()
        return code

    def memory(self):
        """In KiB, without what is only kept for later, and without files: those count less the more programs of the
        machine share them just then."""
        self.tell("trim")
        line = wait_for(lambda: next((line for line in self.lines if line.startswith("trimmed")), None), "not trimmed")
        self.said(line)
        if line != "trimmed":
            return int(line.split()[-1])
        with open(f"/proc/{self.process.pid}/smaps_rollup", encoding="ascii") as file:
            return int(re.search(r"^Anonymous:\s+(\d+)", file.read(), re.MULTILINE).group(1))


class IconList:
    """The list of icons on the bus, and one host for it."""

    def __init__(self, has_host=True):
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        self.has_host = has_host
        self.items = []
        interface = Gio.DBusNodeInfo.new_for_xml(WATCHER_INTERFACE).interfaces[0]
        self.object = self.bus.register_object("/StatusNotifierWatcher", interface, self.called, self.read, None)
        self.name = Gio.bus_own_name_on_connection(self.bus, WATCHER, Gio.BusNameOwnerFlags.NONE, None, None)

    def called(self, _bus, sender, _path, _interface, method, arguments, invocation):
        if method == "RegisterStatusNotifierItem":
            name = arguments.unpack()[0]
            self.items.append((sender, name) if name.startswith("/") else (name, "/StatusNotifierItem"))
        invocation.return_value(None)

    def read(self, _bus, _sender, _path, _interface, name):
        return {"RegisteredStatusNotifierItems": GLib.Variant("as", [each for each, _ in self.items]),
                "IsStatusNotifierHostRegistered": GLib.Variant("b", self.has_host),
                "ProtocolVersion": GLib.Variant("i", 0)}[name]

    def register_host(self):
        self.has_host = True
        self.bus.emit_signal(None, "/StatusNotifierWatcher", WATCHER, "StatusNotifierHostRegistered", None)

    def end(self):
        Gio.bus_unown_name(self.name)
        self.bus.unregister_object(self.object)
        turn()


class Item:
    """A status item as its host sees it."""

    def __init__(self, bus, name, path):
        self.bus, self.name, self.path = bus, name, path
        self.menu = self.call(path, PROPERTIES, "Get", GLib.Variant("(ss)", (ITEM, "Menu")))[0]

    def call(self, path, interface, method, arguments):
        """Answers to the program are given meanwhile, as it may ask in between."""
        answers = []
        self.bus.call(self.name, path, interface, method, arguments, None, Gio.DBusCallFlags.NONE, 10000, None,
                      lambda bus, result: answers.append(bus.call_finish(result)))
        wait_for(lambda: answers, f"{method} is not answered")
        return answers[0].unpack()

    def properties(self):
        return self.call(self.path, PROPERTIES, "GetAll", GLib.Variant("(s)", (ITEM,)))[0]

    def rows(self):
        """Of the whole menu: number, properties, rows below."""
        def walk(row):
            number, properties, below = row
            return number, properties, [walk(each) for each in below]

        layout = self.call(self.menu, MENU, "GetLayout", GLib.Variant("(iias)", (0, -1, [])))
        return walk(layout[1])[2]

    def click(self, number):
        self.call(self.menu, MENU, "Event", GLib.Variant("(isvu)", (number, "clicked", GLib.Variant("i", 0), 0)))


def count(rows):
    return sum(1 + count(below) for _, _, below in rows)


def labels(rows):
    return [shown(properties.get("label", "")) for _, properties, _ in rows if properties.get("type") != "separator"]


class ProgramTest(unittest.TestCase):
    def start(self, **more):
        self.program = Program(**more)
        self.addCleanup(self.end)

    def end(self):
        self.assertEqual(self.program.end(), 0)


    def grown(self, before):
        """In KiB; a row that is left behind in each rebuild is more than that."""
        now = self.program.memory()
        print(f"{before} KiB, {now - before:+d} KiB by 1000 rebuilds ", end="", file=sys.stderr)
        return now - before


class Bus(ProgramTest):
    """bare: a host of our own, which sees all that goes over the bus."""

    def listed(self, **more):
        self.icons = IconList(**more)
        self.addCleanup(self.icons.end)

    def item(self):
        self.program.said("found")
        wait_for(lambda: self.icons.items, "no item registers")
        return Item(self.icons.bus, *self.icons.items[0])

    def test_an_item_has_an_icon_and_says_whose_it_is(self):
        self.listed()
        self.start()
        properties = self.item().properties()
        self.assertTrue(properties["IconPixmap"])
        self.assertIn("Quorrel", str(properties["ToolTip"]))

    def test_every_title_reads_as_it_is(self):
        self.listed()
        self.start()
        rows = self.item().rows()
        self.assertEqual(labels(rows), ["Mount", *ON_ONE_LINE[:-1], "\u2003\u2003" + ON_ONE_LINE[-1], "hidden",
                                        "disabled"])
        mount = rows[0][2]
        self.assertEqual(labels(mount), ["mars", "host_1"])
        for _, properties, below in mount:
            self.assertEqual(labels(below), ON_ONE_LINE)
            self.assertTrue(properties["icon-data"])

    def test_rows_are_hidden_disabled_and_separated(self):
        self.listed()
        self.start()
        rows = {properties.get("label", properties.get("type")): properties for _, properties, _ in self.item().rows()}
        self.assertFalse(rows["hidden"]["visible"])
        self.assertFalse(rows["disabled"]["enabled"])
        self.assertIn("separator", rows)

    def test_a_click_performs_with_the_title_and_the_menus(self):
        self.listed()
        self.start()
        item = self.item()
        share = item.rows()[0][2][1][2][0]
        item.click(share[0])
        self.program.said("performed mountMenuItem [my_share_2] in [host_1]")

    def test_activation_shows_the_shares(self):
        self.listed()
        self.start()
        item = self.item()
        item.call(item.path, ITEM, "Activate", GLib.Variant("(ii)", (0, 0)))
        self.program.said("performed showMountList [] in []")

    def test_a_host_that_registers_late_gets_the_item(self):
        self.listed(has_host=False)
        self.start(patience=300)
        self.program.said("none found")
        self.assertEqual(self.icons.items, [])
        self.icons.register_host()
        self.assertTrue(labels(self.item().rows()))

    def test_a_list_that_comes_late_gets_the_item(self):
        self.start(patience=300)
        self.program.said("none found")
        self.listed()
        self.assertTrue(labels(self.item().rows()))

    def test_a_thousand_rebuilds_leave_nothing_behind(self):
        self.listed()
        self.start()
        item = self.item()
        before = item.rows()

        def rebuild(times):
            # Between looks, as a desktop does: what waits for the bus is memory too.
            for _ in range(times // 20):
                self.program.tell("rebuild 20")
                self.program.said("rebuilt")
                rows = item.rows()
            return rows

        rebuild(200)
        warm = self.program.memory()
        after = rebuild(1000)
        self.assertEqual(count(after), count(before))
        self.assertEqual(labels(after), labels(before))
        self.assertLess(self.grown(warm), 600)


class Shown(ProgramTest):
    """A tray that a person sees."""

    def open_menu(self, x, y):
        """To the first share, by mouse and keys."""
        self.opens(lambda: screen.click(x, y, button=3))
        screen.press("Down")
        self.opens(lambda: screen.press("Right"))
        self.opens(lambda: screen.press("Right"))

    def opens(self, act):
        before = self.windows()
        act()
        wait_for(lambda: self.windows() - before, "no menu opens")

    @staticmethod
    def windows(*which):
        found = subprocess.run(["xdotool", "search", "--onlyvisible", *(which or ("--maxdepth", "1", "--name", ""))],
                               stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=20, check=False)
        return set(found.stdout.split())

    def icon(self):
        """The middle of the window with the icon, once that has its place."""
        self.program.said("found")
        return wait_for(screen.steady(self.look_for_icon), f"no icon in a window of {self.icon_class}")

    def look_for_icon(self):
        for window in self.windows("--class", self.icon_class):
            shape = screen.tool("xdotool", "getwindowgeometry", "--shell", window)
            left, top, width, height = (int(re.search(rf"^{name}=(-?\d+)$", shape, re.MULTILINE).group(1))
                                        for name in ("X", "Y", "WIDTH", "HEIGHT"))
            if width >= SMALLEST_ICON and height >= SMALLEST_ICON:
                return left + width // 2, top + height // 2
        return None

    def check_menu(self, x, y):
        self.open_menu(x, y)
        screen.press("Return")
        self.program.said("performed mountMenuItem [my_share_2] in [mars]")


class Panel(Shown):
    """panel: what a person sees of an item on the bus."""

    # The panel's part with the icons is a program of its own, which has no width while there are none.
    icon_class = "wrapper-2.0"

    def test_the_menu_opens_and_performs(self):
        self.start()
        self.check_menu(*self.icon())

    def test_a_click_shows_the_shares(self):
        self.start()
        screen.click(*self.icon())
        self.program.said("performed showMountList [] in []")


class Embedded(Shown):
    """An icon that is embedded, and a menu that Qt draws."""

    icon_class = "tray_program"


class Trayer(Embedded):
    """trayer: a tray that is there first."""

    def test_the_menu_opens_and_performs(self):
        self.start()
        self.check_menu(*self.icon())

    def test_a_double_click_shows_the_shares(self):
        self.start()
        screen.click(*self.icon(), times=2)
        self.program.said("performed showMountList [] in []")
        self.program.said("performed showMountList [] in []")

    def test_a_thousand_rebuilds_leave_nothing_behind(self):
        self.start()
        self.icon()

        def rebuild(times):
            self.program.tell(f"rebuild {times}")
            self.program.said("rebuilt")

        rebuild(200)
        warm = self.program.memory()
        rebuild(1000)
        self.assertLess(self.grown(warm), 600)


class Late(Embedded):
    """bare: an embedding tray that comes when the program has given up."""

    def test_a_tray_that_comes_late_gets_the_icon(self):
        self.start(patience=300)
        self.program.said("none found")
        tray = subprocess.Popen(["trayer", "--edge", "top"], stdin=subprocess.DEVNULL)
        self.addCleanup(lambda: (tray.terminate(), tray.wait(PATIENCE)))
        self.check_menu(*self.icon())


if __name__ == "__main__":
    PROGRAM = sys.argv.pop(1)
    unittest.main(verbosity=2)
