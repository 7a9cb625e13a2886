"""The router with a relay before its configuration service, or with another program in its place."""

import json
import sys
from pathlib import Path

from sandbox.processes import wait_for
from sandbox.router import SOCKET, Router

from doubles import impostor, relay


class FaultyRouter(Router):
    def start_behind_relay(self):
        """Like start_usual, through the relay; the daemon has two updates pending. Returns the accounts' Ids."""
        self.start_relay()
        accounts = self.start_usual()
        self.start_daemon().wait_log("Built scheduler with", times=2)
        return accounts

    def start_impostor(self, prefix=()):
        """Starts another program in the service's place."""
        program = self.start_program("impostor", [*prefix, sys.executable, "-u", impostor.__file__, SOCKET])
        wait_for("the impostor listens", SOCKET.exists, 10, [program], 0.05)
        return program

    def start_relay(self):
        """Call it before the service starts: the daemon then reaches the service through relay.py, cfgctl directly."""
        self.socket = Path("/tmp/behind.socket")
        self.set_faults()
        self.relay = self.start_program("relay", [sys.executable, relay.__file__, SOCKET, self.socket,
                                             self.folder / "faults.json", self.folder / "relay.record"])
        wait_for("the relay listens", SOCKET.exists, 10, [self.relay], 0.05)

    def corrupted(self):
        """When requests met a fault, in seconds of the monotonic clock."""
        record = self.folder / "relay.record"
        return [float(line.split()[0]) for line in record.read_text().splitlines()] if record.exists() else []

    def set_faults(self, **faults):
        """operation=fault, from the next request on; see relay.py."""
        new = self.folder / "faults.new"
        new.write_text(json.dumps(faults))
        new.replace(self.folder / "faults.json")
