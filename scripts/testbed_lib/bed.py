# SPDX-License-Identifier: GPL-3.0-or-later
"""The private directory of one run: its environment, its servers, its end."""

import json
import os
import secrets
import shutil
import signal
import socket
import subprocess
import tempfile

from . import processes, sanitizers

USER = "quorrel"

# What would tie a program to the desktop that happens to run the tests.
_UNSET = ("DISPLAY", "WAYLAND_DISPLAY", "XAUTHORITY", "DBUS_SESSION_BUS_ADDRESS",
          "DBUS_SYSTEM_BUS_ADDRESS", "DBUS_STARTER_ADDRESS", "DBUS_STARTER_BUS_TYPE",
          "XDG_SESSION_ID", "XDG_CURRENT_DESKTOP", "DESKTOP_SESSION", "GIO_USE_VFS",
          "SSH_AUTH_SOCK", "LANGUAGE", "LC_MESSAGES", "http_proxy", "https_proxy",
          "HTTP_PROXY", "HTTPS_PROXY", "ALL_PROXY", "all_proxy", "no_proxy", "NO_PROXY")


class Failure(Exception):
    """The bed cannot be made; the text is for the user."""


class Bed:
    """One private directory with everything that lives in it. Used by one process at a time."""

    def __init__(self, netns, names=None):
        self.netns = netns
        self.names = names or {}
        # Paths of sockets must stay under 108 bytes.
        parent = tempfile.gettempdir()
        if len(parent) > 40:
            parent = "/tmp"
        self.directory = tempfile.mkdtemp(prefix="qtb-", dir=parent)
        self.exports = {}
        self.running = {}
        self.reports = []
        self._bus = None

    # ---- what is in it -------------------------------------------------

    def path(self, *parts):
        return os.path.join(self.directory, *parts)

    def make_folder(self, *parts, mode=0o700):
        place = self.path(*parts)
        os.makedirs(place, exist_ok=True)
        os.chmod(place, mode)
        return place

    def write(self, place, text, mode=0o600):
        """Writes a file that has its mode from its first byte."""
        place = self.path(place)
        handle = os.open(place, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, mode)
        with os.fdopen(handle, "w", encoding="utf-8") as file:
            file.write(text)
        return place

    def make_share(self, place, name):
        """A folder to serve: files with known content, also one level down."""
        for folder, title in (("", name), ("folder", f"{name}/folder"), ("Über uns", f"{name}/Über uns")):
            target = self.make_folder(place, folder, mode=0o777)
            with open(os.path.join(target, "hello.txt"), "w", encoding="utf-8") as file:
                file.write(f"Hello from {title}\n")
            os.chmod(os.path.join(target, "hello.txt"), 0o666)
        return self.path(place)

    def furnish(self):
        """Home, session folders and the run's password."""
        os.chmod(self.directory, 0o700)
        folders = {"HOME": "home", "XDG_RUNTIME_DIR": "run", "XDG_CONFIG_HOME": "home/.config",
                   "XDG_DATA_HOME": "home/.local/share", "XDG_CACHE_HOME": "home/.cache",
                   "XDG_STATE_HOME": "home/.local/state", "TMPDIR": "tmp"}
        self.session = {key: self.make_folder(folder) for key, folder in folders.items()}
        self.session["LC_ALL"] = "C.UTF-8"
        self.session["DBUS_SESSION_BUS_ADDRESS"] = f"unix:path={self.path('run', 'bus')}"
        self.session.update(sanitizers.listen(self))
        self.make_folder("log")
        self.export(DIR=self.directory, USER=USER, NETNS="1" if self.netns else "0",
                    PASSWORD_FILE=self.write("password", secrets.token_hex(16) + "\n"))

    def password(self):
        with open(self.path("password"), encoding="utf-8") as file:
            return file.read().strip()

    def export(self, **values):
        for key, value in values.items():
            self.exports[f"QTB_{key}"] = str(value)

    def environment(self, session=True):
        """For what runs in here. With `session` false: for servers that need no session."""
        result = {key: value for key, value in os.environ.items()
                  if key not in _UNSET and not key.startswith(("QTB_", "RCLONE_"))}
        result.update(self.session)
        if not session:
            del result["DBUS_SESSION_BUS_ADDRESS"]
        result.update(self.exports)
        return result

    def root_environment(self, users=()):
        """For daemons that take themselves for root and change users.

        Where there is but one user to be had, those calls are made to succeed without effect.
        `users` are names that only this daemon sees, as users and as groups; all carry our own
        numbers: what we may read, they may read.
        """
        result = self.environment(session=False)
        preload = []
        if not processes.is_real_root():
            preload.append("libuid_wrapper.so")
            result.update(UID_WRAPPER="1", UID_WRAPPER_ROOT="1")
        if users:
            preload.append("libnss_wrapper.so")
            uid, gid = os.geteuid(), os.getegid()
            people = ["root:x:0:0::/:/bin/false"] + [f"{name}:x:{uid}:{gid}::/:/bin/false" for name in users]
            groups = ["root:x:0:"] + [f"{name}:x:{gid}:" for name in users]
            name = f"users-{users[0]}"
            result.update(NSS_WRAPPER_PASSWD=self.write(f"{name}.passwd", "\n".join(people) + "\n"),
                          NSS_WRAPPER_GROUP=self.write(f"{name}.group", "\n".join(groups) + "\n"))
        if preload:
            result["LD_PRELOAD"] = ":".join(preload)
        return result

    def save_exports(self):
        self.write("testbed.json", json.dumps(self.exports, indent=2, sort_keys=True) + "\n")

    # ---- what runs in it -----------------------------------------------

    def start(self, name, command, environment=None):
        """Starts a daemon in a session of its own, so that its group can be signalled as a whole."""
        environment = environment or self.environment(session=False)
        self.write_recipe(name, command, environment)
        try:
            process = spawn(command, environment, self.path("log", f"{name}.log"),
                            preexec_fn=lambda: processes.die_with_parent(signal.SIGTERM))
        except FileNotFoundError as error:
            raise Failure(f"{name}: {error.filename} is missing; "
                          "scripts/install-packages test installs it") from error
        self.running[name] = process
        return process

    def write_recipe(self, name, command, environment):
        """For a restart, which is made by another process."""
        self.write(self.path("log", f"{name}.json"), json.dumps({"command": command, "environment": environment}))

    def launch(self, command):
        """Starts what the run is made for, on the caller's terminal."""
        return subprocess.Popen(command, env=self.environment())

    def run_tool(self, command, text=None, environment=None):
        """Runs a short tool to its end. `text` goes to its standard input."""
        try:
            done = subprocess.run(command, input=text, env=environment or self.environment(session=False),
                                  capture_output=True, text=True, timeout=60, check=False)
        except FileNotFoundError as error:
            raise Failure(f"{error.filename} is missing; scripts/install-packages test installs it") from error
        if done.returncode != 0:
            raise Failure(f"{command[0]} failed ({done.returncode}): {done.stderr.strip()}")
        return done.stdout

    def await_ready(self, name, condition, seconds=15):
        """Waits until a server answers; says what it wrote if it does not."""
        process = self.running[name]

        def answered_or_dead():
            return condition() or process.poll() is not None

        processes.wait_until(answered_or_dead, seconds)
        if process.poll() is not None or not condition():
            state = f"ended with {process.returncode}" if process.poll() is not None else "does not answer"
            raise Failure(f"{name} {state}:\n{self.log_of(name)}")

    def log_of(self, name):
        try:
            with open(self.path("log", f"{name}.log"), encoding="utf-8", errors="replace") as file:
                return file.read()[-4000:]
        except FileNotFoundError:
            return ""

    def start_bus(self):
        # The daemons that the bus starts inherit its environment: it must be the session's.
        self._bus = self.start("bus", ["dbus-daemon", "--session", "--nofork", "--nopidfile",
                                       f"--address={self.session['DBUS_SESSION_BUS_ADDRESS']}"],
                               environment=self.environment())
        self.await_ready("bus", lambda: accepts_unix(self.path("run", "bus")))

    # ---- its end -------------------------------------------------------

    def _left(self):
        left = processes.descendants()
        left.update(processes.strangers_with("QTB_DIR", self.directory))
        parent = os.getppid()
        return {pid: name for pid, name in left.items() if pid != parent}

    def close(self):
        """Ends every process, unmounts, removes the directory. Bounded; may be called again."""
        servers = {process.pid for process in self.running.values()}
        if self._bus is not None and self._bus.poll() is None:
            # Without their bus the file-system daemons leave by themselves and unmount.
            self._bus.terminate()

            def session_gone():
                processes.reap()
                names = [name for pid, name in processes.descendants().items() if pid not in servers]
                return not any(name.startswith("gvfs") for name in names)

            processes.wait_until(session_gone, 3)
        processes.unmount_below(self.directory)
        processes.end_all(self._left, 5)
        processes.unmount_below(self.directory)
        processes.reap()
        # A program may look for leaks when it ends.
        self.reports += sanitizers.reports_in(self)
        if not processes.mounts_below(self.directory):
            shutil.rmtree(self.directory, ignore_errors=True)

    def what_is_left(self):
        """One line for each thing that outlived the run."""
        lines = [f"process {pid} ({name})" for pid, name in self._left().items()]
        lines += [f"mount {place}" for place in processes.mounts_below(self.directory)]
        if os.path.lexists(self.directory):
            lines.append(f"directory {self.directory}")
        return lines


def spawn(command, environment, log_file, **more):
    """A daemon in a session of its own, writing to a log."""
    with open(log_file, "ab") as log:
        return subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                                start_new_session=True, **more)


def accepts_unix(place):
    with socket.socket(socket.AF_UNIX) as probe:
        probe.settimeout(1)
        try:
            probe.connect(place)
        except OSError:
            return False
    return True


def accepts_tcp(address, port):
    try:
        socket.create_connection((address, port), timeout=1).close()
    except OSError:
        return False
    return True
