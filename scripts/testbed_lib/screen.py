# SPDX-License-Identifier: GPL-3.0-or-later
"""Sees and works a desktop program as a person does: by what assistive tools find, by keys, clicks and pictures.

For a command inside `scripts/testbed run --desktop ...`. Every wait is bounded and
ends with Missing, whose text says what was there instead.
"""

import os
import subprocess
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

PATIENCE = 45
_LOOK_AGAIN = 0.05


class Missing(Exception):
    """Something did not come in time."""


def wait_for(condition, what, seconds=PATIENCE):
    """The first true value of the condition."""
    end = time.monotonic() + seconds
    while True:
        _hear_of_changes()
        try:
            value = condition()
        except GLib.Error:
            value = None  # what was looked at is gone
        if value:
            return value
        if time.monotonic() >= end:
            raise Missing(what() if callable(what) else what)
        time.sleep(_LOOK_AGAIN)


def steady(look):
    """A condition for `wait_for`: what the look gives once it gives the same twice running."""
    last = None

    def condition():
        nonlocal last
        before, last = last, look()
        return last if last == before else None

    return condition


def tool(*command):
    return subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=20,
                          check=True).stdout


def picture(path, window=None):
    """A PNG of the whole screen, or of one window with what lies over it."""
    os.makedirs(os.path.dirname(path), exist_ok=True)
    command = ["import", "-silent", "-window", "root"]
    if window:
        x, y, width, height = window
        command += ["-crop", f"{width}x{height}+{x}+{y}", "+repage"]
    tool(*command, path)
    return path


def steady_picture(path, window=None, seconds=PATIENCE):
    """One of a screen on which nothing moves any more: two in a row are the same."""
    last = []

    def is_steady():
        last.append(tool("identify", "-format", "%#", picture(path, window)))
        return last[-1:] == last[-2:-1]

    wait_for(is_steady, "the screen does not come to rest", seconds)
    return path


def screen_size():
    return tuple(int(side) for side in tool("xdotool", "getdisplaygeometry").split())


def around(places, margin):
    """The smallest part of the screen with all these places in it; the whole screen for none."""
    if not places:
        return None
    width, height = screen_size()
    left = max(min(place[0] for place in places) - margin, 0)
    top = max(min(place[1] for place in places) - margin, 0)
    right = min(max(place[0] + place[2] for place in places) + margin, width)
    bottom = min(max(place[1] + place[3] for place in places) + margin, height)
    return left, top, right - left, bottom - top


def window_place(title, seconds=PATIENCE):
    """Where the active window is, once it is the one of that title, with the frame that the window manager draws."""
    def active():
        try:
            window = tool("xdotool", "getactivewindow").strip()
            if tool("xdotool", "getwindowname", window).strip() != title:
                return None
            said = tool("xwininfo", "-id", window)
            frame = tool("xprop", "-id", window, "_NET_FRAME_EXTENTS")
        except subprocess.CalledProcessError:
            return None
        x, y, width, height = (int(said.split(each + ":")[1].split()[0]) for each in (
            "Absolute upper-left X", "Absolute upper-left Y", "Width", "Height"))
        left, right, top, bottom = (int(number) for number in frame.split("=")[1].split(","))
        return x - left, y - top, width + left + right, height + top + bottom

    return wait_for(active, f"no active window {title!r}", seconds)


def set_background(color):
    tool("xsetroot", "-solid", color)


def move_away():
    """The pointer to where nothing is that would show it."""
    width, height = screen_size()
    tool("xdotool", "mousemove", str(width - 1), str(height - 1))


def type_text(text):
    # Through a file: what is typed may be a password, and arguments can be read by anybody.
    subprocess.run(["xdotool", "type", "--delay", "5", "--file", "-"], input=text, text=True, timeout=60, check=True)


def press(*keys):
    tool("xdotool", "key", "--delay", "20", *keys)


def click(x, y, button=1, times=1):
    tool("xdotool", "mousemove", str(int(x)), str(int(y)))
    tool("xdotool", "click", "--repeat", str(times), "--delay", "60", str(button))


