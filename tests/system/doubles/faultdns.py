"""A faulty DNS server: the first label of the queried name chooses the fault; other names resolve.

Part of faultprovider.py. Speaks UDP and TCP on port 53 of one address.
"""

import socket
import struct

from doubles import faultgnudip
from doubles.listening import serve

_A, _CNAME, _AAAA, _IN = 1, 5, 28, 1
_REPLY, _TRUNCATED = 0x8580, 0x0200  # an authoritative answer with recursion; bits of the flags
_SERVFAIL, _NXDOMAIN, _REFUSED = 2, 3, 5
MANY = 300
ELSEWHERE = faultgnudip.ADDRESSES["unknown-code"]  # where only the name "elsewhere" leads
STRANGER = "10.98.9.9"  # the address in replies with a wrong id: must never be used


def question(query):
    """(name, type, bytes of the question section) of a query with one question."""
    position, labels = 12, []
    while query[position]:
        length = query[position]
        labels.append(query[position + 1:position + 1 + length].decode("ascii", "replace"))
        position += 1 + length
    kind, = struct.unpack_from("!H", query, position + 1)
    return ".".join(labels), kind, query[12:position + 5]


def pack_name(name):
    return b"".join(bytes((len(label),)) + label.encode() for label in name.split(".")) + b"\0"


def record(owner, kind, data):
    return pack_name(owner) + struct.pack("!HHIH", kind, _IN, 60, len(data)) + data


def reply(query, records=(), code=0, flags=0, change=0):
    """change: XORed with the id of the query."""
    identity, = struct.unpack_from("!H", query)
    head = struct.pack("!HHHHHH", identity ^ change, _REPLY | flags | code, 1, len(records), 0, 0)
    return head + question(query)[2] + b"".join(records)


def addresses(query, *texts):
    """A good answer; empty for other types than A."""
    name, kind, _ = question(query)
    return reply(query, [record(name, _A, socket.inet_aton(text)) for text in texts] if kind == _A else ())


class Server:
    """Gives nearly all names one address, except for the faulty ones."""

    def __init__(self, address, answer):
        self.address, self.answer = address, answer
        self.udp = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.udp.bind((address, 53))
        serve((address, 53), self._converse)
        print("DNS ready", flush=True)

    def run(self):
        while True:
            query, peer = self.udp.recvfrom(4096)
            answer = self._answer(query, peer, False)
            if answer:
                self.udp.sendto(answer, peer)

    def _converse(self, connection):
        with connection.makefile("rb") as stream:
            while len(head := stream.read(2)) == 2:
                answer = self._answer(stream.read(struct.unpack("!H", head)[0]), connection.getpeername(), True)
                connection.sendall(struct.pack("!H", len(answer)) + answer)

    def _answer(self, query, peer, tcp):
        """The reply, or None for silence."""
        name, kind, _ = question(query)
        fault = name.split(".")[0]
        print("query", fault, kind, "tcp" if tcp else "udp", peer[0], flush=True)
        if fault == "silent" or (fault == "noaaaa" and kind == _AAAA):
            return None
        if fault in ("servfail", "nxdomain", "refused"):
            return reply(query, code={"servfail": _SERVFAIL, "nxdomain": _NXDOMAIN, "refused": _REFUSED}[fault])
        if fault == "wrongid":
            self.udp.sendto(reply(query, [record(name, _A, socket.inet_aton(STRANGER))], change=0xFFFF), peer)
            return None
        if fault == "loop":
            pair = (name, "x" + name)
            return reply(query, [record(one, _CNAME, pack_name(two)) for one, two in (pair, pair[::-1])])
        if fault in ("truncated", "many") and not tcp:
            return reply(query, flags=_TRUNCATED)
        if fault == "many":
            return addresses(query, *(f"10.98.{4 + number // 250}.{1 + number % 250}" for number in range(MANY)))
        return addresses(query, ELSEWHERE if fault == "elsewhere" else self.answer)
