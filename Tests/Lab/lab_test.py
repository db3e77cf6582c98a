# SPDX-License-Identifier: GPL-3.0-or-later
"""The lab's own life: what it hands on, and that it leaves nothing behind however it ends."""

import os
import signal
import subprocess
import sys
import tempfile
import time
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.realpath(__file__))))
LAB = os.path.join(ROOT, "scripts", "lab")
CLEAN = "lab: nothing left behind"

# Mounts a share, leaves orphans behind on the client and on a server, tells in which processes' world we are, stays.
BUSY = """
gio mount -a smb://fileserver/pub || exit 9
setsid env -i tail -f /dev/null >/dev/null 2>&1 &
readlink /proc/self/ns/pid > "$1.new" && mv "$1.new" "$1"
exec sleep 300
"""


def until(condition, seconds=20):
    end = time.monotonic() + seconds
    while not condition() and time.monotonic() < end:
        time.sleep(0.02)
    return condition()


def members(namespace):
    """Living processes of a process namespace."""
    found = []
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            if os.readlink(f"/proc/{pid}/ns/pid") == namespace:
                found.append(int(pid))
        except OSError:
            pass
    return found


def traces():
    """What of the lab can be seen from outside: others on this computer mount and unmount meanwhile."""
    with open("/proc/self/mountinfo", encoding="utf-8") as file:
        mounts = [line.split()[4] for line in file if "/run/lab" in line]
    return mounts, os.path.exists("/run/lab"), sorted(os.listdir("/sys/class/net"))


def run(*arguments):
    return subprocess.run([LAB, *arguments], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=120,
                          check=False)


class HandsOn(unittest.TestCase):
    def test_the_commands_exit_code_is_the_labs(self):
        self.assertEqual(run("--", "sh", "-c", "exit 7").returncode, 7)
        self.assertEqual(run("--", "sh", "-c", "kill -9 $$").returncode, 137)
        self.assertEqual(run("--", "/nonexistent").returncode, 127)
        self.assertEqual(run().returncode, 2)

    def test_the_command_that_takes_too_long_is_ended(self):
        done = run("--timeout", "2", "--", "sleep", "300")
        self.assertEqual(done.returncode, 124)
        self.assertIn(CLEAN, done.stderr)

    def test_what_a_sanitizer_reports_fails_the_run(self):
        done = run("--", "sh", "-c", 'place=${TSAN_OPTIONS#*log_path=}; echo a race > "${place%%:*}.program.1"')
        self.assertEqual(done.returncode, 71)
        self.assertIn("report.program.1:\na race", done.stderr)
        self.assertIn(CLEAN, done.stderr)

    def test_the_password_is_in_a_file_only(self):
        done = run("--", "sh", "-c", 'cat "$QTB_PASSWORD_FILE"; stat -c %a "$QTB_PASSWORD_FILE" "$QTB_DIR"; env; '
                   'cat "$QTB_LAB"; cat /proc/[0-9]*/cmdline | tr "\\0" " "; cat /proc/[0-9]*/environ | tr "\\0" " "')
        password, *rest = done.stdout.split("\n")
        self.assertGreaterEqual(len(password), 16)
        self.assertEqual(rest[:2], ["600", "700"])
        self.assertIn("QTB_LAB=/run/lab/lab.json", rest)
        self.assertNotIn(password, "\n".join(rest))


class LeavesNothingBehind(unittest.TestCase):
    def end_with(self, number):
        before = traces()
        with tempfile.TemporaryDirectory(dir="/var/tmp") as own:
            told = os.path.join(own, "told")
            lab = subprocess.Popen([LAB, "--", "sh", "-c", BUSY, "sh", told], stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
                                   start_new_session=True)
            try:
                self.assertTrue(until(lambda: os.path.exists(told) or lab.poll() is not None))
                with open(told, encoding="utf-8") as file:
                    namespace = file.read().strip()
                self.assertGreater(len(members(namespace)), 20)
                os.kill(lab.pid, number)
                said = lab.communicate(timeout=60)[1]
                self.assertTrue(until(lambda: not members(namespace), 5), members(namespace))
            finally:
                lab.kill()
                lab.wait()
                lab.stderr.close()
        self.assertEqual(traces(), before)
        return lab.returncode, said

    def test_after_a_termination_signal(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with self.subTest(number=number):
                code, said = self.end_with(number)
                self.assertEqual(code, 128 + number)
                self.assertIn(CLEAN, said)

    def test_when_it_is_killed(self):
        code, _ = self.end_with(signal.SIGKILL)
        self.assertEqual(code, -signal.SIGKILL)

    def test_after_the_command_has_ended(self):
        done = run("--", "sh", "-c", "gio mount -a smb://attic/pub; setsid sleep 300 & readlink /proc/self/ns/pid")
        self.assertEqual(done.returncode, 0)
        self.assertIn(CLEAN, done.stderr)
        self.assertEqual(members(done.stdout.split()[-1]), [])


if __name__ == "__main__":
    unittest.main()
