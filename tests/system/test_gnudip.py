"""GnuDIP updates: the server recomputes the hash; what it answers becomes the outcome."""

from sandbox.router import DNS, GNUDIP, GNUDIP_HOST, START_PERIOD


def test_gnudip(router):
    word = "gnu:pass word"
    accounts = {name: {"password": word, "domain": "dyn.example.org"} for name in ("alice", "bob", "carol")}
    router.start_provider(accounts)
    router.start_service()
    router.describe()

    def add(server, host, user, password=word):
        return router.add_account("gnudip", server, host, user, password)

    good = add(GNUDIP_HOST, "alice.dyn.example.org", "alice")
    wrong_word = add(GNUDIP_HOST, "bob.dyn.example.org", "bob", "else")
    wrong_name = add(GNUDIP_HOST, "carol.other.example.org", "carol")
    by_address = add(GNUDIP, "alice.dyn.example.org", "alice")
    too_short = add(GNUDIP_HOST, "alice", "alice")
    daemon = router.start_daemon()
    daemon.wait_log(r"Failed to send GnuDIP update \(Username is part of gnuDIP domain => domain must be longer\)")

    expected = {good: (0, "Success"), wrong_word: (1, "Authentication error"), wrong_name: (2, "Host not found"),
                by_address: (0, "Success")}
    router.wait_rows("DynDnsStatus", START_PERIOD + 15, len(expected))
    assert {row["DynDnsId"]: (row["ResponseCode"], row["Response"]) for row in router.rows("DynDnsLog")} == expected
    assert {row["DynDnsId"]: row["Success"] for row in router.rows("DynDnsStatus")} == {
        account: int(code == 0) for account, (code, _) in expected.items()}

    assert not router.rows("DynDnsLog", DynDnsId=too_short)
    updates = router.isp.updates(GNUDIP)
    assert sorted(update["answer"] for update in updates) == ["0", "0", "1", "2"]
    assert {update["source"] for update in updates} == {"10.64.0.2"}
    assert {source for source, _, _ in router.isp.queries(DNS, GNUDIP_HOST)} == {"10.64.0.2"}
    assert router.other.queries(DNS) == []
    assert router.daemon.stop() == 0
