"""A misbehaving configuration service: doubles/relay.py sits between daemon and service."""

import signal
import time

from sandbox.processes import wait_for
from sandbox.router import GNUDIP, START_PERIOD

from doubles.machine import resident_kib
from test_machine import BUILT, UPDATED

ACCESS = 60  # seconds that the daemon asks for write access


def test_reads(router):
    """However a reply is corrupted, the daemon says so, reconnects, and misses no change."""
    router.start_behind_relay()
    daemon, size = router.daemon, resident_kib(router.daemon.pid)
    for number, (fault, reason) in enumerate((
            ("half", "closed by the service"), ("garbage", "unreadable: malformed message"),
            ("huge", "unreadable: a frame of 4294967295 bytes announced"), ("silence", "no answer in time"))):
        router.set_faults(GetRowByKey=fault)
        mark = router.move(f"10.64.0.{100 + number}")
        daemon.wait_log(rf"lost \({reason}", 40, mark)
        router.set_faults()
        daemon.wait_log(BUILT, 60, mark, 2)
    # Another program answers in the service's place; then the service returns with another database.
    mark = daemon.mark()
    router.set_faults(Hello="garbage")
    router.service.kill()
    router.service, router.database = None, router.folder / "other.db"
    router.start_service()
    daemon.wait_log("Cannot reach .*: unreadable: malformed message", 40, mark)
    router.set_faults()
    router.describe()
    router.add_account("update-url", "https://ddns.example.net/plain/other", "other.example.org", Id=7)
    daemon.wait_log("Initialize DynDNS cfg id 7", 60, mark)
    assert resident_kib(daemon.pid) < size + 4096 and daemon.stop(seconds=40) == 0


def test_writes(router):
    """Without write access a pass of the loop takes a minute, and the other account's update goes out meanwhile."""
    router.start_behind_relay()
    daemon = router.daemon
    router.set_faults(GetAccess="refuse")
    daemon.wait_log(UPDATED, START_PERIOD)
    wait_for("the wait for write access", lambda: router.nudge() or router.corrupted(), 40, [daemon])
    wait_for("both updates", lambda: router.isp.requests() and router.isp.updates(GNUDIP), ACCESS - 20)
    daemon.wait_log("Failed to get DB access", 2 * ACCESS)
    times = router.corrupted()
    assert ACCESS - 1 < times[120] - times[0] < ACCESS + 30


def test_stopped(router):
    """The service hangs for a minute while outcomes are due, and vanishes while the daemon stops."""
    router.start_behind_relay()
    mark = router.daemon.wait_log(rf"(?s){BUILT}.*{BUILT}.*commitChanges").end()
    router.service.send(signal.SIGSTOP)  # before the updates: an outcome may be written as soon as it is there
    router.daemon.wait_log(UPDATED, START_PERIOD, mark)
    stopped = time.monotonic()
    router.daemon.wait_log(r"lost \(no answer in time", START_PERIOD + 30, mark)
    wait_for("a minute", lambda: time.monotonic() > stopped + 60, 70)
    router.service.send(signal.SIGCONT)
    router.daemon.wait_log("Connected to the configuration service", 80, mark)
    router.wait_rows("DynDnsStatus", 2 * START_PERIOD, 2, Success=1)
    router.set_faults(GetAccess="end")
    mark = router.move("10.64.0.77")
    router.daemon.wait_log("found latest elem", 2 * START_PERIOD, mark)
    router.daemon.send(signal.SIGTERM)
    assert router.daemon.wait(ACCESS + 40) == 0
