"""Faults of the machine: exhausted resources, a failing disk, a stepped clock, SIGKILL."""

import errno
import os
import random
import signal
import time
from datetime import datetime

import pytest

from sandbox.namespaces import SandboxError
from sandbox.processes import Failure, wait_for
from sandbox.router import PID_FILE, START_PERIOD
from sandbox.shims import Clock

from doubles import faultgnudip, machine
from doubles.faultprovider import PORTS
from doubles.links import FAULT_ANSWER, start_faults
from test_process import QUICK, detached, gone

DAY = 86400
BUILT = "Built scheduler with"
UPDATED = "HTTPS update sent|GnuDIP update sent OK"
needs_users = pytest.mark.skipif(not machine.HAS_USERS, reason="needs users of its own: run it as root")


@needs_users
def test_limits(router):
    """Without threads, memory or randomness the daemon exits with status 1 and says why; it never hangs."""
    router.start_usual("--group", "daemon")
    for number in range(40):  # a MiB of address space for the stack of each
        router.add_account("update-url", "https://ddns.example.net/", f"home{number}.example.org")
    thread = "Can't start a thread for an update .*: Resource temporarily unavailable"
    for name, prefix, reason in (
            ("threads", (*machine.as_user(1), *machine.limited(nproc=1)), thread),
            ("memory", machine.limited(**{"as": 32 << 20}), f"{thread}|std::bad_alloc"),
            ("random", machine.WITHOUT_URANDOM, r"random_device::random_device\(const std::string&\)")):
        daemon = router.start_daemon(prefix=prefix, name=name)
        assert daemon.wait(QUICK) == 1, daemon.tail()
        assert daemon.count(rf" error main:\d+: ({reason})\n"), daemon.tail()


def test_memory(router):
    """Whatever the limit on memory, a program says why it ends, or works and stops."""
    router.start_usual()
    outcomes = set()
    own = ("--socket", router.folder / "own.socket", "--database", router.folder / "own.db")
    for name, options, ready in (("quorvad", (), "Connected to the configuration"), ("cfgserver", own, "Serving "),
                                 ("netifwatch", (), "Connected to the configuration")):
        for kib in range(5 << 10, 16 << 10, 256):
            prefix = machine.limited(**{"as": kib << 10})
            program = router.start_program(f"{name}-{kib}", [*prefix, router.bin / name, "-f", *options])
            wait_for("end or start", lambda: not program.running or program.count(ready), QUICK)
            status = program.stop(seconds=QUICK)
            # The dynamic linker's status; and the C++ library's where not even an exception can be made.
            assert status in (0, 1, 127, -signal.SIGABRT) and program.log(), (kib, status)
            outcomes.add((name, status))
    # Each works at the upper end and cannot start at the lower one; what it says between them depends on the machine.
    works, fails = ({name for name, status in outcomes if bool(status) == failed} for failed in (False, True))
    assert works == fails == {"quorvad", "cfgserver", "netifwatch"}


def test_descriptors(router):
    """Tries that find no free descriptor fail, say so, and succeed once there are some."""
    router.start_usual(Retry=2)
    daemon = router.start_daemon()
    daemon.wait_log(BUILT, times=2)
    machine.set_descriptors(daemon.pid, len(os.listdir(f"/proc/{daemon.pid}/fd")))
    for reason in ("Can't read the list of interfaces, so 'ppp0' counts as down", "Failed to create socket"):
        daemon.wait_log(f"{reason}: Too many open files", START_PERIOD)
    machine.set_descriptors(daemon.pid, 1024)
    router.wait_rows("DynDnsStatus", 2 * START_PERIOD, 2, Success=1)
    assert daemon.stop() == 0


