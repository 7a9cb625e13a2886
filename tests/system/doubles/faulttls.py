"""Faults below HTTP: TLS handshakes that are cut, too large or without end.

Part of faultprovider.py. A handler gets a connection before its handshake, and the context of a good server.
"""

import socket
import ssl
import struct
import time

SILENCE = 30  # seconds; longer than any client stays
_LARGEST = 1 << 14  # bytes of a record
_ALERT, _HANDSHAKE, _DATA = 21, 22, 23


def record(kind, data):
    return struct.pack("!BHH", kind, 0x0303, len(data)) + data


def first_records(connection, context):
    """What a good server sends in answer to the client's first message."""
    received, sent = ssl.MemoryBIO(), ssl.MemoryBIO()
    tls = context.wrap_bio(received, sent, server_side=True)
    while not sent.pending:
        received.write(connection.recv(_LARGEST))
        try:
            tls.do_handshake()
        except ssl.SSLWantReadError:
            pass
    data, records = sent.read(), []
    while data:
        size = 5 + struct.unpack_from("!H", data, 3)[0]
        records.append(data[:size])
        data = data[size:]
    return records


def cut_after(number):
    """Ends the connection, without a word, after so many records; the client's answer is read."""
    def talk(connection, context):
        connection.sendall(b"".join(first_records(connection, context)[:number]))
        connection.shutdown(socket.SHUT_WR)
        while connection.recv(_LARGEST):
            pass
    return talk


def hello_then(data, seconds=0):
    """The server's first record, its hello, and then this, for so long without a pause."""
    def talk(connection, context):
        connection.sendall(first_records(connection, context)[0])
        end = time.monotonic() + seconds
        connection.sendall(data)
        while time.monotonic() < end:
            connection.sendall(data)
        while connection.recv(_LARGEST):
            pass
    return talk


def alert(connection, _):
    connection.recv(_LARGEST)
    connection.sendall(record(_ALERT, b"\2\x28"))  # fatal, handshake failure


def serves(reply, announces_end=True):
    """A whole handshake and the reply; then the end of the connection, announced or not."""
    def talk(connection, context):
        tls = context.wrap_socket(connection, server_side=True)
        tls.recv(_LARGEST)
        tls.sendall(reply)
        if announces_end:
            tls.close()
        else:
            socket.socket(fileno=tls.detach()).close()
    return talk


_OK = b"HTTP/1.1 200 OK\r\n\r\ngood\n"
# fault: (certificate, whether the server is limited to TLS 1.2 and so speaks in the clear, handler)
FAULTS = {
    **{f"cut-{number}": ("good", False, cut_after(number)) for number in range(1, 7)},
    **{f"cut-old-{number}": ("good", True, cut_after(number)) for number in range(1, 5)},
    "garbage": ("good", False, hello_then(bytes(range(256)) * 64)),
    "garbage-data": ("good", False, hello_then(record(_DATA, b"x" * _LARGEST))),
    "16-mebibytes": ("good", True, hello_then(record(_HANDSHAKE, b"\x0b\xff\xff\xff" + b"x" * 16000), SILENCE)),
    # Requests to begin again, which mean nothing during a handshake.
    "hello-requests": ("good", True, hello_then(record(_HANDSHAKE, bytes(_LARGEST)), SILENCE)),
    "alert": (None, False, alert),
    "long-chain": ("long-chain", False, serves(_OK)),
    "huge-chain": ("huge-chain", False, serves(_OK)),
    "end-unannounced": ("good", False, serves(_OK, False)),
}
