"""A DNS server that loses no query of a burst: python3 patientdns.py ADDRESS NAME=ADDRESS... Knows IPv4 addresses alone.

dnsmasq keeps the system's receive buffer, which holds some 250 queries."""

import socket
import sys

HEADER, A, BUFFER = 12, b"\0\x01", 8 << 20


def answer(query, addresses):
    end = query.index(b"\0", HEADER)
    labels, at = [], HEADER
    while at < end:
        labels.append(query[at + 1:at + 1 + query[at]].decode().lower())
        at += 1 + query[at]
    address = addresses.get(".".join(labels))
    found = address is not None and query[end + 1:end + 3] == A
    reply = query[:2] + (b"\x84\0" if address else b"\x84\x03") + b"\0\x01" + bytes((0, found)) + bytes(4)
    record = b"\xc0\x0c" + A + b"\0\x01\0\0\0\x3c\0\x04" + socket.inet_aton(address) if found else b""
    return reply + query[HEADER:end + 5] + record


def main(address, *words):
    addresses = dict(word.split("=") for word in words)
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as server:
        server.setsockopt(socket.SOL_SOCKET, getattr(socket, "SO_RCVBUFFORCE", 33), BUFFER)
        server.bind((address, 53))
        while True:
            query, client = server.recvfrom(4096)
            server.sendto(answer(query, addresses), client)


if __name__ == "__main__":
    main(*sys.argv[1:])
