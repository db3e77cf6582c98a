# SPDX-License-Identifier: GPL-3.0-or-later
"""WebDAV: rclone at the root over http and https, and the Apache module below /share."""

import hashlib
import http.client
import os
import shutil
import ssl

from . import processes
from .bed import USER

_MODULES = "/usr/lib/apache2/modules"


def _password_file(bed, name):
    digest = bed.run_tool(["openssl", "passwd", "-apr1", "-stdin"], text=bed.password() + "\n").strip()
    return bed.write(f"{name}.htpasswd", f"{USER}:{digest}\n")


def _answers(address, port, path="/", tls=False):
    def ask():
        if tls:
            # Only whether it speaks is asked here; its certificate is its own.
            link = http.client.HTTPSConnection(address, port, timeout=2,
                                               context=ssl._create_unverified_context())
        else:
            link = http.client.HTTPConnection(address, port, timeout=2)
        try:
            link.request("OPTIONS", path)
            return link.getresponse().status in (200, 401)
        except (OSError, http.client.HTTPException):
            return False
        finally:
            link.close()
    return ask


def _start_rclone(bed, name, address, port, more):
    root = bed.make_share(name, name)
    bed.export(**{f"{name.upper()}_ROOT": root})
    bed.start(name, ["rclone", "serve", "webdav", root, "--addr", f"{address}:{port}",
                     "--config", "/dev/null", "--htpasswd", _password_file(bed, name)] + more)


def start_dav(bed, address, port):
    _start_rclone(bed, "dav", address, port, [])
    return _answers(address, port)


def start_davs(bed, address, port):
    certificate, key = bed.path("davs.pem"), bed.path("davs.key")
    bed.run_tool(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256",
                  "-nodes", "-days", "2", "-subj", "/CN=localhost", "-addext",
                  f"subjectAltName=DNS:localhost,IP:{address}", "-keyout", key, "-out", certificate])
    with open(certificate, encoding="ascii") as file:
        der = ssl.PEM_cert_to_DER_cert(file.read())
    bed.export(DAVS_FINGERPRINT=hashlib.sha256(der).hexdigest(), DAVS_CERTIFICATE=certificate,
               DAVS_FINGERPRINT_SHA1=hashlib.sha1(der).hexdigest())
    _start_rclone(bed, "davs", address, port, ["--cert", certificate, "--key", key])
    return _answers(address, port, tls=True)


def start_apache(bed, address, port):
    own = bed.make_folder("apache", mode=0o755)
    root = bed.make_share("apache/share", "apache")
    bed.make_folder("apache/locks", mode=0o777)
    users = _password_file(bed, "apache")
    if processes.is_real_root():
        # The workers run as nobody and must be able to walk in, though not to look around.
        os.chmod(bed.directory, 0o711)
        shutil.chown(users, "nobody", "nogroup")
    modules = ["mpm_event", "authn_core", "authn_file", "authz_core", "authz_user", "auth_basic",
               "dav", "dav_fs", "dir", "setenvif"]
    lines = [f"LoadModule {name}_module {_MODULES}/mod_{name}.so" for name in modules]
    lines += [f"ServerRoot {own}", f"ServerName {address}", f"Listen {address}:{port}",
              f"PidFile {own}/pid", f"ErrorLog {own}/error.log", f"DocumentRoot {own}",
              "StartServers 1", "ServerLimit 1", "ThreadsPerChild 16", "MaxRequestWorkers 16",
              f"DavLockDB {own}/locks/db"]
    command = []
    if processes.is_real_root():
        lines += ["User nobody", "Group nogroup"]
    elif os.geteuid() == 0:
        # It refuses to be root and knows no other user here: it becomes an ordinary user of a
        # namespace below ours, and ordinary users may have low ports in a network that is ours alone.
        with open("/proc/sys/net/ipv4/ip_unprivileged_port_start", "w", encoding="ascii") as file:
            file.write("0")
        command = ["unshare", "--user", "--map-user=65534", "--map-group=65534"]
    lines += ['BrowserMatch "^gvfs/1" redirect-carefully', "<Directory />", "  Require all denied", "</Directory>",
              "<Location /share>", "  Dav On", "  AuthType Basic", "  AuthName testbed",
              f"  AuthUserFile {users}", "  Require valid-user", "</Location>"]
    configuration = bed.write("apache/apache.conf", "\n".join(lines) + "\n")
    bed.export(APACHE_ROOT=root)
    bed.start("apache", command + ["apache2", "-DFOREGROUND", "-f", configuration])
    return _answers(address, port, path="/share/")
