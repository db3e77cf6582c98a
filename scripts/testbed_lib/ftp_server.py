# SPDX-License-Identifier: GPL-3.0-or-later
"""The FTP server itself: ADDRESS PORT USER PASSWORD-FILE ROOT PUBLIC-ROOT."""

import sys

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import FTPHandler
from pyftpdlib.servers import FTPServer


def main():
    address, port, user, password_file, root, public = sys.argv[1:]
    with open(password_file, encoding="utf-8") as file:
        password = file.read().strip()
    authorizer = DummyAuthorizer()
    authorizer.add_user(user, password, root, perm="elradfmwMT")
    authorizer.add_anonymous(public)

    class Handler(FTPHandler):
        pass

    Handler.authorizer = authorizer
    # A second of penalty is enough to be noticed and short enough for a test.
    Handler.auth_failed_timeout = 1
    FTPServer((address, int(port)), Handler).serve_forever()


if __name__ == "__main__":
    main()
