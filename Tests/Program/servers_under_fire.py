#!/usr/bin/python3 -B
# SPDX-License-Identifier: GPL-3.0-or-later
"""servers_under_fire.py PROGRAM [options]: bad servers, and a window that answers.

Runs under scripts/testbed with --netns --servers smb,dav,ftp,afp,apache --desktop bare.
The program's shares lie behind proxies that misbehave, or on servers that are frozen or
killed. After each misfortune the share's row must say the right thing, other shares
must mount meanwhile, and the next mount must work; all along the window must answer.

Without --all: what ends soon, for all protocols side by side, while three other servers
stay silent until the program's own deadline. With it: also all that has to wait for that
deadline each time, which takes eight minutes. --only: just the misfortunes whose
name holds that text, and no silence beside them. --limit: how long the window may take beyond what the machine does.
--log: with the program's log on and printed; each server that fails is then tried by address, too.
"""

import argparse
import ctypes
import os
import signal
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.realpath(__file__))
sys.path[:0] = [HERE, os.path.join(HERE, "..", "..", "scripts")]

import hostile_proxy  # noqa: E402
import running  # noqa: E402
from bed_server import BedServer  # noqa: E402
from heartbeat import Heartbeat  # noqa: E402
from hostile_proxy import Proxy  # noqa: E402
from running import expect, failed  # noqa: E402
from testbed_lib import catalogue, screen  # noqa: E402
from testbed_lib.catalogue import Share  # noqa: E402

SILENT_TEXT = "Server is not responding."
SHUT_TEXT = "Server is shutting down."
LOGIN_TEXT = "User authentication failed (usually, password is not correct)."
LOG_TEXT = "See log for error."

PATIENCE = 45  # for what takes a second on a machine at rest
DEADLINE = 60  # the program's own, for one mount
SLACK = 20
LIMIT = 500  # milliseconds; a person notices more than 100, but a machine that is busy itself needs them


class Row:
    """What the window says of a share."""

    def __init__(self, text, share):
        self.text = text
        self.share = share
        parts = text.removeprefix(share + ", ").rpartition(", ")[0]
        self.status, _, self.explanation = parts.partition(", ")

    @property
    def is_online(self):
        return self.status == "Online"

    @property
    def is_refused(self):
        """Whether an unmount failed; a share that is mounted tells its path otherwise."""
        return self.is_online and not self.explanation.startswith("/")

    @property
    def is_over(self):
        """Whether a mount or an unmount that began without an error text has come to its end."""
        return self.is_online or (self.status == "Offline" and self.explanation)


class Victim:
    """One share, its server, and the proxy between them."""

    def __init__(self, protocol, service, address, share, text, **fields):
        self.protocol = protocol
        self.server = BedServer(protocol)
        self.proxy = Proxy(address, self.server.port, (self.server.address, self.server.port))
        self.share = Share(address, service, share, text, automatically=False, **fields)

    def recover(self):
        self.server.recover()
        self.proxy.recover()

    def die(self):
        # Nobody is at a dead server's port.
        self.proxy.refuse()
        self.server.kill()


class Misfortune:
    """One way for a server to go wrong. `texts` are what a share may then say, for each protocol or for all."""

    def __init__(self, name, strike, texts, is_slow=False, is_mounted=False):
        self.name = name
        self.strike = strike
        self.texts = texts
        self.is_slow = is_slow
        self.is_mounted = is_mounted

    def texts_for(self, protocol):
        texts = self.texts.get(protocol, self.texts.get("all")) if isinstance(self.texts, dict) else self.texts
        return (texts,) if isinstance(texts, str) else texts


def behaves(mood):
    return lambda victim: victim.proxy.behave(mood)


def change_password(victim):
    victim.server.set_password("an0ther-" + catalogue.password()[::-1])


