# SPDX-License-Identifier: GPL-3.0-or-later
"""smbd with guest shares and one for the user, as root or as anybody."""

from .bed import USER, accepts_tcp

_GUEST_SHARES = ["pub", "Mixed Case", "Documents", "Music", "Photos"] + [f"s{number:02}" for number in range(1, 21)]


# What the configuration calls a folder, and what it is called here.
FOLDERS = (("private dir", "private"), ("lock directory", "lock"), ("state directory", "state"),
           ("cache directory", "cache"), ("pid directory", "pid"), ("ncalrpc dir", "ncalrpc"))


def _configuration(bed, address, ports):
    own = bed.make_folder("smb")
    lines = ["[global]",
             "  server role = standalone server",
             f"  interfaces = {address}/8" + (" 10.77.0.2/24" if "netbios" in bed.running else ""),
             "  bind interfaces only = yes",
             f"  smb ports = {ports}",
             "  disable netbios = yes",
             "  multicast dns register = no",  # who announces what is the test's to say
             "  disable spoolss = yes",
             "  load printers = no",
             "  printing = bsd",
             "  printcap name = /dev/null",
             f"  log file = {bed.path('log', 'smb.log')}",
             f"  passdb backend = smbpasswd:{own}/private/smbpasswd",
             "  map to guest = Bad User",
             "  guest account = nobody",
             "  usershare max shares = 0"]
    for option, folder in FOLDERS:
        lines.append(f"  {option} = {bed.make_folder('smb', folder)}")
    for name in _GUEST_SHARES:
        lines += [f"[{name}]", f"  path = {bed.make_share(f'shares/{name}', name)}",
                  "  guest ok = yes", "  read only = no"]
    lines += ["[priv]", f"  path = {bed.make_share('shares/priv', 'priv')}",
              f"  valid users = {USER}", "  read only = no"]
    return bed.write("smb/smb.conf", "\n".join(lines) + "\n")


def start(bed, address, port):
    configuration = _configuration(bed, address, "445 139" if port == 445 else port)
    environment = bed.root_environment((USER, "nobody"))
    password = bed.password()
    bed.run_tool(["smbpasswd", "-c", configuration, "-a", "-s", USER],
                 text=f"{password}\n{password}\n", environment=environment)
    bed.export(SMB_ROOT=bed.path("shares"), SMB_PUB=bed.path("shares", "pub"),
               SMB_PRIV=bed.path("shares", "priv"), SMB_MIXED=bed.path("shares", "Mixed Case"))
    bed.start("smb", ["smbd", "--foreground", "--no-process-group", "-s", configuration,
                      "--log-basename", bed.path("log")],
              environment=environment)
    return lambda: accepts_tcp(address, port)
