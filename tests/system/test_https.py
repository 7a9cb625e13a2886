"""HTTPS updates as the provider sees them."""

import base64
import re

from sandbox.router import DNS, HTTPS_HOST, START_PERIOD

URL = f"https://{HTTPS_HOST}"
TEMPLATE = "?host=<domain>&ip=<ipaddr>&ip6=<ipaddr6>&user=<username>&word=<password>&sn=<serial>"
STAMP = r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d[+-]\d{4}"


def outcome(router, account):
    """(Success, ResponseCode, Response) of an account, once its rows are there."""
    status = router.wait_rows("DynDnsStatus", START_PERIOD + 15, DynDnsId=account)[0]
    log = router.rows("DynDnsLog", DynDnsId=account)[-1]
    assert status["Timestamp"] == log["Timestamp"] and re.fullmatch(STAMP, log["Timestamp"])
    return status["Success"], log["ResponseCode"], log["Response"]


def test_update(router):
    pages = {"full": "good <10.64.0.2>\nsecond line\n", "plain": "anything\n", "refusal": "badauth & more\n"}
    router.start_tables(users={"alice": "s3cret+word"}, pages=pages)
    full = router.add_account("update-url", f"{URL}/nic/full{TEMPLATE}", "home.example.org", "alice", "s3cret+word",
                              ExpectedResultSubString="good")
    plain = router.add_account("update-url", f"{URL}/plain/plain", "home.example.org")
    refusal = router.add_account("update-url", f"{URL}/plain/refusal", "home.example.org",
                                 ExpectedResultSubString="good")
    denied = router.add_account("update-url", f"{URL}/nic/full", "home.example.org", "alice", "wrong")
    # A proxy named in the environment must not be used: nothing listens there.
    router.start_daemon(env={"https_proxy": "http://127.0.0.1:9", "ALL_PROXY": "http://127.0.0.1:9"})

    assert outcome(router, full) == (1, 200, "good &lt;10.64.0.2&gt;second line")
    assert outcome(router, plain) == (1, 200, "anything")
    assert outcome(router, refusal) == (0, 200, "badauth &amp; more")
    assert outcome(router, denied)[:2] == (0, 401)

    requests = router.isp.requests()
    assert len(requests) == 4
    assert {request["source"] for request in requests} == {"10.64.0.2"}
    assert {request["agent"] for request in requests} == {"quorvad/1.1.1"}
    update, = router.isp.requests("/nic/full?")
    assert update["request"] == ("GET /nic/full?host=home.example.org&ip=10.64.0.2&ip6=fd64::2&user=alice"
                                 "&word=s3cret+word&sn=A1B2C3D4 HTTP/1.1")
    assert update["host"] == HTTPS_HOST and update["user"] == "alice"
    assert update["authorization"] == "Basic " + base64.b64encode(b"alice:s3cret+word").decode()
    assert router.isp.requests("/plain/plain")[0]["authorization"] == ""

    # The name was looked up at the account's server, through the account's interface, and nowhere else.
    assert {source for source, _, _ in router.isp.queries(DNS, HTTPS_HOST)} == {"10.64.0.2"}
    assert router.other.queries(DNS) == []
    assert router.daemon.stop() == 0
