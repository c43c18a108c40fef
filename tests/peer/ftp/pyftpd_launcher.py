#!/usr/bin/python3
"""Runs a pyftpdlib server on 127.0.0.1 for the FTP client tests and the
download benchmark.

Usage: pyftpd_launcher.py HOME USER PASSWORD [PORT]

Prints the port it listens on (one line) and serves until its standard input
is closed or it is killed. USER/PASSWORD and anonymous may read and write in
HOME; the user "reader" (password "reader") may only list and read.
"""
import logging
import os
import sys
import threading
import warnings

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import FTPHandler
from pyftpdlib.servers import FTPServer


def main():
    home, user, password = sys.argv[1:4]
    port = int(sys.argv[4]) if len(sys.argv) > 4 else 0
    logging.basicConfig(level=logging.CRITICAL)
    warnings.filterwarnings("ignore")
    authorizer = DummyAuthorizer()
    authorizer.add_user(user, password, home, perm="elradfmwMT")
    authorizer.add_anonymous(home, perm="elradfmw")
    authorizer.add_user("reader", "reader", home, perm="elr")
    handler = FTPHandler
    handler.authorizer = authorizer
    server = FTPServer(("127.0.0.1", port), handler)
    print(server.address[1], flush=True)

    def exit_when_parent_goes():
        sys.stdin.read()
        os._exit(0)

    threading.Thread(target=exit_when_parent_goes, daemon=True).start()
    server.serve_forever(handle_exit=False)


if __name__ == "__main__":
    main()
