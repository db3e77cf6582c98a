#!/usr/bin/python3 -B
# SPDX-License-Identifier: GPL-3.0-or-later
"""following_test.py QUORRELCTL: servers, networks and volumes come and go, and the keeper's shares follow.

Runs under scripts/lab. Prints how long each effect took to follow its cause.
"""

import os
import subprocess
import sys
import time

import keeping
from keeping import expect, smb_share
from testbed_lib import announcing, catalogue, lab_control
from testbed_lib.lab_control import say, wait_for

SMB_SHARES = ("fileserver/pub", "fileserver/Mixed Case")
AFP_SHARE = "attic/Public"


class Following:
    def __init__(self, program):
        self.program = program
        self.lab = lab_control.Lab()
        self.fileserver, self.attic = self.lab.servers
        self.announcers = {server.name: announcing.Announcer(server) for server in self.lab.servers}
        self.browsers = {kind: announcing.Browser(self.lab.client, kind)
                         for kind in (announcing.SMB, announcing.AFP)}
        self.keeper = None

    def start(self, shares, flags=None, host=keeping.NOWHERE):
        catalogue.write(shares)
        keeping.write_preferences(flags, host)
        self.keeper = keeping.Keeper(self.program)

    def close(self):
        if self.keeper:
            self.keeper.kill()

    @staticmethod
    def reads(link, text):
        wait_for(lambda: keeping.text_below(link) == f"Hello from {text}",
                 lambda: f"{link} cannot be read, but {keeping.text_below(link)!r}")

    # ---- servers -------------------------------------------------------

    def a_server_that_announces_itself_has_its_automatic_shares_mounted(self):
        self.start([smb_share("fileserver", "pub"), smb_share("fileserver", "Mixed Case"),
                    smb_share("fileserver", "s01", automatically=False), keeping.afp_share("attic")])
        self.keeper.await_log("Network NOT Reachable.")
        expect(not keeping.mounted(), "something is mounted though no server was seen")
        self.announcers["fileserver"].announce(announcing.SMB)
        seen = self.browsers[announcing.SMB].await_name("fileserver")
        moment = self.keeper.await_all(SMB_SHARES, "Online")
        say(f"    SMB: {moment - seen:.3f} s from the announcement to Online, two shares")
        self.announcers["attic"].announce(announcing.AFP)
        seen = self.browsers[announcing.AFP].await_name("attic")
        moment = self.keeper.await_status(AFP_SHARE, "Online")
        say(f"    AFP: {moment - seen:.3f} s from the announcement to Online")
        for link, text in (("pub", "pub"), ("Mixed Case", "Mixed Case"), ("Public", "Public")):
            self.reads(link, text)
        expect(self.keeper.status.get("fileserver/s01", "Offline") == "Offline", "a share not automatic is mounted")

    def it_is_quiet_when_nothing_happens(self):
        expect(self.keeper.says_nothing(2), f"it goes on talking: {self.keeper.lines[-5:]}")

    def a_device_model_changes_the_icon_and_is_saved(self):
        self.announcers["fileserver"].announce(announcing.DEVICE, text={"model": "RackMac"})
        began = time.monotonic()
        wait_for(lambda: keeping.saved_hosts()["fileserver"].get("computerModel") == "RackMac",
                 lambda: f"the model is not saved: {keeping.saved_hosts()['fileserver']}\n{self.keeper.log()}")
        say(f"    {time.monotonic() - began:.3f} s from its announcement to the catalogue's file")
        began = time.monotonic()
        self.announcers["fileserver"].change_text(announcing.DEVICE, {"model": "Macmini"})
        wait_for(lambda: keeping.saved_hosts()["fileserver"].get("computerModel") == "Macmini",
                 lambda: f"the other model is not saved: {keeping.saved_hosts()['fileserver']}")
        say(f"    {time.monotonic() - began:.3f} s from its change to the catalogue's file")
        self.keeper.await_log("fileserver: Macmini")
        expect(self.keeper.status[SMB_SHARES[0]] == "Online", "the share did not stay mounted")

    def a_restarted_avahi_daemon_is_found_again(self):
        left, came = (self.keeper.log().count(f"fileserver {word}") for word in ("Left", "Appeared"))
        began = time.monotonic()
        self.lab.client.end("avahi")
        moment = self.keeper.await_log("fileserver Left", left + 1)
        say(f"    {moment - began:.3f} s from the daemon's end to the services' departure")
        began = time.monotonic()
        self.lab.client.start("avahi")
        moment = self.keeper.await_log("fileserver Appeared", came + 1)
        say(f"    {moment - began:.3f} s from the daemon's start to the services' return")
        self.keeper.await_all(SMB_SHARES, "Online")
        self.browsers = {kind: announcing.Browser(self.lab.client, kind) for kind in self.browsers}
        for kind, name in ((announcing.SMB, "fileserver"), (announcing.AFP, "attic")):
            self.browsers[kind].await_name(name)
        self.keeper.await_all((*SMB_SHARES, AFP_SHARE), "Online")
        self.reads("pub", "pub")

    def a_server_that_withdraws_keeps_its_shares_unless_told_otherwise(self):
        count = self.keeper.log().count("fileserver Left")
        self.announcers["fileserver"].withdraw(announcing.SMB)
        self.keeper.await_log("fileserver Left", count + 1)
        expect(self.keeper.says_nothing(1), f"it talks of {self.keeper.lines[-5:]}")
        self.reads("pub", "pub")
        self.announcers["fileserver"].announce(announcing.SMB)
        self.browsers[announcing.SMB].await_gone("fileserver")
        self.browsers[announcing.SMB].await_name("fileserver")
        self.keeper.await_all(SMB_SHARES, "Online")

    def with_that_preference_a_server_that_withdraws_has_them_unmounted(self):
        self.keeper.change_preferences({"unmountDrives": True})
        self.announcers["fileserver"].withdraw(announcing.SMB)
        self.browsers[announcing.SMB].await_gone("fileserver")
        began = self.browsers[announcing.SMB].last("fileserver", False)
        moment = self.keeper.await_all(SMB_SHARES, "Offline")
        say(f"    {moment - began:+.3f} s from the departure to Offline, two shares")
        wait_for(lambda: not any("fileserver" in each for each in keeping.mounted()),
                 lambda: f"still mounted: {keeping.mounted()}")
        expect("pub" not in keeping.links(), f"links are left: {keeping.links()}")
        self.announcers["fileserver"].announce(announcing.SMB)
        self.keeper.await_all(SMB_SHARES, "Online")
        self.reads("pub", "pub")

    # ---- volumes -------------------------------------------------------

    def a_share_that_somebody_else_mounts_shows_as_mounted(self):
        share = "fileserver/s01"
        count = len(self.keeper.lines)
        began = time.monotonic()
        done = subprocess.run(["gio", "mount", "-a", "smb://fileserver/s01"], stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=30, check=False)
        expect(done.returncode == 0, done.stderr)
        mounted = time.monotonic()
        moment = self.keeper.await_line_after(count, share, "Online")
        say(f"    {moment - began:.3f} s from the call, {moment - mounted:+.3f} s from its end to Online")
        count = len(self.keeper.lines)
        done = subprocess.run(["gio", "mount", "-u", "smb://fileserver/s01"], stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=30, check=False)
        expect(done.returncode == 0, done.stderr)
        gone = time.monotonic()
        moment = self.keeper.await_line_after(count, share, "Offline")
        say(f"    {moment - gone:+.3f} s from its unmounting to Offline")

    # ---- preferences ---------------------------------------------------

    def browsing_switched_off_hears_of_nobody_until_it_is_on(self):
        # Of the one kind that is switched by itself the next step tells.
        stops = self.keeper.log().count("Stoping Bonjour Service Scanner: _smb._tcp.")
        self.keeper.write_preferences({"BrowseForServices": False})
        self.keeper.await_log("Stoping Bonjour Service Scanner: _smb._tcp.", stops + 1)
        self.announcers["attic"].announce(announcing.SMB, "Cellar")
        self.browsers[announcing.SMB].await_name("Cellar")
        expect("Cellar Appeared" not in self.keeper.log(), "a name is heard of though nothing browses")
        began = time.monotonic()
        self.keeper.write_preferences({"BrowseForServices": True})
        moment = self.keeper.await_log("Cellar Appeared")
        say(f"    {moment - began:.3f} s from the switch to what was there all the time")

    def one_kind_switched_off_leaves_the_other(self):
        self.keeper.change_preferences({"smb": False})
        self.announcers["attic"].announce(announcing.SMB, "Loft")
        self.announcers["attic"].announce(announcing.AFP, "Barn")
        self.browsers[announcing.SMB].await_name("Loft")
        self.keeper.await_log("Barn Appeared")
        expect("Loft Appeared" not in self.keeper.log(), "SMB is browsed though it is switched off")
        began = self.keeper.change_preferences({"smb": True})
        moment = self.keeper.await_log("Loft Appeared")
        say(f"    {moment - began:.3f} s from the switch to what was there all the time")

    def a_scan_runs_at_each_switch(self):
        for number in (1, 2):
            began = self.keeper.change_preferences({"scanForSMBHosts": True})
            moment = self.keeper.await_log("Scaning for samba hosts Thread ended", number)
            say(f"    {moment - began:.3f} s from the switch to the scan's end")
            self.keeper.change_preferences({"scanForSMBHosts": False})

    def all_the_while_nothing_was_unmounted(self):
        expect({self.keeper.status[each] for each in (*SMB_SHARES, AFP_SHARE)} == {"Online"}, self.keeper.status)
        self.reads("pub", "pub")
        self.reads("Public", "Public")

    def the_keeper_ends_and_leaves_what_is_mounted(self):
        self.keeper.end()
        expect(len(keeping.mounted()) == 3, f"mounted is {keeping.mounted()}")
        with open(os.environ["QTB_PASSWORD_FILE"], encoding="utf-8") as file:
            expect(file.read().strip() not in self.keeper.log(), "the log holds the password")


if __name__ == "__main__":
    following = Following(os.path.realpath(sys.argv[1]))
    try:
        code = lab_control.run_steps(following, (
            "a_server_that_announces_itself_has_its_automatic_shares_mounted", "it_is_quiet_when_nothing_happens",
            "a_device_model_changes_the_icon_and_is_saved", "a_restarted_avahi_daemon_is_found_again",
            "a_server_that_withdraws_keeps_its_shares_unless_told_otherwise",
            "with_that_preference_a_server_that_withdraws_has_them_unmounted",
            "a_share_that_somebody_else_mounts_shows_as_mounted",
            "browsing_switched_off_hears_of_nobody_until_it_is_on", "one_kind_switched_off_leaves_the_other",
            "a_scan_runs_at_each_switch", "all_the_while_nothing_was_unmounted",
            "the_keeper_ends_and_leaves_what_is_mounted"))
    finally:
        following.close()
    sys.exit(code)
