"""Private namespaces for one command and everything that it starts.

Private are: the network, the process ids (all processes end with the command, however it ends), /tmp and /run (the
daemon's socket and PID file have fixed paths), /dev (for /dev/log), /etc/ssl/certs (libcurl's bundle path is compiled
in), /etc/hosts and /etc/resolv.conf. Works as root, with unprivileged user namespaces, or through sudo.
"""

import ctypes
import os
import shutil
import signal
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
WORK = Path("/run/sandbox")  # inside: databases, logs, keys; the folder itself is on a disk
HOSTS = "127.0.0.1 localhost\n::1 localhost\n"

_NEWNS, _NEWUSER, _NEWPID, _NEWNET, _NEWIPC = 0x20000, 0x10000000, 0x20000000, 0x40000000, 0x8000000
_NOSUID, _BIND, _MOVE, _REC, _PRIVATE = 2, 0x1000, 0x2000, 0x4000, 0x40000
_FLAGS = _NEWNS | _NEWPID | _NEWNET | _NEWIPC
_TOOLS = {"ip": "iproute2", "nsenter": "util-linux", "dnsmasq": "dnsmasq-base", "nginx": "nginx-light",
          "openssl": "openssl"}
_INSIDE = "QUORVAD_SANDBOX"
_libc = ctypes.CDLL(None, use_errno=True)


class SandboxError(Exception):
    """A prerequisite is missing; the text says which and what to do."""


def is_inside():
    return _INSIDE in os.environ


def run(command, keep=(), work=None):
    """Runs the command in a new sandbox and returns its exit status (128 + signal if a signal ended it)."""
    _check_tools()
    user = _choose()
    if user is None:
        return _through_sudo(command, keep, work)
    folder = _make_anew(Path(work).absolute()) if work else tempfile.mkdtemp(prefix="quorvad-sandbox-", dir=_disk())
    kept = {str(ROOT), os.getcwd(), *map(os.path.abspath, keep)}
    try:
        return _fork_into(command, sorted(kept), folder, user)
    finally:
        if not work:
            shutil.rmtree(folder, ignore_errors=True)


def _disk():
    """A folder on a disk where there is one: /tmp is often in memory."""
    return "/var/tmp" if os.access("/var/tmp", os.W_OK) else None


def _make_anew(folder):
    """An empty folder. Only what an earlier sandbox left there is deleted."""
    mark = folder / ".sandbox"
    if mark.exists():
        shutil.rmtree(folder)
    folder.mkdir(parents=True, exist_ok=True)
    if any(folder.iterdir()):
        raise SandboxError(f"{folder} is not empty and was not made by a sandbox. Choose another folder")
    mark.touch()
    return str(folder)


def _check_tools():
    os.environ["PATH"] = os.environ.get("PATH", "") + ":/usr/sbin:/sbin:/usr/bin:/bin"
    missing = {name: package for name, package in _TOOLS.items() if not shutil.which(name)}
    if missing:
        raise SandboxError(f"missing programs: {' '.join(missing)}. "
                           f"Install them: apt-get install {' '.join(missing.values())}")
    if not os.path.isdir("/etc/ssl/certs"):
        raise SandboxError("no folder /etc/ssl/certs. Create it: apt-get install ca-certificates")


def _choose():
    """False: as root without a user namespace; True: with one; None: neither is allowed."""
    for user in ([False] if os.geteuid() == 0 else []) + [True]:
        if _probe(user):
            return user
    return None


def _probe(user):
    """Tries what is needed in a child, so that a refusal leaves this process as it was."""
    pid = os.fork()
    if pid == 0:
        try:
            _unshare(user)
            inner = os.fork()
            if inner == 0:
                mount("none", "/", None, _REC | _PRIVATE)
                mount("tmpfs", "/tmp", "tmpfs")
                mount("proc", "/proc", "proc")
                os._exit(0)
            os._exit(os.waitstatus_to_exitcode(os.waitpid(inner, 0)[1]))
        except BaseException:
            os._exit(1)
    return os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1]) == 0


def _through_sudo(command, keep, work):
    sudo = shutil.which("sudo")
    if os.geteuid() == 0 or not sudo:
        raise SandboxError(_why_not(os.geteuid() == 0))
    ask = [] if sys.stdin.isatty() else ["-n"]
    print("sandbox: namespaces need privileges here, asking sudo", file=sys.stderr)
    if subprocess.run([sudo, *ask, "-v"]).returncode != 0:
        raise SandboxError("sudo refused. " + _why_not(False))
    words = [sudo, *ask, "env", f"PYTHONPATH={ROOT}", "PYTHONDONTWRITEBYTECODE=1", sys.executable, "-m", "sandbox"]
    for path in keep:
        words += ["--keep", path]
    return subprocess.call(words + (["--work", work] if work else []) + ["--", *command])


