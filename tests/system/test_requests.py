"""How many requests a provider sees that answers "nochg" to an address which it has already."""

from pathlib import Path

from sandbox.router import HTTPS_HOST, START_PERIOD
from sandbox.shims import Clock

ACCOUNTS = 10
HOUR = 3600  # longer than any start period, and than any pause before another try
BUILT = "Built scheduler with"
RUNS = r"\(\d+\) run\n"  # a scheduler: it counts its start period from now on
READ = "Table StatusNetifWatch changed"


def start(router):
    Path("/run/cfgserver").mkdir()
    router.start_provider(pages={"page": "good\n"})
    router.start_service("--runtime", "/run/cfgserver")
    router.start_watcher()
    router.describe()
    for number in range(ACCOUNTS):
        router.add_account("update-url", f"https://{HTTPS_HOST}/plain/page?{number}", "home.example.org", Retry=5,
                           ExpectedResultSubString="good", UnchangedResultSubString="nochg")
    router.clock, router.hours = Clock(router.folder), 0
    router.start_daemon(env=router.clock.env).wait_log(RUNS, times=ACCOUNTS)


def let_pass(router, rounds):
    """What is pending becomes due, another try as well. By then each account was sent this often, with success."""
    router.hours += 1
    router.clock.step(router.hours * HOUR)
    router.wait_rows("DynDnsLog", START_PERIOD, rounds * ACCOUNTS)
    assert len(router.isp.requests()) == rounds * ACCOUNTS
    assert [row["Success"] for row in router.rows("DynDnsStatus")] == [1] * ACCOUNTS


def await_pass(router, mark):
    """Waits until the daemon has acted on what it found after the mark."""
    for times in (1, 2):
        router.nudge()
        router.daemon.wait_log(READ, start=mark, times=times)


def test_requests(router):
    start(router)
    let_pass(router, 1)
    (router.isp.folder / "pages" / "page").write_text("nochg\n")

    # The service restarts: the daemon finds the interfaces and all else as before.
    mark = router.daemon.mark()
    router.service.stop()
    router.start_service()
    router.daemon.wait_log("Connected to the configuration service", start=mark)
    await_pass(router, mark)
    assert router.daemon.count(BUILT, mark) == 0

    # One account is edited: all are sent again, and "nochg" is no reason for another try.
    router.ctl("set", "DynDns", "Id=1", "Hostname=other.example.org")
    router.daemon.wait_log(RUNS, start=mark, times=ACCOUNTS)
    let_pass(router, 2)

    # Everything restarts, as in an upgrade.
    mark = router.daemon.mark()
    for program in (router.daemon, router.watcher, router.service):
        assert program.stop() == 0
    router.start_service()
    router.start_watcher()
    router.daemon.start().wait_log(RUNS, start=mark, times=ACCOUNTS)
    let_pass(router, 3)

    # That was all, however long one waits.
    mark = router.daemon.mark()
    router.clock.step((router.hours + 1) * HOUR)
    await_pass(router, mark)
    assert router.daemon.stop() == 0 and len(router.isp.requests()) == 3 * ACCOUNTS
