# SPDX-License-Identifier: GPL-3.0-or-later
"""What running programs cost, read from the kernel."""

import collections
import os
import subprocess
import time


def session_processes():
    """Every process that was started in this session's private directory."""
    mark = os.environ["QTB_DIR"].encode()
    found = []
    for name in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{name}/environ", "rb") as file:
                if mark in file.read():
                    found.append(name)
        except OSError:
            pass  # gone meanwhile, or somebody else's
    return found


def mapped_files(pid):
    try:
        with open(f"/proc/{pid}/maps", encoding="utf-8") as file:
            return {fields[5].strip() for fields in (line.split(None, 5) for line in file)
                    if len(fields) == 6 and fields[5].startswith("/")}
    except OSError:
        return set()


def kilobytes(pid):
    """The proportional set size, with the session's processes alone to share with."""
    users = collections.Counter(path for process in session_processes() for path in mapped_files(process))
    total = 0
    path = ""
    sizes = {}
    with open(f"/proc/{pid}/smaps", encoding="utf-8") as file:
        for line in file:
            fields = line.split(None, 5)
            if not fields[0].endswith(":"):
                path = fields[5].strip() if len(fields) == 6 else ""
                sizes = collections.Counter()
            elif fields[0] in ("Rss:", "Pss:", "Shared_Clean:", "Shared_Dirty:"):
                sizes[fields[0]] = int(fields[1])
            elif fields[0] == "VmFlags:":
                shared = sizes["Shared_Clean:"] + sizes["Shared_Dirty:"]
                alone = sizes["Rss:"] - shared + shared / users[path] if users[path] else 0
                total += max(sizes["Pss:"], alone)
    return total


def sleeps(pid):
    """How often each of its threads went to sleep, which is how often it was awake."""
    counts = {}
    for thread in os.listdir(f"/proc/{pid}/task"):
        try:
            with open(f"/proc/{pid}/task/{thread}/status", encoding="ascii") as file:
                counts[thread] = next(int(line.split()[1]) for line in file if line.startswith("voluntary_ctxt"))
        except OSError:
            pass  # a thread that has just ended
    return counts


def threads(pid):
    return len(os.listdir(f"/proc/{pid}/task"))


def wake_ups(pid, seconds):
    before = sleeps(pid)
    time.sleep(seconds)
    return sum(count - before.get(thread, 0) for thread, count in sleeps(pid).items()) * 60 / seconds


def end(process):
    process.terminate()
    try:
        process.wait(10)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait(10)
