"""A GnuDIP server: python3 gnudip.py ADDRESS SETTINGS RECORD [FAULT]

SETTINGS is a JSON file {user: {"password": ..., "domain": ...}}, read again at every connection. Every connection
leaves one JSON line in RECORD. FAULT: "no-salt" (accepts, then sends nothing), or a text that is the answer to every
request.
"""

import hashlib
import json
import secrets
import socketserver
import sys
import threading
import time
from pathlib import Path

PORT = 3495
SUCCESS, AUTHENTICATION_ERROR, HOST_NOT_FOUND = 0, 1, 2
SILENCE = 60  # seconds; longer than any client waits
_lock = threading.Lock()


def md5_hex(text):
    return hashlib.md5(text.encode()).hexdigest()


def judge(settings, salt, request):
    """The answer to a request line "user:hash:domain:0"."""
    user, digest, domain, action = (request.rstrip("\n").split(":") + [""] * 4)[:4]
    account = settings.get(user)
    if not account or action != "0" or digest != md5_hex(md5_hex(account["password"]) + "." + salt):
        return AUTHENTICATION_ERROR
    return SUCCESS if domain == account["domain"] else HOST_NOT_FOUND


class Exchange(socketserver.StreamRequestHandler):
    timeout = SILENCE

    def handle(self):
        started = time.time()
        record = {"time": started, "source": self.client_address[0], "request": "", "answer": None}
        try:
            if self.server.fault == "no-salt":
                self.rfile.read(1)  # until the client gives up
            else:
                self._exchange(record)
        except (OSError, UnicodeDecodeError) as error:
            record["error"] = str(error)
        record["seconds"] = round(time.time() - started, 1)
        with _lock, open(self.server.record, "a", encoding="utf-8") as out:
            out.write(json.dumps(record) + "\n")

    def _exchange(self, record):
        salt = secrets.token_hex(5)
        self.wfile.write(f"{salt}\r\n".encode())
        record["salt"] = salt
        record["request"] = self.rfile.readline(1024).decode()
        settings = json.loads(self.server.settings.read_text())
        record["answer"] = self.server.fault or str(judge(settings, salt, record["request"]))
        self.wfile.write(f"{record['answer']}\n".encode())


class Server(socketserver.ThreadingTCPServer):
    allow_reuse_address = True
    daemon_threads = True
    request_queue_size = 128


def main(address, settings, record, fault=""):
    with Server((address, PORT), Exchange) as server:
        server.settings, server.record, server.fault = Path(settings), record, fault
        server.serve_forever()


if __name__ == "__main__":
    main(*sys.argv[1:])
