# SPDX-License-Identifier: GPL-3.0-or-later
"""What docs/ says of messages, preferences and files is what the sources say. Takes the project's root."""

import re
import sys
import unittest
from pathlib import Path

import po

ROOT = Path(sys.argv.pop()).resolve()

# Where every text says why something cannot be done, save those below.
ERROR_FILES = {
    "Sources/VolumeErrors.cpp", "Sources/VolumeErrors.h", "Sources/MountOperation.cpp", "Desktop/SaveAlert.cpp",
    "Desktop/DesktopProgram.cpp", "Console/ConsoleProgram.cpp", "Sources/QuorrelAppDelegate+Actions.cpp",
    "Sources/QuorrelAppDelegate+Windows.cpp", "Sources/AddMountWindowController.cpp",
}
ERROR_WORDS = re.compile(r"could not|cannot|can not|not possible|[Ff]ailed|No program")
NO_ERRORS = {
    "Cancel", "Do you really want to delete the selected share definition?",
    "Do you want to give up the share you were editing?", "GNU General Public License, version 3 or later", "Give Up",
    "Hey!", "Keep Editing", "Keeps network shares mounted.", "OK", "Ok", "Oups!", "Quorrel is running already", "Remove",
    "The log tells what Quorrel did and why a mount failed. It holds no passwords, and it is never shortened:",
    "There is no tray", "There is no undo for this operation.", "Your shares could not be saved",
    "Your shares were changed outside Quorrel",
}


def read(path):
    return (ROOT / path).read_text(encoding="utf-8")


def shown(key):
    """A text as the page says it: its first paragraph on one line, with dots for what is filled in."""
    return re.sub(r"\s+", " ", re.sub(r"%[@a-z]", "…", key.split("\n\n")[0])).strip()


def literals(folders):
    """Every string of the sources, whole where it was broken for its length."""
    found = set()
    for folder in folders:
        for path in sorted((ROOT / folder).glob("*.[ch]*")):
            source = re.sub(r'"\s*\n\s*"', "", path.read_text(encoding="utf-8"))
            found |= {text.replace('\\"', '"') for text in re.findall(r'"((?:[^"\\\n]|\\.)*)"', source)}
    return found


def section(page, title):
    return re.search(rf"^## {re.escape(title)}\n(.*?)(?=^## |\Z)", page, re.M | re.S).group(1)


def first_column(text):
    """What stands in backticks in the first cell of each row."""
    return [name for row in re.findall(r"^\| ([^|]*) \|", text, re.M) for name in re.findall(r"`([^`]+)`", row)]


class Troubleshooting(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.page = read("docs/troubleshooting.md")
        self.entries = po.entries(read("Resources/Translations/Quorrel.pot"))

    def headings(self):
        return re.findall(r'^### "(.*)"$', self.page, re.M)

    def errors(self):
        return {entry.key for entry in self.entries
                if (ERROR_FILES & set(entry.files) or ERROR_WORDS.search(entry.key)) and entry.key not in NO_ERRORS}

    def test_every_message_is_explained(self):
        self.assertGreater(len(self.errors()), 30)
        self.assertEqual(sorted({shown(key) for key in self.errors()} - {*self.headings()}), [])

    def test_every_message_that_is_explained_is_one(self):
        headings = self.headings()
        self.assertEqual(len(headings), len(set(headings)))
        self.assertEqual(sorted({*headings} - {shown(entry.key) for entry in self.entries}), [])

    def test_what_is_no_error_is_still_a_text(self):
        self.assertEqual(sorted(NO_ERRORS - {entry.key for entry in self.entries}), [])

    def test_what_the_terminal_says_is_in_the_sources(self):
        told = first_column(section(self.page, "In the terminal"))
        self.assertGreater(len(told), 10)
        said = literals(["Console"])
        for message in told:
            self.assertTrue(any(message in text for text in said), message)
        source = re.sub(r'"\s*\n\s*"', "", read("Console/PasswordFile.cpp"))
        for reason in re.findall(r'failure\(path, "([^"]+)"', source):
            self.assertIn(re.sub(r": $", "", reason), self.page)

    def test_lines_of_the_log_are_in_the_sources(self):
        told = first_column(section(self.page, "In the log"))
        told = [line for line in told if " " in line]
        self.assertGreater(len(told), 10)
        said = literals(["Sources", "Platform/Linux", "Desktop"])
        self.assertEqual([line for line in told if line not in said], [])

    def test_links_lead_somewhere(self):
        for name in ("docs/troubleshooting.md", "docs/preferences.md", "README.md"):
            page = read(name)
            places = {re.sub(r"[^a-z0-9 -]", "", title.lower()).replace(" ", "-")
                      for title in re.findall(r"^#+ (.*)$", page, re.M)}
            for target in re.findall(r"\]\(([^)]+)\)", page):
                file, _, place = target.partition("#")
                if not target.startswith("http") and file:
                    self.assertTrue(((ROOT / name).parent / file).exists(), f"{name}: {target}")
                elif place:
                    self.assertIn(place, places, f"{name}: {target}")


class PreferencesAndFiles(unittest.TestCase):
    def setUp(self):
        self.page = read("docs/preferences.md")

    def rows(self):
        found = {}
        for name, kind, first in re.findall(r"^\| `([^|`]+)` \| (\w+) \| (\w+) \|", section(self.page, "Preferences"), re.M):
            found[name] = (kind, first)
        return found

    def test_every_preference_is_told_of(self):
        used = set()
        for folder in ("Sources", "Foundation", "Platform/Linux", "Desktop", "Console"):
            for path in sorted((ROOT / folder).glob("*.cpp")):
                source = path.read_text(encoding="utf-8")
                used |= set(re.findall(r'[pP]references\.(?:boolean|texts?|value|observe|set)\("([^"]+)"', source))
                used |= set(re.findall(r'addFlag\(\*\w+,\s*m_environment\.text\("[^"]+"\),\s*"(\w+)"', source))
                used |= set(re.findall(r'connectivityHost = "(\w+)"', source))
        self.assertGreater(len(used), 11)
        self.assertEqual(sorted(used - set(self.rows())), [])

    def test_what_is_on_at_first_is_what_the_first_start_writes(self):
        source = read("Sources/QuorrelAppDelegate+Preferences.cpp")
        first = re.search(r"writeFirstLaunchDefaults\(\).*?\{ ([^}]*) \}", source, re.S).group(1)
        on = {name for name, (kind, first) in self.rows().items() if first == "on"}
        self.assertEqual(on, set(re.findall(r'"(\w+)"', first)))

    def test_every_key_of_the_catalogue_is_told_of(self):
        keys = set()
        for name in ("Host", "Service", "SharePoint"):
            keys |= set(re.findall(r'\b(?:add|result\.set)\("(\w+)"', read(f"Sources/{name}Definition.cpp")))
        self.assertGreater(len(keys), 15)
        told = first_column(section(self.page, "Catalogue"))
        self.assertEqual(sorted(keys - set(told)), [])
        self.assertEqual(sorted(set(told) - keys), [])


if __name__ == "__main__":
    unittest.main()
