# SPDX-License-Identifier: GPL-3.0-or-later
"""What every window is held to for those who hear it instead of seeing it, and for those who have no mouse."""

import re

from testbed_lib import screen

_CONTROLS = {"push button", "check box", "radio button", "combo box", "text", "password text", "spin button", "list",
             "list item", "page tab", "page tab list", "menu item", "check menu item", "menu"}
# A text that can be marked and copied takes the focus, too.
_ROLES = _CONTROLS | {"label"}
# Keys scroll what these belong to.
_PARTS = {"scroll bar"}
# Within these the arrow keys go on.
_ONE_STOP = {"combo box", "list", "page tab list", "menu bar", "popup menu", "text"}
_CLASS = re.compile(r"Q[A-Z]\w+$|qt_|.*::|[a-z]+[A-Z]\w*$")


def _faults(node):
    if "<" in node.description:
        yield "is described in markup"
    if node.role in _PARTS or not (node.role in _CONTROLS or node.has("FOCUSABLE") or node.actions):
        return
    if node.role not in _ROLES:
        yield "can be acted on, but what it is cannot be told"
    labels = [label for label in node.labels if label.strip()]
    if not node.name.strip() and not labels:
        yield "has no name"
    if node.role == "combo box" and not labels:
        yield "has no label: its name is the value"
    if _CLASS.match(node.name):
        yield "is named like code"


def shortcomings(window):
    """One line for each; what is hidden now is looked at as well."""
    def look():
        return [[f"{node.role} {node.name!r} {fault}" for node in window.walk() for fault in _faults(node)]]

    return screen.wait_for(look, "the window does not hold still")[0]


def _shown_controls(node):
    for child in node.children:
        if not child.has("SHOWING"):
            continue
        if child.role in _CONTROLS and child.has("SENSITIVE"):
            yield child
        if child.role not in _ONE_STOP:
            yield from _shown_controls(child)


def _called(node):
    return f"{node.role} {node.labels or node.name!r}"


def unreachable(window):
    """What the Tab key never comes to. A button that no key comes to must tell a shortcut."""
    wanted = screen.wait_for(lambda: [node for node in _shown_controls(window) if node.has("FOCUSABLE")],
                            lambda: f"nothing takes the focus:\n{window.tree()}")
    missing = set(wanted)
    for _ in range(2 * len(wanted) + 4):
        current = screen.wait_for(window.focused, lambda: f"nothing has the focus:\n{window.tree()}")
        missing.discard(current)
        if not missing:
            break
        screen.press("Tab")
        screen.wait_for(lambda current=current: window.focused() not in (None, current),
                        lambda current=current: f"Tab leads nowhere from {_called(current)}, not to "
                        + ", ".join(map(_called, missing)))
    silent = [node for node in _shown_controls(window)
              if not node.has("FOCUSABLE") and not re.search(r"\((\S*\+.|F\d+|Del)\)", node.description)]
    return [_called(node) for node in (*missing, *silent)]
