# SPDX-License-Identifier: GPL-3.0-or-later
"""Four servers of each kind with ten shares that anybody may have, made from the one that the test bed started."""

import json
import os
import re
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.realpath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "scripts"))

from testbed_lib import processes  # noqa: E402
from testbed_lib.bed import accepts_tcp, spawn  # noqa: E402

SERVERS, SHARES = 4, 10
NAMES = [f"s{number:02}" for number in range(1, SHARES + 1)]
_SECONDS = 20


def _path(*parts):
    return os.path.join(os.environ["QTB_DIR"], *parts)


def _recipe(name):
    with open(_path("log", f"{name}.json"), encoding="utf-8") as file:
        recipe = json.load(file)
    return recipe["command"], recipe["environment"]


def _read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def _write(path, text):
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)
    return path


def _start(name, command, environment, address, port):
    process = spawn(command, environment, _path("log", f"{name}.log"))
    processes.wait_until(lambda: accepts_tcp(address, port) or process.poll() is not None, _SECONDS)
    if process.poll() is not None or not accepts_tcp(address, port):
        sys.exit(f"compare: {name} does not answer; it says {_read(_path('log', f'{name}.log'))[-1000:]}")
    return process


def _copied(name, number, configuration, address, port):
    """Starts one like the bed's with a folder of its own; `configuration` makes its file from the other's."""
    command, environment = _recipe(name)
    own, other = _path(f"{name}-{number}"), _path(name)
    os.makedirs(own, 0o755, exist_ok=True)
    place = next(each for each in command if each.startswith(other) and each.endswith(".conf"))
    text = configuration(_read(place))
    copy = _write(os.path.join(own, os.path.basename(place)), re.sub(re.escape(other) + r"(?=[/\s]|$)", own, text))
    return _start(f"{name}-{number}", [copy if each == place else each for each in command], environment, address, port)


def start_smb():
    """The URLs of all shares, and the servers' processes."""
    hosts = [os.environ["QTB_SMB_HOST"]] + [f"127.0.2.{number}" for number in range(2, SERVERS + 1)]
    started = []
    for number, host in enumerate(hosts[1:], 2):
        own = _path(f"smb-{number}")
        for folder in ("private", "lock", "state", "cache", "pid", "ncalrpc"):
            os.makedirs(os.path.join(own, folder), 0o700, exist_ok=True)
        started.append(_copied("smb", number, lambda text, host=host: text.replace(hosts[0], host), host, 445))
    return hosts, started


def _open_shares(text, address, own):
    """Of the bed's configuration, with a listener of its own and shares instead of its one."""
    begin, end = text.index("<Location /share>"), text.rindex("</Location>")
    shares = "\n".join(f"<Location /{name}>\n  Dav On\n  Require all granted\n</Location>" for name in NAMES)
    lines = [f"ServerName {address}" if line.startswith("ServerName ") else
             f"Listen {address}:80" if line.startswith("Listen ") else line
             for line in (text[:begin] + shares + text[end + len("</Location>"):]).split("\n")]
    os.makedirs(os.path.join(own, "locks"), exist_ok=True)
    os.chmod(os.path.join(own, "locks"), 0o777)
    for name in NAMES:
        os.makedirs(os.path.join(own, name), exist_ok=True)
        _write(os.path.join(own, name, "hello.txt"), f"Hello from {name}\n")
    return "\n".join(lines)


def start_dav():
    """Each share is a mount of its own: nothing above them is WebDAV."""
    hosts = [f"127.0.3.{number}" for number in range(1, SERVERS + 1)]
    started = [_copied("apache", number,
                       lambda text, host=host, number=number: _open_shares(text, host, _path(f"apache-{number}")), host, 80)
               for number, host in enumerate(hosts, 1)]
    return hosts, started


def end(started):
    for process in started:
        process.terminate()
    for process in started:
        try:
            process.wait(10)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait(10)
