# SPDX-License-Identifier: GPL-3.0-or-later
"""quorrelctl watch among real servers: keeper_test.py PROGRAM [TEST...], run in the test bed's own network with the
servers smb, avahi, and dns, which knows the names Cellar and Den for the SMB server."""

import collections
import contextlib
import os
import plistlib
import signal
import socket
import subprocess
import sys
import time
import unittest

import console_bed
from console_bed import (DATA, DAV, LOG, PASSWORD, PASSWORD_FILE, SILENT_HOST, SMB, SMB_HOST, USER, VOLUMES, Terminal,
                         await_, catalogue, hung_request, run, share, states)
from testbed_lib import sanitizers

CATALOGUE = os.path.join(DATA, "Quorrel2.plist")
PREFERENCES = os.path.join(os.environ["XDG_CONFIG_HOME"], "Quorrel", "Quorrel.conf")
LOCK = os.path.join(os.environ["XDG_RUNTIME_DIR"], "Quorrel.lock")
SERVICES = "/etc/avahi/services"  # the bed's own
# The bed announces the SMB server under this name.
CELLAR = os.environ["QTB_AVAHI_SMB"]
# No network but loopback: this is a host that can be reached.
REACHABLE = "127.0.0.1"
NOWHERE = "192.0.2.1"


def preferences(flags, texts=None):
    """Puts a whole new file in place, as an editor does."""
    os.makedirs(os.path.dirname(PREFERENCES), 0o700, exist_ok=True)
    lines = ["[Flags]"] + [f"{key}={str(value).lower()}" for key, value in flags.items()]
    lines += ["", "[Texts]"] + [f"{key}={value}" for key, value in (texts or {}).items()]
    with open(PREFERENCES + ".new", "w", encoding="utf-8") as file:
        file.write("\n".join(lines) + "\n")
    os.rename(PREFERENCES + ".new", PREFERENCES)


def quiet_preferences(**flags):
    """Nothing is scanned for, and no host that can be reached mounts everything."""
    preferences({"BrowseForServices": True, "smb": True, "logToConsole": True, "scanForSMBHosts": False, **flags},
                {"monitorConnectivityHost": NOWHERE})


class Announcement:
    """One more SMB server on the network, while it is entered; with a model, it tells that too."""

    stamp = 1_000_000_000

    def __init__(self, name, model=None):
        more = ("<service><type>_device-info._tcp</type><port>0</port>"
                f"<txt-record>model={model}</txt-record></service>" if model else "")
        self.path = os.path.join(SERVICES, name.lower() + ".service")
        self.text = ('<?xml version="1.0" standalone="no"?>\n<!DOCTYPE service-group SYSTEM "avahi-service.dtd">\n'
                     f"<service-group><name>{name}</name><service><type>_smb._tcp</type>"
                     f"<host-name>cellar.local</host-name><port>445</port></service>{more}</service-group>\n")

    def __enter__(self):
        # A file that takes another's place within the same second would count as that one still.
        Announcement.stamp += 1
        with open(self.path + ".new", "w", encoding="utf-8") as file:
            file.write(self.text)
        os.utime(self.path + ".new", (Announcement.stamp, Announcement.stamp))
        os.rename(self.path + ".new", self.path)
        return self

    def __exit__(self, *_):
        if os.path.exists(self.path):  # another model's announcement may have taken its place and gone
            os.unlink(self.path)


