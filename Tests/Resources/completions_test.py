# SPDX-License-Identifier: GPL-3.0-or-later
"""What the shells complete: completions_test.py FOLDER QUORREL QUORRELCTL [TEST...], the folder being that of the
completions. The shells run on terminals of their own, among the shares of a catalogue of the test's own."""

import os
import plistlib
import re
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

from told import SECONDS, told_by

FOLDER, QUORREL, QUORRELCTL = (os.path.realpath(path) for path in sys.argv[1:4])

SMB = "Server Message Block (smb)"
HOSTS = {
    "nas": ["docs", "music", "my photos"],
    "nasty": ['it\'s "q" $HOME \\ `ls`; # *'],
    "fe80::1": ["über"],
    "web": [""],
    "odd\nname": ["never"],
}


class Home:
    """A home with a catalogue, without a bus and with the programs in front of all others."""

    def __init__(self):
        self.folder = tempfile.mkdtemp(prefix="quorrel-completions-")
        data = os.path.join(self.folder, ".local", "share", "Quorrel")
        os.makedirs(data, 0o700)
        with open(os.path.join(data, "Quorrel2.plist"), "wb") as file:
            plistlib.dump([{"displayName": host, "services": [{"displayType": SMB}],
                            "sharePoints": [{"displayType": SMB, "sharePoint": share} for share in shares]}
                           for host, shares in HOSTS.items()], file, fmt=plistlib.FMT_BINARY)
        os.makedirs(os.path.join(self.folder, "bin"))
        for program in (QUORREL, QUORRELCTL):
            os.symlink(program, self.program(os.path.basename(program)))
        # However slow this machine is.
        self.script("timeout", 'shift; exec "$@"')
        with open(os.path.join(self.folder, "secret file"), "w", encoding="utf-8"):
            pass
        self.environment = {"HOME": self.folder, "PATH": os.path.join(self.folder, "bin") + ":/usr/bin:/bin",
                            "LC_ALL": "C.UTF-8", "TERM": "dumb", "FOLDER": FOLDER, "ZDOTDIR": self.folder,
                            # None of these leads anywhere.
                            "XDG_RUNTIME_DIR": os.path.join(self.folder, "run"),
                            "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent",
                            "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nonexistent",
                            **{key: os.environ[key] for key in os.environ if key.endswith("SAN_OPTIONS")}}

    def program(self, name):
        return os.path.join(self.folder, "bin", name)

    def script(self, name, text):
        with open(self.program(name), "w", encoding="utf-8") as file:
            file.write(f"#!/bin/sh\n{text}\n")
        os.chmod(self.program(name), 0o755)

    def close(self):
        shutil.rmtree(self.folder)


class Shell:
    """A shell on a terminal, that shows the words of a line after the keys in it have been pressed."""

    PREPARE = {
        "bash": (["bash", "--norc", "--noprofile", "-i"],
                 "bind 'set enable-bracketed-paste off' 'set bell-style none'; . /usr/share/bash-completion/bash_completion; "
                 "for each in quorrel quorrelctl; do . $FOLDER/$each.bash; done"),
        "zsh": (["zsh", "-f", "-i"],
                "unsetopt zle_bracketed_paste prompt_sp prompt_cr beep; zle_bracketed_paste=(); bindkey -e; "
                "fpath=($FOLDER $fpath); autoload -Uz compinit && compinit -D -u"),
    }

    def __init__(self, kind, home):
        command, prepare = self.PREPARE[kind]
        self.master, line = os.openpty()
        self.process = subprocess.Popen(command, stdin=line, stdout=line, stderr=line, env=home.environment, cwd=home.folder,
                                        start_new_session=True)
        os.close(line)
        self.screen = b""
        # The echo of a command has no word that its result has.
        self._type("PS1='re''ady>'; cd\r")
        self._until(b"ready>")
        self._type(prepare + "; show() { printf '<<%s>>' \"$@\"; echo '[''end]'; }; echo '[''end]'\r")
        self._until(b"[end]")
        self._until(b"ready>")

    def _type(self, text):
        os.write(self.master, text.encode())

    def _until(self, text):
        end = time.monotonic() + SECONDS
        while text not in self.screen:
            if not select.select([self.master], [], [], max(0, end - time.monotonic()))[0]:
                raise AssertionError(f"{text} never came: {self.screen.decode(errors='replace')}")
            self.screen += os.read(self.master, 65536)
        before, self.screen = self.screen.split(text, 1)
        return before.decode(errors="replace")

    def words(self, keys):
        """The words that the shell makes of the line once what is to complete in it has been completed."""
        self._type(keys + "\x01show \r")
        shown = self._until(b"[end]")
        self._until(b"ready>")
        return re.findall(r"<<(.*?)>>", shown.replace("\r", ""), re.DOTALL)

    def close(self):
        os.killpg(self.process.pid, signal.SIGKILL)
        self.process.wait()
        os.close(self.master)


