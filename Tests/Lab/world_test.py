#!/usr/bin/python3 -B
# SPDX-License-Identifier: GPL-3.0-or-later
"""The lab itself, from its client: world_test.py under scripts/lab."""

import os
import subprocess
import sys

HERE = os.path.dirname(os.path.realpath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "scripts"))

from testbed_lib import announcing, lab_control  # noqa: E402
from testbed_lib.lab_control import expect, wait_for  # noqa: E402


def said_by(*command):
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=30, check=False)
    return done.stdout + done.stderr


class World:
    def __init__(self):
        self.lab = lab_control.Lab()
        self.announcers = [announcing.Announcer(server) for server in self.lab.servers]
        self.browsers = {kind: announcing.Browser(self.lab.client, kind)
                         for kind in (announcing.SMB, announcing.AFP)}

    def only_what_is_announced_is_seen(self):
        self.announcers[0].announce(announcing.SMB)
        self.announcers[1].announce(announcing.AFP)
        self.browsers[announcing.SMB].await_name("fileserver")
        self.browsers[announcing.AFP].await_name("attic")
        expect(not self.browsers[announcing.SMB].sees("attic"), "attic announces no SMB")

    def names_are_looked_up_both_ways(self):
        for server in self.lab.servers:
            expect(server.address in said_by("nslookup", server.name), f"no address of {server.name}")
            expect(f"{server.name}.lan.test" in said_by("nslookup", server.address), f"no name of {server.address}")
        expect("NXDOMAIN" in said_by("nslookup", "nosuch"), "a name that is not there is found")

    def netbios_names_are_found(self):
        for server in self.lab.servers:
            wait_for(lambda server=server: f"{server.address} {server.name.upper()}<00>"
                     in said_by("nmblookup", server.name.upper()), f"nmblookup does not find {server.name}")
            expect(f"{server.name}.lan.test, {server.address} *<00>" in said_by("nmblookup", "*", "-T"),
                   f"the scan does not find {server.name}")

    def shares_are_mounted_and_read(self):
        for uri, text in (("smb://fileserver/pub", "pub"), ("smb://attic/s01", "s01"),
                          ("afp://anonymous@fileserver/Public", "Public"), ("afp://anonymous@attic/Public", "Public")):
            said = said_by("gio", "mount", "-a", uri)
            expect(said_by("gio", "cat", f"{uri}/hello.txt") == f"Hello from {text}\n", f"{uri}: {said}")

    def without_its_card_the_client_sees_nothing_until_it_is_back(self):
        browser = self.browsers[announcing.SMB]
        self.lab.client.take_card_away()
        browser.await_gone("fileserver")
        self.lab.client.give_card_back()
        browser.await_name("fileserver")
        expect(self.finds_fileserver(), "the way to the switch does not come back")

    def a_pulled_cable_cuts_one_machine_off(self):
        for machine, lost in ((self.lab.client, True), (self.lab.servers[0], False)):
            self.lab.pull_cable(machine)
            expect(self.finds_fileserver() != lost, f"{machine.name} is not cut off alone")
            expect(not self.reaches_fileserver(), f"{machine.name} still has a way")
            self.lab.plug_cable(machine)
            wait_for(self.reaches_fileserver, f"{machine.name} does not get its way back")

    @staticmethod
    def finds_fileserver():
        return "Address: 10.77.0.2" in said_by("nslookup", "fileserver")

    def reaches_fileserver(self):
        return self.lab.client_reaches(self.lab.servers[0])

    def a_restarted_daemon_sees_everything_again(self):
        self.lab.client.end("avahi")
        self.lab.client.start("avahi")
        again = announcing.Browser(self.lab.client, announcing.SMB)
        again.await_name("fileserver")
        again.close()

    def a_withdrawn_service_goes(self):
        browser = announcing.Browser(self.lab.client, announcing.SMB)
        browser.await_name("fileserver")
        self.announcers[0].withdraw(announcing.SMB)
        browser.await_gone("fileserver")

    def the_hosts_file_is_the_clients_own(self):
        self.lab.write_hosts(["10.77.0.2 in-the-file"])
        expect("10.77.0.2" in said_by("getent", "hosts", "in-the-file"), "what was written is not read")
        expect("in-the-file" not in self.lab.servers[0].run("cat", "/etc/hosts"), "others read it too")

    def nobody_else_is_on_the_network(self):
        cards = [line.split()[0] for line in said_by("ip", "-brief", "link").splitlines()]
        expect([each.split("@")[0] for each in cards] == ["lo", "eth0"], f"the client has {cards}")
        expect(len(self.lab.switch.run("ip", "-brief", "link").splitlines()) == 5, "the switch has other ports")


if __name__ == "__main__":
    sys.exit(lab_control.run_steps(World(), (
        "only_what_is_announced_is_seen", "names_are_looked_up_both_ways", "shares_are_mounted_and_read",
        "netbios_names_are_found", "without_its_card_the_client_sees_nothing_until_it_is_back",
        "a_pulled_cable_cuts_one_machine_off", "a_restarted_daemon_sees_everything_again", "a_withdrawn_service_goes",
        "the_hosts_file_is_the_clients_own", "nobody_else_is_on_the_network")))