class Keeper:
    """quorrelctl watch, with all that it prints."""

    def __init__(self, *arguments, program=None, environment=None):
        folder = os.environ["QTB_DIR"]
        self.names = [os.path.join(folder, name) for name in ("keeper.out", "keeper.err")]
        self.streams = [open(name, "w+", encoding="utf-8") for name in self.names]  # pylint: disable=consider-using-with
        self.manager = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.manager.bind("")  # a name of the kernel's choice
        self.manager.settimeout(60)
        address = self.manager.getsockname()
        self.process = subprocess.Popen(  # pylint: disable=consider-using-with
            [program or console_bed.PROGRAM, "watch", *arguments], stdin=subprocess.DEVNULL, stdout=self.streams[0],
            stderr=self.streams[1], start_new_session=True,
            env={**os.environ, "NOTIFY_SOCKET": "@" + address[1:].decode(), **(environment or {})})

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait(timeout=20)
        self.manager.close()
        for stream in self.streams:
            stream.close()

    def told(self):
        return self.manager.recv(4096).decode().split("\n")[0]

    def ready(self):
        told = self.told()
        assert told == "READY=1", f"{told}; {self.errors()}"
        return self

    def output(self):
        with open(self.names[0], encoding="utf-8") as file:
            return file.read()

    def errors(self):
        with open(self.names[1], encoding="utf-8") as file:
            return file.read()

    def prints(self, line, times=1):
        await_(lambda: self.output().count(line + "\n") >= times, lambda: f"no {line}: {self.output()}{self.errors()}")

    def end(self, number=signal.SIGTERM):
        """Exit status and seconds."""
        begin = time.monotonic()
        self.process.send_signal(number)
        return self.process.wait(timeout=20), time.monotonic() - begin

    def of_process(self, what):
        return f"/proc/{self.process.pid}/{what}"

    def descriptors(self):
        kinds = collections.Counter()
        for each in os.listdir(self.of_process("fd")):
            with contextlib.suppress(FileNotFoundError):  # closed meanwhile
                kinds[os.readlink(self.of_process(f"fd/{each}")).split(":")[0]] += 1
        return kinds

    def switches(self):
        """How often its threads went to sleep, which is how often they were woken; by thread."""
        counts = {}
        for thread in os.listdir(self.of_process("task")):
            with open(self.of_process(f"task/{thread}/status"), encoding="utf-8") as file:
                status = dict(line.split(":", 1) for line in file.read().splitlines())
            if status["SigBlk"].strip() == sanitizers.OWN_THREAD:
                continue
            counts[thread] = int(status["voluntary_ctxt_switches"]) + int(status["nonvoluntary_ctxt_switches"])
        return counts


def logged():
    with open(LOG, encoding="utf-8") as file:
        return file.read()


