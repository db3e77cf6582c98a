# SPDX-License-Identifier: GPL-3.0-or-later
"""Name services, each inside the run's own network and mount namespace only."""

import os
import random
import socket
import struct

from . import namespaces, processes, smb
from .bed import Failure, accepts_unix

_DNS_ADDRESS = "127.0.0.1"
_NETBIOS_NAME = "HOSTB"
_NETBIOS_ADDRESS = "10.77.0.2"


# ---- DNS ---------------------------------------------------------------

def dns_answers(server, asked):
    """Whether that server knows an address of that name."""
    number = random.randrange(65536)
    name = b"".join(bytes([len(part)]) + part.encode() for part in asked.split(".")) + b"\0"
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        probe.settimeout(1)
        try:
            probe.connect((server, 53))
            probe.send(struct.pack(">6H", number, 0x0100, 1, 0, 0, 0) + name + struct.pack(">2H", 1, 1))
            reply = probe.recv(512)
        except OSError:
            return False
    return reply[:2] == struct.pack(">H", number) and reply[6:8] == b"\0\1"


def _cover_resolv_conf(bed):
    text = f"nameserver {_DNS_ADDRESS}\nsearch lan.test\noptions timeout:1 attempts:1\n"
    cover = bed.write("resolv.conf", text, mode=0o644)
    target = os.path.realpath("/etc/resolv.conf")
    if not os.path.exists(target):
        raise Failure(f"dns: {target} is missing, so nothing can be put in its place")
    bed.run_tool(["mount", "--bind", cover, target])


def start_dns(bed):
    _cover_resolv_conf(bed)
    lines = ["no-resolv", "no-hosts", "bind-interfaces", f"listen-address={_DNS_ADDRESS}",
             "port=53", "user=root", "group=root", "auth-ttl=1", "local=/#/",
             "host-record=files.lan.test,127.0.0.2",
             "cname=alias.lan.test,files.lan.test",
             "host-record=dual.lan.test,127.0.0.3,fd77::3",
             "host-record=web.lan.test,127.0.0.3",
             "host-record=dead.lan.test,127.0.0.99",
             # What mDNS announces; a machine without its name-service module finds it here.
             "host-record=attic.local,127.0.0.6",
             "host-record=cellar.local,127.0.0.2"]
    if bed.names:
        namespaces.look_connected()
    lines += [f"host-record={name},{address}" for name, address in bed.names.items()]
    configuration = bed.write("dnsmasq.conf", "\n".join(lines) + "\n")
    bed.start("dns", ["dnsmasq", "--keep-in-foreground", f"--conf-file={configuration}",
                      "--pid-file=", "--log-facility=-"], environment=bed.root_environment())
    bed.export(DNS_HOST=_DNS_ADDRESS, DNS_PID=bed.running["dns"].pid)
    return lambda: dns_answers(_DNS_ADDRESS, "files.lan.test")


# ---- NetBIOS -----------------------------------------------------------

def start_netbios(bed):
    # Broadcasts need a link that can carry them: one end of a pair whose other end is silent.
    for command in (["link", "add", "qtb0", "type", "veth", "peer", "name", "qtb1"],
                    ["address", "add", f"{_NETBIOS_ADDRESS}/24", "brd", "+", "dev", "qtb0"],
                    ["link", "set", "qtb0", "up"], ["link", "set", "qtb1", "up"]):
        bed.run_tool(["ip"] + command)
    lines = ["[global]", f"  netbios name = {_NETBIOS_NAME}", "  workgroup = WORKGROUP",
             "  server role = standalone server", f"  interfaces = {_NETBIOS_ADDRESS}/24",
             "  bind interfaces only = yes", f"  log file = {bed.path('log', 'netbios.log')}",
             f"  nmbd:socket dir = {bed.path('nmb', 'socket')}"]
    for option, folder in smb.FOLDERS:
        lines.append(f"  {option} = {bed.make_folder('nmb', folder)}")
    configuration = bed.write("nmb/smb.conf", "\n".join(lines) + "\n")
    bed.start("netbios", ["nmbd", "--foreground", "--no-process-group", "-s", configuration,
                          "--log-basename", bed.path("log")])
    bed.export(NETBIOS_NAME=_NETBIOS_NAME, NETBIOS_ADDRESS=_NETBIOS_ADDRESS,
               NETBIOS_PID=bed.running["netbios"].pid)

    def found():
        try:
            return f"{_NETBIOS_ADDRESS} {_NETBIOS_NAME}<00>" in bed.run_tool(["nmblookup", _NETBIOS_NAME])
        except Failure:
            return False

    return found


