#!/usr/bin/python3 -B
# SPDX-License-Identifier: GPL-3.0-or-later
"""no_display_test.py PROGRAM: what a user without a display gets to read."""

import os
import subprocess
import sys
import tempfile
import unittest

PROGRAM = os.path.realpath(sys.argv.pop(1))


class NoDisplayTest(unittest.TestCase):
    def setUp(self):
        self.home = tempfile.TemporaryDirectory()  # pylint: disable=consider-using-with
        self.addCleanup(self.home.cleanup)

    def start(self, *arguments, **more):
        # No bus is reached from here, and nothing of whoever runs this.
        environment = {"PATH": os.environ["PATH"], "HOME": self.home.name, "LANG": "C.UTF-8",
                       "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.home.name}/none",
                       "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={self.home.name}/none",
                       **{name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}, **more}
        return subprocess.run([PROGRAM, *arguments], env=environment, cwd=self.home.name, stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=30, check=False)

    def test_a_display_that_cannot_be_opened_is_named_and_ends_the_program(self):
        ended = self.start(DISPLAY=":99999")
        self.assertEqual(ended.returncode, 1)
        self.assertIn("could not connect to display :99999", ended.stderr)
        self.assertEqual(ended.stdout, "")

    def test_the_log_has_it_too(self):
        ended = self.start(DISPLAY=":99999")
        with open(os.path.join(self.home.name, ".local/state/Quorrel/Quorrel.log"), encoding="utf-8") as log:
            self.assertIn(ended.stderr.splitlines()[0], log.read().splitlines())

    def test_no_display_at_all_ends_the_program_with_a_word(self):
        ended = self.start()
        self.assertEqual(ended.returncode, 1)
        self.assertIn("could not connect to display", ended.stderr)

    def test_version_and_help_need_none_and_leave_nothing(self):
        usage = "quorrel [--show-shares | --mount-all | --preferences | --version | --help]\n"
        for option, wanted in ("--version", "quorrel "), ("--help", usage):
            ended = self.start(option)
            self.assertEqual((ended.returncode, ended.stderr), (0, ""), option)
            self.assertTrue(ended.stdout.startswith(wanted), ended.stdout)
        self.assertEqual(os.listdir(self.home.name), [])


if __name__ == "__main__":
    unittest.main()