def test_disk(router):
    """The service's disk fails, is full, then read-only: a refused write is reported and never takes effect, not even
    after a crash, and the service recovers."""
    disk, faults = machine.SmallDisk(router.folder / "disk"), machine.FailingDisk(router.folder)
    router.database = disk.folder / "config.db"
    router.start_service(env=faults.env)
    router.ctl("add", "DynDns", "Id=1", "Hostname=kept")
    for number, fault in enumerate(({"write": errno.EROFS}, {"write": errno.EIO}, {"sync": errno.EIO})):
        reason = os.strerror(*fault.values())
        router.ctl("set", "DynDns", "Id=1", f"Hostname=kept-{number}")
        faults.fail(**fault)
        refused = router.ctl("set", "DynDns", "Id=1", "Hostname=refused", check=False)
        assert refused.returncode == 1 and f"disk I/O error ({reason}); nothing was written" in refused.stderr
        router.ctl("add", "StatusNetifWatch", "Name=any")  # kept in memory only, so it can be written
        router.service.kill()
        router.start_service()
        assert router.rows("DynDns")[0]["Hostname"] == f"kept-{number}"
        faults.fail()
    with pytest.raises(SandboxError, match="busy"):  # by itself, a file system may do so all the same
        disk.set_read_only(True)
    home, away = disk.folder, router.folder / "away"
    away.mkdir()
    disk.move(away)
    refused = router.ctl("delete", "DynDns", "Id=1", check=False)
    assert refused.returncode == 1 and "its file system was replaced" in refused.stderr and not list(home.iterdir())
    disk.move(home)
    router.ctl("delete", "DynDns", "Id=1")
    router.service.stop()
    https, _ = router.start_usual()
    daemon = router.start_daemon()
    daemon.wait_log(BUILT, times=2)
    disk.fill()
    refused = router.ctl("set", "DynDns", f"Id={https}", "Hostname=" + "h" * 60000, check=False)
    assert refused.returncode == 1 and "database or disk is full; nothing was written" in refused.stderr
    faults.fail(write=errno.ENOSPC)  # an outcome is small and fits into the log file as it is
    daemon.wait_log(UPDATED, START_PERIOD)
    router.wait_written(router.service, "Commit of client 'quorvad' failed: database file .*full")
    assert router.rows("DynDnsStatus") == []
    faults.fail()
    router.service.stop()
    disk.set_read_only(True)
    with pytest.raises(Failure, match="Read-only file system"):
        router.start_service()
    disk.set_read_only(False)
    disk.free()
    router.start_service()
    assert router.rows("DynDns", Id=https)[0]["Hostname"] == "home.example.org"
    router.ppp0.set_address("10.64.0.77")  # the daemon may return only once the row is there, and sees what differs
    router.show_interfaces()
    router.wait_rows("DynDnsStatus", START_PERIOD + 45, 2, Success=1)


def test_clock(router):
    """A step forward by a day makes a pending try due at once; after a step back, changes have their usual effect."""
    clock = Clock(router.folder)
    https, gnudip = router.start_usual()
    daemon = router.start_daemon(env=clock.env)
    daemon.wait_log(r"\(\d+\) run\n", times=2)  # each scheduler counts its start period from now on
    clock.step(DAY)
    router.wait_rows("DynDnsLog", QUICK, 2)
    clock.step(-DAY)
    router.move("10.64.0.77")
    stamps = [row["Timestamp"] for row in router.wait_rows("DynDnsLog", START_PERIOD + 15, 4)]
    assert stamps[0] > stamps[-1]
    # Today's certificate is not valid yesterday.
    assert {row["DynDnsId"]: row["Success"] for row in router.rows("DynDnsStatus")} == {https: 0, gnudip: 1}
    assert daemon.stop(seconds=QUICK) == 0


def test_clock_attempts(router):
    """Steps during attempts, as far as 1970 and past 2038: both kinds end in time, and their outcomes bear the new time."""
    clock, offset = Clock(router.folder), 0
    start_faults(router.isp, "word")
    router.start_service()
    router.describe()
    router.add_account("update-url", f"http://{FAULT_ANSWER}:{PORTS['silent']}/", "x")
    router.add_account("gnudip", faultgnudip.ADDRESSES["silent-after-salt"], "alice.dyn.example.org", "alice", "word")
    daemon, mark = router.start_daemon(env=clock.env), 0
    seen = set()
    for number, target in enumerate((-DAY, DAY, DAY - int(time.time()), 5844 * DAY)):
        daemon.wait_log(r"\(\d+\) run\n", times=2, start=mark)
        for times in (1, 2):  # both tries become due, also one that began to count its period after the first step
            clock.step(offset + times * DAY)
            daemon.wait_log(r"action:\d+: execute\n", times=times, start=mark)
        clock.step(target)
        offset, stepped = target, time.monotonic()
        rows = router.wait_rows("DynDnsLog", 30, 2 * (number + 1))
        assert time.monotonic() - stepped < 10 + 8
        for row in rows:
            if row["Id"] not in seen:
                stamp = datetime.strptime(row["Timestamp"], "%Y-%m-%dT%H:%M:%S%z").timestamp()
                assert abs(stamp - time.time() - target) < 60, (row, target)
        seen = {row["Id"] for row in rows}
        router.ctl("status")
        router.ctl("log")
        mark = router.move(f"10.64.0.{77 + number}")
    assert daemon.stop(seconds=QUICK) == 0


def test_killed(router):
    """SIGKILL at any moment: the next start takes over, and nothing is left half written or held."""
    router.start_usual()
    for _ in range(int(os.environ.get("QUORVAD_ROUNDS", "20"))):
        parent = router.start_daemon("-d", name="parent")
        time.sleep(random.uniform(0, 0.4))
        wait_for("end of all", lambda: not (parent.running | machine.kill_all("quorvad")), QUICK)
    pid = detached(router)
    router.ctl("set", "etl", "Id=1", "serial_no=after")  # write access is free
    router.daemon = None  # it has detached
    router.wait_rows("DynDnsStatus", START_PERIOD + 15, 2, Success=1)
    os.kill(pid, signal.SIGTERM)
    gone(pid)
    assert not PID_FILE.exists()
