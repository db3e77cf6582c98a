# SPDX-License-Identifier: GPL-3.0-or-later
"""The two kinds of tray as a person uses them: click the icon, go through its menu, choose a row."""

from gi.repository import Gio, GLib

from . import screen

_WATCHER = ("org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher", "org.kde.StatusNotifierWatcher")
_INDENT = "\u2003"

# What can be an icon's place, in pixels, on a screen of either scale.
_SMALLEST, _LARGEST = 16, 80


def _plain(label):
    return label.replace(_INDENT, "").replace("\u2068", "").replace("\u2069", "").strip()


class _Tray:
    def click_icon(self, button):
        x, y, width, height = self.icon()
        screen.click(x + width // 2, y + height // 2, button)

    def has_icon(self):
        return self.place() is not None

    @staticmethod
    def _place_of(window_class, above=None):
        """Of the window that can be an icon; the program's tips and menus are of the same class, and hang lower."""
        return next(((x, y, width, height) for x, y, width, height in screen.shapes_of(window_class)
                     if _SMALLEST <= width <= _LARGEST and _SMALLEST <= height <= _LARGEST
                     and (above is None or y < above)), None)

    def icon(self):
        """Where it is once it stays there: a tray moves new icons, and a click on the way is lost."""
        return screen.wait_for(screen.steady(self.place), lambda: f"the tray shows no icon: {self._what_is_there()}")


class Panel(_Tray):
    """Shows StatusNotifierItems. It draws the program's menu itself and tells assistive tools nothing of it, so the
    rows are read where the panel reads them, and chosen by keys."""

    def __init__(self):
        self._bus = Gio.bus_get_sync(Gio.BusType.SESSION)

    def place(self):
        # The part of the panel that holds icons is a program of its own, with no width while there are none.
        return self._place_of("wrapper-2.0", self._panel_bottom()) if self._items() else None

    @staticmethod
    def _panel_bottom():
        return max((y + height for _, y, _, height in screen.shapes_of("xfce4-panel")), default=0)

    def _tips(self):
        """What hangs below the panel while no menu is open: the tip of an icon that came up under the pointer."""
        bottom = self._panel_bottom()
        return [shape for shape in self.places() if shape[1] >= bottom]

    def _what_is_there(self):
        return f"registered are {self._items()}, drawn {self.places()}"

    def _items(self):
        return self._property(*_WATCHER, "RegisteredStatusNotifierItems")

    def _call(self, service, path, interface, method, arguments):
        return self._bus.call_sync(service, path, interface, method, arguments, None, Gio.DBusCallFlags.NONE,
                                   5000, None).unpack()

    def _property(self, service, path, interface, name):
        return self._call(service, path, "org.freedesktop.DBus.Properties", "Get",
                          GLib.Variant("(ss)", (interface, name)))[0]

    def _layout(self):
        item = screen.wait_for(self._items, "no icon is registered")[0]
        service, path = item.split("/", 1)
        menu = self._property(service, "/" + path, "org.kde.StatusNotifierItem", "Menu")
        return self._call(service, menu, "com.canonical.dbusmenu", "GetLayout",
                          GLib.Variant("(iias)", (0, -1, [])))[1]

    @staticmethod
    def _rows(node):
        """What can be seen of one menu: label, whether keys stop at it, and its node."""
        rows = []
        for child in node[2]:
            if child[1].get("visible", True) and child[1].get("type") != "separator":
                # Whoever draws the menu takes one underscore for a mnemonic and two for one.
                label = child[1].get("label", "").replace("__", "\0").replace("_", "").replace("\0", "_")
                rows.append((_plain(label), child[1].get("enabled", True), child))
        return rows

    def titles(self, *path):
        node = self._layout()
        for title in path:
            node = next(child for label, _, child in self._rows(node) if label == title)
        return [label for label, _, _ in self._rows(node)]

    @staticmethod
    def places():
        """Where open menus are."""
        # The panel runs what draws them as a process of its own.
        return screen.shapes_of("wrapper-2.0")

    def _menus(self):
        return len(self.places())

    def _await_menu(self, above):
        screen.wait_for(lambda: self._menus() > above, "no menu opens")

    def choose(self, *titles):
        open_menus = self.open(*titles)
        screen.press("Return")
        screen.wait_for(lambda: self._menus() <= open_menus, "the menu stays open")

    def open(self, *titles):
        """Opens the menu and goes to that row, without choosing it. How many menus were open before."""
        screen.wait_for(lambda: self._has_path(titles), lambda: f"no rows {titles} in {self._layout()}")
        screen.move_away()
        screen.wait_for(lambda: not self._tips(), "the icon's tip stays")
        open_menus = self._menus()
        self.click_icon(3)
        node = self._layout()
        for depth, title in enumerate(titles):
            self._await_menu(open_menus + depth)
            labels = [label for label, stops, _ in self._rows(node) if stops]
            node = next(child for label, _, child in self._rows(node) if label == title)
            # In the first menu no row is chosen yet, in one below it the first is.
            steps = ["Down"] * (labels.index(title) + (0 if depth else 1))
            if depth + 1 < len(titles):
                steps.append("Right")
            if steps:
                screen.press(*steps)
        return open_menus

    def _has_path(self, titles):
        try:
            return titles[-1] in self.titles(*titles[:-1])
        except StopIteration:
            return False


class Trayer(_Tray):
    """An XEmbed tray: the icon is the program's own window, and so is its menu, whose rows are read out one by one."""

    _CLICKS = 3
    _MANY = 60

    def __init__(self, program):
        self._program = program
        self._reader = screen.Reader()

    def place(self):
        return self._place_of(self._program)

    def _what_is_there(self):
        return f"drawn are {screen.shapes_of(self._program)}"

    def _open(self):
        before = len(screen.shapes_of(self._program))
        for _ in range(self._CLICKS):
            self.click_icon(3)
            try:
                screen.wait_for(lambda: len(screen.shapes_of(self._program)) > before, "no menu opens", seconds=2)
                return before
            except screen.Missing:
                pass  # a menu that is just closing takes the click for itself
        raise screen.Missing(f"no menu opens after {self._CLICKS} clicks")

    def _go_to(self, title, first):
        """Moves down to the row. The first row of a menu below another is where the focus is already."""
        rows = []
        said = first
        while len(rows) < self._MANY:
            if said is not None:
                rows.append(_plain(said[1]))
                if rows[-1] == title:
                    return
                if len(rows) > 1 and rows[-1] == rows[0]:
                    break
            said = self._reader.after("Down")
        raise screen.Missing(f"no row {title!r} among {rows}")

    def titles(self, *path):
        before = self._open()
        first = None
        for title in path:
            self._go_to(title, first)
            first = self._reader.after("Right")
        rows = [_plain(first[1])] if first else []
        while len(rows) < self._MANY:
            title = _plain(self._reader.after("Down")[1])
            if title in rows:
                break
            rows.append(title)
        screen.press(*["Escape"] * (len(path) + 1))
        screen.wait_for(lambda: len(screen.shapes_of(self._program)) <= before, "the menu stays open")
        return rows

    def choose(self, *titles):
        self._open()
        first = None
        for depth, title in enumerate(titles):
            self._go_to(title, first)
            if depth + 1 < len(titles):
                first = self._reader.after("Right")
        screen.press("Return")
