# SPDX-License-Identifier: GPL-3.0-or-later
"""Uses the packages as they are installed in a root: using.py ROOT tool|desktop, among the servers of a test bed."""

import os
import plistlib
import subprocess
import sys
import time

ROOT, STEP = sys.argv[1:3]
USER, UID = "ann", 1000
RUN = f"/run/user/{UID}"
SECONDS = 120

SMB, DAV = "Server Message Block (smb)", "WebDAV (http)"


def place(*parts):
    return os.path.join(ROOT, *parts)


def own(path, mode):
    os.chown(path, UID, UID)
    os.chmod(path, mode)


def write(path, text, mode=0o600):
    with open(place(path), "w", encoding="utf-8") as file:
        file.write(text)
    own(place(path), mode)


def make_folders():
    below = place(f"home/{USER}")
    for folder in (".local", ".local/share", ".local/share/Quorrel"):
        os.makedirs(os.path.join(below, folder), exist_ok=True)
        own(os.path.join(below, folder), 0o700)
    os.makedirs(place(RUN.lstrip("/")), exist_ok=True)
    own(place(RUN.lstrip("/")), 0o700)


def catalogue():
    def host(name, service, share, **login):
        return {"displayName": name, "services": [{"displayType": service}],
                "sharePoints": [{"displayType": service, "sharePoint": share, **login}]}

    hosts = [host(os.environ["QTB_SMB_HOST"], SMB, "pub", guestLogin=True)]
    if "QTB_DAV_HOST" in os.environ:
        hosts.append(host(os.environ["QTB_DAV_HOST"], DAV, "folder", userName=os.environ["QTB_USER"], passwordPrompt=True))
    path = f"home/{USER}/.local/share/Quorrel/Quorrel2.plist"
    write(path, plistlib.dumps(hosts).decode())
    with open(os.environ["QTB_PASSWORD_FILE"], encoding="utf-8") as file:
        write(f"home/{USER}/password", file.read())


def session(script, **more):
    """Runs it in a session of the user's in the root; its bus and all that the bus started end with it."""
    environment = {"PATH": "/usr/bin:/bin", "HOME": f"/home/{USER}", "USER": USER, "XDG_RUNTIME_DIR": RUN,
                   "LC_ALL": "C.UTF-8", **more}
    write("tmp/session", "set -eu\ncd\n" + script, 0o644)
    return subprocess.run(["/usr/sbin/chroot", f"--userspec={UID}:{UID}", "--groups=", ROOT, "dbus-run-session", "--",
                           "/bin/sh", "/tmp/session"], env=environment, stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=SECONDS,
                          check=False)


def processes():
    """Those that live in the root."""
    found = []
    for pid in filter(str.isdecimal, os.listdir("/proc")):
        try:
            if os.readlink(f"/proc/{pid}/root") == ROOT:
                found.append((pid, os.readlink(f"/proc/{pid}/exe")))
        except OSError:
            pass
    return found


def await_(condition, what):
    end = time.monotonic() + SECONDS
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(what())
        time.sleep(0.1)


TOOL = f"""
quorrelctl --version
quorrelctl list
quorrelctl mount --all --password-file password
cat Volumes/pub/hello.txt Volumes/folder/hello.txt
quorrelctl list --json
quorrelctl unmount --all
test ! -e Volumes
"""


def use_tool():
    done = session(TOOL)
    if done.returncode != 0:
        raise AssertionError(f"{done.returncode}: {done.stdout}{done.stderr}")
    for text in ("Hello from pub\n", "Hello from dav/folder\n", '"status": "Online"'):
        if text not in done.stdout:
            raise AssertionError(f"no {text!r} in {done.stdout}")
    print("package: quorrelctl mounted, read and unmounted shares by SMB and WebDAV", flush=True)


# As a desktop starts it, by its name; an end of the session's bus would not end it.
DESKTOP = """
dbus-send --session --print-reply --reply-timeout=60000 --dest=org.freedesktop.DBus /org/freedesktop/DBus \
    org.freedesktop.DBus.StartServiceByName string:org.quorrel.Quorrel uint32:0
turns=0
while [ ! -e /tmp/seen ] && [ $turns -lt 600 ]; do sleep 0.1; turns=$((turns + 1)); done
pid=$(dbus-send --session --print-reply=literal --dest=org.freedesktop.DBus /org/freedesktop/DBus \
    org.freedesktop.DBus.GetConnectionUnixProcessID string:org.quorrel.Quorrel | sed 's/.* //')
readlink /proc/$pid/exe
kill -TERM $pid
while [ -d /proc/$pid ] && [ $turns -lt 900 ]; do sleep 0.1; turns=$((turns + 1)); done
test ! -d /proc/$pid
"""


def windows():
    return subprocess.run(["xwininfo", "-root", "-tree"], capture_output=True, text=True, timeout=20, check=False).stdout


def use_desktop():
    subprocess.run(["mount", "--bind", "/tmp/.X11-unix", place("tmp/.X11-unix")], check=True)
    with open(os.environ["XAUTHORITY"], "rb") as file, open(place("tmp/authority"), "wb") as copy:
        copy.write(file.read())
    own(place("tmp/authority"), 0o600)
    child = os.fork()
    if child == 0:
        status = 1
        try:
            await_(lambda: '("quorrel" "' in windows(), lambda: f"no window came: {windows()}")
            status = 0
        except AssertionError as error:
            print(error, file=sys.stderr, flush=True)
        finally:
            write("tmp/seen", "")
            os._exit(status)
    done = session(DESKTOP, DISPLAY=os.environ["DISPLAY"], XAUTHORITY="/tmp/authority", QT_QPA_PLATFORM="xcb")
    seen = os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])
    if done.returncode != 0 or seen != 0 or "/usr/bin/quorrel\n" not in done.stdout:
        raise AssertionError(f"{done.returncode}, {seen}: {done.stdout}{done.stderr}")
    print("package: quorrel was started by its name on the bus, and showed its window", flush=True)


def main():
    make_folders()
    catalogue()
    {"tool": use_tool, "desktop": use_desktop}[STEP]()
    await_(lambda: not processes(), lambda: f"left in the root: {processes()}")
    for name in (f"home/{USER}/password", "tmp/session"):
        os.unlink(place(name))
    return 0


if __name__ == "__main__":
    sys.exit(main())