def _why_not(root):
    if root:
        return ("namespaces are refused although this is root: the capability CAP_SYS_ADMIN is missing or filtered. "
                "In a container, start it privileged (docker run --privileged).")
    reasons = []
    for knob, bad in (("kernel/unprivileged_userns_clone", "0"), ("user/max_user_namespaces", "0"),
                      ("kernel/apparmor_restrict_unprivileged_userns", "1")):
        path = Path("/proc/sys") / knob
        if path.exists() and path.read_text().strip() == bad:
            reasons.append(f"{knob.replace('/', '.')} is {bad}")
    return ("needs root, sudo, or unprivileged user namespaces, which this machine refuses"
            + (f" ({', '.join(reasons)})" if reasons else "") + ". Run it as root.")


def _unshare(user):
    uid, gid = os.getuid(), os.getgid()
    if _libc.unshare(_FLAGS | (_NEWUSER if user else 0)) != 0:
        raise OSError(ctypes.get_errno(), "unshare")
    if user:
        Path("/proc/self/setgroups").write_text("deny")
        Path("/proc/self/uid_map").write_text(f"0 {uid} 1")
        Path("/proc/self/gid_map").write_text(f"0 {gid} 1")


def mount(source, target, kind=None, flags=0, data=None):
    words = [None if word is None else os.fsencode(word) for word in (source, target, kind, data)]
    if _libc.mount(words[0], words[1], words[2], ctypes.c_ulong(flags), words[3]) != 0:
        error = ctypes.get_errno()
        raise SandboxError(f"mount of {target}: {os.strerror(error)}")


def _fork_into(command, kept, folder, user):
    """This process stays outside, waits, and passes stop signals on."""
    _unshare(user)
    pid = os.fork()
    if pid == 0:
        _libc.prctl(1, signal.SIGKILL)  # PR_SET_PDEATHSIG: killed outside means gone inside
        _be_init(command, kept, folder)
    return _await(pid)


def _await(pid):
    """Waits for a child and reaps whatever else ends; SIGTERM and SIGHUP are passed on, SIGINT reaches all anyway."""
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda received, frame: os.kill(pid, received))
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    while True:
        ended, status = os.wait()
        if ended == pid:
            code = os.waitstatus_to_exitcode(status)
            return code if code >= 0 else 128 - code


def _be_init(command, kept, folder):
    """Process 1 of the sandbox: mounts, starts the command, reaps; when it ends, so does every process inside."""
    status = 77
    try:
        cwd = os.getcwd()
        _private_folders(kept, folder)
        subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
        pid = os.fork()
        if pid == 0:
            os.chdir(cwd)
            os.environ.update({_INSIDE: "1", "PYTHONPATH": str(ROOT), "PYTHONDONTWRITEBYTECODE": "1"})
            os.execvp(command[0], command)
        status = _await(pid)
    except BaseException as error:
        print(f"sandbox: {error}", file=sys.stderr, flush=True)
    os._exit(status)


def _private_folders(kept, folder):
    mount("none", "/", None, _REC | _PRIVATE)
    handles = {path: os.open(path, os.O_PATH | os.O_DIRECTORY) for path in [*kept, folder]}
    mount("tmpfs", "/tmp", "tmpfs", _NOSUID, "mode=1777")
    _private_devices()
    mount("tmpfs", "/run", "tmpfs", _NOSUID, "mode=755")
    mount("proc", "/proc", "proc")
    for path in kept:
        if path.startswith(("/tmp/", "/run/")):
            os.makedirs(path, exist_ok=True)
            mount(f"/proc/self/fd/{handles[path]}", path, None, _BIND | _REC)
    WORK.mkdir()
    mount(f"/proc/self/fd/{handles[folder]}", WORK, None, _BIND)
    for handle in handles.values():
        os.close(handle)
    mount("tmpfs", "/etc/ssl/certs", "tmpfs", _NOSUID, "mode=755")
    cover("/etc/hosts", HOSTS)
    cover("/etc/resolv.conf", "")


def _private_devices():
    stage = Path("/tmp/.dev")
    stage.mkdir()
    mount("tmpfs", stage, "tmpfs", _NOSUID, "mode=755")
    for name in ("null", "zero", "full", "random", "urandom", "tty"):
        (stage / name).touch()
        mount(f"/dev/{name}", stage / name, None, _BIND)
    for name in ("shm", "pts"):
        (stage / name).mkdir()
    if os.path.isdir("/dev/pts"):
        mount("/dev/pts", stage / "pts", None, _BIND | _REC)
    for name, target in (("fd", "fd"), ("stdin", "fd/0"), ("stdout", "fd/1"), ("stderr", "fd/2")):
        (stage / name).symlink_to(f"/proc/self/{target}")
    mount(stage, "/dev", None, _MOVE)
    stage.rmdir()


def cover(path, text):
    """Replaces a system file by a text, in this sandbox only. May be repeated."""
    source = WORK / Path(path).name
    source.write_text(text)
    target = os.path.realpath(path)
    if not os.path.exists(target):  # a link into the folders that are empty here
        if not target.startswith(("/run/", "/tmp/")):
            raise SandboxError(f"{path} does not exist. Create it as an empty file")
        os.makedirs(os.path.dirname(target), exist_ok=True)
        Path(target).touch()
    if not os.path.samefile(source, target):
        mount(source, target, None, _BIND)
