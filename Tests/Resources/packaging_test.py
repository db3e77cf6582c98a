# SPDX-License-Identifier: GPL-3.0-or-later
"""What comes with the programs is as its tools want it, and as the packages want it. Takes the project's root."""

import configparser
import re
import subprocess
import sys
import unittest
from pathlib import Path
from xml.etree import ElementTree

ROOT = Path(sys.argv.pop()).resolve()
RESOURCES = ROOT / "Resources"
NAME = "org.quorrel.Quorrel"
SECONDS = 60


def source(path):
    return (ROOT / path).read_text(encoding="utf-8")


def packages(name, field):
    """Those that a field of the packages' description names, in any of its paragraphs of that name."""
    found = set()
    for paragraph in source("debian/control").split("\n\n"):
        if re.match(rf"(Source|Package): {name}\n", paragraph):
            text = "".join(re.findall(rf"^{field}:((?:.*\n)(?:[ \t].*\n)*)", paragraph + "\n", re.MULTILINE))
            found |= {re.split(r"[ (]", each.strip())[0] for each in text.split(",") if not each.strip().startswith("$")}
    return found - {""}


def ours(group):
    """What our own script installs for that."""
    return set(re.search(rf"^{group}=\(([^)]*)\)", source("scripts/install-packages"), re.MULTILINE).group(1).split())


class Packaging(unittest.TestCase):
    def silent(self, *command):
        done = subprocess.run(command, capture_output=True, text=True, timeout=SECONDS, check=False, cwd=ROOT)
        self.assertEqual((done.returncode, done.stdout + done.stderr), (0, ""), command)

    def test_the_desktop_file_is_valid(self):
        self.silent("desktop-file-validate", RESOURCES / f"{NAME}.desktop")

    def test_each_action_starts_the_program_with_its_option(self):
        entry = configparser.ConfigParser(interpolation=None, delimiters="=", strict=True)
        entry.optionxform = str
        entry.read(RESOURCES / f"{NAME}.desktop", encoding="utf-8")
        actions = entry["Desktop Entry"]["Actions"].rstrip(";").split(";")
        self.assertEqual(actions, ["show-shares", "mount-all", "preferences"])
        for action in actions:
            self.assertEqual(entry[f"Desktop Action {action}"]["Exec"], f"quorrel --{action}")

    def test_the_metainfo_is_valid(self):
        done = subprocess.run(["appstreamcli", "validate", "--no-net", "--pedantic", RESOURCES / f"{NAME}.metainfo.xml"],
                              capture_output=True, text=True, timeout=SECONDS, check=False)
        found = [line for line in done.stdout.splitlines() if re.match(r"[EWIP]: ", line)]
        # The name is what desktops and the bus know the program by.
        self.assertEqual((done.returncode, [line for line in found if "cid-contains-uppercase-letter" not in line]), (0, []))

    def test_the_metainfo_names_what_is_there(self):
        component = ElementTree.parse(RESOURCES / f"{NAME}.metainfo.xml").getroot()
        self.assertEqual(component.findtext("id"), NAME)
        self.assertTrue((RESOURCES / component.findtext("launchable")).is_file())

    def test_the_man_pages_are_clean(self):
        for page in sorted((RESOURCES / "Man").iterdir()):
            # Which other pages this machine has is no matter.
            self.silent("mandoc", "-Tlint", "-W", "warning,stop", page)
            self.silent("groff", "-ww", "-mdoc", "-Tutf8", "-Kutf8", "-z", page)

    def test_the_completions_can_be_read(self):
        for shell, pattern in (("bash", "*.bash"), ("zsh", "_*")):
            files = sorted((RESOURCES / "Completions").glob(pattern))
            self.assertEqual(len(files), 2)
            for file in files:
                self.silent(shell, "-n", file)

    def test_one_version_stands_everywhere(self):
        version = re.search(r"project\(Quorrel VERSION ([\d.]+)", source("CMakeLists.txt")).group(1)
        self.assertEqual(re.search(r"^quorrel \((\S+)\)", source("debian/changelog")).group(1), version)
        self.assertEqual(re.search(r'<release version="([\d.]+)"', source(f"Resources/{NAME}.metainfo.xml")).group(1), version)
        headings = re.findall(r"^## (.*)", source("CHANGELOG.md"), re.MULTILINE)
        self.assertEqual([heading for heading in headings if heading != "Unreleased"][0], version)

    def test_the_packages_are_built_with_what_we_build_with(self):
        # Every Debian builds with these, our benchmarks and tests are not built there, and debhelper is for that alone.
        self.assertEqual(packages("quorrel", "Build-Depends") - {"debhelper-compat"},
                         ours("build") - {"g++", "python3", "libbenchmark-dev"})

    def test_the_packages_run_with_what_we_run_with(self):
        wanted = packages("quorrel", "Depends") | packages("quorrel", "Recommends")
        # These come with gvfs-fuse and with the session's bus; gio is for who wants to look.
        self.assertLessEqual(ours("program") - {"fuse3", "dbus-daemon", "libglib2.0-bin"}, wanted)
        common = wanted - {"qt6-wayland", "quorrelctl", "xdg-utils", "qt6-translations-l10n"}
        self.assertEqual(packages("quorrelctl", "Depends") | packages("quorrelctl", "Recommends"), common)


if __name__ == "__main__":
    unittest.main()