PASSWORD = "changes its password while mounted"
SILENT_OR_SHUT = (SILENT_TEXT, SHUT_TEXT)
MISFORTUNES = (
    Misfortune("refuses", lambda victim: victim.proxy.refuse(), SILENT_TEXT),
    # SMB has a second port to go to, at which there is nobody.
    Misfortune("resets at once", behaves(hostile_proxy.RESET), {"smb": SILENT_OR_SHUT, "all": SHUT_TEXT}),
    Misfortune("hangs up at once", behaves(hostile_proxy.HANG_UP), {"smb": SILENT_OR_SHUT, "all": SHUT_TEXT}),
    Misfortune("resets in the middle", behaves(hostile_proxy.MIDDLE), {"smb": SILENT_OR_SHUT, "all": SHUT_TEXT}),
    # Garbage says nothing that the person could do anything about; the log has the details.
    Misfortune("answers garbage", behaves(hostile_proxy.GARBAGE),
               {"smb": SILENT_OR_SHUT, "afp": SHUT_TEXT, "all": LOG_TEXT}),
    Misfortune("is killed during the mount",
               lambda victim: victim.proxy.behave(hostile_proxy.PASS, victim.die), SILENT_TEXT),
    Misfortune("is killed while mounted", Victim.die, SILENT_TEXT, is_mounted=True),
    Misfortune("resets while mounted", lambda victim: (victim.proxy.refuse(), victim.proxy.cut()), SILENT_TEXT,
               is_mounted=True),
    Misfortune(PASSWORD, change_password, LOGIN_TEXT, is_mounted=True),
    Misfortune("stays silent", behaves(hostile_proxy.SILENT), SILENT_TEXT, is_slow=True),
    Misfortune("answers garbage without end", behaves(hostile_proxy.BABBLE),
               {"smb": SILENT_OR_SHUT, "afp": SILENT_TEXT, "all": (SHUT_TEXT, LOG_TEXT)}, is_slow=True),
    Misfortune("is frozen before the mount", lambda victim: victim.server.freeze(), SILENT_TEXT, is_slow=True),
    Misfortune("is frozen during the mount",
               lambda victim: victim.proxy.behave(hostile_proxy.PASS, victim.server.freeze), SILENT_TEXT, is_slow=True),
    Misfortune("is frozen while mounted", lambda victim: victim.server.freeze(), SILENT_TEXT, is_slow=True,
               is_mounted=True),
)


