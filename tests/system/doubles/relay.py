"""A relay between the configuration service and its clients that corrupts chosen replies:

python3 relay.py LISTEN TARGET FAULTS RECORD

FAULTS is a JSON file {operation: fault}, read again at every request, for instance {"GetRowByKey": "half"}. RECORD gets
a line "seconds operation fault" for every request with a fault. All others pass unchanged to the service at TARGET.

refuse: the service's own refusal. half: half of a reply, then a hang-up. garbage: bytes that are no message.
huge: a frame of 4 GiB is announced. silence: no answer. end: this program ends.
"""

import json
import os
import socket
import struct
import sys
import threading
import time
from pathlib import Path

OPERATIONS = ("", "Hello", "GetTables", "GetColumns", "GetRowCount", "GetRow", "GetRowByKey", "GetRows", "InsertRow",
              "UpdateKey", "DeleteRow", "DeleteKey", "GetAccess", "DropAccess", "Commit", "GetDigest")
REPLY, ACCESS_TAKEN = 2, 9
PREFIX = struct.Struct(">I")
_UNSIGNED = {0xCC: ">B", 0xCD: ">H", 0xCE: ">I"}  # MessagePack's larger unsigned integers


def read_exactly(sock, size):
    data = b""
    while len(data) < size:
        piece = sock.recv(size - len(data))
        if not piece:
            raise EOFError
        data += piece
    return data


def read_frame(sock):
    prefix = read_exactly(sock, PREFIX.size)
    return prefix + read_exactly(sock, PREFIX.unpack(prefix)[0])


def read_numbers(payload, count):
    """The first elements of a MessagePack array, which are unsigned integers."""
    numbers, place = [], 1
    while len(numbers) < count:
        number, form = payload[place], _UNSIGNED.get(payload[place])
        place += 1
        if form:
            number, = struct.unpack_from(form, payload, place)
            place += struct.calcsize(form)
        numbers.append(number)
    return numbers


def refusal(sequence):
    """A reply frame: kind, sequence, result, error, number, rows, names."""
    text = b"the relay says no"
    payload = (bytes([0x97, REPLY, 0xCE]) + struct.pack(">I", sequence)
               + bytes([ACCESS_TAKEN, 0xA0 | len(text)]) + text + bytes([0, 0x90, 0x90]))
    return PREFIX.pack(len(payload)) + payload


class Session:
    """One client and a connection of its own to the service."""

    def __init__(self, client, target, faults, record):
        self.client, self.faults, self.record = client, faults, record
        self.service = socket.socket(socket.AF_UNIX)
        self.service.connect(target)
        self.lock = threading.Lock()
        for work in (self.pass_requests, self.pass_answers):
            threading.Thread(target=self.guarded, args=(work,), daemon=True).start()

    def guarded(self, work):
        try:
            work()
        except (EOFError, OSError):
            for end in (self.client, self.service):
                try:
                    end.shutdown(socket.SHUT_RDWR)
                except OSError:
                    pass

    def send(self, data):
        with self.lock:
            self.client.sendall(data)

    def pass_answers(self):
        while True:
            self.send(read_frame(self.service))

    def pass_requests(self):
        while True:
            frame = read_frame(self.client)
            _, sequence, number = read_numbers(frame[PREFIX.size:], 3)
            fault = json.loads(self.faults.read_text()).get(OPERATIONS[number])
            if fault is None:
                self.service.sendall(frame)
                continue
            with open(self.record, "a", encoding="utf-8") as out:
                out.write(f"{time.monotonic():.3f} {OPERATIONS[number]} {fault}\n")
            self.inject(fault, sequence)

    def inject(self, fault, sequence):
        if fault == "end":
            os._exit(0)
        elif fault == "refuse":
            self.send(refusal(sequence))
        elif fault == "half":
            answer = refusal(sequence)
            self.send(answer[:len(answer) // 2])
            raise EOFError
        elif fault == "garbage":
            self.send(PREFIX.pack(300) + os.urandom(300))
        elif fault == "huge":
            self.send(b"\xff" * 4000)
        elif fault != "silence":
            raise ValueError(fault)


def main(listen, target, faults, record):
    if os.path.exists(listen):
        os.unlink(listen)
    with socket.socket(socket.AF_UNIX) as listener:
        listener.bind(listen)
        listener.listen(64)
        while True:
            client = listener.accept()[0]
            try:
                Session(client, target, Path(faults), record)
            except OSError:  # the service is not running
                client.close()


if __name__ == "__main__":
    main(*sys.argv[1:])
