# SPDX-License-Identifier: GPL-3.0-or-later
"""What an installation brings: installed_test.py PROJECT BUILD PREFIX."""

import fnmatch
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from told import told_by

PROJECT, BUILD, PREFIX = (Path(path) for path in sys.argv[1:4])
RESOURCES = PROJECT / "Resources"
NAME = "org.quorrel.Quorrel"
PACKAGES = ("quorrel", "quorrelctl", "quorrel-common")
SECONDS = 120


def below(folder, pattern):
    return {str(path.relative_to(folder)) for path in folder.rglob(pattern)}


def expected():
    languages = (RESOURCES / "Translations" / "LINGUAS").read_text(encoding="utf-8").split()
    return {
        "bin/quorrel", "bin/quorrelctl",
        "lib/systemd/user/quorrelctl-watch.service",
        f"share/applications/{NAME}.desktop",
        "share/bash-completion/completions/quorrel", "share/bash-completion/completions/quorrelctl",
        f"share/dbus-1/interfaces/{NAME}1.xml",
        f"share/dbus-1/services/{NAME}.service",
        f"share/icons/hicolor/scalable/apps/{NAME}.svg",
        "share/man/man1/quorrel.1", "share/man/man1/quorrelctl.1",
        f"share/metainfo/{NAME}.metainfo.xml",
        "share/zsh/site-functions/_quorrel", "share/zsh/site-functions/_quorrelctl",
        *(f"share/locale/{language}/LC_MESSAGES/Quorrel.mo" for language in languages),
        *(f"share/icons/hicolor/{size}x{size}/apps/{NAME}.png" for size in (16, 22, 24, 32, 48, 64, 128, 256)),
        *(f"share/quorrel/help/{name}" for name in below(RESOURCES / "Help", "*.*")),
        *(f"share/quorrel/icons/{name}" for name in below(RESOURCES / "Icons", "*.png")),
    }


class Installed(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="quorrel-installed-")
        cls.addClassCleanup(folder.cleanup)
        subprocess.run(["cmake", "--install", BUILD], env={**os.environ, "DESTDIR": folder.name}, check=True,
                       stdout=subprocess.DEVNULL, timeout=SECONDS)
        cls.place = Path(folder.name)
        cls.prefix = Path(folder.name + str(PREFIX))
        cls.files = {str(path.relative_to(cls.prefix)) for path in cls.prefix.rglob("*") if not path.is_dir()}

    def content(self, file):
        return (self.prefix / file).read_text(encoding="utf-8")

    def test_the_files_are_those_expected(self):
        self.assertEqual(sorted(self.files), sorted(expected()))
        self.assertEqual([path for path in self.place.rglob("*") if path.is_symlink()], [])

    def test_each_is_in_one_package(self):
        wanted = {package: (PROJECT / "debian" / f"{package}.install").read_text(encoding="utf-8").split()
                  for package in PACKAGES}
        for file in self.files:
            there = "usr/" + file.replace("zsh/site-functions", "zsh/vendor-completions")
            owners = [package for package, patterns in wanted.items() for pattern in patterns
                      if fnmatch.fnmatch(there, pattern) or there.startswith(pattern + "/")]
            self.assertEqual(len(owners), 1, f"{there} is in {owners}")

    def test_what_starts_the_programs_names_them_by_their_places(self):
        for file, key, program in ((f"share/dbus-1/services/{NAME}.service", "Exec", "quorrel"),
                                   ("lib/systemd/user/quorrelctl-watch.service", "ExecStart", "quorrelctl")):
            path = re.search(rf"^{key}=(\S+)", self.content(file), re.MULTILINE).group(1)
            self.assertEqual(path, str(PREFIX / "bin" / program))
            self.assertTrue(os.access(str(self.place) + path, os.X_OK))
        self.assertIn(f"Name={NAME}\n", self.content(f"share/dbus-1/services/{NAME}.service"))

    def test_the_installed_programs_run(self):
        for program in ("quorrel", "quorrelctl"):
            said = subprocess.run([self.prefix / "bin" / program, "--version"], check=True, capture_output=True, text=True,
                                  timeout=SECONDS, env={**os.environ, "XDG_STATE_HOME": str(self.place)}).stdout
            self.assertRegex(said, rf"^{program} \d+\.\d+\.\d+\n$")

    def test_the_man_pages_tell_of_what_the_help_tells_of(self):
        for program in ("quorrel", "quorrelctl"):
            page = self.content(f"share/man/man1/{program}.1")
            options, commands = told_by(self.prefix / "bin" / program)
            self.assertEqual({f"--{name}" for name in re.findall(r"Fl Fl ([a-z-]+)", page)}, options)
            described = {f"--{name}" for line in re.findall(r"^\.It (Fl .*)", page, re.MULTILINE)
                         for name in re.findall(r"Fl Fl ([a-z-]+)", line)}
            self.assertEqual(described, options)
            synopsis = page[page.index(".Sh SYNOPSIS"):page.index(".Sh DESCRIPTION")]
            self.assertEqual(set(re.findall(r"^\.Cm ([a-z]+)", synopsis, re.MULTILINE)), commands)
            self.assertEqual(set(re.findall(r"^\.It Cm ([a-z]+)", page, re.MULTILINE)) - {"help"}, commands)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
