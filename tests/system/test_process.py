"""The daemon as a process: options, signals, exit statuses, background, PID file."""

import os
import re
import signal
import stat
import subprocess
import time
from pathlib import Path

from sandbox.processes import wait_for
from sandbox.router import PID_FILE, SOCKET

USAGE = ("Usage: {} [OPTION]\n  -h : prints this help\n  -f : starts application in foreground\n"
         "  -d : enable debug logging \n  -v : prints version information\n"
         "  -p : sets PID filename without extension\n")
QUICK = 40  # seconds for anything that must not wait out the loop's minute


def test_options(router):
    quorvad = str(router.bin / "quorvad")
    usage = USAGE.format(quorvad)
    for options, status, output, error in (
            (["-h"], 0, usage, ""), (["-v"], 0, "1.1.1\n", ""), (["-d", "-v"], 0, "1.1.1\n", ""),
            (["-dfv"], 0, "1.1.1\n", ""), (["-p", "name", "-h"], 0, usage, ""), (["-v", "-x"], 0, "1.1.1\n", ""),
            (["-x"], 1, usage, "Wrong option\n"), (["-p"], 1, usage, "Wrong option\n"),
            (["--help"], 1, usage, "Wrong option\n"), (["-x", "-v"], 1, usage, "Wrong option\n")):
        done = subprocess.run([quorvad, *options], capture_output=True, text=True, timeout=QUICK)
        assert (done.returncode, done.stdout) == (status, output), options
        assert done.stderr.endswith(error) and bool(done.stderr) == bool(error), options
        assert not PID_FILE.exists()


def test_signals(router):
    router.start_service()
    router.describe()
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGQUIT):
        daemon = router.start_daemon(name=f"quorvad-{number}")
        daemon.wait_log("Poll\\.")
        assert not PID_FILE.exists()
        daemon.send(signal.SIGPIPE)
        daemon.wait_log("Received SIGPIPE", QUICK)
        assert daemon.running
        assert daemon.stop(number, QUICK) == 0
        assert daemon.count("Received SIGPIPE") == daemon.count(f"Terminating on signal: {number}\n") == 1
    daemon = router.start_daemon(name="quorvad-hup")
    daemon.wait_log("Poll\\.")
    assert daemon.stop(signal.SIGHUP, QUICK) == -signal.SIGHUP
    daemon = router.start_daemon("-f", name="quorvad-quiet")
    daemon.wait_log("generated at: ")
    wait_for("signal handlers", lambda: handles_stop(daemon.pid), QUICK)
    assert daemon.stop(signal.SIGTERM, QUICK) == 0
    assert daemon.count(" debug ") == 0


def handles_stop(pid):
    caught = int(re.search(r"^SigCgt:\s*(\w+)", Path(f"/proc/{pid}/status").read_text(), re.M)[1], 16)
    return all(caught >> (number - 1) & 1 for number in (signal.SIGINT, signal.SIGTERM, signal.SIGQUIT))


def pid_text():
    try:
        return PID_FILE.read_text()
    except FileNotFoundError:
        return ""


def detached(router, *options):
    """Starts a daemon in the background and returns its pid, which the PID file holds once it has been replaced."""
    before, parent = pid_text(), router.start_daemon("-d", *options, name="parent")
    assert parent.wait(QUICK) == 0
    return int(wait_for("a new PID file", lambda: pid_text() not in ("", before) and pid_text(), QUICK))


def gone(pid):
    wait_for(f"end of process {pid}", lambda: not os.path.exists(f"/proc/{pid}"), QUICK)


def test_background(router):
    router.start_syslog()
    router.start_service()
    # Contents that a PID file may have after a crash or tampering; none names a running daemon.
    for stale in ("", "garbage\n", "0\n", "-1\n", "999999999999999999999\n", "4194000\n", "12 34\n", "1" * 5000):
        PID_FILE.write_text(stale)
        pid = detached(router)
        assert PID_FILE.read_text() == f"{pid}\n" and PID_FILE.stat().st_mode == stat.S_IFREG | 0o644
        os.kill(pid, signal.SIGTERM)
        gone(pid)
        assert not PID_FILE.exists(), stale

    pid = detached(router, "-p", "other")  # which is accepted without effect
    process = Path(f"/proc/{pid}")
    assert os.readlink(process / "cwd") == "/"
    assert {os.readlink(process / "fd" / str(number)) for number in range(3)} == {"/dev/null"}
    assert os.getsid(pid) not in (pid, os.getsid(0))  # a session of its own, which it does not lead
    router.syslog.wait_log(r"quorvad\S*: .*Poll\.")
    for options in (("-d",), ("-f",)):
        second = router.start_daemon(*options, name="second")
        assert second.wait(QUICK) == 1
        assert PID_FILE.read_text() == f"{pid}\n"
    router.syslog.wait_log(r"quorvad \(quorvad\) is already running\. Exiting \.\.\.", times=2)
    os.kill(pid, signal.SIGQUIT)
    gone(pid)
    router.syslog.wait_log("Terminating on signal: 3")
    assert not PID_FILE.exists()


def test_start_failures(router):
    # A stop ends the search for the service at once; otherwise the search ends with status 1.
    stopped, alone = router.start_daemon(name="stopped"), router.start_daemon(name="alone")
    started = time.monotonic()
    stopped.wait_log("getTableNames|connect", QUICK)
    wait_for("signal handlers", lambda: handles_stop(stopped.pid), QUICK)
    assert stopped.stop(signal.SIGTERM, QUICK) == 0
    assert alone.wait(90) == 1
    assert 30 < time.monotonic() - started
    assert re.search(rf"{SOCKET}.*(No such file|not there|refused)", alone.log()), alone.tail()
