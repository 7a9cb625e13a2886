"""Programs of the sandbox, their logs, and waiting for conditions."""

import os
import re
import signal
import subprocess
import time
from pathlib import Path

TAIL = 40  # lines of a log that a failure shows


class Failure(Exception):
    """An expected event did not happen; the text says which, with the end of the relevant logs."""


def wait_for(what, condition, seconds, programs=(), pause=0.2):
    """Waits until condition() is true and returns its value. Fails at once when one of the programs has ended."""
    end = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        for program in programs:
            if not program.running:
                raise Failure(f"{program.name} ended with status {program.status} while waiting for {what}\n"
                              + program.tail())
        if time.monotonic() >= end:
            raise Failure(f"not within {seconds} s: {what}\n" + "\n".join(program.tail() for program in programs))
        time.sleep(pause)


class Program:
    """One process with a log file for its output. Killed at the end of the sandbox at the latest."""

    def __init__(self, name, command, folder, netns=None, env=None):
        self.name = name
        self.command = (["nsenter", f"--net=/run/netns/{netns}"] if netns else []) + [str(word) for word in command]
        self.log_path = Path(folder) / f"{name}.log"
        self.env = dict(os.environ, **(env or {}))
        self.process = None

    def start(self):
        """Starts it, or starts it again with its log continued."""
        with open(self.log_path, "ab") as log:
            self.process = subprocess.Popen(self.command, stdin=subprocess.DEVNULL, stdout=log,
                                            stderr=subprocess.STDOUT, env=self.env, cwd="/")
        return self

    @property
    def pid(self):
        return self.process.pid

    @property
    def running(self):
        return self.process is not None and self.process.poll() is None

    @property
    def status(self):
        """Exit status, negative for the signal that ended it, None while it runs."""
        return self.process.poll() if self.process else None

    def send(self, number):
        self.process.send_signal(number)

    def wait(self, seconds):
        """Waits for its end and returns its exit status."""
        try:
            return self.process.wait(seconds)
        except subprocess.TimeoutExpired:
            raise Failure(f"{self.name} did not end within {seconds} s\n{self.tail()}") from None

    def stop(self, number=signal.SIGTERM, seconds=30):
        if self.running:
            self.send(number)
        return self.wait(seconds)

    def kill(self):
        return self.stop(signal.SIGKILL)

    def log(self, start=0):
        """The log from a position that mark() gave."""
        with open(self.log_path, "rb") as log:
            log.seek(start)
            return log.read().decode(errors="replace")

    def mark(self):
        return self.log_path.stat().st_size

    def count(self, pattern, start=0):
        return len(re.findall(pattern, self.log(start)))

    def wait_log(self, pattern, seconds=40, start=0, times=1):
        """Waits for a pattern in the log and returns its last match (of the given number)."""
        def found():
            matches = list(re.finditer(pattern, self.log(start)))
            return matches[times - 1] if len(matches) >= times else None
        return wait_for(f"{self.name} logs '{pattern}'" + (f" {times} times" if times > 1 else ""),
                        found, seconds, [self])

    def wait_catches(self, name, number):
        """Waits until the process has this name, so that it is no shell before the program, and catches this signal."""
        def catches():
            status = Path(f"/proc/{self.pid}/status").read_text()
            found = re.search(rf"^Name:\t{name}$.*^SigCgt:\t(\w+)$", status, re.M | re.S)
            return found and int(found[1], 16) >> (number - 1) & 1
        wait_for(f"{name} catches signal {number}", catches, 20, [self])

    def tail(self):
        lines = self.log().splitlines() if self.log_path.exists() else []
        return f"--- {self.name}, last {TAIL} of {len(lines)} lines\n" + "\n".join(lines[-TAIL:])
