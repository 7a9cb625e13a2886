"""Stops and crashes at random moments. QUORVAD_ROUNDS sets how many; a failure names the seed that repeats it."""

import json
import os
import random
import signal
import stat
import threading
import time
from concurrent.futures import ThreadPoolExecutor

from sandbox.processes import wait_for
from sandbox.router import GNUDIP_HOST, HTTPS_HOST

from test_process import handles_stop

ROUNDS = int(os.environ.get("QUORVAD_ROUNDS", "8"))
SIDE_BY_SIDE = 50  # daemons at once
ATTEMPT = 45  # seconds: enough for an attempt in progress, not for the loop's minute


def seeded():
    seed = int(os.environ.get("QUORVAD_SEED", "0")) or random.randrange(1, 10**9)
    print("QUORVAD_SEED", seed)
    return random.Random(seed)


def test_stop_signals(router):
    dice = seeded()
    mute = "10.99.0.36"
    router.start_tables({"alice": {"password": "word", "domain": "dyn.example.org"}}, pages={"page": "good\n"},
                        extra_names={"mute.example.net": mute})
    router.isp.start_gnudip(mute, {}, "no-salt")
    router.add_account("update-url", f"https://{HTTPS_HOST}/plain/page", "home.example.org", Retry=5)
    for server in (GNUDIP_HOST, "mute.example.net"):
        router.add_account("gnudip", server, "alice.dyn.example.org", "alice", "word", Retry=5)
    # Moments in start-up, in the first load, and in the start periods and attempts.
    plans = [(number, dice.uniform(0, (0.1, 2, 80)[number % 3]),
              dice.choice((signal.SIGINT, signal.SIGTERM, signal.SIGQUIT))) for number in range(ROUNDS)]
    with ThreadPoolExecutor(SIDE_BY_SIDE) as pool:
        seconds = sorted(pool.map(lambda plan: one_stop(router, *plan), plans))
    print(f"{ROUNDS} stops: median {seconds[ROUNDS // 2]:.2f} s, slowest {seconds[-1]:.2f} s")


def one_stop(router, number, moment, signo):
    """How many seconds a stop takes, the given moment after the daemon's signal handlers are installed."""
    daemon = router.start_daemon(name=f"stop-{number}")
    wait_for("signal handlers", lambda: handles_stop(daemon.pid), 40, [daemon], 0.005)
    time.sleep(moment)
    sent = time.monotonic()
    assert daemon.stop(signo, ATTEMPT) == 0, daemon.tail()
    return time.monotonic() - sent


def test_killed_service(router):
    """The service is killed while a table is replaced over and over: a restart always finds one whole version."""
    dice = seeded()
    router.start_service()
    version, committed = 0, set()
    for number in range(ROUNDS):
        killer = threading.Timer(dice.uniform(0, 0.3), router.service.kill)
        killer.start()
        done = None
        while not done or done.returncode == 0:
            committed = {f"version {version}"} if done else committed
            version += 1
            rows = [{"Id": row, "Hostname": f"version {version}"} for row in range(1, 31)]
            done = router.ctl("import", "-", text=json.dumps({"DynDns": rows}), check=False)
        killer.join()
        assert "configuration service" in done.stderr, done.stderr
        router.start_service()
        found = [row["Hostname"] for row in router.rows("DynDns")]
        # The version in progress may have been committed just before its writer was told.
        assert set(found) in (committed, {f"version {version}"}) and len(found) in (0, 30), number
        committed = set(found)
        for path in router.folder.glob("config.db*"):
            assert stat.S_IMODE(path.stat().st_mode) == 0o600, path
    print(f"{ROUNDS} kills, {version} versions")
