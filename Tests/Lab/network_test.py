#!/usr/bin/python3 -B
# SPDX-License-Identifier: GPL-3.0-or-later
"""network_test.py QUORRELCTL: the network goes and comes back, on either side, and a server is started anew.

Runs under scripts/lab. Prints how long each effect took to follow its cause.
"""

import os
import sys
import time

import keeping
from keeping import smb_share
from testbed_lib import announcing, catalogue, lab_control
from testbed_lib.lab_control import say, wait_for

SHARES = ("fileserver/pub", "attic/s02", "attic/Public")
LOST, FOUND, MOUNTING = "Network NOT Reachable.", "Network Reachable.", "Mounting all automatic SharePoints"


class Network:
    def __init__(self, program):
        self.lab = lab_control.Lab()
        self.fileserver, self.attic = self.lab.servers
        self.announcers = {server.name: announcing.Announcer(server) for server in self.lab.servers}
        self.announcers["fileserver"].announce(announcing.SMB)
        self.announcers["attic"].announce(announcing.SMB)
        self.announcers["attic"].announce(announcing.AFP)
        browser = announcing.Browser(self.lab.client, announcing.AFP)
        browser.await_name("attic")
        catalogue.write([smb_share("fileserver", "pub"), smb_share("attic", "s02"), keeping.afp_share("attic")])
        keeping.write_preferences(host=self.lab.switch.address)
        self.began = time.monotonic()
        self.keeper = keeping.Keeper(program)

    def close(self):
        self.keeper.kill()

    def all_can_be_read(self):
        for link in ("pub", "s02", "Public"):
            wait_for(lambda link=link: keeping.text_below(link) == f"Hello from {link}",
                     lambda link=link: f"{link} cannot be read, but {keeping.text_below(link)!r}", 40)

    # ---- in this order -------------------------------------------------

    def at_its_start_with_the_network_up_everything_automatic_is_mounted(self):
        moment = self.keeper.await_all(SHARES, "Online")
        say(f"    {moment - self.began:.3f} s from the start of the process to Online, three shares")
        self.keeper.await_log(MOUNTING)
        self.all_can_be_read()

    def _cut(self, side, take, give):
        log = self.keeper.log()
        lost, mounts = log.count(LOST), log.count(MOUNTING)
        began = time.monotonic()
        take()
        moment = self.keeper.await_log(LOST, lost + 1)
        say(f"    {side}: {moment - began:.3f} s from the cut to the status reset")
        count = len(self.keeper.lines)
        began = time.monotonic()
        give()
        self.keeper.await_log(MOUNTING, mounts + 1)
        moments = [self.keeper.await_line_after(count, share, "Online", 60) for share in SHARES]
        say(f"    {side}: {max(moments) - began:.3f} s from its end to Online, three shares")
        self.all_can_be_read()

    def without_its_card_the_client_takes_the_status_back_until_the_network_returns(self):
        self._cut("card", self.lab.client.take_card_away, self.lab.client.give_card_back)

    def without_its_cable_too(self):
        self._cut("cable", lambda: self.lab.pull_cable(self.lab.client), lambda: self.lab.plug_cable(self.lab.client))

    def a_server_cut_off_for_a_while_is_as_before_when_it_is_back(self):
        lost = self.keeper.log().count(LOST)
        for take, give in ((lambda: self.lab.pull_cable(self.fileserver), lambda: self.lab.plug_cable(self.fileserver)),
                           (self.fileserver.take_card_away, self.fileserver.give_card_back)):
            take()
            wait_for(lambda: not self.lab.client_reaches(self.fileserver), "the server is not cut off")
            began = time.monotonic()
            give()
            self.all_can_be_read()
            say(f"    {time.monotonic() - began:.3f} s from the end of the cut to its share's text")
        self.keeper.await_all(SHARES, "Online")
        lab_control.expect(self.keeper.log().count(LOST) == lost, "the network counts as lost for one server")

    def a_server_that_starts_anew_has_its_shares_mounted_anew(self):
        left = self.keeper.log().count("fileserver Left")
        self.keeper.change_preferences({"unmountDrives": True}, self.lab.switch.address)
        began = time.monotonic()
        for daemon in ("avahi", "smb"):
            self.fileserver.end(daemon)
        self.keeper.await_log("fileserver Left", left + 1)
        moment = self.keeper.await_status(SHARES[0], "Offline")
        say(f"    {moment - began:.3f} s from the server's end to Offline")
        for daemon in ("smb", "avahi"):
            self.fileserver.start(daemon)
        wait_for(lambda: self.lab.client_reaches(self.fileserver), "the server does not come back")
        self.announcers["fileserver"] = announcing.Announcer(self.fileserver)
        began = time.monotonic()
        self.announcers["fileserver"].announce(announcing.SMB)
        moment = self.keeper.await_status(SHARES[0], "Online", 40)
        say(f"    {moment - began:.3f} s from its new announcement to Online")
        self.all_can_be_read()

    def the_keeper_ends(self):
        self.keeper.end()


if __name__ == "__main__":
    network = Network(os.path.realpath(sys.argv[1]))
    try:
        code = lab_control.run_steps(network, (
            "at_its_start_with_the_network_up_everything_automatic_is_mounted",
            "without_its_card_the_client_takes_the_status_back_until_the_network_returns", "without_its_cable_too",
            "a_server_cut_off_for_a_while_is_as_before_when_it_is_back",
            "a_server_that_starts_anew_has_its_shares_mounted_anew", "the_keeper_ends"))
    finally:
        network.close()
    sys.exit(code)
