"""The daemon under valgrind through one update of each kind and a stop. Opt-in: QUORVAD_VALGRIND=1."""

import os
import signal

import pytest

from sandbox.router import START_PERIOD

VALGRIND = ("valgrind", "--error-exitcode=99", "--leak-check=full", "--errors-for-leak-kinds=definite,indirect,possible",
            "--track-fds=yes", "--num-callers=30")


@pytest.mark.skipif(os.environ.get("QUORVAD_VALGRIND") != "1", reason="opt-in: QUORVAD_VALGRIND=1")
def test_valgrind(router):
    router.start_usual()
    daemon = router.start_daemon(prefix=VALGRIND)
    router.wait_rows("DynDnsStatus", START_PERIOD + 90, 2, Success=1)
    assert daemon.stop(signal.SIGTERM, 60) == 0
    daemon.wait_log("ERROR SUMMARY: 0 errors")
