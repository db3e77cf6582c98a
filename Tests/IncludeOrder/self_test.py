#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Feeds the rules trees that break them, one at a time, so that a rule which sees nothing is seen."""

import tempfile
import unittest
from pathlib import Path

import rules

LICENCE = "// SPDX-License-Identifier: GPL-3.0-or-later\n"
SUBSYSTEMS = """
quorrel_subsystem(catalogue
  SOURCES
    Host.cpp
    Context.h
)
quorrel_subsystem(mounting
  SOURCES
    Mount.cpp
  LINK quorrel_catalogue
)
quorrel_subsystem(discovery
  SOURCES
    Scan.cpp
  LINK quorrel_catalogue
)
quorrel_subsystem(windows
  SOURCES
    Window.cpp
  LINK quorrel_catalogue
)
quorrel_subsystem(controller
  SOURCES
    Delegate+Menus.cpp
    Delegate.cpp
  LINK quorrel_catalogue quorrel_mounting quorrel_discovery quorrel_windows
)
"""
GOOD = {
    "main.cpp": '#include "Console/Tool.h"\n#include <QApplication>\n// getenv\n',
    "Foundation/Text.h": "#pragma once\n#include <string>\n",
    "Foundation/Text.cpp": '#include "Foundation/Text.h"\n',
    "Platform/Clock.h": '#pragma once\n#include "Foundation/Text.h"\n#include <vector>\n',
    "Platform/Linux/LinuxClock.h": '#pragma once\n#include "Platform/Clock.h"\n',
    "Platform/Linux/StandardPaths.cpp": "#include <cstdlib>\n#include <unistd.h>\n#include <gio/gio.h>\n// getenv\n",
    "Sources/Host.h": '#pragma once\n#include "Platform/Clock.h"\n',
    "Sources/Host.cpp": '#include "Sources/Host.h"\n',
    "Sources/Context.h": "#pragma once\n",
    "Sources/Mount.h": '#pragma once\n#include "Sources/Host.h"\n#include "Sources/Context.h"\n',
    "Sources/Mount.cpp": '#include "Sources/Mount.h"\n',
    "Sources/Scan.h": '#pragma once\n#include "Sources/Host.h"\n',
    "Sources/Scan.cpp": "",
    "Sources/Window.h": "#pragma once\n",
    "Sources/Window.cpp": "",
    "Sources/Delegate.h": '#pragma once\n#include "Sources/Mount.h"\n#include "Sources/Window.h"\n',
    "Sources/Delegate.cpp": "",
    "Sources/Delegate+Menus.cpp": '#include "Sources/Delegate.h"\n#include "Sources/Scan.h"\n',
    "Console/Tool.h": '#pragma once\n#include "Sources/Delegate.h"\n#include "Platform/Linux/LinuxClock.h"\n',
    "Console/main.cpp": "#include <termios.h>\n// getenv\n",
    "Desktop/View.h": '#pragma once\n#include "Sources/Delegate.h"\n#include <QWidget>\n',
    "Tests/Anything.cpp": '#include "Platform/Linux/LinuxClock.h"\n#include <gtest/gtest.h>\n#include <QTest>\n// getenv\n',
    "Benchmarks/Some.cpp": "#include <benchmark/benchmark.h>\n",
}


class RulesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        self.put("Sources/CMakeLists.txt", SUBSYSTEMS)
        for path, text in GOOD.items():
            self.put(path, LICENCE + text)

    def put(self, path, text):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text, encoding="utf-8")

    def add(self, path, line):
        with open(self.root / path, "a", encoding="utf-8") as file:
            file.write(line + "\n")

    def assert_one_problem(self, path, part):
        problems = rules.check(self.root)
        self.assertEqual(len(problems), 1, problems)
        self.assertTrue(problems[0].startswith(path), problems[0])
        self.assertIn(part, problems[0])

    def test_a_tree_that_keeps_the_rules_passes(self):
        self.assertEqual(rules.check(self.root), [])
        self.assertEqual(len(rules.sources(self.root)), len(GOOD))

    def forbidden(self, path, include, part):
        with self.subTest(path=path, include=include):
            before = (self.root / path).read_text()
            self.add(path, include)
            self.assert_one_problem(path, part)
            self.put(path, before)

    def test_rooms_include_only_what_the_table_allows(self):
        for path, header, part in (
            ("Foundation/Text.h", "Platform/Clock.h", "Foundation must not include Platform"),
            ("Foundation/Text.h", "Sources/Host.h", "Foundation must not include Sources"),
            ("Platform/Clock.h", "Platform/Linux/LinuxClock.h", "Platform must not include Platform/Linux"),
            ("Platform/Clock.h", "Sources/Host.h", "Platform must not include Sources"),
            ("Platform/Linux/LinuxClock.h", "Sources/Host.h", "Platform/Linux must not include Sources"),
            ("Platform/Linux/LinuxClock.h", "Console/Tool.h", "Platform/Linux must not include Console"),
            ("Sources/Host.h", "Platform/Linux/LinuxClock.h", "Sources must not include Platform/Linux"),
            ("Sources/Host.h", "Console/Tool.h", "Sources must not include Console"),
            ("Sources/Host.h", "Desktop/View.h", "Sources must not include Desktop"),
            ("Sources/Host.h", "Tests/Anything.cpp", "Sources must not include Tests"),
            ("Desktop/View.h", "Platform/Linux/LinuxClock.h", "Desktop must not include Platform/Linux"),
            ("Desktop/View.h", "Console/Tool.h", "Desktop must not include Console"),
            ("Console/Tool.h", "Desktop/View.h", "Console must not include Desktop"),
        ):
            self.forbidden(path, f'#include "{header}"', part)

    def test_some_rooms_use_the_standard_library_only(self):
        for path in ("Foundation/Text.h", "Platform/Clock.h", "Sources/Host.cpp"):
            for header in ("glib.h", "gio/gio.h", "unistd.h", "QString", "avahi-client/client.h", "plist/plist.h"):
                self.forbidden(path, f"#include <{header}>", "standard library only")

    def test_qt_stays_on_the_desktop(self):
        for path in ("Console/Tool.h", "Platform/Linux/LinuxClock.h"):
            for header in ("QString", "QtCore/QString", "qglobal.h", "QtWidgets"):
                self.forbidden(path, f"#include <{header}>", "must not know Qt")

    def test_subsystems_keep_their_order(self):
        for path, header, part in (
            ("Sources/Host.cpp", "Sources/Mount.h", "catalogue must not include mounting"),
            ("Sources/Context.h", "Sources/Delegate.h", "catalogue must not include controller"),
            ("Sources/Mount.h", "Sources/Scan.h", "mounting must not include discovery"),
            ("Sources/Scan.cpp", "Sources/Window.h", "discovery must not include windows"),
            ("Sources/Window.cpp", "Sources/Mount.h", "windows must not include mounting"),
            ("Sources/Window.cpp", "Sources/Delegate.h", "windows must not include controller"),
            ("Sources/Mount.cpp", "Sources/Delegate.h", "mounting must not include controller"),
        ):
            self.forbidden(path, f'#include "{header}"', part)

    def test_no_way_of_writing_an_include_escapes(self):
        for include in ('  #  include   "Sources/Host.h"', '#include"Sources/Host.h" // why', '#import "Sources/Host.h"'):
            self.forbidden("Foundation/Text.h", include, "Foundation must not include Sources")
        self.forbidden("Foundation/Text.h", "#include HEADER", "cannot be seen")
        self.forbidden("Console/Tool.h", "#include <Sources/Host.h>", "stands in quotes")
        self.forbidden("Sources/Host.cpp", '#include "Host.h"', "no such file")
        self.forbidden("Sources/Host.cpp", '#include "../Sources/Host.h"', "no such file")

    def test_every_file_of_sources_has_a_subsystem(self):
        self.put("Sources/Stray.h", LICENCE + "#pragma once\n")
        self.assert_one_problem("Sources/Stray.h", "no subsystem")

    def test_the_build_file_keeps_the_order_too(self):
        self.put("Sources/CMakeLists.txt", SUBSYSTEMS.replace("  LINK quorrel_catalogue\n", "  LINK quorrel_windows\n", 1))
        self.assert_one_problem("Sources/CMakeLists.txt", "mounting must not link windows")

    def test_a_source_is_no_longer_than_it_may_be(self):
        self.put("Foundation/Text.cpp", LICENCE + "\n" * (rules.LONGEST_SOURCE - 1))
        self.assertEqual(rules.check(self.root), [])
        self.put("Foundation/Text.cpp", LICENCE + "\n" * rules.LONGEST_SOURCE)
        self.assert_one_problem("Foundation/Text.cpp", "501 lines")

    def test_the_licence_comes_first(self):
        self.put("Tests/Anything.cpp", "\n" + LICENCE)
        self.assert_one_problem("Tests/Anything.cpp", "licence")

    def test_a_header_is_read_once(self):
        self.put("Foundation/Text.h", LICENCE + "// #pragma once\n")
        self.assert_one_problem("Foundation/Text.h", "pragma once")

    def test_locks_are_those_that_the_compiler_can_follow(self):
        for lock in ("std::mutex m;", "std::unique_lock l(m);", "std::condition_variable c;", "std::shared_mutex m;"):
            self.forbidden("Sources/Host.h", lock, "locks are")
        self.put("Foundation/Mutex.h", LICENCE + "#pragma once\nstd::mutex m;\n")
        self.assertEqual(rules.check(self.root), [])

    def test_the_environment_is_read_at_the_start_only(self):
        for path in ("Foundation/Text.cpp", "Console/Tool.h", "Platform/Linux/LinuxClock.h"):
            self.forbidden(path, 'inline auto x = std::getenv("HOME");', "environment")

    def test_scripts_are_held_to_licence_and_length(self):
        self.put("scripts/tool", "#!/bin/sh\n# SPDX-License-Identifier: GPL-3.0-or-later\n")
        self.assertEqual(rules.check(self.root), [])
        self.put("scripts/tool", "#!/bin/sh\necho\n")
        self.assert_one_problem("scripts/tool", "licence")
        self.put("scripts/tool", "#!/bin/sh\n# SPDX-License-Identifier: GPL-3.0-or-later\n" + "\n" * 500)
        self.assert_one_problem("scripts/tool", "502 lines")


if __name__ == "__main__":
    unittest.main()