class Fire:
    def __init__(self, options):
        self.options = options
        login = {"userName": os.environ["QTB_USER"], "password": catalogue.password()}
        self.password = login["password"]
        for root, name in (("DAV", "dav fire"), ("DAV", "dav silence"), ("FTP", "ftp fire"), ("FTP", "ftp silence")):
            folder = os.path.join(os.environ[f"QTB_{root}_ROOT"], name)
            os.makedirs(folder)
            with open(os.path.join(folder, "hello.txt"), "w", encoding="utf-8") as file:
                file.write(f"Hello from {name}\n")
        self.victims = [
            Victim("smb", catalogue.SMB, "127.0.1.1", "priv", "Hello from priv", **login),
            Victim("dav", catalogue.DAV, "127.0.1.1", "dav fire", "Hello from dav fire", **login),
            Victim("ftp", catalogue.FTP, "127.0.1.1", "ftp fire", "Hello from ftp fire", **login),
            Victim("afp", catalogue.AFP, "127.0.1.1", "Private", "Hello from Private", **login)]
        self.silent = [
            Victim("dav", catalogue.DAV, "127.0.2.1", "dav silence", "Hello from dav silence", **login),
            Victim("ftp", catalogue.FTP, "127.0.2.1", "ftp silence", "Hello from ftp silence", **login),
            Victim("afp", catalogue.AFP, "127.0.2.1", "Public", "Hello from Public", guestLogin=True)]
        apache = os.environ["QTB_APACHE_HOST"]
        self.others = [Share(apache, catalogue.DAV, name, automatically=False, **login)
                       for name in ("share", "share/folder", "share/Über uns")]
        self.shares = [each.share for each in self.victims + self.silent] + self.others
        catalogue.write(self.shares)
        # With its log on, the program tries a server that fails once more by address, for as long.
        running.write_preferences(logToConsole=options.log)
        self.run = self.window = self.hosts = self.list = self.beat = None
        self.commanded = {}
        self.faults = []

    # ---- the window ----------------------------------------------------

    def open(self):
        self.run = running.Running(self.options.program)
        application = self.run.application()
        self.window = application.find("Quorrel", "frame")
        application.find(role="alert").find(role="push button").act()
        application.await_gone(role="alert")
        self.hosts = self.window.find("Servers", "list")
        self.list = self.window.find("Shares", "list")
        found = screen.tool("xdotool", "search", "--onlyvisible", "--class", self.run.name).split()
        self.beat = Heartbeat(next(each for each in found
                                   if screen.tool("xdotool", "getwindowname", each).strip() == "Quorrel"))

    def rows(self, host):
        """The list shows the shares of one server at a time."""
        chosen = self.hosts.find(lambda name: name.startswith(host + ", "), "list item")
        if not chosen.forget().has("SELECTED"):
            chosen.act()
            screen.wait_for(lambda: chosen.forget().has("SELECTED"), f"{host} cannot be selected")
        names = [share.name for share in self.shares if share.host == host]

        def look():
            nodes = {node.forget().name.partition(", ")[0]: node for node in self.list.forget().children}
            return nodes if sorted(nodes) == sorted(names) else None

        return screen.wait_for(look, lambda: f"not the shares of {host}:\n{self.list.tree()}")

    def row(self, share):
        return Row(self.rows(share.host)[share.name].name, share.name)

    def command(self, title, share):
        node = self.rows(share.host)[share.name]
        if not node.has("SELECTED"):
            node.act()
        screen.wait_for(lambda: node.forget().has("SELECTED"), f"{share.name} cannot be selected")
        item = self.window.find(title, "menu item", showing=False)
        screen.wait_for(lambda: item.forget().has("SENSITIVE"), f"{title} stays disabled for {self.row(share).text}")
        item.act()
        self.commanded[share.name] = time.monotonic()

    def await_rows(self, shares, condition, seconds, what):
        """Each share's row once the condition holds, with the seconds since the command."""
        ended = {}

        def look():
            for host in {share.host for share in shares if share.name not in ended}:
                for name, node in self.rows(host).items():
                    row = Row(node.name, name)
                    if name in {share.name for share in shares} and name not in ended and condition(row):
                        ended[name] = row, time.monotonic() - self.commanded.get(name, 0)
            return len(ended) == len(shares)

        screen.wait_for(look, lambda: f"{what}: " + "; ".join(self.row(share).text for share in shares
                                                               if share.name not in ended), seconds)
        return ended

    def mount(self, shares, seconds=PATIENCE):
        for share in shares:
            self.command("Mount", share)
        return self.await_rows(shares, lambda row: row.is_online, seconds, "not online")

    def unmount(self, shares, seconds=PATIENCE):
        for share in shares:
            if self.row(share).is_online:
                try:
                    self.command("Unmount", share)
                except screen.Missing:
                    if self.row(share).is_online:  # else it went by itself
                        raise
        return self.await_rows(shares, lambda row: row.status == "Offline" or row.is_refused, seconds, "not offline")

    # ---- the steps -----------------------------------------------------

    def beats(self):
        """The window's thread alone stands still, and the heartbeat sees it."""
        screen.wait_for(lambda: self.beat.take().answers, "the window answers no questions")
        library = ctypes.CDLL(None, use_errno=True)

        def trace(request):
            library.ptrace.argtypes = (ctypes.c_long,) * 4
            if library.ptrace(request, self.run.process.pid, 0, 0) != 0:
                raise OSError(ctypes.get_errno(), "the main thread cannot be stopped")

        seize, interrupt, detach, any_thread = 0x4206, 0x4207, 17, 0x40000000
        trace(seize)
        trace(interrupt)
        os.waitpid(self.run.process.pid, any_thread)
        time.sleep(0.4)
        stopped = self.beat.take()
        trace(detach)
        expect(stopped.window > 350, f"the main thread stood still, and the window answered in {stopped}")
        screen.wait_for(lambda: self.beat.take().window < 350, "the window does not answer again")
        self.beat.take()

    def hold(self, what):
        reading = self.beat.take()
        if reading.window > self.options.limit + reading.bare or not reading.answers:
            self.faults.append(f"{what}: the window took {reading}, {reading.answers:.0f} answers")
        return reading

    def strikes(self, misfortune):
        victims = self.victims
        shares = [each.share for each in victims]
        seconds = DEADLINE + SLACK if misfortune.is_slow else PATIENCE
        said = {}
        if misfortune.is_mounted:
            self.mount(shares)
        for victim in victims:
            misfortune.strike(victim)
        self.beat.take()
        if misfortune.is_mounted:
            said.update(self.unmount(shares, seconds))
        # What goes with its server may be gone before it is unmounted, which then has failed, too.
        earlier = {name: row.explanation for name, (row, _) in said.items()}
        free = [share for share in shares if share.name not in said or not said[share.name][0].is_online]
        for share in free + self.others:
            self.command("Mount", share)

        def is_over(row):
            return row.is_over and (row.is_online or row.explanation != earlier.get(row.share))

        # Who has to wait for a slot waits for no longer than those that hold them may.
        said.update(self.await_rows(free + self.others, is_over, seconds, "neither mounted nor failed"))
        during = self.hold(misfortune.name)
        for victim in victims:
            if misfortune.name == PASSWORD:
                victim.server.set_password(self.password)
            victim.recover()
        self.unmount(shares)
        again = self.mount(shares)
        for share in shares:
            self.read(share)
        after = self.hold(misfortune.name + ", recovering")
        self.unmount(shares + self.others)
        for share in self.others:
            expect(said[share.name][0].is_online, f"{misfortune.name}, another share: {said[share.name][0].text}")
        for victim in victims:
            row, time_to_end = said[victim.share.name]
            self.tell(victim.protocol, misfortune.name, row, time_to_end, max(during.window, after.window),
                      max(during.bare, after.bare), again[victim.share.name][1],
                      max(said[share.name][1] for share in self.others))
            wanted = misfortune.texts_for(victim.protocol)
            if row.explanation not in wanted or row.is_online and not misfortune.is_mounted:
                self.faults.append(f"{victim.protocol} {misfortune.name}: {row.text!r}, wanted is {wanted}")

    @staticmethod
    def tell(protocol, misfortune, row, seconds, window, bare, again, others):
        print(f"| {protocol} | {misfortune} | {row.status}, {row.explanation} | {seconds:.1f} s | {window:.0f} ms "
              f"(machine {bare:.0f} ms) | {again:.1f} s | {'-' if others is None else f'{others:.1f} s'} |", flush=True)

    def read(self, share):
        # On a busy machine gvfs may lose an AFP mount that follows a dead one; the next one then stays.
        if share.service == catalogue.AFP and not self.row(share).is_online:
            self.mount([share])
        place = os.path.join(os.environ["HOME"], "Volumes", share.folder, "hello.txt")
        done = subprocess.run(["cat", place], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=30,
                              check=False)
        expect(done.stdout.strip() == share.text, f"{share.name} reads {done.stdout!r} {done.stderr!r}")

    def falls_silent(self):
        for victim in self.silent:
            victim.proxy.behave(hostile_proxy.SILENT)
            self.command("Mount", victim.share)
        for victim in self.silent:
            screen.wait_for(lambda victim=victim: victim.proxy.connections, f"nobody asks {victim.share.name}")
        return time.monotonic()

    def silence_ends(self, since):
        shares = [each.share for each in self.silent]
        said = self.await_rows(shares, lambda row: row.is_over, max(DEADLINE + SLACK - (time.monotonic() - since), 1),
                               "a slot is held")
        during = self.hold("silence")
        for victim in self.silent:
            victim.proxy.recover()
        again = self.mount(shares)
        for victim in self.silent:
            self.read(victim.share)
            row = said[victim.share.name][0]
            self.tell(victim.protocol, "stays silent, all along", row, said[victim.share.name][1], during.window,
                      during.bare, again[victim.share.name][1], None)
            expect(row.explanation == SILENT_TEXT, f"{victim.protocol} stays silent: {row.text!r}")
        self.unmount(shares)

    def all(self):
        self.open()
        self.beats()
        chosen = [each for each in MISFORTUNES if self.options.only in each.name
                  and (self.options.all or not each.is_slow)]
        # To start a session's first mounts takes longer than any later one.
        self.mount(self.shares)
        self.unmount(self.shares)
        print("| protocol | the server ... | the share says | after | window, at worst | next mount | other shares |\n"
              "|---|---|---|---|---|---|---|", flush=True)
        since = None if self.options.all or self.options.only else self.falls_silent()
        for misfortune in chosen:
            self.strikes(misfortune)
        if since:
            self.silence_ends(since)
        expect(not self.faults, "\n".join(self.faults))
        self.beat.close()
        self.run.end(signal.SIGTERM)

    def close(self):
        for victim in self.victims + self.silent:
            victim.recover()
        if self.beat:
            self.beat.close()
        if self.run:
            self.run.kill()
        if self.options.log:
            with open(os.path.join(os.environ["XDG_STATE_HOME"], "Quorrel", "Quorrel.log"), encoding="utf-8") as file:
                text = file.read()
            expect(self.password not in text, "the log holds the password")
            print(text)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", type=os.path.realpath)
    parser.add_argument("--all", action="store_true")
    parser.add_argument("--only", default="", metavar="TEXT")
    parser.add_argument("--limit", type=float, default=LIMIT, metavar="MILLISECONDS")
    parser.add_argument("--log", action="store_true")
    fire = Fire(parser.parse_args())
    try:
        fire.all()
    except Exception as error:  # pylint: disable=broad-except
        return failed("servers_under_fire", error)
    finally:
        fire.close()
    return 0


if __name__ == "__main__":
    sys.exit(main())
