# SPDX-License-Identifier: GPL-3.0-or-later
"""A screen in memory with a window manager and, as asked for, one kind of tray."""

import os
import random
import secrets
import shutil
import socket
import struct
import subprocess
import sys

from . import processes
from .bed import Failure, accepts_unix

# What a tray is made by; a bare desktop has none.
KINDS = ("bare", "panel", "trayer")

SIZE = (1280, 800)

_PANEL = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="dark-mode" type="bool" value="false"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="length" type="uint" value="100"/>
      <property name="size" type="uint" value="{size}"/>
      <property name="plugin-ids" type="array">
        <value type="int" value="1"/>
        <value type="int" value="2"/>
      </property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="separator">
      <property name="expand" type="bool" value="true"/>
      <property name="style" type="uint" value="0"/>
    </property>
    <property name="plugin-2" type="string" value="systray">
      <property name="square-icons" type="bool" value="true"/>
    </property>
  </property>
</channel>
"""


def _authority(bed):
    """A cookie for every display, so that nobody else on this machine draws on ours."""
    def field(value):
        return struct.pack(">H", len(value)) + value

    secret = secrets.token_bytes(16)
    place = bed.write("Xauthority", "")
    with open(place, "wb") as file:
        # Not every library knows the wild card; those look for this machine's name.
        for family, address in ((0xFFFF, b""), (256, socket.gethostname().encode())):
            file.write(struct.pack(">H", family) + field(address) + field(b"")
                       + field(b"MIT-MAGIC-COOKIE-1") + field(secret))
    return place


def start_screen(bed, scale):
    """Before the session bus starts: what the bus activates must find the display."""
    authority = _authority(bed)
    width, height = (side * scale for side in SIZE)
    # The server would choose the number itself, but without looking into other network namespaces, with which it
    # shares the folder of sockets. Without "-noreset" the end of our probe, then its only client, would make it start
    # anew just when others come.
    for display in random.sample(range(1000, 50000), 5):
        process = bed.start("screen", ["Xvfb", f":{display}", "-screen", "0", f"{width}x{height}x24", "-dpi",
                                       str(96 * scale), "-nolisten", "tcp", "-noreset", "-auth", authority])
        place = f"/tmp/.X11-unix/X{display}"

        def answers_or_dead(process=process, place=place):
            return process.poll() is not None or accepts_unix(place)

        processes.wait_until(answers_or_dead, 15)
        if process.poll() is None and accepts_unix(place):
            break
    bed.await_ready("screen", lambda: accepts_unix(place))
    bed.session["DISPLAY"] = f":{display}"
    bed.session["XAUTHORITY"] = authority
    bed.export(SCALE=scale)


def start_desktop(bed, kind, scale):
    """Once the session bus runs: the window manager and the tray."""
    session = bed.environment()
    bed.start("wm", ["openbox", "--sm-disable"], environment=session)

    def managed():
        return "window id" in _property(session, "_NET_SUPPORTING_WM_CHECK")

    bed.await_ready("wm", managed)
    if kind == "panel":
        folder = bed.make_folder("home", ".config", "xfce4", "xfconf", "xfce-perchannel-xml")
        bed.write(os.path.join(folder, "xfce4-panel.xml"), _PANEL.format(size=28 * scale))
        bed.start("panel", ["xfce4-panel", "--disable-wm-check"], environment=session)
        bed.await_ready("panel", lambda: _host_is_registered(session), 30)
    elif kind == "trayer":
        bed.start("trayer", ["trayer", "--edge", "top", "--align", "right", "--widthtype", "request",
                             "--height", str(28 * scale)], environment=session)
        bed.await_ready("trayer", lambda: _tray_is_owned(session), 30)
    bed.export(DESKTOP=kind)


def _tool(session, *command):
    if not shutil.which(command[0]):
        raise Failure(f"{command[0]} is missing; scripts/install-packages test installs it")
    try:
        return subprocess.run(command, env=session, stdin=subprocess.DEVNULL, capture_output=True, text=True,
                              timeout=5, check=False).stdout
    except subprocess.TimeoutExpired:
        return ""


def _property(session, name):
    return _tool(session, "xprop", "-root", name)


_OWNER = """
import ctypes
x = ctypes.CDLL("libX11.so.6")
x.XOpenDisplay.restype = ctypes.c_void_p
x.XInternAtom.argtypes = (ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int)
x.XGetSelectionOwner.argtypes = (ctypes.c_void_p, ctypes.c_ulong)
screen = x.XOpenDisplay(None)
print("owned" if x.XGetSelectionOwner(screen, x.XInternAtom(screen, b"_NET_SYSTEM_TRAY_S0", 0)) else "free")
"""


def _tray_is_owned(session):
    return "owned" in _tool(session, sys.executable, "-c", _OWNER)


def _host_is_registered(session):
    said = _tool(session, "gdbus", "call", "--session", "--timeout", "2",
                 "--dest", "org.kde.StatusNotifierWatcher", "--object-path", "/StatusNotifierWatcher",
                 "--method", "org.freedesktop.DBus.Properties.Get",
                 "org.kde.StatusNotifierWatcher", "IsStatusNotifierHostRegistered")
    return "true" in said
