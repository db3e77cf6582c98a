# SPDX-License-Identifier: GPL-3.0-or-later
"""The translations are whole. Takes the project's root."""

import subprocess
import sys
import unittest
from pathlib import Path

import po

ROOT = Path(sys.argv.pop()).resolve()
TRANSLATIONS = ROOT / "Resources" / "Translations"
LANGUAGES = (TRANSLATIONS / "LINGUAS").read_text().split()


class Translations(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.template = subprocess.run(
            [ROOT / "scripts" / "update-translations", "--print"], check=True, capture_output=True, text=True, timeout=60
        ).stdout

    def test_texts_are_found_in_the_sources(self):
        keys = {entry.key for entry in po.entries(self.template)}
        self.assertLessEqual({"Mount", "Online", "Offline", "%i shares", "See log for error."}, keys)

    def test_the_languages_are_those_that_were_promised(self):
        self.assertEqual(LANGUAGES, ["de", "es", "fr", "it", "ja", "nl"])
        self.assertEqual(sorted(path.stem for path in TRANSLATIONS.glob("*.po")), LANGUAGES)

    def test_every_file_is_one_that_programs_read(self):
        for language in LANGUAGES:
            with self.subTest(language):
                path = TRANSLATIONS / f"{language}.po"
                check = subprocess.run(
                    ["msgfmt", "--check", "--check-accelerators", "--output-file=/dev/null", path],
                    env={"PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8"}, capture_output=True, text=True, timeout=60, check=False,
                )
                # Files that change with every run of a tool would change for nothing.
                told = [line for line in check.stderr.splitlines() if "'PO-Revision-Date' missing" not in line]
                self.assertEqual((check.returncode, told), (0, []))
                self.assertIn(f'"Language: {language}\\n"', path.read_text(encoding="utf-8"))

    def test_every_text_is_translated_and_nothing_else(self):
        for language in LANGUAGES:
            with self.subTest(language):
                translation = (TRANSLATIONS / f"{language}.po").read_text(encoding="utf-8")
                self.assertEqual(po.problems(translation, self.template), [])

    def test_no_mnemonic_is_taken_twice(self):
        for language in LANGUAGES:
            with self.subTest(language):
                translation = (TRANSLATIONS / f"{language}.po").read_text(encoding="utf-8")
                self.assertEqual(po.clashes(translation, self.template), [])

    def test_the_template_is_up_to_date(self):
        kept = (TRANSLATIONS / "Quorrel.pot").read_text(encoding="utf-8")
        self.assertEqual({entry.key for entry in po.entries(kept)}, {entry.key for entry in po.entries(self.template)})

    def test_only_what_users_see_is_collected(self):
        self.assertEqual([entry.key for entry in po.entries(self.template) if po.IDENTIFIER.match(entry.key)], [])

    def test_every_text_that_a_look_up_chooses_is_marked(self):
        for folder in ("Assembly", "Console", "Desktop", "Sources"):
            for path in sorted((ROOT / folder).glob("*.cpp")):
                with self.subTest(path.name):
                    self.assertEqual(po.unseen_texts(path.read_text(encoding="utf-8")), [])


def translation(key, text, comment=""):
    return f'{comment}\nmsgid "{key}"\nmsgstr "{text}"\n'.lstrip()


class Checks(unittest.TestCase):
    """That what is wrong is found."""

    def problems(self, key, text, comment=""):
        return po.problems(translation(key, text, comment), translation(key, ""))

    def test_a_good_text_is_no_problem(self):
        for key, text in (
            ("Mount", "Einhängen"),
            ("&Mount", "&Einhängen"),
            ("Fish && &Chips", "&Fisch && Pommes"),
            ("%@ of %i", "von %i: %@"),
            ("Name:", "Nom\u00a0:"),
            ("No.\\n Really.", "Nein.\\n Wirklich."),
            ("&Name:", "名前(&N):"),
            ("Really?", "本当に？"),
            ("It is %@.", "%@ です。"),
        ):
            self.assertEqual(self.problems(key, text), [])

    def test_a_bad_text_is_one(self):
        for key, text in (
            ("Mount", ""),
            ("%@", "%i"),
            ("%@ of %@", "%@"),
            ("Mount", "&Einhängen"),
            ("&Mount", "Einhängen"),
            ("&Mount", "Alle& einhängen"),
            ("Mount…", "Einhängen"),
            ("Done", "Fertig."),
            ("Done", "完了。"),
            (" Can't", "Nein"),
            ("One\\nTwo", "Eins Zwei"),
        ):
            self.assertEqual(len(self.problems(key, text)), 1, (key, text))

    def test_a_label_is_read_without_its_key(self):
        for label, read in (("&Mount", "Mount"), ("Nom\u00a0:", "Nom"), ("追加(&A)…", "追加"), ("名前 (&N):", "名前"), ("a (b)", "a (b)")):
            self.assertEqual(po.as_read(label), read)

    def test_a_guess_is_a_problem(self):
        self.assertEqual(len(self.problems("Mount", "Einhängen", "#, fuzzy")), 1)

    def test_missing_and_left_over_texts_are_problems(self):
        self.assertEqual(len(po.problems(translation("A", "B"), translation("C", ""))), 2)
        self.assertEqual(len(po.problems(translation("A", "B") + "\n" + translation("A", "C"), translation("A", ""))), 1)

    def test_long_texts_and_quotes_are_read(self):
        source = '#: Desktop/A.cpp\nmsgid ""\n"say \\"a\\" "\n"and b"\nmsgstr ""\n"c"\n'
        self.assertEqual(po.entries(source), [po.Entry('say "a" and b', "c", ["Desktop/A.cpp"])])

    def test_a_mnemonic_that_is_taken_twice_is_found(self):
        template = translation("&Edit", "", "#: A.cpp") + "\n" + translation("&Quit", "", "#: A.cpp B.cpp")
        template += "\n" + translation("&Bar", "", "#: B.cpp") + "\n" + translation("&Entry", "", "#: A.cpp")
        texts = [("&Edit", "&Bearbeiten"), ("&Quit", "&Beenden"), ("&Bar", "&Leiste"), ("&Entry", "&Eintrag")]
        german = "\n".join(translation(*each) for each in texts)
        self.assertEqual(po.clashes(german, template), ["A.cpp: '&Bearbeiten' and '&Beenden'"])
        self.assertEqual(po.clashes(german.replace("&Beenden", "B&eenden"), template), ["A.cpp: 'B&eenden' and '&Eintrag'"])

    def test_an_unmarked_choice_is_seen(self):
        self.assertEqual(po.unseen_texts('text(on ? "On" : "Off");'), ['"On"', '"Off"'])
        self.assertEqual(po.unseen_texts('setStatusText(on\n  ? localizable("On") : "Off");'), ['"Off"'])
        self.assertEqual(po.unseen_texts('text(on ? localizable("On") : localizable("Off"));'), [])
        self.assertEqual(po.unseen_texts('f(text("Sure?"), text("a: (b"), on ? "c" : "d");'), [])
        self.assertEqual(po.unseen_texts('a = on ? text("On") : text("Off"); b = c ? "d" : "e";'), [])


if __name__ == "__main__":
    unittest.main()