class KeeperTest(unittest.TestCase):
    def setUp(self):
        quiet_preferences()

    def tearDown(self):
        done = run("unmount", "--all")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertFalse(os.path.lexists(VOLUMES))
        if os.path.exists(LOG):
            self.assertNotIn(PASSWORD, logged())

    def assert_ends(self, keeper, number=signal.SIGTERM):
        status, seconds = keeper.end(number)
        self.assertEqual(status, 0, keeper.errors())
        self.assertLess(seconds, console_bed.PROMPTNESS)

    def test_it_mounts_when_the_server_appears_and_leaves_mounted_what_is(self):
        catalogue({"Den": [share(SMB, "pub", guestLogin=True), share(SMB, "priv", userName=USER, password=PASSWORD)]})
        with Keeper() as keeper:
            keeper.ready()
            self.assertEqual(keeper.output(), "")
            begin = time.monotonic()
            with Announcement("Den"):
                keeper.prints("Den/pub: Online")
                keeper.prints("Den/priv: Online")
                print(f"from the announcement to Online: {time.monotonic() - begin:.2f} s")
                self.assertIn("Den/pub: Mounting\n", keeper.output())
                self.assert_ends(keeper)
            self.assertEqual(keeper.errors(), "")
            self.assertEqual(keeper.told(), "STOPPING=1")
        self.assertEqual(states(run("list", "--json")), {("Den", "pub"): "Online", ("Den", "priv"): "Online"})

    def test_the_next_one_finds_what_is_mounted(self):
        catalogue({SMB_HOST: [share(SMB, "pub", guestLogin=True)]})
        self.assertEqual(run("mount", "--all").returncode, 0)
        with Keeper() as keeper:
            keeper.ready().prints(f"{SMB_HOST}/pub: Online")
            self.assert_ends(keeper, signal.SIGINT)

    def test_it_ends_within_a_second_whatever_hangs(self):
        catalogue({SILENT_HOST: [share(DAV, f"s{number}", userName=USER, password=PASSWORD) for number in range(6)]})
        preferences({"BrowseForServices": False, "scanForSMBHosts": False, "logToConsole": True},
                    {"monitorConnectivityHost": REACHABLE})
        with socket.create_server((SILENT_HOST, 80)) as server, Keeper() as keeper:
            server.settimeout(20)
            keeper.ready()
            held = hung_request(server)
            self.assert_ends(keeper)
            held.close()

    def test_a_second_one_is_refused_and_commands_are_not(self):
        catalogue({SMB_HOST: [share(SMB, "pub", guestLogin=True)]})
        with Keeper() as keeper:
            keeper.ready()
            with open(LOCK, encoding="utf-8") as file:
                self.assertEqual(int(file.read()), keeper.process.pid)
            done = run("watch")
            self.assertEqual((done.returncode, done.stdout), (1, ""))
            self.assertEqual(done.stderr, f"quorrelctl: Quorrel is running already, as process {keeper.process.pid}\n")
            self.assertEqual(run("mount", "--all").returncode, 0)
            keeper.prints(f"{SMB_HOST}/pub: Online")
            self.assertEqual(run("unmount", "--all").returncode, 0)
            keeper.prints(f"{SMB_HOST}/pub: Offline")
            keeper.process.kill()
            keeper.process.wait(timeout=20)
        with Keeper() as keeper:
            keeper.ready()
            self.assert_ends(keeper)

    def test_a_broken_catalogue_ends_it_and_nothing_is_touched(self):
        catalogue({})
        with open(CATALOGUE, "w", encoding="utf-8") as file:
            file.write("no property list")
        with open(PREFERENCES, encoding="utf-8") as file:
            before = file.read()
        done = run("watch")
        self.assertEqual(done.returncode, 1)
        self.assertIn("cannot be read", done.stderr)
        with open(CATALOGUE, encoding="utf-8") as file:
            self.assertEqual(file.read(), "no property list")
        with open(PREFERENCES, encoding="utf-8") as file:
            self.assertEqual(file.read(), before)
        os.unlink(CATALOGUE)

    def test_switched_preferences_act_at_once(self):
        catalogue({CELLAR: [share(SMB, "pub", guestLogin=True)]})
        quiet_preferences(BrowseForServices=False)
        with Keeper() as keeper:
            keeper.ready()
            quiet_preferences(BrowseForServices=True)
            keeper.prints(f"{CELLAR}/pub: Online")
            self.assert_ends(keeper)

    def test_a_hang_up_reads_catalogue_and_preferences_anew(self):
        catalogue({SMB_HOST: [share(SMB, "pub", guestLogin=True)]})
        self.assertEqual(run("mount", "--all").returncode, 0)
        with Keeper() as keeper:
            keeper.ready().prints(f"{SMB_HOST}/pub: Online")
            before = keeper.descriptors()
            for time_over in range(2, 6):
                keeper.process.send_signal(signal.SIGHUP)
                self.assertEqual(keeper.told(), "RELOADING=1")
                keeper.ready().prints(f"{SMB_HOST}/pub: Online", time_over)
            # Not all at once: a connection to gvfs may still be closing, now and before.
            await_(lambda: not keeper.descriptors() - before, lambda: f"{keeper.descriptors()} after {before}")
            with open(LOCK, encoding="utf-8") as file:
                self.assertEqual(int(file.read()), keeper.process.pid)
            catalogue({SMB_HOST: [share(SMB, "pub", guestLogin=True)],
                       CELLAR: [share(SMB, "Mixed Case", guestLogin=True)]})
            keeper.process.send_signal(signal.SIGHUP)
            keeper.prints(f"{CELLAR}/Mixed Case: Online")
            with open(keeper.of_process("comm"), encoding="utf-8") as file:
                self.assertEqual(file.read(), "quorrelctl\n")
            self.assert_ends(keeper)

    def test_hang_ups_in_a_row_and_an_end_in_between_are_neither_lost_nor_deadly(self):
        catalogue({SMB_HOST: [share(SMB, "pub", guestLogin=True)]})
        for pause in range(0, 40, 2):
            with Keeper() as keeper:
                keeper.ready()
                for _ in range(3):
                    keeper.process.send_signal(signal.SIGHUP)
                    time.sleep(pause / 1000)  # any moment of a reload may be hit
                self.assertIsNone(keeper.process.poll())
                self.assert_ends(keeper)

    def test_a_broken_catalogue_at_a_reload_leaves_everything_as_it_was(self):
        catalogue({"Den": [share(SMB, "pub", guestLogin=True)]})
        with Keeper() as keeper:
            keeper.ready()
            with open(CATALOGUE, "w", encoding="utf-8") as file:
                file.write("no property list")
            keeper.process.send_signal(signal.SIGHUP)
            self.assertEqual(keeper.told(), "RELOADING=1")
            keeper.ready()
            self.assertIn("everything stays as it was\n", keeper.errors())
            with Announcement("Den"):
                keeper.prints("Den/pub: Online")
                self.assert_ends(keeper)
        with open(CATALOGUE, encoding="utf-8") as file:
            self.assertEqual(file.read(), "no property list")
        catalogue({"Den": [share(SMB, "pub", guestLogin=True)]})

    def test_a_hang_up_on_a_terminal_ends_it(self):
        catalogue({SMB_HOST: [share(SMB, "pub", guestLogin=True)]})
        self.assertEqual(run("mount", "--all").returncode, 0)
        terminal = Terminal("watch")
        self.assertTrue(terminal.until(f"{SMB_HOST}/pub: Online".encode()), terminal.screen)
        os.kill(terminal.process, signal.SIGHUP)
        self.assertEqual(terminal.end(), 0)

    def test_it_asks_nobody_for_a_password(self):
        catalogue({SMB_HOST: [share(SMB, "priv", userName=USER, passwordPrompt=True)]})
        preferences({"BrowseForServices": False, "scanForSMBHosts": False, "logToConsole": True},
                    {"monitorConnectivityHost": REACHABLE})
        with Keeper() as keeper:
            keeper.ready()
            await_(lambda: "wants a password, and watch asks nobody" in keeper.errors(), keeper.errors)
            await_(lambda: f"{SMB_HOST}/priv: Offline: " in keeper.output(), keeper.output)
            self.assert_ends(keeper)
        with Keeper("--password-file", PASSWORD_FILE) as keeper:
            keeper.ready().prints(f"{SMB_HOST}/priv: Online")
            self.assert_ends(keeper)
            self.assertEqual(keeper.errors(), "")

    def test_a_reader_that_goes_away_does_it_no_harm(self):
        catalogue({SMB_HOST: [share(SMB, "pub", guestLogin=True)]})
        self.assertEqual(run("mount", "--all").returncode, 0)
        with subprocess.Popen([console_bed.PROGRAM, "watch"], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, start_new_session=True) as process:
            self.assertEqual(process.stdout.readline(), f"{SMB_HOST}/pub: Online\n".encode())
            process.stdout.close()
            self.assertEqual(run("unmount", "--all").returncode, 0)
            self.assertEqual(run("mount", "--all").returncode, 0)
            self.assertIsNone(process.poll())
            process.terminate()
            self.assertEqual(process.wait(timeout=20), 0)

    def test_a_reader_that_stalls_does_not_keep_it_from_keeping(self):
        catalogue({CELLAR: [share(SMB, "pub", guestLogin=True)], "Den": [share(SMB, "Mixed Case", guestLogin=True)]})
        reader, writer = os.pipe()
        os.set_blocking(writer, False)
        filled = 0
        try:
            while True:
                filled += os.write(writer, b"." * 4096)
        except BlockingIOError:
            os.set_blocking(writer, True)
        with subprocess.Popen([console_bed.PROGRAM, "watch"], stdin=subprocess.DEVNULL, stdout=writer,
                              stderr=subprocess.DEVNULL, start_new_session=True) as process:
            os.close(writer)
            try:
                await_(lambda: states(run("list", "--json"))[(CELLAR, "pub")] == "Online", "it does not mount")
                with Announcement("Den"):
                    await_(lambda: states(run("list", "--json"))[("Den", "Mixed Case")] == "Online", "it has halted")
                with open(reader, encoding="utf-8") as stream:
                    self.assertEqual(len(stream.read(filled)), filled)
                    process.terminate()
                    lines = stream.read().splitlines()
                    # In any order: the two hosts appear when Avahi says so.
                    self.assertIn(f"{CELLAR}/pub: Online", lines)
                    self.assertIn("Den/Mixed Case: Online", lines)
                    self.assertEqual(process.wait(timeout=20), 0)
            finally:
                process.kill()

    def test_what_it_had_started_before_a_reload_leaves_no_zombie(self):
        folder = os.environ["QTB_DIR"]
        script, gate = os.path.join(folder, "script"), os.path.join(folder, "gate")
        os.mkfifo(gate)
        with open(script, "w", encoding="utf-8") as file:
            file.write(f"#!/bin/sh\nread word < {gate}\n")
        os.chmod(script, 0o700)
        catalogue({CELLAR: [share(SMB, "pub", guestLogin=True, script=script)]})
        # A name to look up: that changes what becomes of ended children. One that cannot be reached would take the
        # host's address away again, should the answer come late.
        preferences({"BrowseForServices": True, "smb": True, "scanForSMBHosts": False, "logToConsole": True},
                    {"monitorConnectivityHost": CELLAR})
        with Keeper() as keeper:
            keeper.ready()
            writer = await_(lambda: self.opened(gate), lambda: f"the script does not run: {keeper.output()}{logged()[-2000:]}")
            before = set(self.children(keeper))
            keeper.process.send_signal(signal.SIGHUP)
            self.assertEqual(keeper.told(), "RELOADING=1")
            keeper.ready().prints(f"{CELLAR}/pub: Online", 2)
            self.assertTrue(before & set(self.children(keeper)))
            os.write(writer, b"go\n")
            os.close(writer)
            await_(lambda: not before & set(self.children(keeper)), lambda: f"zombies: {self.children(keeper)}")
            self.assert_ends(keeper)

    @staticmethod
    def opened(gate):
        try:
            return os.open(gate, os.O_WRONLY | os.O_NONBLOCK)
        except OSError:  # nobody reads there yet
            return None

    @staticmethod
    def children(keeper):
        found = subprocess.run(["ps", "--ppid", str(keeper.process.pid), "-o", "pid="], stdout=subprocess.PIPE,
                               text=True, check=False, timeout=20)
        return found.stdout.split()

    def models(self, folder=DATA):
        with open(os.path.join(folder, os.path.basename(CATALOGUE)), "rb") as file:
            return {each["displayName"]: each.get("computerModel") for each in plistlib.load(file)}

    def test_it_saves_the_models_that_it_learns_but_not_over_an_edited_catalogue(self):
        catalogue({"Den": []})
        with Keeper() as keeper:
            keeper.ready()
            with Announcement("Den", "RackMac"):
                await_(lambda: self.models() == {"Den": "RackMac"}, self.models)
                with open(CATALOGUE + ".new", "wb") as file:
                    plistlib.dump([{"displayName": name, "services": [], "sharePoints": []}
                                   for name in ("Den", "Edited")], file)
                os.rename(CATALOGUE + ".new", CATALOGUE)
                with Announcement("Den", "MacPro"):
                    self.assertEqual(keeper.told(), "RELOADING=1")
                    keeper.ready()
                    self.assertEqual(set(self.models()), {"Den", "Edited"})
                    await_(lambda: self.models() == {"Den": "MacPro", "Edited": None}, self.models)
                    self.assert_ends(keeper)
        self.assertIn("changed by another program", logged())

    @staticmethod
    @contextlib.contextmanager
    def no_folder_to_save_in():
        """A file stands in its place; a folder that is only gone would be made again."""
        os.rename(DATA, DATA + "-away")
        try:
            with open(DATA, "w", encoding="utf-8"):
                yield
        finally:
            os.unlink(DATA)
            os.rename(DATA + "-away", DATA)

    def test_a_save_that_fails_is_told_once_and_the_next_change_is_saved(self):
        def failures():
            return logged().count("Save Failed hosts.")

        catalogue({"Den": []})
        failure = (f"quorrelctl: the catalogue {CATALOGUE} cannot be saved: Not a directory; it is tried again with the "
                   "next change\n")
        with Keeper() as keeper:
            keeper.ready()
            with Announcement("Den", "RackMac"):
                await_(lambda: self.models() == {"Den": "RackMac"}, self.models)
                self.assertEqual(keeper.errors(), "")
                with self.no_folder_to_save_in():
                    for model in ("MacPro", "Xserve"):
                        before = failures()
                        with Announcement("Den", model):
                            await_(lambda before=before: failures() > before, lambda: logged()[-2000:])
                    await_(lambda: keeper.errors() == failure, keeper.errors)
                    self.assertEqual(self.models(DATA + "-away"), {"Den": "RackMac"})
                with Announcement("Den", "iMac"):
                    await_(lambda: self.models() == {"Den": "iMac"}, self.models)
                    saved = failure + f"quorrelctl: the catalogue {CATALOGUE} is saved again\n"
                    await_(lambda: keeper.errors() == saved, keeper.errors)
                    self.assert_ends(keeper)
        self.assertEqual(os.listdir(DATA), ["Quorrel2.plist"])

    def test_it_sleeps_while_nothing_happens(self):
        catalogue({CELLAR: [share(SMB, "pub", guestLogin=True)]})
        with Keeper() as keeper:
            keeper.ready().prints(f"{CELLAR}/pub: Online")
            # The last of what it does at its start, such as the debounced word of its own preferences, is over.
            await_(lambda: self.slept(keeper, 1), "it never comes to rest", 60)
            before, said, begin = keeper.switches(), keeper.output(), time.monotonic()
            time.sleep(10)
            after = keeper.switches()
            woken = sum(count - before.get(thread, 0) for thread, count in after.items())
            print(f"woken {woken} times in {time.monotonic() - begin:.0f} s, {len(after)} threads")
            self.assertEqual(keeper.output(), said)
            self.assertLess(woken, 10)
            self.assert_ends(keeper)

    @staticmethod
    def slept(keeper, seconds):
        before = keeper.switches()
        time.sleep(seconds)
        return keeper.switches() == before


if __name__ == "__main__":
    console_bed.PROGRAM = os.path.realpath(sys.argv.pop(1))
    unittest.main(verbosity=2)
