"""Ten accounts, replacements, outages and stops under a race checker: the daemon's own (a build with the thread sanitizer),
or one of valgrind's, which QUORVAD_RACES names (see scripts/races)."""

import os
import time

from doubles.soak import Soak

CHECKER = os.environ.get("QUORVAD_RACES", "")
HERE = os.path.dirname(__file__)
# The C library's own lock around the time zone is not visible to the checker.
os.environ["TSAN_OPTIONS"] = f"second_deadlock_stack=1:suppressions={HERE}/races.supp"
PREFIX = ("valgrind", f"--tool={CHECKER}", "--error-exitcode=99", "--num-callers=30", "--fair-sched=yes",
          f"--suppressions={HERE}/valgrind.supp")


def test_races(router):
    prefix = PREFIX if CHECKER else ()
    assert Soak(router, 170, prefix).run() == 0
    for tenths in range(5):
        daemon = router.start_daemon(prefix=prefix, name=f"stopped-{tenths}")
        daemon.wait_log("generated at")
        time.sleep(tenths / 10)
        assert daemon.stop(seconds=180) == 0
