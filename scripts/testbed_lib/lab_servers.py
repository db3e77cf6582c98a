# SPDX-License-Identifier: GPL-3.0-or-later
"""What runs on the lab's machines. Each function gives (host, name, condition): what has to be waited for."""

from . import afp, names, processes, smb
from .bed import accepts_unix

DOMAIN = "lan.test"

_AVAHI = """[server]
host-name={host}
use-ipv4=yes
use-ipv6=no
allow-interfaces=eth0
ratelimit-interval-usec=1000000
ratelimit-burst=100000
objects-per-client-max=4096
[wide-area]
enable-wide-area=no
[publish]
publish-hinfo=no
publish-workstation=no
"""


def start_names(switch, machines):
    """DNS for everybody, as a router at home gives it: names, their addresses' names, and what mDNS announces."""
    lines = ["no-resolv", "no-hosts", "bind-interfaces", f"listen-address={switch.address}", "port=53", "user=root",
             "group=root", "auth-ttl=1", "local=/#/"]
    for host in machines:
        lines += [f"host-record={host.name}.{DOMAIN},{host.address}", f"host-record={host.name}.local,{host.address}"]
    configuration = switch.write("dnsmasq.conf", "\n".join(lines) + "\n")
    switch.start("dns", ["dnsmasq", "--keep-in-foreground", f"--conf-file={configuration}", "--pid-file=",
                         "--log-facility=-"], environment=switch.root_environment())
    return [(switch, "dns", lambda: names.dns_answers(switch.address, f"{machines[0].name}.{DOMAIN}"))]


def cover_names(host, switch):
    """Has a machine ask that DNS, and gives it a file of hosts that can be rewritten."""
    host.cover("/etc/resolv.conf", f"nameserver {switch.address}\nsearch {DOMAIN}\noptions timeout:1 attempts:1\n")
    host.export(HOSTS_FILE=host.cover("/etc/hosts", "127.0.0.1 localhost\n"))


def start_avahi(host):
    """The system's bus and the daemon, both the machine's own."""
    if not processes.is_real_root():
        names.give_avahi_our_numbers(host)
    bus = "/run/dbus/system_bus_socket"
    host.start("system-bus", ["dbus-daemon", "--nofork", "--nopidfile",
                              f"--config-file={host.write('system-bus.conf', names.BUS.format(socket=bus))}"])
    host.await_ready("system-bus", lambda: accepts_unix(host.inner(bus)))
    host.session["DBUS_SYSTEM_BUS_ADDRESS"] = f"unix:path={bus}"
    configuration = host.write("avahi.conf", _AVAHI.format(host=host.name))
    command = ["avahi-daemon", "--file", configuration, "--no-drop-root", "--no-chroot", "--no-rlimits"]
    host.start("avahi", command)
    return [(host, "avahi", lambda: "Network interface enumeration completed" in host.log_of("avahi"))]


def _start_netbios(host):
    own = host.make_folder("nmb")
    lines = ["[global]", f"  netbios name = {host.name.upper()}", "  workgroup = WORKGROUP",
             "  server role = standalone server", f"  interfaces = {host.address}/24",
             "  bind interfaces only = yes", f"  log file = {host.path('log', 'netbios.log')}",
             f"  nmbd:socket dir = {own}/socket"]
    lines += [f"  {option} = {host.make_folder('nmb', folder)}" for option, folder in smb.FOLDERS]
    configuration = host.write("nmb/smb.conf", "\n".join(lines) + "\n")
    host.start("netbios", ["nmbd", "--foreground", "--no-process-group", "-s", configuration,
                           "--log-basename", host.path("log")])


def start_files(host, afp_source):
    """SMB with its NetBIOS name, and AFP. The name is there some two seconds later; nobody waits for it here."""
    _start_netbios(host)
    host.export(SMB_HOST=host.address, SMB_PORT=445, AFP_HOST=host.address, AFP_PORT=548)
    answers = smb.start(host, host.address, 445), afp.start(host, host.address, 548, afp_source)
    return [(host, name, each) for name, each in zip(("smb", "afp"), answers)]

