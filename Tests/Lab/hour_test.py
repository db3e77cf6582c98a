#!/usr/bin/python3 -B
# SPDX-License-Identifier: GPL-3.0-or-later
"""hour_test.py QUORRELCTL [--events N] [--seed N]: servers, cables and daemons come and go at random.

Runs under scripts/lab. Afterwards what is wanted is what is, and the keeper holds no more than before.
"""

import argparse
import collections
import os
import random
import secrets
import sys
import time

import keeping
from keeping import expect, smb_share
from testbed_lib import announcing, catalogue, crashes, lab_control, processes
from testbed_lib.lab_control import Missing, say, wait_for

# Which daemon serves what is announced.
DAEMONS = {announcing.SMB: "smb", announcing.AFP: "afp"}
# What each server announces, and its shares with the link to each.
SERVERS = {"fileserver": ((announcing.SMB,), {"fileserver/pub": "pub", "fileserver/s01": "s01"}),
           "attic": ((announcing.SMB, announcing.AFP),
                     {"attic/s02": "s02", "attic/Mixed Case": "Mixed Case", "attic/Public": "Public"})}
LONGEST = 75  # seconds: what a mount waits at most for a host that is gone, and some
WORKERS = 4


class Hour:
    def __init__(self, options):
        self.random = random.Random(options.seed)
        self.events = options.events
        self.counts = collections.Counter()
        self.lab = lab_control.Lab()
        self.machines = {server.name: server for server in self.lab.servers}
        self.announcers = {server.name: announcing.Announcer(server) for server in self.lab.servers}
        self.browsers = {kind: announcing.Browser(self.lab.client, kind) for kind in DAEMONS}
        self.present = set()
        self.cut = {}  # what was taken: how it is given back
        catalogue.write([smb_share("fileserver", "pub"), smb_share("fileserver", "s01"), smb_share("attic", "s02"),
                         smb_share("attic", "Mixed Case"), keeping.afp_share("attic")])
        keeping.write_preferences({"unmountDrives": True}, self.lab.switch.address)
        for name, (kinds, _) in SERVERS.items():
            for kind in kinds:
                self.machines[name].end(DAEMONS[kind])
        self.keeper = keeping.Keeper(options.program)
        self.crashes = 0
        self.held = None
        self.descriptors = None

    def close(self):
        self.keeper.kill()

    # ---- what may happen -----------------------------------------------

    def appear(self, name):
        for kind in SERVERS[name][0]:
            machine = self.machines[name]
            machine.start(DAEMONS[kind])
            # A server announces what it serves already.
            lab_control.wait_for(lambda machine=machine, kind=kind: machine.serves(announcing.PORTS[kind]),
                                 f"{DAEMONS[kind]} on {name} does not start")
            self.announcers[name].announce(kind)
        self.present.add(name)

    def leave(self, name):
        for kind in SERVERS[name][0]:
            self.announcers[name].withdraw(kind)
            self.machines[name].end(DAEMONS[kind])
        self.present.discard(name)

    def _cuts(self):
        client = self.lab.client
        cuts = {"client's card": (client.take_card_away, client.give_card_back)}
        for machine in (client, *self.lab.servers):
            cuts[f"{machine.name}'s cable"] = (lambda machine=machine: self.lab.pull_cable(machine),
                                               lambda machine=machine: self.lab.plug_cable(machine))
        return cuts

    def event(self):
        # A server is there or not, and most cuts end soon.
        kind = self.random.choices(("server", "cut", "avahi"), (12, 7, 1))[0]
        if kind == "server":
            name = self.random.choice(sorted(SERVERS))
            (self.leave if name in self.present else self.appear)(name)
            self.counts["appearances" if name in self.present else "departures"] += 1
        elif kind == "cut":
            if self.cut:
                self.mend(self.random.choice(sorted(self.cut)))
            else:
                name, (take, give) = self.random.choice(sorted(self._cuts().items()))
                take()
                self.cut[name] = give
                self.counts["cuts"] += 1
        else:
            self.lab.client.end("avahi")
            self.lab.client.start("avahi")
            self.counts["daemon restarts"] += 1

    def mend(self, name):
        self.cut.pop(name)()
        self.counts["mended cuts"] += 1

    # ---- what must be --------------------------------------------------

    def _wanted(self):
        return {share: "Online" if name in self.present else "Offline"
                for name, (_, shares) in SERVERS.items() for share in shares}

    def _browse_anew(self):
        for kind in DAEMONS:
            self.browsers[kind].close()
            self.browsers[kind] = announcing.Browser(self.lab.client, kind)

    def _in_spite_of_crashes(self, look):
        """A volume that gvfs lost stays away until its server announces itself the next time, so it does."""
        for _ in range(5):
            try:
                result = look()
                break
            except Missing as missing:
                if crashes.count() == self.crashes:
                    raise
                say(f"    {crashes.SAID}: {missing}")
            self.crashes = crashes.count()
            if "attic" in self.present:
                self.leave("attic")
                for kind in SERVERS["attic"][0]:
                    self.browsers[kind].await_gone("attic", LONGEST)
                self.appear("attic")
        else:
            raise Missing("it crashes each time")
        self.crashes = crashes.count()
        return result

    def settle(self, presence):
        """Every cable is in, these servers are there and no others, and the client has been told of each."""
        for name in sorted(self.cut):
            self.mend(name)
        self._browse_anew()
        # What left while nobody could hear it would be believed to be there for an hour.
        for name in sorted(SERVERS):
            if name not in self.present:
                self.appear(name)
        for name, (kinds, _) in SERVERS.items():
            for kind in kinds:
                self.browsers[kind].await_name(name, LONGEST)
        leaving = sorted(set(SERVERS) - set(presence))
        for name in leaving:
            self.leave(name)
        for name in leaving:
            for kind in SERVERS[name][0]:
                self.browsers[kind].await_gone(name, LONGEST)
        return self._in_spite_of_crashes(self._await_wanted)

    def _await_wanted(self):
        wanted = self._wanted()
        began = time.monotonic()
        self.keeper.await_(lambda: all(self.keeper.status.get(share, "Offline") == status
                                       for share, status in wanted.items()),
                           lambda: f"wanted is {wanted}, but there is {self.keeper.status}", LONGEST)
        return time.monotonic() - began

    def is_as_wanted(self):
        """Looks at the session itself, not at what the keeper says of it."""
        self._in_spite_of_crashes(self._look_at_session)

    def _look_at_session(self):
        texts = {share: text for name in self.present for share, text in SERVERS[name][1].items()}
        for text in texts.values():
            wait_for(lambda text=text: keeping.text_below(text) == f"Hello from {text}",
                     lambda text=text: f"{text} cannot be read, but {keeping.text_below(text)!r}", LONGEST)
        wait_for(lambda: keeping.links() == sorted(texts.values()),
                 lambda: f"links are {keeping.links()}, wanted are {sorted(texts.values())}")
        wait_for(lambda: len(keeping.mounted()) == len(texts), lambda: f"mounted is {keeping.mounted()}")
        wait_for(lambda: _backends() == len(texts), lambda: f"{_backends()} back ends for {len(texts)} mounts", 20)

    # ---- in this order -------------------------------------------------

    def first_everything_comes_and_goes_once(self):
        self.settle(SERVERS)
        self.is_as_wanted()
        self.settle(())
        self.is_as_wanted()
        self.held = self.keeper.await_rest()
        self.descriptors = self.keeper.descriptors()
        say(f"    before: {self.held}")

    def then_come_the_events(self):
        began = time.monotonic()
        while sum(self.counts[each] for each in ("appearances", "departures", "cuts")) < self.events:
            self.event()
            # How long nothing happens is part of what happens: from at once to long enough for a mount.
            end = time.monotonic() + self.random.choice((0, 0.05, 0.3, 1.0, 2.0))
            while time.monotonic() < end:
                self.keeper.read(max(0, min(0.05, end - time.monotonic())))
        say(f"    {dict(self.counts)} in {time.monotonic() - began:.0f} s, "
            f"{len(self.keeper.lines)} lines, {self.keeper.log().count('Network NOT Reachable.')} times unreachable")

    def what_is_wanted_is_what_is(self):
        presence = [name for name in sorted(SERVERS) if self.random.random() < 0.5]
        took = self.settle(presence)
        say(f"    present are {presence}; right after {took:.2f} s")
        self.is_as_wanted()
        took = self.settle(SERVERS)
        say(f"    all are present; right after {took:.2f} s")
        self.is_as_wanted()

    def it_holds_no_more_than_before(self):
        self.settle(())
        self.is_as_wanted()
        held = self.keeper.await_rest()
        say(f"    after:  {held}")
        more = collections.Counter(self.keeper.descriptors()) - collections.Counter(self.descriptors)
        # Each worker that ever ran beside others has one of its own.
        if more["anon_inode:[eventfd]"] <= WORKERS:
            held["descriptors"] -= more.pop("anon_inode:[eventfd]", 0)
        expect(not more, f"descriptors that were not open before: {dict(more)}")
        keeping.expect_no_more(held, self.held)

    def the_keeper_ends(self):
        self.keeper.end()


def _backends():
    """Processes of gvfs that serve one mount each."""
    return sum(name in ("gvfsd-smb", "gvfsd-afp") for name in processes.names().values())


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program", type=os.path.realpath)
    parser.add_argument("--events", type=int, default=30)
    parser.add_argument("--seed", type=int, default=None)
    options = parser.parse_args()
    if options.seed is None:
        options.seed = secrets.randbelow(1 << 31)
    say(f"    seed {options.seed}, {options.events} appearances, departures and cuts")
    hour = Hour(options)
    try:
        return lab_control.run_steps(hour, ("first_everything_comes_and_goes_once", "then_come_the_events",
                                            "what_is_wanted_is_what_is", "it_holds_no_more_than_before",
                                            "the_keeper_ends"))
    finally:
        hour.close()


if __name__ == "__main__":
    sys.exit(main())
