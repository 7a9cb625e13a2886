"""A separate Debian system in a folder: made by debootstrap, booted with its own systemd inside a sandbox.

Outside a sandbox: make_base() and own_cgroups(). Inside: BootedRoot.
"""

import contextlib
import hashlib
import os
import shutil
import subprocess
import time
from pathlib import Path

from sandbox.namespaces import SandboxError
from sandbox.processes import Failure, Program, wait_for

_ENVIRONMENT = ("env", "-i", "PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C", "DEBIAN_FRONTEND=noninteractive")
_CGROUPS = Path("/sys/fs/cgroup")
# Process 1 of the system. As in a container, /proc/sys and /sys cannot be written.
_BOOT = """
set -e
mount --make-rprivate /
mount --bind "$1" "$1"
cd "$1"
mount -t proc proc proc
mount --bind proc/sys proc/sys
mount -o remount,bind,ro proc/sys
mount -t sysfs -o ro sysfs sys
if [ -e /sys/fs/cgroup/cgroup.procs ]; then
    mount -t cgroup2 cgroup2 sys/fs/cgroup
else
    mount -t tmpfs -o mode=755 tmpfs sys/fs/cgroup
    mkdir sys/fs/cgroup/unified sys/fs/cgroup/systemd
    mount -t cgroup2 cgroup2 sys/fs/cgroup/unified
    mount -t cgroup -o name=systemd,none cgroup sys/fs/cgroup/systemd
fi
mount -t tmpfs -o mode=755 tmpfs run
mount -t tmpfs -o mode=1777 tmpfs tmp
mount -t tmpfs -o mode=755 tmpfs dev
for name in null zero full random urandom tty; do touch dev/$name; mount --bind /dev/$name dev/$name; done
mkdir dev/shm dev/pts
mount -t devpts -o newinstance,ptmxmode=666 devpts dev/pts
ln -s pts/ptmx dev/ptmx
for pair in fd: stdin:/0 stdout:/1 stderr:/2; do ln -s "/proc/self/fd${pair#*:}" "dev/${pair%%:*}"; done
mkdir -p .outside
pivot_root . .outside
umount -l /.outside
rmdir /.outside
exec env -i container=quorvad-check PATH=/usr/sbin:/usr/bin:/sbin:/bin /lib/systemd/systemd --log-target=console
"""


def make_base(cache, packages):
    """Returns the archive of a fresh system of this machine's release with these packages, made once for each set of
    them from this machine's own package archives."""
    suite, mirror, keyring = _release()
    key = hashlib.sha256(repr((suite, sorted(packages))).encode()).hexdigest()[:12]
    archive = Path(cache) / f"root-{suite}-{key}.tar"
    if not archive.exists():
        folder, new = Path(cache) / "debootstrap", archive.with_suffix(".new")
        shutil.rmtree(folder, ignore_errors=True)
        subprocess.run(["debootstrap", "--variant=minbase", f"--keyring={keyring}", f"--include={','.join(packages)}",
                        suite, folder, mirror], check=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
        subprocess.run(["tar", "-C", folder, "--exclude=./var/cache/apt/archives/*.deb", "-cf", new, "."], check=True)
        shutil.rmtree(folder)
        new.rename(archive)
    return archive


def _release():
    settings = dict(line.split("=", 1) for line in Path("/etc/os-release").read_text().splitlines() if "=" in line)
    suite = settings["VERSION_CODENAME"].strip('"')
    known = subprocess.run(["apt-get", "indextargets", "--format", "$(REPO_URI) $(CODENAME) $(COMPONENT) $(SIGNED_BY)",
                            "Created-By: Packages"], capture_output=True, text=True, check=True).stdout
    for line in known.splitlines():
        mirror, codename, component, *signed = line.split()
        if (codename, component) == (suite, "main"):
            usual = f"/usr/share/keyrings/{settings['ID']}-archive-keyring.gpg"
            return suite, mirror, next((name for name in signed if name.startswith("/")), usual)
    raise SandboxError(f"apt knows no archive of {suite}. Add one below /etc/apt, then run: apt-get update")


@contextlib.contextmanager
def own_cgroups():
    """Control groups for processes started inside the block; yields a function for subprocess's preexec_fn."""
    tops = [path for path in (_CGROUPS, _CGROUPS / "unified", _CGROUPS / "systemd") if (path / "cgroup.procs").exists()]
    groups = [top / f"quorvad-check-{os.getpid()}" for top in tops]

    def join():
        for group in groups:
            (group / "cgroup.procs").write_text("0")
    try:
        for group in groups:
            group.mkdir()
        yield join
    except OSError as error:
        raise SandboxError(f"cannot make a control group: {error}. Run it as root, outside a container") from None
    finally:
        for group in groups:
            _remove(group)


def _remove(group):
    end = time.monotonic() + 20  # killed processes take a moment to leave
    for folder, _, _ in os.walk(group, topdown=False):
        while True:
            try:
                os.rmdir(folder)
                break
            except OSError:
                if time.monotonic() > end:
                    raise
                time.sleep(0.1)


class BootedRoot:
    """A running system, made from a base archive. It shares the sandbox's network and ends with the sandbox."""

    def __init__(self, archive, folder):
        self.path = Path(folder) / "root"
        self.path.mkdir()
        subprocess.run(["tar", "-C", self.path, "-xf", archive], check=True)
        self._boot = Program("system", ["unshare", "--mount", "--pid", "--uts", "--cgroup", "--fork", "--kill-child",
                                        "sh", "-c", _BOOT, "boot", self.path], folder)

    def boot(self):
        self._boot.start()
        children = Path(f"/proc/{self._boot.pid}/task/{self._boot.pid}/children")
        self._first = wait_for("process 1", lambda: children.read_text().strip(), 20, [self._boot])
        wait_for("the system is up", self._is_up, 120, [self._boot], 1)

    def _is_up(self):
        return self.run("systemctl", "is-system-running", check=False).stdout.strip() in ("running", "degraded")

    def run(self, *words, check=True, text="", user=None, seconds=120):
        """Runs a command inside, as root or as this user with all its groups. With check, a failure is an exception."""
        become = ("runuser", "-u", user, "--") if user else ()
        command = ("nsenter", f"--target={self._first}", "--mount", "--pid", "--uts", "--cgroup", "--", *_ENVIRONMENT,
                   *become, *map(str, words))
        done = subprocess.run(command, capture_output=True, text=True, input=text, timeout=seconds, cwd="/")
        if check and done.returncode != 0:
            raise Failure(f"{' '.join(map(str, words))}: status {done.returncode}\n{done.stdout}{done.stderr}")
        return done

    def write(self, name, text, mode=0o644):
        """Writes a file on the system's disk (not in its /run, /tmp and /dev)."""
        path = self.path / name.lstrip("/")
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
        path.chmod(mode)

    def files(self):
        """All files on the disk, except the records of package tools and loggers."""
        kept = ("var/lib/dpkg", "var/lib/apt", "var/cache", "var/log", "var/lib/systemd", "proc", "sys", "dev", "run", "tmp")
        found = set()
        for folder, names, files in os.walk(self.path):
            here = os.path.relpath(folder, self.path)
            names[:] = [name for name in names if os.path.normpath(f"{here}/{name}") not in kept]
            found.update(os.path.normpath(f"{here}/{name}") for name in names + files)
        return found

    def tail(self):
        journal = self.run("journalctl", "--no-pager", "-n", "60", check=False).stdout if self._boot.running else ""
        return self._boot.tail() + "\n" + journal
