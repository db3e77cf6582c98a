# SPDX-License-Identifier: GPL-3.0-or-later
"""One of the test bed's servers, to be frozen, killed, started again and given another password."""

import json
import os
import signal
import subprocess
import sys

HERE = os.path.dirname(os.path.realpath(__file__))
_TESTBED = os.path.join(HERE, "..", "..", "scripts", "testbed")

from testbed_lib import processes  # noqa: E402  pylint: disable=wrong-import-position


class BedServer:
    def __init__(self, name):
        self.name = name
        self.address = os.environ[f"QTB_{name.upper()}_HOST"]
        self.port = int(os.environ[f"QTB_{name.upper()}_PORT"])
        self._is_frozen = self._is_dead = False

    def _folder(self, *parts):
        return os.path.join(os.environ["QTB_DIR"], *parts)

    def _group(self):
        with open(self._folder("testbed.json"), encoding="utf-8") as file:
            return int(json.load(file)[f"QTB_{self.name.upper()}_PID"])

    def freeze(self):
        os.killpg(self._group(), signal.SIGSTOP)
        self._is_frozen = True

    def kill(self):
        group = self._group()
        os.killpg(group, signal.SIGKILL)
        self._is_dead = True
        if not processes.wait_until(lambda: not processes.group_alive(group), 15):
            raise AssertionError(f"{self.name} does not die")

    def restart(self):
        subprocess.run([sys.executable, "-B", _TESTBED, "restart", self.name], stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL, timeout=60, check=True)
        self._is_dead = self._is_frozen = False

    def recover(self):
        """As it was at first, whatever happened to it."""
        if self._is_dead:
            self.restart()
        elif self._is_frozen:
            os.killpg(self._group(), signal.SIGCONT)
            self._is_frozen = False

    def set_password(self, password):
        """Of the one user. Those who read it at their start only are started again."""
        getattr(self, f"_set_password_of_{self.name}")(password)

    def _set_password_of_smb(self, password):
        with open(self._folder("log", "smb.json"), encoding="utf-8") as file:
            recipe = json.load(file)
        configuration = recipe["command"][recipe["command"].index("-s") + 1]
        subprocess.run(["smbpasswd", "-c", configuration, "-s", os.environ["QTB_USER"]], env=recipe["environment"],
                       input=f"{password}\n{password}\n", text=True, stdout=subprocess.DEVNULL, timeout=30, check=True)

    def _set_password_of_dav(self, password):
        self._rewrite("dav.htpasswd", f"{os.environ['QTB_USER']}:{_digest('-apr1', password)}\n")
        self.restart()

    def _set_password_of_ftp(self, password):
        self._rewrite("password", password + "\n")
        self.restart()

    def _set_password_of_afp(self, password):
        place = os.path.join("afp", "etc", "shadow")
        with open(self._folder(place), encoding="utf-8") as file:
            lines = [line for line in file if not line.startswith(os.environ["QTB_USER"] + ":")]
        self._rewrite(place, "".join(lines) + f"{os.environ['QTB_USER']}:{_digest('-6', password)}:1::::::\n")

    def _rewrite(self, place, text):
        # In its place, so that it keeps its owner and mode.
        with open(self._folder(place), "w", encoding="utf-8") as file:
            file.write(text)


def _digest(kind, password):
    return subprocess.run(["openssl", "passwd", kind, "-stdin"], input=password + "\n", capture_output=True, text=True,
                          timeout=30, check=True).stdout.strip()
