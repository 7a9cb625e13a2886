"""Faults of a machine: for one program by a prefix or the environment, or for the whole sandbox."""

import os
import signal
import subprocess
from pathlib import Path

from sandbox.namespaces import mount
from sandbox.shims import Shim

WITHOUT_URANDOM = ("unshare", "-m", "sh", "-c", 'mount --bind /dev/null /dev/urandom && exec "$@"', "sh")
HAS_USERS = "4294967295" in Path("/proc/self/uid_map").read_text()  # otherwise the sandbox maps one user only
_REMOUNT, _READ_ONLY, _MOVE = 0x20, 0x1, 0x2000


def as_user(number, group=1):
    """Prefix: an ordinary user without any capability and without a way to get one."""
    return ("setpriv", f"--reuid={number}", f"--regid={group}", "--clear-groups", "--bounding-set=-all",
            "--inh-caps=-all", "--no-new-privs", "--")


def limited(**limits):
    """Prefix: hard limits by prlimit's names, for instance nproc=1."""
    return ("prlimit", *(f"--{name}={value}" for name, value in limits.items()), "--")


def set_descriptors(pid, most):
    """The soft limit of a running program."""
    subprocess.run(["prlimit", f"--pid={pid}", f"--nofile={most}:4096"], check=True)


class SmallDisk:
    """A disk of one MiB, mounted on a folder."""

    def __init__(self, folder):
        self.folder = Path(folder)
        self.folder.mkdir()
        mount("tmpfs", self.folder, "tmpfs", data="size=1m")

    def move(self, folder):
        """Mounts it elsewhere instead, with what is open on it."""
        mount(self.folder, folder, None, _MOVE)
        self.folder = Path(folder)

    def fill(self):
        with open(self.folder / "ballast", "wb", buffering=0) as out:
            try:
                while True:
                    out.write(b"x" * 4096)
            except OSError:
                pass

    def free(self):
        (self.folder / "ballast").unlink()

    def set_read_only(self, read_only):
        """No file on it may be open for writing."""
        mount("none", self.folder, None, _REMOUNT | (_READ_ONLY if read_only else 0))


class FailingDisk(Shim):
    """A disk on which writes to open files, or flushes, fail."""

    def __init__(self, folder):
        super().__init__(folder, Path(__file__).with_name("diskfault.c"))

    def fail(self, write=0, sync=0):
        """Sets these error numbers from now on; 0 for success."""
        self.write(write, sync)


def resident_kib(pid):
    return int(Path(f"/proc/{pid}/statm").read_text().split()[1]) * os.sysconf("SC_PAGESIZE") // 1024


def kill_all(name):
    """Sends SIGKILL to every process of that name in this sandbox, which sees no others. True if there was any."""
    found = False
    for path in Path("/proc").glob("[0-9]*/comm"):
        try:
            if path.read_text() == f"{name}\n":
                os.kill(int(path.parent.name), signal.SIGKILL)
                found = True
        except (FileNotFoundError, ProcessLookupError):
            pass  # it has ended by itself
    return found


def readable_of_processes():
    """What anybody may read of running processes: their arguments, and the environment of those that may be traced."""
    return "".join(path.read_text(errors="replace") for name in ("cmdline", "environ")
                   for path in Path("/proc").glob(f"[0-9]*/{name}") if path.exists())
