"""Faulty GnuDIP exchanges: the address that the client connects to chooses the fault.

Part of faultprovider.py. An address without a fault is a good server for one password.
"""

import hashlib
import socket
import struct
import time

from sandbox.gnudip import md5_hex

NETWORK = "10.98.1."  # a fault's address is this and its number
SILENCE = 30  # seconds; longer than any client waits


# fault: (salt as sent, pieces of the answer; None: as the hash deserves; a text: what happens instead).
FAULTS = {
    "no-salt": (None, "silent"),
    "close-at-once": (None, "close"),
    "salt-1023": (b"s" * 1022 + b"\n", None),
    "salt-5000": (b"7" * 4999 + b"\n", None),
    "binary-salt": (b"\0\xff\x01:\x80\x1b[31m\n\n\r\n", None),
    "two-segments": (b"salt\n", (b"0", b"\n")),
    "torn-number": (b"salt\n", (b"2", b"9\n")),
    "unknown-code": (b"salt\n", (b"3\n",)),
    "beyond-int": (b"salt\n", (b"2147483648\n",)),
    "no-number": (b"salt\n", (b"<html>\x1b[31m no\n",)),
    "close-after-salt": (b"salt\n", "close"),
    "reset-after-salt": (b"salt\n", "reset"),
    "silent-after-salt": (b"salt\n", "silent"),
}
ADDRESSES = {name: NETWORK + str(number) for number, name in enumerate(FAULTS, 1)}
_GOOD = (b"salt\n", None)


class Server:
    """Judges hashes by one password."""

    def __init__(self, password):
        self.password = password

    def exchange(self, connection):
        address = connection.getsockname()[0]
        name = next((name for name, known in ADDRESSES.items() if known == address), None)
        salt, answer = FAULTS.get(name, _GOOD)
        if salt is not None:
            connection.sendall(salt)
            if answer in ("close", "reset"):
                connection.recv(1, socket.MSG_PEEK)  # wait for the request, which stays unread
        if answer == "silent":
            time.sleep(SILENCE)
        elif answer == "reset":
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        elif answer != "close":
            self._answer(connection, salt, answer)

    def _answer(self, connection, salt, pieces):
        request = connection.recv(4096)
        digest = hashlib.md5(md5_hex(self.password).encode() + b"." + salt.rstrip(b"\r\n")).hexdigest()
        good = request.split(b":")[1:2] == [digest.encode()]
        for piece in pieces or (b"0\n" if good else b"1\n",):
            connection.sendall(piece)
            time.sleep(2)  # even a busy client has read it by then: the next piece is a segment of its own
