"""A plain FTP server, nothing simulated: pyftpdlib's own server and file system over a
folder, with anonymous logins that may read and write files. A unit's two pseudo-files are
ordinary files there: "spectrum:" is read as it lies, and "capt_spec:" is written.

Usage: plain_ftpd.py FOLDER   (prints "LISTENING <port>" and serves on 127.0.0.1 until killed)
"""

import logging
import os
import sys

try:
    import pyftpdlib  # noqa: F401  (only to test that it is there)
except ImportError:
    # Debian's python3-pyftpdlib is seen by the system Python only (not by pyenv or a venv).
    if os.path.realpath(sys.executable) != os.path.realpath("/usr/bin/python3"):
        os.execv("/usr/bin/python3", ["/usr/bin/python3", os.path.abspath(__file__)] + sys.argv[1:])
    sys.exit("plain_ftpd: pyftpdlib is missing; install it with 'apt-get install -y python3-pyftpdlib'")

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import FTPHandler
from pyftpdlib.servers import FTPServer


def main():
    logging.basicConfig(level=logging.WARNING)
    authorizer = DummyAuthorizer()
    authorizer.add_anonymous(sys.argv[1], perm="elrw")  # list, read, write
    handler = FTPHandler
    handler.authorizer = authorizer
    server = FTPServer(("127.0.0.1", 0), handler)
    print("LISTENING", server.socket.getsockname()[1], flush=True)
    server.serve_forever()


if __name__ == "__main__":
    main()
