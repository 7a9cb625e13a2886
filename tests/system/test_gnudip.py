"""GnuDIP updates: the server recomputes the hash; what it answers becomes the outcome."""

from sandbox.router import DNS, GNUDIP, GNUDIP_HOST, START_PERIOD

MUTE, ODD = "10.99.0.36", "10.99.0.37"


def test_gnudip(router):
    word = "gnu:pass word"
    accounts = {name: {"password": word, "domain": "dyn.example.org"} for name in ("alice", "bob", "carol")}
    router.start_provider(accounts, extra_names={"mute.example.net": MUTE, "odd.example.net": ODD})
    router.isp.start_gnudip(MUTE, accounts, "no-salt")
    router.isp.start_gnudip(ODD, accounts, "99999999999")
    router.start_service()
    router.describe()

    def add(server, host, user, password=word):
        return router.add_account("gnudip", server, host, user, password)

    good = add(GNUDIP_HOST, "alice.dyn.example.org", "alice")
    wrong_word = add(GNUDIP_HOST, "bob.dyn.example.org", "bob", "else")
    wrong_name = add(GNUDIP_HOST, "carol.other.example.org", "carol")
    by_address = add(GNUDIP, "alice.dyn.example.org", "alice")
    odd = add("odd.example.net", "alice.dyn.example.org", "alice")
    mute = add("mute.example.net", "alice.dyn.example.org", "alice")
    too_short = add(GNUDIP_HOST, "alice", "alice")
    daemon = router.start_daemon()
    daemon.wait_log(r"Failed to send GnuDIP update \(Username is part of gnuDIP domain => domain must be longer\)")

    expected = {good: (0, "Success"), wrong_word: (1, "Authentication error"), wrong_name: (2, "Host not found"),
                by_address: (0, "Success"), odd: (999, "Connection error")}
    router.wait_rows("DynDnsStatus", START_PERIOD + 15, len(expected))
    assert {row["DynDnsId"]: (row["ResponseCode"], row["Response"]) for row in router.rows("DynDnsLog")} == expected
    assert {row["DynDnsId"]: row["Success"] for row in router.rows("DynDnsStatus")} == {
        account: int(code == 0) for account, (code, _) in expected.items()}

    # A server without a word ends in the log only, after ten seconds.
    daemon.wait_log("No salt received from GnuDIP server", START_PERIOD + 15)
    assert not router.rows("DynDnsLog", DynDnsId=mute) and not router.rows("DynDnsLog", DynDnsId=too_short)
    assert 9 <= router.isp.updates(MUTE)[0]["seconds"] < 30

    updates = router.isp.updates(GNUDIP)
    assert sorted(update["answer"] for update in updates) == ["0", "0", "1", "2"]
    assert {update["source"] for update in updates} == {"10.64.0.2"}
    assert {source for source, _, _ in router.isp.queries(DNS, GNUDIP_HOST)} == {"10.64.0.2"}
    assert router.other.queries(DNS) == []
    assert router.daemon.stop() == 0
