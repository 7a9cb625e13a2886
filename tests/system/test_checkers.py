"""The daemon under a checker: the thread sanitizer it was built with, the race checker of valgrind that QUORVAD_RACES
names (see scripts/races), or, with QUORVAD_VALGRIND=1, valgrind's memory checker."""

import os
import time

import pytest

from sandbox.router import START_PERIOD

from doubles.soak import Soak

CHECKER = os.environ.get("QUORVAD_RACES", "")
HERE = os.path.dirname(__file__)
# The checker does not see the C library's own lock around the time zone.
os.environ["TSAN_OPTIONS"] = f"second_deadlock_stack=1:suppressions={HERE}/races.supp"
VALGRIND = ("valgrind", "--error-exitcode=99", "--num-callers=30")
RACES = (*VALGRIND, f"--tool={CHECKER}", "--fair-sched=yes", f"--suppressions={HERE}/valgrind.supp")
MEMORY = (*VALGRIND, "--leak-check=full", "--errors-for-leak-kinds=definite,indirect,possible", "--track-fds=yes")


def test_races(router):
    """Ten accounts, replacements, outages and stops."""
    prefix = RACES if CHECKER else ()
    assert Soak(router, 170, prefix).run() == 0
    for tenths in range(5):
        daemon = router.start_daemon(prefix=prefix, name=f"stopped-{tenths}")
        daemon.wait_log("generated at")
        time.sleep(tenths / 10)
        assert daemon.stop(seconds=180) == 0


@pytest.mark.skipif(os.environ.get("QUORVAD_VALGRIND") != "1", reason="opt-in: QUORVAD_VALGRIND=1")
def test_memory(router):
    """One update of each kind and a stop."""
    router.start_usual()
    daemon = router.start_daemon(prefix=MEMORY)
    router.wait_rows("DynDnsStatus", START_PERIOD + 90, 2, Success=1)
    assert daemon.stop(seconds=60) == 0
    daemon.wait_log("ERROR SUMMARY: 0 errors")