# ---- DNS-SD ------------------------------------------------------------

BUS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path={socket}</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
  </policy>
</busconfig>
"""

_SERVICE = """<?xml version="1.0" standalone="no"?>
<!DOCTYPE service-group SYSTEM "avahi-service.dtd">
<service-group>
  <name>{name}</name>
  <service>
    <type>{type}</type>
    <host-name>{host}</host-name>
    <port>{port}</port>
  </service>
{more}</service-group>
"""

_MODEL = """  <service>
    <type>_device-info._tcp</type>
    <port>0</port>
    <txt-record>model=RackMac</txt-record>
  </service>
"""


def give_avahi_our_numbers(bed):
    """The daemon hands its folder to the user avahi, and there is but one user to be had.

    For everybody in this mount namespace, as tests start the daemon again by themselves.
    """
    for place, fields in (("/etc/passwd", 4), ("/etc/group", 3)):
        lines = []
        with open(place, encoding="utf-8") as file:
            for line in file.read().splitlines():
                parts = line.split(":")
                if parts[0] in ("avahi", "netdev"):
                    parts[2:fields] = ["0"] * (fields - 2)
                lines.append(":".join(parts))
        cover = bed.write(os.path.basename(place), "\n".join(lines) + "\n", mode=0o644)
        bed.run_tool(["mount", "--bind", cover, place])


def start_avahi(bed):
    if not processes.is_real_root():
        give_avahi_our_numbers(bed)
    # Its own /run: the standard socket of the system bus and Avahi's are then the run's own.
    bed.run_tool(["mount", "-t", "tmpfs", "-o", "mode=755", "testbed", "/run"])
    os.makedirs("/run/dbus")
    os.makedirs("/run/avahi-daemon")
    bus = "/run/dbus/system_bus_socket"
    bed.start("system-bus", ["dbus-daemon", "--nofork", "--nopidfile",
                             f"--config-file={bed.write('system-bus.conf', BUS.format(socket=bus))}"])
    bed.await_ready("system-bus", lambda: accepts_unix(bus))
    bed.session["DBUS_SYSTEM_BUS_ADDRESS"] = f"unix:path={bus}"

    services = bed.make_folder("avahi", "services", mode=0o755)
    bed.write(f"{services}/attic.service",
              _SERVICE.format(name="Attic", type="_afpovertcp._tcp", host="attic.local", port=548, more=_MODEL))
    bed.write(f"{services}/cellar.service",
              _SERVICE.format(name="Cellar", type="_smb._tcp", host="cellar.local", port=445, more=""))
    hosts = bed.write("avahi/hosts", "127.0.0.6 attic.local\n127.0.0.2 cellar.local\n")
    configuration = bed.write("avahi/daemon.conf", "\n".join([
        "[server]", "host-name=testbed", "use-ipv4=yes", "use-ipv6=no", "allow-interfaces=lo",
        "[wide-area]", "enable-wide-area=no",
        "[publish]", "publish-hinfo=no", "publish-workstation=no"]) + "\n")
    bed.run_tool(["mount", "--bind", services, "/etc/avahi/services"])
    bed.run_tool(["mount", "--bind", hosts, "/etc/avahi/hosts"])
    bed.start("avahi", ["avahi-daemon", "--file", configuration, "--no-drop-root", "--no-chroot",
                        "--no-rlimits"])
    bed.export(AVAHI_AFP="Attic", AVAHI_SMB="Cellar", AVAHI_PID=bed.running["avahi"].pid,
               AVAHI_CONFIG=configuration)
    return lambda: bed.log_of("avahi").count("successfully established") >= 2