class Completions(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.home = Home()
        cls.addClassCleanup(cls.home.close)

    def offers(self, *words):
        """What bash's function offers for the last of the words."""
        script = """
            . /usr/share/bash-completion/bash_completion
            . "$FOLDER/$1.bash"
            COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMP_LINE="$*" COMP_POINT=${#COMP_LINE} COMP_TYPE=9
            $(complete -p "$1" | sed 's/.*-F \\([^ ]*\\).*/\\1/') "$1" "${!#}" "${COMP_WORDS[COMP_CWORD - 1]}"
            ((${#COMPREPLY[@]} == 0)) || printf '%s\\n' "${COMPREPLY[@]}" """
        done = subprocess.run(["bash", "--norc", "-c", script, "bash", *words], env=self.home.environment,
                              cwd=self.home.folder, capture_output=True, text=True, timeout=SECONDS, check=False)
        self.assertEqual(done.stderr, "")
        return done.stdout.splitlines()

    def test_bash_offers_what_the_help_tells_of(self):
        options, commands = told_by(QUORRELCTL)
        self.assertLessEqual({"list", "mount", "unmount", "watch"}, commands)
        self.assertEqual(set(self.offers("quorrelctl", "")) - {"help"}, commands)
        offered = set(self.offers("quorrelctl", "-"))
        for command in commands:
            offered |= set(self.offers("quorrelctl", command, "--"))
        self.assertEqual(offered, options)
        self.assertEqual(set(self.offers("quorrel", "")), told_by(QUORREL)[0])

    def test_zsh_knows_what_the_help_tells_of(self):
        for program in (QUORREL, QUORRELCTL):
            name = os.path.basename(program)
            with open(os.path.join(FOLDER, f"_{name}"), encoding="utf-8") as file:
                text = file.read()
            options, commands = told_by(program)
            self.assertEqual(set(re.findall(r"['}\])](--[a-z][a-z-]*)", text.replace("-h,--help", ")--help"))), options)
            self.assertEqual(set(re.findall(r"^ +'([a-z]+):", text, re.MULTILINE)) - {"help"}, commands)

    def test_options_go_with_their_commands(self):
        self.assertEqual(self.offers("quorrelctl", "unmount", "--"), ["--all", "--json"])
        self.assertEqual(self.offers("quorrelctl", "list", "--"), ["--json"])
        self.assertEqual(self.offers("quorrelctl", "watch", "--"), ["--password-file"])
        self.assertEqual(self.offers("quorrelctl", "list", ""), [])
        self.assertEqual(self.offers("quorrelctl", "mount", "--json", "--p"), ["--password-file"])
        self.assertEqual(self.offers("quorrel", "--version", ""), [])

    def test_bash_offers_the_names_of_the_catalogue(self):
        names = ["nas", "nas/docs", "nas/music", "nas/my\\ photos", "nasty",
                 "nasty/it\\'s\\ \\\"q\\\"\\ \\$HOME\\ \\\\\\ \\`ls\\`\\;\\ #\\ \\*", "fe80::1", "fe80::1/über", "web"]
        self.assertEqual(self.offers("quorrelctl", "mount", ""), names)
        self.assertEqual(self.offers("quorrelctl", "mount", "nas/my\\ p"), ["nas/my\\ photos"])
        self.assertEqual(self.offers("quorrelctl", "mount", "--json", "nas/docs", "nas/d"), [])
        self.assertEqual(self.offers("quorrelctl", "mount", "--", "nas/d"), ["nas/docs"])
        self.assertEqual(self.offers("quorrelctl", "mount", "--all", "nas"), [])
        # Nothing is mounted.
        self.assertEqual(self.offers("quorrelctl", "unmount", ""), [])

    def test_a_file_is_offered_for_the_password(self):
        self.assertEqual(self.offers("quorrelctl", "mount", "--password-file", "sec"), ["secret file"])

    def test_a_program_that_hangs_is_not_waited_for(self):
        self.home = Home()
        self.addCleanup(self.home.close)
        os.unlink(self.home.program("timeout"))
        os.unlink(self.home.program("quorrelctl"))
        self.assertEqual(self.offers("quorrelctl", "mount", ""), [])
        self.home.script("quorrelctl", "exec sleep 1000")
        self.assertEqual(self.offers("quorrelctl", "mount", ""), [])

    def each_shell(self):
        for kind in Shell.PREPARE:
            with self.subTest(kind):
                shell = Shell(kind, self.home)
                try:
                    yield shell
                finally:
                    shell.close()

    def test_what_was_typed_is_completed_on_a_terminal(self):
        evil = 'nasty/it\'s "q" $HOME \\ `ls`; # *'
        for shell in self.each_shell():
            for keys, words in (
                ("quorrelctl li\t", ["list"]),
                ("quorrelctl umo\t", ["umo"]),
                ("quorrelctl unmount --j\t", ["unmount", "--json"]),
                ("quorrelctl mount nas/m\tu\t", ["mount", "nas/music"]),
                ("quorrelctl mount nas/my\t", ["mount", "nas/my photos"]),
                ("quorrelctl mount nas/my\\ p\t", ["mount", "nas/my photos"]),
                ("quorrelctl mount 'nas/my\t", ["mount", "nas/my photos"]),
                ("quorrelctl mount \"nas/my p\t", ["mount", "nas/my photos"]),
                ("quorrelctl mount nasty/\t", ["mount", evil]),
                ("quorrelctl mount \"nasty/\t", ["mount", evil]),
                ("quorrelctl mount --json fe80::1/\t", ["mount", "--json", "fe80::1/über"]),
                ("quorrelctl mount fe\t/\t", ["mount", "fe80::1/über"]),
                ("quorrelctl mount nas/docs web\t", ["mount", "nas/docs", "web"]),
                ("quorrelctl mount nas/music nas/m\t", ["mount", "nas/music", "nas/my photos"]),
                ("quorrelctl unmount w\t", ["unmount", "w"]),
                ("quorrelctl watch --password-file sec\t", ["watch", "--password-file", "secret file"]),
            ):
                self.assertEqual(shell.words(keys), ["quorrelctl", *words], keys)
            self.assertEqual(shell.words("quorrel --ver\t"), ["quorrel", "--version"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