class Node:
    """One thing that assistive tools see."""

    def __init__(self, accessible):
        self.accessible = accessible

    def __eq__(self, other):
        return isinstance(other, Node) and self.accessible == other.accessible

    def __hash__(self):
        return hash(self.accessible)

    @property
    def name(self):
        return self.accessible.get_name() or ""

    @property
    def role(self):
        return self.accessible.get_role_name()

    @property
    def description(self):
        return self.accessible.get_description() or ""

    @property
    def actions(self):
        """How many things can be done with it."""
        return self.accessible.get_n_actions() if self.accessible.get_action_iface() else 0

    @property
    def labels(self):
        """The names of what labels it."""
        relations = (each for each in self.accessible.get_relation_set()
                     if each.get_relation_type() == Atspi.RelationType.LABELLED_BY)
        return [each.get_target(index).get_name() for each in relations for index in range(each.get_n_targets())]

    @property
    def children(self):
        found = (self.accessible.get_child_at_index(index) for index in range(self.accessible.get_child_count()))
        return [Node(child) for child in found if child is not None]

    def has(self, state):
        return self.accessible.get_state_set().contains(getattr(Atspi.StateType, state))

    def walk(self):
        """This node and all below it."""
        yield self
        for child in self.children:
            yield from child.walk()

    def matches(self, name=None, role=None, showing=True):
        return (name is None or (name(self.name) if callable(name) else self.name == name)) \
            and (role is None or self.role == role) and (not showing or self.has("SHOWING"))

    def look(self, name=None, role=None, showing=True):
        """What is there now, or None."""
        return next((node for node in self.walk() if node.matches(name, role, showing)), None)

    def find(self, name=None, role=None, showing=True, seconds=PATIENCE):
        return wait_for(lambda: self.look(name, role, showing),
                        lambda: f"no {role or 'thing'} named {name!r} below {self.name!r}:\n{self.tree()}", seconds)

    def await_gone(self, name=None, role=None, seconds=PATIENCE):
        wait_for(lambda: self.look(name, role) is None, f"{role or 'thing'} named {name!r} stays", seconds)

    def act(self, action=0):
        if not self.accessible.do_action(action):
            raise Missing(f"{self.role} {self.name!r} does nothing")

    def forget(self):
        """Asks anew for names and states, of whose changes nobody tells at times. To keep none from the start is no
        way: the library then asks in the middle of an answer, and waits for ever."""
        self.accessible.clear_cache()
        return self

    def focused(self):
        """What below this node the keys go to, or None; of a control and its parts, the control."""
        self.forget()  # of a bar of tabs, nobody tells that it lost the focus
        # The current tab and row say that they have the focus wherever that is.
        return next((node for node in self.walk() if node.has("FOCUSED") and node.has("FOCUSABLE")
                     and node.role not in ("page tab", "list item")), None)

    @property
    def text(self):
        return Atspi.Text.get_text(self.accessible, 0, -1)

    @property
    def cursor(self):
        """How many characters stand before it."""
        return Atspi.Text.get_caret_offset(self.accessible)

    def write(self, text):
        if not Atspi.EditableText.set_text_contents(self.accessible, text):
            raise Missing(f"{self.role} {self.name!r} takes no text")

    def place(self):
        """Left, top, width, height on the screen."""
        extents = self.accessible.get_extents(Atspi.CoordType.SCREEN)
        return extents.x, extents.y, extents.width, extents.height

    def click(self, button=1, times=1):
        x, y, width, height = self.place()
        click(x + width // 2, y + height // 2, button, times)

    def tree(self, depth=0):
        line = f"{'  ' * depth}{self.role} {self.name!r}\n"
        return line + "".join(child.tree(depth + 1) for child in self.children)


def _hear_of_changes():
    # What the library knows of others is kept, and refreshed as its own loop runs.
    context = GLib.MainContext.default()
    while context.iteration(False):
        pass


def shapes_of(window_class):
    """Left, top, width, height of each window of that class on the screen, menus that are open included."""
    def output(*command):
        # What was just found may be gone.
        return subprocess.run(command, capture_output=True, text=True, timeout=20, check=False).stdout

    shapes = []
    for window in output("xdotool", "search", "--onlyvisible", "--class", window_class).split():
        shape = dict(line.split("=") for line in
                     output("xdotool", "getwindowgeometry", "--shell", window).split())
        if "HEIGHT" in shape:
            shapes.append(tuple(int(shape[key]) for key in ("X", "Y", "WIDTH", "HEIGHT")))
    return shapes


class Reader:
    """Hears what a screen reader reads out as the focus moves."""

    _EVENT = "object:state-changed:focused"

    def __init__(self):
        self.said = []
        self._listener = Atspi.EventListener.new(self._hear)
        self._listener.register(self._EVENT)

    def _hear(self, event):
        try:
            if event.detail1 and event.source:
                self.said.append((event.source.get_role_name(), event.source.get_name() or ""))
        except GLib.Error:
            pass  # gone before it could be read

    def after(self, *keys):
        """What is read out for these keys."""
        _hear_of_changes()
        self.said.clear()
        press(*keys)
        return wait_for(lambda: list(self.said), f"nothing is read out after {keys}")[-1]

    def close(self):
        self._listener.deregister(self._EVENT)


def applications():
    _hear_of_changes()
    return Node(Atspi.get_desktop(0)).children


def application(name, seconds=PATIENCE):
    return wait_for(lambda: next((each for each in applications() if each.name == name), None),
                    lambda: f"no application {name!r} among {[each.name for each in applications()]}", seconds)
