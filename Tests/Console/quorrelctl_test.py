# SPDX-License-Identifier: GPL-3.0-or-later
"""quorrelctl as people use it, among real servers: quorrelctl_test.py PROGRAM [TEST...], run in the test bed's own
network with the servers smb, dav and ftp."""

import json
import os
import plistlib
import signal
import socket
import subprocess
import sys
import time
import unittest

import console_bed
from console_bed import (DATA, DAV, DAV_HOST, FTP, FTP_HOST, LOG, PASSWORD, PASSWORD_FILE, SILENT_HOST, SMB, SMB_HOST,
                         USER, VOLUMES, Terminal, catalogue, hung_request, run, share, states)


class QuorrelctlTest(unittest.TestCase):
    def tearDown(self):
        done = run("unmount", "--all")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertFalse(os.path.lexists(VOLUMES))
        if os.path.exists(LOG):
            with open(LOG, encoding="utf-8") as log:
                self.assertNotIn(PASSWORD, log.read())

    def test_a_later_process_lists_and_unmounts_what_was_mounted(self):
        catalogue({SMB_HOST: [share(SMB, "Mixed Case", guestLogin=True), share(SMB, "pub", guestLogin=True)],
                   DAV_HOST: [share(DAV, "folder", userName=USER, password=PASSWORD)],
                   FTP_HOST: [share(FTP, "", userName=USER, password=PASSWORD)]})
        done = run("mount", "--all")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertEqual(done.stderr, "")
        self.assertIn(f"{SMB_HOST}/Mixed Case: Mounting\n", done.stdout)
        self.assertIn(f"{SMB_HOST}/Mixed Case: Online\n", done.stdout)
        self.assertRegex(done.stdout, f"{SMB_HOST} +Mixed Case +smb +Online +~/Volumes/Mixed Case\n")
        with open(os.path.join(VOLUMES, "Mixed Case", "hello.txt"), encoding="utf-8") as file:
            self.assertEqual(file.read().strip(), "Hello from Mixed Case")

        listed = json.loads(run("list", "--json").stdout)
        self.assertEqual({each["status"] for each in listed}, {"Online"})
        for each in listed:
            self.assertEqual(set(each), {"host", "share", "service", "status", "mounted", "path", "error"})
            self.assertTrue(os.path.exists(os.path.join(each["path"], "hello.txt")), each)

        done = run("unmount", f"{SMB_HOST}/pub", "--json")
        self.assertEqual((done.returncode, states(done)), (0, {(SMB_HOST, "pub"): "Offline"}))
        self.assertEqual(states(run("list", "--json")), {
            (SMB_HOST, "Mixed Case"): "Online", (SMB_HOST, "pub"): "Offline", (DAV_HOST, "folder"): "Online",
            (FTP_HOST, ""): "Online"})

    def test_mounting_what_is_mounted_succeeds(self):
        catalogue({SMB_HOST: [share(SMB, "pub", guestLogin=True)]})
        for _ in range(2):
            done = run("mount", SMB_HOST, "--json")
            self.assertEqual((done.returncode, states(done)), (0, {(SMB_HOST, "pub"): "Online"}), done.stderr)
        self.assertEqual(os.listdir(VOLUMES), ["pub"])

    def test_some_that_fail_give_one_and_say_why(self):
        catalogue({SMB_HOST: [share(SMB, "pub", guestLogin=True),
                              share(SMB, "priv", userName=USER, password="not the one")]})
        done = run("mount", "--all", "--json")
        self.assertEqual(done.returncode, 1)
        self.assertEqual(states(done), {(SMB_HOST, "pub"): "Online", (SMB_HOST, "priv"): "Offline"})
        self.assertEqual([each["error"] is None for each in json.loads(done.stdout)], [True, False])
        self.assertEqual(done.stderr, "")

    def test_wrong_usage_gives_two_and_one_line(self):
        catalogue({SMB_HOST: [share(SMB, "pub", guestLogin=True)]})
        for arguments, said in ((["mount"], "--all, HOST or HOST/SHARE"), (["mout"], "list, mount, unmount and watch"),
                                (["mount", f"{SMB_HOST}/pbu"], f'did you mean "{SMB_HOST}/pub"?'),
                                (["mount", "--all", "--password", PASSWORD], "--password-file FILE")):
            done = run(*arguments)
            self.assertEqual((done.returncode, done.stdout, done.stderr.count("\n")), (2, "", 1), done.stderr)
            self.assertIn(said, done.stderr)
            self.assertNotIn(PASSWORD, done.stderr)

    def test_a_volume_in_use_stays_online(self):
        catalogue({SMB_HOST: [share(SMB, "pub", guestLogin=True)]})
        self.assertEqual(run("mount", "--all").returncode, 0)
        with open(os.path.join(VOLUMES, "pub", "hello.txt"), "rb"):
            done = run("unmount", "--all", "--json")
            self.assertEqual((done.returncode, states(done)), (1, {(SMB_HOST, "pub"): "Online"}))
            self.assertTrue(json.loads(done.stdout)[0]["error"])

    def test_the_password_comes_from_a_file_of_ones_own(self):
        catalogue({SMB_HOST: [share(SMB, "priv", userName=USER, passwordPrompt=True)]})
        done = run("mount", "--all", "--password-file", PASSWORD_FILE)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertNotIn(PASSWORD, done.stdout + done.stderr)
        readable = os.path.join(os.environ["QTB_DIR"], "readable")
        with open(readable, "w", encoding="utf-8") as file:
            file.write(PASSWORD)
        os.chmod(readable, 0o644)
        done = run("mount", "--all", "--password-file", readable)
        self.assertEqual(done.returncode, 2)
        self.assertIn("can be read by others", done.stderr)
        os.unlink(readable)

    def test_without_a_terminal_a_wanted_password_is_missed_aloud(self):
        catalogue({SMB_HOST: [share(SMB, "priv", userName=USER, passwordPrompt=True)]})
        done = run("mount", "--all")
        self.assertEqual(done.returncode, 1)
        self.assertIn("no terminal to ask on", done.stderr)

    def test_the_terminal_asks_without_showing_what_is_typed(self):
        catalogue({SMB_HOST: [share(SMB, "priv", userName=USER, passwordPrompt=True),
                              share(SMB, "pub", guestLogin=True)]})
        terminal = Terminal("mount", "--all")
        self.assertTrue(terminal.until(f"for {SMB_HOST}/priv: ".encode()), terminal.screen)
        self.assertFalse(terminal.echoes())
        os.write(terminal.master, PASSWORD.encode() + b"\r")
        self.assertTrue(terminal.until(b"ERROR"), terminal.screen)
        self.assertEqual(terminal.end(), 0, terminal.screen)
        self.assertNotIn(PASSWORD.encode(), terminal.screen)
        self.assertIn(b"\x1b[2A", terminal.screen)  # two lines, rewritten in place

    def test_ctrl_c_at_the_prompt_gives_the_terminal_back(self):
        catalogue({SMB_HOST: [share(SMB, "priv", userName=USER, passwordPrompt=True)]})
        terminal = Terminal("mount", "--all")
        self.assertTrue(terminal.until(b"priv: "), terminal.screen)
        begin = time.monotonic()
        os.write(terminal.master, b"\x03")
        self.assertTrue(terminal.until(b"quorrelctl: interrupted"), terminal.screen)
        self.assertLess(time.monotonic() - begin, console_bed.PROMPTNESS)
        self.assertTrue(terminal.echoes())
        self.assertEqual(terminal.end(), 130)

    def test_signals_end_it_within_a_second_whatever_hangs(self):
        catalogue({SILENT_HOST: [share(DAV, f"s{number}", userName=USER, password=PASSWORD) for number in range(6)],
                   SMB_HOST: [share(SMB, "pub", guestLogin=True)]})
        for number, code in ((signal.SIGINT, 130), (signal.SIGTERM, 143), (signal.SIGHUP, 129)):
            # A new server for each: what the program before left in its queue would look like the next one's call.
            with socket.create_server((SILENT_HOST, 80)) as server, \
                    subprocess.Popen([console_bed.PROGRAM, "mount", "--all"], stdin=subprocess.DEVNULL,
                                     stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, start_new_session=True) as process:
                server.settimeout(20)
                held = hung_request(server)
                begin = time.monotonic()
                process.send_signal(number)
                _, said = process.communicate(timeout=20)
                took = time.monotonic() - begin
                held.close()
            self.assertEqual(process.returncode, code, said)
            self.assertLess(took, console_bed.PROMPTNESS)
            self.assertIn("quorrelctl: ", said)

    def test_ctrl_c_ends_a_hung_mount_within_a_second(self):
        catalogue({SILENT_HOST: [share(DAV, "s", userName=USER, password=PASSWORD)]})
        with socket.create_server((SILENT_HOST, 80)) as server:
            server.settimeout(20)
            terminal = Terminal("mount", "--all")
            held = hung_request(server)
            begin = time.monotonic()
            os.write(terminal.master, b"\x03")
            self.assertTrue(terminal.until(b"quorrelctl: interrupted"), terminal.screen)
            self.assertEqual(terminal.end(), 130)
            self.assertLess(time.monotonic() - begin, console_bed.PROMPTNESS)
            held.close()

    def test_closed_standard_streams_do_no_harm(self):
        catalogue({SMB_HOST: [share(SMB, "pub", guestLogin=True)]})
        path = os.path.join(DATA, "Quorrel2.plist")
        with open(path, "rb") as file:
            before = file.read()
        for closed in ("<&-", ">&-", "2>&-", "<&- >&- 2>&-"):
            done = subprocess.run(["sh", "-c", f'exec "$1" mount --all {closed}', "sh", console_bed.PROGRAM],
                                  capture_output=True, timeout=60, check=False, start_new_session=True)
            self.assertEqual(done.returncode, 0, closed)
        with open(path, "rb") as file:
            self.assertEqual(file.read(), before)

    def test_a_reader_that_goes_away_does_not_end_the_mounts(self):
        catalogue({SMB_HOST: [share(SMB, f"s{number:02}", guestLogin=True) for number in range(1, 9)]})
        with subprocess.Popen([console_bed.PROGRAM, "mount", "--all"], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, start_new_session=True) as process:
            process.stdout.close()
            self.assertEqual(process.wait(timeout=60), 0)
        self.assertEqual(set(states(run("list", "--json")).values()), {"Online"})

    def test_two_hosts_of_one_name_are_both_served(self):
        catalogue({SMB_HOST: [share(SMB, "pub", guestLogin=True)]})
        path = os.path.join(DATA, "Quorrel2.plist")
        with open(path, "rb") as file:
            hosts = plistlib.load(file)
        second = plistlib.loads(plistlib.dumps(hosts[0]))
        second["sharePoints"][0]["sharePoint"] = "s01"
        with open(path, "wb") as file:
            plistlib.dump([*hosts, second], file)
        done = run("mount", SMB_HOST, "--json")
        self.assertEqual(states(done), {(SMB_HOST, "pub"): "Online", (SMB_HOST, "s01"): "Online"})


if __name__ == "__main__":
    console_bed.PROGRAM = os.path.realpath(sys.argv.pop(1))
    unittest.main(verbosity=2)
