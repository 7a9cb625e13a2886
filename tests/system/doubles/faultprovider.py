"""A faulty provider: python3 -m doubles.faultprovider SETTINGS

SETTINGS is a JSON file {"certificates": {kind: [chain, key]}, "password": of the GnuDIP account, empty for no
GnuDIP, "dns": address, "answer": address for good names}. Serves one fault of HTTPS or TLS (faulttls.py) per port
(PORTS), the GnuDIP faults (faultgnudip.py) and the DNS faults (faultdns.py) on all addresses of its namespace.
"""

import json
import socket
import ssl
import struct
import sys
import time
import warnings
from pathlib import Path

from sandbox import gnudip

from doubles import faultdns, faultgnudip, faulttls
from doubles.listening import serve

SILENCE = 30  # seconds; longer than any client waits for a reply
MEBIBYTE = 1 << 20
ELSEWHERE = "https://ddns.example.net/plain/elsewhere"  # where the redirect points


def reset(connection):
    """Ends the connection with a reset instead of an orderly close, once the client has sent something."""
    connection.recv(4096)
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))


def reply(status, body=b"", *headers, length=None):
    lines = [f"HTTP/1.1 {status}", f"Content-Length: {len(body) if length is None else length}", *headers, "", ""]
    return "\r\n".join(lines).encode() + body


def read_request(connection):
    data = b""
    while b"\r\n\r\n" not in data:
        more = connection.recv(4096)
        if not more:
            break
        data += more


def sends(pieces, pause=0):
    """Reads the request, sends these pieces with a pause in seconds after each, closes."""
    def talk(connection):
        read_request(connection)
        for piece in pieces:
            connection.sendall(piece)
            time.sleep(pause)
    return talk


def says(data):
    return sends([data])


def single_bytes(data):
    return [bytes((byte,)) for byte in data]


def endless(start, piece):
    """About 15 MiB a second until the client gives up."""
    return sends([start, *[piece] * (SILENCE * 250)], 0.004)


def plain_on_tls(connection):
    """What a web server without TLS answers to a TLS hello."""
    connection.recv(4096)
    connection.sendall(reply("400 Bad Request", b"no TLS here\n"))


def silent(connection):
    connection.recv(4096)
    time.sleep(SILENCE)


NASTY = b"good\0<\xff\xfe\xc3( \xed\xa0\x80\x1b[31m\r>\n"
_OK = reply("200 OK", b"good\n")
# fault: (certificate, or None for no TLS; handler of the connection). The order gives the ports.
FAULTS = {
    "reset": (None, reset),
    "silent": (None, silent),
    "silent-tls": ("good", silent),
    "drip": ("good", sends(single_bytes(reply("200 OK", b"good" * 100)), 1)),
    "endless-body": ("good", endless(reply("200 OK", length=1 << 50), b"x" * 65536)),
    "endless-header": ("good", endless(b"HTTP/1.1 200 OK\r\n", b"".join(b"X-%d: y\r\n" % i for i in range(6000)))),
    "mebibyte": ("good", says(reply("200 OK", b"&" * MEBIBYTE))),
    "nasty-bytes": ("good", says(reply("200 OK", NASTY))),
    "split": ("good", sends(single_bytes(reply("200 OK", b"good <split> reply\n")), 0.002)),
    "cut": ("good", says(reply("200 OK", b"good", length=100))),
    "wrong-host": ("other.example.net", says(_OK)),
    "expired": ("expired", says(_OK)),
    "unknown-ca": ("unknown", says(_OK)),
    "old-tls": ("good", says(_OK)),
    "redirect": ("good", says(reply("302 Found", b"moved\n", f"Location: {ELSEWHERE}"))),
    "204": ("good", says(b"HTTP/1.1 204 No Content\r\n\r\n")),
    "http-0.9": ("good", says(b"good\n")),
    "plain-on-tls": (None, plain_on_tls),
    "plain": (None, says(_OK)),
}
PORTS = {"refused": 8000, **{name: port for port, name in enumerate((*FAULTS, *faulttls.FAULTS), 8001)}}


def context(name, certificates):
    kind = faulttls.FAULTS.get(name, FAULTS.get(name))[0]
    if kind is None:
        return None
    made = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    made.load_cert_chain(*certificates[kind])
    if name in faulttls.FAULTS and faulttls.FAULTS[name][1]:
        made.maximum_version = ssl.TLSVersion.TLSv1_2
    if name == "old-tls":
        warnings.simplefilter("ignore", DeprecationWarning)
        made.set_ciphers("ALL:@SECLEVEL=0")
        made.minimum_version, made.maximum_version = ssl.TLSVersion.TLSv1, ssl.TLSVersion.TLSv1_1
    return made


def converse(name, connection, tls):
    if name in faulttls.FAULTS:
        faulttls.FAULTS[name][2](connection, tls)
        return
    if tls:
        connection = tls.wrap_socket(connection, server_side=True)
        print(name, "handshake done:", connection.version(), flush=True)
    with connection:
        FAULTS[name][1](connection)


def main(settings):
    settings = json.loads(Path(settings).read_text())
    for name, (kind, *_) in {**FAULTS, **faulttls.FAULTS}.items():
        if kind in (None, *settings["certificates"]):
            tls = context(name, settings["certificates"])
            serve(("", PORTS[name]), lambda connection, name=name, tls=tls: converse(name, connection, tls))
    if settings["password"]:
        serve(("", gnudip.PORT), faultgnudip.Server(settings["password"]).exchange)
    faultdns.Server(settings["dns"], settings["answer"]).run()


if __name__ == "__main__":
    main(*sys.argv[1:])
