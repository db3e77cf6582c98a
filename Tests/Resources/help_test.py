# SPDX-License-Identifier: GPL-3.0-or-later
"""The help is whole in every language and calls things as the windows do. Takes the project's root."""

import re
import sys
import unittest
from pathlib import Path
from xml.etree import ElementTree

import po

ROOT = Path(sys.argv.pop()).resolve()
RESOURCES = ROOT / "Resources"
LANGUAGES = (RESOURCES / "Translations" / "LINGUAS").read_text(encoding="utf-8").split()


def source(path):
    return (ROOT / path).read_text(encoding="utf-8")


STYLE = source("Resources/Help/help.css")


def page(language):
    return RESOURCES / "Help" / ("index.html" if language == "en" else f"index.{language}.html")


PAGES = ["en", *LANGUAGES]


def translator(language):
    if language == "en":
        return lambda key: key
    texts = {entry.key: entry.text for entry in po.entries(source(f"Resources/Translations/{language}.po"))}
    return lambda key: texts[key]


def plain(element):
    return re.sub(r"\s+", " ", "".join(element.itertext()))


class Help(unittest.TestCase):
    maxDiff = None

    def each_page(self):
        for language in PAGES:
            yield language, ElementTree.parse(page(language)).getroot()

    def test_there_is_one_page_for_each_language_and_one_style(self):
        expected = sorted(["help.css", *(page(language).name for language in PAGES)])
        self.assertEqual(sorted(path.name for path in (RESOURCES / "Help").iterdir()), expected)

    def test_every_page_says_its_language(self):
        for language, root in self.each_page():
            self.assertEqual(root.get("lang"), language)
            self.assertTrue(root.findtext("head/title").strip())

    def test_nothing_is_fetched_from_elsewhere(self):
        self.assertNotIn("url(", STYLE)
        self.assertNotIn("@import", STYLE)
        for _, root in self.each_page():
            for element in root.iter():
                self.assertNotIn(element.tag, ("script", "style", "iframe", "img", "object"))
                if element.tag == "link":
                    self.assertEqual(element.attrib, {"rel": "stylesheet", "href": "help.css"})
                    continue
                for name in ("src", "href"):
                    self.assertTrue(element.get(name, "#").startswith("#"), element.get(name))

    def test_links_lead_somewhere_and_every_section_is_linked(self):
        for _, root in self.each_page():
            names = [element.get("id") for element in root.iter() if element.get("id")]
            self.assertEqual(len(names), len(set(names)))
            links = [link.get("href") for link in root.iter("a")]
            self.assertEqual(links, [f"#{name}" for name in names])
            self.assertGreater(len(names), 10)

    def test_the_pages_are_built_alike(self):
        english = ElementTree.parse(page("en")).getroot()
        sections = [section.get("id") for section in english.iter("section")]
        for language, root in self.each_page():
            self.assertEqual(len(root.findall("head/link")), 1)
            self.assertEqual([section.get("id") for section in root.iter("section")], sections)
            for tag in ("code", "tr", "dt", "li"):
                self.assertEqual(len(list(root.iter(tag))), len(list(english.iter(tag))), f"{language} {tag}")

    def test_light_and_dark_are_cared_for(self):
        self.assertIn("prefers-color-scheme: dark", STYLE)

    def test_every_preference_is_told_of_by_its_label_and_by_its_name(self):
        form = re.sub(r"\s+", " ", source("Desktop/PreferencesForm.cpp"))
        labels = re.findall(r'(?:addFlag\(\*\w+, |QCheckBox\(|QLabel\()m_environment\.text\("([^"]+)"', form)
        names = re.findall(r'addFlag\(\*\w+, m_environment\.text\("[^"]+"\), "(\w+)"', form)
        names += re.findall(r'connectivityHost = "(\w+)"', form)
        self.assertEqual((len(labels), len(names)), (11, 10))
        for language, root in self.each_page():
            section = root.find(".//section[@id='preferences']")
            translated = translator(language)
            told = [plain(bold) for bold in section.iter("b")]
            self.assertEqual(sorted(told), sorted(po.as_read(translated(label)) for label in labels))
            self.assertLessEqual(set(names), {plain(code) for code in section.iter("code")})

    def test_every_key_of_the_window_is_told_of(self):
        keys = re.findall(r'"((?:(?:Ctrl|Alt|Shift)\+)*(?:[A-Z,]|F\d+|Del))"', source("Desktop/CatalogueActions.cpp"))
        self.assertGreater(len(keys), 10)
        for _, root in self.each_page():
            told = {plain(key) for key in root.find(".//section[@id='keyboard']").iter("kbd")}
            self.assertEqual(set(keys) - told, set())

    def test_menus_and_boxes_are_called_as_they_are(self):
        menu = re.findall(r'strings\.text\("([^"]+)"\)', source("Sources/MenuLayout.cpp"))
        boxes = r'm_environment\.text\("([^"]+:|[^"]*(?:login|automatically|mounting))"'
        editor = re.findall(boxes, source("Desktop/AddMountForm.cpp"))
        skipped = {"About Quorrel", "Help", "Quit", "S&econds:", "S&cript:", "&Password:", "&User name:"}
        self.assertGreater(len(menu), 6)
        self.assertGreater(len(editor), 6)
        for language, root in self.each_page():
            text = plain(root)
            translated = translator(language)
            for label in {*menu, *editor} - skipped:
                self.assertIn(po.as_read(translated(label)), text, language)


class DesktopEntry(unittest.TestCase):
    def test_it_starts_the_program_under_its_icon(self):
        entry = source("Resources/org.quorrel.Quorrel.desktop").split("\n[Desktop Action ")[0]
        values = dict(line.split("=", 1) for line in entry.splitlines() if "=" in line)
        self.assertEqual(values["Type"], "Application")
        self.assertEqual(values["Exec"], "quorrel")
        self.assertTrue((RESOURCES / "hicolor" / "48x48" / "apps" / f"{values['Icon']}.png").is_file())
        for key in ("GenericName", "Comment", "Keywords"):
            for language in LANGUAGES:
                self.assertTrue(values[f"{key}[{language}]"], key)

    def test_its_actions_are_called_as_in_the_menu(self):
        groups = re.split(r"^\[(.*)\]$", source("Resources/org.quorrel.Quorrel.desktop"), flags=re.M)[1:]
        for title, content in zip(groups[::2], groups[1::2]):
            values = dict(line.split("=", 1) for line in content.splitlines() if "=" in line)
            if title.startswith("Desktop Action "):
                for language in LANGUAGES:
                    self.assertEqual(values.get(f"Name[{language}]"), translator(language)(values["Name"]), title)

    def test_software_centres_find_the_same_program(self):
        root = ElementTree.parse(RESOURCES / "org.quorrel.Quorrel.metainfo.xml").getroot()
        self.assertEqual(root.findtext("id"), "org.quorrel.Quorrel")
        self.assertTrue((RESOURCES / root.findtext("launchable")).is_file())
        self.assertEqual(root.findtext("project_license"), "GPL-3.0-or-later")
        language = "{http://www.w3.org/XML/1998/namespace}lang"
        for tag in ("summary", "description/p"):
            self.assertLessEqual({None, *LANGUAGES}, {element.get(language) for element in root.findall(tag)})


if __name__ == "__main__":
    unittest.main()
