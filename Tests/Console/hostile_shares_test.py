# SPDX-License-Identifier: GPL-3.0-or-later
"""hostile_shares_test.py PROGRAM: shares and folders of real servers whose names are no words.

Runs in the test bed's own network with the servers smb and dav."""

import json
import os
import plistlib
import re
import subprocess
import sys
import unittest

import console_bed
from console_bed import DAV, DAV_HOST, LOG, PASSWORD, SMB, SMB_HOST, USER, VOLUMES, catalogue, run, share, states

STAMP = "2026-11-21 10:11:12.345 Quorrel[1:1] "
MARKER = "Mr. X"  # in every name, so that what becomes of it is found

# Each is a folder, and a share where the server can have one of that name.
FOLDERS = [
    f"-rf {MARKER}",
    f"--{MARKER}",
    f"\"'`$(touch {MARKER});|&<>*?[]{{}}\\",
    f"%n%s%@%d {MARKER}",
    f"%2F..%2F{MARKER}",
    f"%2e%2e%2f{MARKER}",
    f"..{MARKER}",
    f"...  {MARKER} ..",
    f"{MARKER} gnp.\u202eexe\u2066",
    f"{MARKER}\n{STAMP}Forged.",
    f"{MARKER}\x1b[2J\x1b]0;t\x07\r\x08\tb",
    f"  {MARKER}  ",
    f"a&b_c&&__{MARKER}&_",
    f"user:secret@host:1 {MARKER}?x#y",
    f"<h1>{MARKER}<!--&lt;&#10;",
    f"{MARKER} {'x' * 200}",
]
SHARES = [
    f"-rf {MARKER}",
    f"--{MARKER}",
    f"'`$(touch {MARKER})&[{{}}",
    f"..{MARKER}",
    f"{MARKER} gnp.\u202eexe\u2066",
    f"a&b_c&&__{MARKER}&_",
    f"user@host {MARKER}#y",
    f"{MARKER} {'x' * 60}",
]
# There is nothing of these names; they lead out of the share, or would do so if somebody took the escapes away.
WAYS_OUT = ["..", "../../../../tmp", f"{MARKER}/../../..", "%2e%2e", "..%2f..", "/..", ".\n./.."]
NOT_FOUND = "File or directory not found; incomplete pathname."
REFUSED_BY_WINDOWS = re.compile('[\x00-\x1f"*:<>?\\\\|]')
CONTROLS = re.compile("[\x00-\x09\x0b-\x1f\x7f-\x9f\u2028\u2029\u202a-\u202e\u2066-\u2069]")
LINE = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} Quorrel\[(\d+):\d+\] ")


def furnish(folder, name):
    """A folder of that name, with a file that tells which one it is."""
    place = os.path.join(folder, name)
    os.mkdir(place, 0o777)
    os.chmod(place, 0o777)
    with open(os.path.join(place, "told.json"), "w", encoding="utf-8") as file:
        json.dump(name, file)
    os.chmod(os.path.join(place, "told.json"), 0o666)
    return place


def serve_shares():
    """Has smbd serve the shares as well."""
    lines = []
    for number, name in enumerate(SHARES):
        place = furnish(os.environ["QTB_SMB_ROOT"], f"hostile-{number}")
        with open(os.path.join(place, "told.json"), "w", encoding="utf-8") as file:
            json.dump(name, file)
        lines += [f"[{name}]", f"  path = {place}", "  guest ok = yes", "  read only = no"]
    configuration = os.path.join(os.environ["QTB_DIR"], "smb", "smb.conf")
    with open(configuration, "a", encoding="utf-8") as file:
        file.write("\n".join(lines) + "\n")
    testbed = os.path.join(console_bed.HERE, "..", "..", "scripts", "testbed")
    subprocess.run([testbed, "restart", "smb"], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, timeout=120,
                   check=True)


class HostileSharesTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        serve_shares()
        for folder in ("QTB_SMB_PUB", "QTB_DAV_ROOT"):
            for name in FOLDERS:
                furnish(os.environ[folder], name)
        path = os.path.join(os.environ["XDG_CONFIG_HOME"], "Quorrel", "Quorrel.conf")
        os.makedirs(os.path.dirname(path), 0o700, exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write("[Flags]\nlogToConsole=true\n")

    def tearDown(self):
        done = run("unmount", "--all")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertFalse(os.path.lexists(VOLUMES))
        self.assertEqual(self.marked_files(), [])

    @staticmethod
    def marked_files():
        """What was made of a name outside the servers' folders and ~/Volumes."""
        found = []
        for place in (os.environ["HOME"], os.environ["TMPDIR"], os.getcwd()):
            for folder, folders, files in os.walk(place):
                if folder == os.environ["HOME"]:
                    folders[:] = [each for each in folders if each != "Volumes"]
                found += [os.path.join(folder, each) for each in folders + files if MARKER in each]
        return found

    def mounted(self, hosts):
        """Mounts all, looks at links, log and output; the rows by share, and the files found below the links."""
        catalogue(hosts, plistlib.FMT_BINARY)
        done = run("mount", "--all", "--json")
        self.assertIn(done.returncode, (0, 1), done.stderr)
        self.assertIsNone(CONTROLS.search(done.stdout + done.stderr), done.stdout + done.stderr)
        rows = {each["share"]: each for each in json.loads(done.stdout)}
        self.assertEqual(set(rows), {each["sharePoint"] for shares in hosts.values() for _, each in shares})
        told = {}
        for name, row in rows.items():
            # Mounted, or said why not.
            self.assertEqual(row["status"] == "Online", row["error"] is None, row)
            self.assertEqual(row["status"] == "Online", row["mounted"], row)
            if row["status"] == "Online":
                self.assertEqual(os.path.dirname(row["path"]), VOLUMES, row)
                self.assertIsNone(CONTROLS.search(os.path.basename(row["path"])), row)
                with open(os.path.join(row["path"], "told.json"), encoding="utf-8") as file:
                    told[name] = json.load(file)
        links = os.listdir(VOLUMES) if os.path.lexists(VOLUMES) else []
        self.assertEqual(len(links), len(told))
        for link in links:
            target = os.readlink(os.path.join(VOLUMES, link))
            self.assertTrue(target.startswith(os.path.join(os.environ["XDG_RUNTIME_DIR"], "gvfs") + "/"), target)
            self.assertFalse({"..", "."} & set(target.split("/")), target)
        self.check_log()
        for arguments in (["list"], ["list", "--json"]):
            done = run(*arguments)
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assertIsNone(CONTROLS.search(done.stdout), done.stdout)
        self.assertEqual(len(run("list").stdout.splitlines()), 1 + len(rows))
        done = run("unmount", "--all", "--json")
        self.assertEqual((done.returncode, set(states(done).values())), (0, {"Offline"}), done.stdout)
        self.assertFalse(os.path.lexists(VOLUMES))
        return rows, told

    def check_log(self):
        with open(LOG, "rb") as file:
            text = file.read().decode()  # no byte of it is anything but UTF-8
        self.assertIsNone(CONTROLS.search(text), text)
        for line in text.splitlines():
            found = LINE.match(line)
            self.assertTrue(not found or found[1] != "1", f"forged: {line!r}")
        self.assertNotIn(PASSWORD, text)

    def test_folders_of_a_web_server(self):
        rows, told = self.mounted({DAV_HOST: [share(DAV, name, userName=USER, password=PASSWORD) for name in FOLDERS]})
        for name in FOLDERS:
            if any(letter < " " for letter in name):  # XML, in which such servers answer, has no place for these
                self.assertEqual((rows[name]["status"], rows[name]["error"]), ("Offline", NOT_FOUND), name)
            else:
                self.assertEqual(told[name], name, rows[name])

    def test_folders_of_a_windows_server(self):
        rows, told = self.mounted({SMB_HOST: [share(SMB, f"pub/{name}", guestLogin=True) for name in FOLDERS]})
        for name in FOLDERS:
            if REFUSED_BY_WINDOWS.search(name):
                row = rows[f"pub/{name}"]
                self.assertEqual((row["status"], row["error"]), ("Offline", NOT_FOUND), name)
            else:
                self.assertEqual(told[f"pub/{name}"], name, rows[f"pub/{name}"])

    def test_a_name_that_the_server_does_not_take_leaves_the_others_their_files(self):
        names = ["folder"] + [name for name in FOLDERS if REFUSED_BY_WINDOWS.search(name)]
        catalogue({SMB_HOST: [share(SMB, f"pub/{name}", guestLogin=True) for name in names]}, plistlib.FMT_BINARY)
        self.assertEqual(run("mount", f"{SMB_HOST}/pub/folder").returncode, 0)
        with open(os.path.join(VOLUMES, "folder", "hello.txt"), encoding="utf-8") as file:
            done = run("mount", "--all", "--json")
            self.assertEqual(file.read(), "Hello from pub/folder\n")
        rows = {each["share"]: each for each in json.loads(done.stdout)}
        self.assertEqual(rows.pop("pub/folder")["status"], "Online")
        self.assertEqual(len(rows), len(names) - 1)
        self.assertEqual({(row["status"], row["error"]) for row in rows.values()}, {("Offline", NOT_FOUND)}, rows)
        self.check_log()

    def test_a_name_that_the_server_does_not_take_is_not_found_without_another_mount(self):
        # The share's own name, too, and names that are too long.
        names = [f"pub/{name}" for name in FOLDERS if REFUSED_BY_WINDOWS.search(name)]
        names += [f"pub/{MARKER} {'x' * 300}", f"{MARKER}*:?", f"{MARKER}|/folder", f"{MARKER} {'x' * 300}"]
        for name in names:
            with self.subTest(name):
                catalogue({SMB_HOST: [share(SMB, name, guestLogin=True)]}, plistlib.FMT_BINARY)
                rows = json.loads(run("mount", "--all", "--json").stdout)
                self.assertEqual([(row["status"], row["error"]) for row in rows], [("Offline", NOT_FOUND)], rows)
        self.check_log()

    def test_shares_of_a_windows_server(self):
        rows, told = self.mounted({SMB_HOST: [share(SMB, name, guestLogin=True) for name in SHARES]})
        for name in SHARES:
            self.assertEqual(told[name], name, rows[name])

    def test_nothing_leads_out_of_a_share(self):
        rows, _ = self.mounted({
            DAV_HOST: [share(DAV, name, userName=USER, password=PASSWORD) for name in WAYS_OUT],
            SMB_HOST: [share(SMB, f"pub/{name}", guestLogin=True) for name in WAYS_OUT]})
        self.assertEqual({(row["status"], row["error"]) for row in rows.values()}, {("Offline", NOT_FOUND)}, rows)


if __name__ == "__main__":
    console_bed.PROGRAM = os.path.realpath(sys.argv.pop(1))
    unittest.main(verbosity=2)
