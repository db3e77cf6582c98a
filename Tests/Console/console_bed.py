# SPDX-License-Identifier: GPL-3.0-or-later
"""What the tests of quorrelctl among real servers share: the test bed's places, catalogues, runs of the program."""

import json
import os
import plistlib
import select
import shutil
import signal
import subprocess
import termios
import sys
import time

HERE = os.path.dirname(os.path.realpath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "scripts"))

from testbed_lib import sanitizers  # noqa: E402

PROMPTNESS = 1.0 * sanitizers.SLOWNESS  # seconds: within so many an interrupted program ends
PROGRAM = ""  # the test sets it
SMB, DAV, FTP = "Server Message Block (smb)", "WebDAV (http)", "File Transfer Protocol (ftp)"
DATA = os.path.join(os.environ["XDG_DATA_HOME"], "Quorrel")
LOG = os.path.join(os.environ["XDG_STATE_HOME"], "Quorrel", "Quorrel.log")
VOLUMES = os.path.join(os.environ["HOME"], "Volumes")
USER, PASSWORD_FILE = os.environ["QTB_USER"], os.environ["QTB_PASSWORD_FILE"]
SMB_HOST, DAV_HOST, FTP_HOST = (os.environ.get(f"QTB_{name}_HOST") for name in ("SMB", "DAV", "FTP"))
# A server on loopback that nothing else of the run uses.
SILENT_HOST = "127.0.0.99"

with open(PASSWORD_FILE, encoding="utf-8") as password_file:
    PASSWORD = password_file.read().strip()


def share(service, name, **login):
    return service, {"displayType": service, "sharePoint": name, "automatically": True, **login}


def catalogue(hosts, form=plistlib.FMT_XML):
    """Writes the catalogue: host names with lists of share(). Only the binary form has every character."""
    shutil.rmtree(DATA, ignore_errors=True)
    os.makedirs(DATA, 0o700)
    with open(os.path.join(DATA, "Quorrel2.plist"), "wb") as file:
        plistlib.dump([{"displayName": name, "automatically": True,
                        "services": [{"displayType": service} for service in sorted({each for each, _ in shares})],
                        "sharePoints": [entry for _, entry in shares]} for name, shares in hosts.items()], file, fmt=form)


def run(*arguments, **more):
    return subprocess.run([PROGRAM, *arguments], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=120,
                          check=False, start_new_session=True, **more)


def states(done):
    return {(each["host"], each["share"]): each["status"] for each in json.loads(done.stdout)}


def hung_request(server):
    """The first connection on which something is asked; others only look whether the server is there."""
    for _ in range(20):
        connection = server.accept()[0]
        connection.settimeout(20)
        if connection.recv(1):
            return connection
        connection.close()
    raise AssertionError("nothing was asked of the server")


def await_(condition, what, seconds=60):
    """What the condition comes to, once that is something."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        result = condition()
        if result:
            return result
        time.sleep(0.02)
    raise AssertionError(what() if callable(what) else what)


class Terminal:
    """The program on a terminal of its own."""

    def __init__(self, *arguments):
        self.screen = b""
        # Our copy of the line keeps the terminal there when the program has ended.
        self.master, self.line = os.openpty()
        self.process = os.fork()
        if self.process == 0:
            try:
                os.login_tty(self.line)
                os.execve(PROGRAM, [PROGRAM, *arguments], {**os.environ, "TERM": "xterm"})
            finally:
                os._exit(127)

    def until(self, text=None, seconds=30):
        """Reads until that is shown, or to the end; whether it came."""
        end = time.monotonic() + seconds
        while text is None or text not in self.screen:
            if not select.select([self.master], [], [], max(0, end - time.monotonic()))[0]:
                return False
            try:
                self.screen += os.read(self.master, 4096)
            except OSError:  # the other side is closed
                break
        return text is None or text in self.screen

    def end(self, seconds=30):
        """The exit code, once the program has ended."""
        os.close(self.line)
        self.until(None, seconds)
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            process, status = os.waitpid(self.process, os.WNOHANG)
            if process:
                os.close(self.master)
                return os.waitstatus_to_exitcode(status)
            time.sleep(0.01)
        os.kill(self.process, signal.SIGKILL)
        os.waitpid(self.process, 0)
        os.close(self.master)
        raise AssertionError("the program did not end")

    def echoes(self):
        return bool(termios.tcgetattr(self.master)[3] & termios.ECHO)
