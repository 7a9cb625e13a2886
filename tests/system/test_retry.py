"""Failure, a doubled interval, then success, for both kinds of account; and an account without tries."""

from sandbox.router import GNUDIP, GNUDIP_HOST, HTTPS_HOST, START_PERIOD

SLICE = 4  # seconds between two checks of a deadline


def test_retry(router):
    word = "gnu:pass word"
    router.start_tables({"alice": {"password": word, "domain": "else.example.org"}})
    https = router.add_account("update-url", f"https://{HTTPS_HOST}/broken/", "home.example.org", Retry=3)
    gnudip = router.add_account("gnudip", GNUDIP_HOST, "alice.dyn.example.org", "alice", word, Retry=2)
    never = router.add_account("update-url", f"https://{HTTPS_HOST}/broken/never", "home.example.org", Retry=0)
    daemon = router.start_daemon()
    period = {tries: int(daemon.wait_log(rf"Built scheduler with {tries} retries and (\d+) seconds")[1])
              for tries in (3, 2)}
    daemon.wait_log(f"Scheduled Action id {never} finished", 90)  # the loop passes once a minute
    assert all(51 <= seconds <= 70 for seconds in period.values())

    # Without any change in the tables, the loop writes outcomes once a minute.
    router.wait_rows("DynDnsStatus", START_PERIOD + 65, 2, nudge=False, Success=0)
    for seconds in period.values():
        daemon.wait_log(f"Action failed, schedule next try in {2 * seconds} seconds")
    router.isp.repair()
    router.isp.set_gnudip(GNUDIP, {"alice": {"password": word, "domain": "dyn.example.org"}})
    router.wait_rows("DynDnsStatus", 2 * START_PERIOD + 15, 2, Success=1)
    daemon.wait_log("Action succeeded after 2 retries", times=2)
    router.nudge()
    daemon.wait_log(f"Scheduled Action id ({https}|{gnudip}) finished", times=2)

    assert [row["ResponseCode"] for row in router.rows("DynDnsLog", DynDnsId=https)] == [500, 200]
    assert [row["ResponseCode"] for row in router.rows("DynDnsLog", DynDnsId=gnudip)] == [2, 0]
    for tries, times in ((3, [float(request["time"]) for request in router.isp.requests("/broken/ ")]),
                         (2, [update["time"] for update in router.isp.updates(GNUDIP)])):
        first, second = times
        assert -2 <= second - first - 2 * period[tries] <= SLICE + 10  # both servers log after their reply
    assert router.isp.requests("/broken/never") == []
