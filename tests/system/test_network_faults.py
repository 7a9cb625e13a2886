"""Real faults of providers, DNS servers and interfaces: what is logged and stored, and that other accounts go on."""

import re
from collections import Counter
from datetime import datetime
from pathlib import Path

from sandbox import namespaces
from sandbox.keys import Authority, trust
from sandbox.processes import wait_for
from sandbox.router import GNUDIP, GNUDIP_HOST, HTTPS_HOST, START_PERIOD, ip

from doubles import faultgnudip
from doubles.faultprovider import PORTS
from doubles.links import FAULT_ANSWER, FAULT_DNS, add_link, add_rows, start_faults

FAULT_HOST, BLACK_HOLE = "fault.example.net", "10.97.0.1"  # 10.97 drops everything
DEAD = [f"10.97.0.{number}" for number in range(2, 20)]
GOOD, LATE = (1, 200, "good"), 4 + 4  # seconds: deadlines are checked every 4, and a fault takes 10


def failed(reason):
    return 0, 0, "Connection error: " + reason


def outcomes(router, schedulers, accounts):
    """{name: (Success, ResponseCode, Response)} of the accounts that have rows, once all schedulers are done."""
    router.daemon.wait_log("Thread complete", START_PERIOD + 30, times=schedulers)
    mark = router.daemon.mark()
    for passes in (1, 2):  # when the second commit begins, the first has written all
        router.nudge()
        router.daemon.wait_log("commitChanges", start=mark, times=passes)
    names = {account: name for name, account in accounts.items()}
    success = {row["DynDnsId"]: row["Success"] for row in router.rows("DynDnsStatus")}
    return {names[row["DynDnsId"]]: (success[row["DynDnsId"]], row["ResponseCode"], row["Response"])
            for row in router.rows("DynDnsLog") if row["DynDnsId"] in names}


def check_punctual(router, accounts, late=LATE):
    """These accounts, the first of all, were not delayed: each has its outcome so soon after its start period."""
    built = re.findall(r"^(\S+ \S+)\.\d+ .*Built scheduler with 1 retries and (\d+) sec", router.daemon.log(), re.M)
    for account, (begun, period) in zip(accounts, built):
        row, = router.rows("DynDnsLog", DynDnsId=account)
        passed = datetime.fromisoformat(row["Timestamp"][:19]) - datetime.fromisoformat(begun)
        assert int(period) - 1 <= passed.total_seconds() <= int(period) + late, account


def loggings(router, *patterns):
    return Counter(match for pattern in patterns for match in re.findall(pattern, router.daemon.log()))


TLS, TIME = failed("SSL connect error"), failed("Timeout was reached")
TRUST = failed("SSL peer certificate or SSH remote key was not OK")
HTTPS_OUTCOMES = {
    "refused": failed("Couldn't connect to server"), "reset": TLS, "silent": TIME, "silent-tls": TIME, "drip": TIME,
    "endless-body": TIME, "endless-header": failed("Failure when receiving data from the peer"),
    "mebibyte": (1, 200, "&amp;" * 200),
    "nasty-bytes": (1, 200, "good\0&lt;" + "\ufffd" * 3 + "( " + "\ufffd" * 3 + "\x1b[31m\r&gt;"), "split": (1, 200, "good &lt;split&gt; reply"),
    "cut": failed("Transferred a partial file"),
    "wrong-host": TRUST, "expired": TRUST, "unknown-ca": TRUST, "old-tls": TLS, "redirect": (0, 302, "moved"),
    "204": (0, 204, ""),
    "http-0.9": failed("Unsupported protocol"), "plain-on-tls": TLS,
    **{f"cut-{number}": TLS for number in range(1, 6)},
    "cut-6": failed("Server returned nothing (no headers, no data)"),  # the handshake is complete
    **{f"cut-old-{number}": TLS for number in range(1, 5)},
    "garbage": TLS, "garbage-data": TLS, "16-mebibytes": TLS, "hello-requests": TIME, "alert": TLS,
    "long-chain": GOOD, "huge-chain": TLS, "end-unannounced": GOOD}


def test_providers(router):
    router.start_tables(pages={"page": "good\n"}, extra_names={FAULT_HOST: FAULT_ANSWER}, hashed=False)
    server, stranger = router.authority.server, Authority(router.folder, "Stranger")
    good = server(FAULT_HOST)

    def longer(times):
        chain = good[0].with_suffix(f".{times}")
        chain.write_text(good[0].read_text() + (router.authority.folder / "intermediate.pem").read_text() * times)
        return chain, good[1]
    start_faults(router.isp, certificates={
        "good": good, "long-chain": longer(100), "huge-chain": longer(1000), "other.example.net": server("other.example.net"),
        "expired": server(FAULT_HOST, expired=True), "unknown": stranger.server(FAULT_HOST)})
    nine = [router.add_account("update-url", f"https://{HTTPS_HOST}/plain/page?{number}", "x") for number in range(9)]
    accounts = {fault: router.add_account("update-url", f"https://{FAULT_HOST}:{PORTS[fault]}/", "x")
                for fault in HTTPS_OUTCOMES}
    trust([stranger.root], hashed=False)
    daemon = router.start_daemon()
    wait_for("certificates", lambda: [*Path("/run").glob("quorvad-certificates.*/current/*.0")], 20)
    trust([router.authority.root], hashed=False)  # from the next pass on the stranger is unknown
    router.nudge()
    assert outcomes(router, len(nine) + len(accounts), accounts) == HTTPS_OUTCOMES
    check_punctual(router, nine)
    check_punctual(router, [*nine, *accounts.values()], LATE + 10)
    assert len(router.isp.requests()) == len(nine)  # the redirect was not followed
    assert loggings(router, r"curl_easy_perform\(\) failed: '(.*)'") == Counter(
        text[18:] for _, code, text in HTTPS_OUTCOMES.values() if not code)
    assert "\x1b" not in router.ctl("show", "DynDnsLog").stdout + daemon.log()
    peak, = re.findall(r"VmHWM:\s*(\d+) kB", Path(f"/proc/{daemon.pid}/status").read_text())
    assert int(peak) < 64 << 10, "an endless reply was kept"
    assert daemon.stop() == 0 and not [*Path("/run").glob("quorvad-*")]


LOST = (0, 999, "Connection error")
GNUDIP_OUTCOMES = {
    "good": (1, 0, "Success"), "salt-1023": (1, 0, "Success"), "salt-5000": LOST, "binary-salt": (1, 0, "Success"),
    "two-segments": (1, 0, "Success"), "torn-number": (0, 2, "Host not found"), "unknown-code": (0, 3, "Unknown GnuDIP error"),
    "beyond-int": LOST, "no-number": LOST,
    "close-after-salt": LOST, "reset-after-salt": LOST, "silent-after-salt": LOST}
GNUDIP_ERRORS = {"No salt received from GnuDIP server.": 2, "Empty response from server": 3,
                 "recv() failed (Connection reset by peer)": 2, "Failed to parse response from server": 1,
                 "Parsed response code is out of integer range.": 2,
                 "GnuDIP update failed with code 2 (Host not found)": 1,
                 "GnuDIP update failed with code 3 (Unknown GnuDIP error)": 1,
                 "Failed to connect GnuDIP server: Connection timed out": 1}


def test_gnudip(router):
    Path("/proc/sys/net/ipv4/tcp_syn_retries").write_text("1")
    start_faults(router.isp, "word")
    router.start_service()
    router.describe()
    addresses = {**faultgnudip.ADDRESSES, "good": FAULT_ANSWER, "black-holed": BLACK_HOLE}
    accounts = {fault: router.add_account("gnudip", address, "alice.dyn.example.org", "alice", "word")
                for fault, address in addresses.items()}
    router.start_daemon()
    assert outcomes(router, len(accounts), accounts) == GNUDIP_OUTCOMES
    assert loggings(router, r"error gnudipaction:\d+: (.*)") == GNUDIP_ERRORS


NO_NAME = failed("Couldn't resolve host name")
LATE_DNS, NO_DNS = "Timeout while contacting DNS servers", "Could not contact DNS servers"
# name: the HTTPS outcome, and why the GnuDIP account fails (None: it succeeds)
DNS_OUTCOMES = {
    "silent": (NO_NAME, LATE_DNS), "servfail": (NO_NAME, NO_DNS), "refused": (NO_NAME, NO_DNS),
    "nxdomain": (NO_NAME, "Domain name not found"), "wrongid": (NO_NAME, LATE_DNS),
    "loop": (NO_NAME, "DNS server returned answer with no data"), "truncated": (GOOD, None), "many": (GOOD, None),
    "noaaaa": (GOOD, None),  # silent when asked for an IPv6 address
    "elsewhere": (GOOD, "another server"),  # its own address, however many look-ups go on
    # These are interfaces: two or 18 dead servers before a live one; a closed port; a list that the libraries refuse; a
    # server that only ppp0 reaches.
    "dead2": (GOOD, None), "dead18": (TIME, None), "closed": (NO_NAME, NO_DNS), "holes": (GOOD, "no scheduler"), "wan1": (NO_NAME, LATE_DNS)}


def test_dns(router):
    start_faults(router.isp, "word")
    namespaces.cover("/etc/resolv.conf", f"nameserver {FAULT_DNS}\n")
    router.start_service()
    router.ctl("set", "etl", "Id=1", "serial_no=1")
    add_rows(router, "ppp0", router.ppp0.address, [FAULT_DNS])
    add_rows(router, "wan1", router.wan1.address, [FAULT_DNS])
    links = {"dead2": add_link(router, "dead2", 66, (*DEAD[:2], FAULT_DNS), provider=True),
             "dead18": add_link(router, "dead18", 69, (*DEAD, FAULT_DNS), provider=True),
             "closed": add_link(router, "closed", 67, ("10.67.0.1",)),
             "holes": add_link(router, "holes", 68, ("", " ", "1.1.1.1"), provider=True), "wan1": router.wan1}

    def add(service, name):
        server = f"http://{name}.example.net:{PORTS['plain']}/" if service == "update-url" else f"{name}.example.net"
        return router.add_account(service, server, "alice.dyn.example.org", "alice", "word",
                                  Interface=name if name in links else "ppp0")

    nine = [add(("update-url", "gnudip")[number % 2], "good") for number in range(9)]
    https, gnudip = ({name: add(service, name) for name in DNS_OUTCOMES} for service in ("update-url", "gnudip"))
    # By default c-ares waits 5 seconds for a server, and then longer: 75 in all.
    daemon = router.start_daemon(env={"RES_OPTIONS": "retrans:1000 retry:2"})
    daemon.wait_log(r"Setting the DNS servers ' ,1\.1\.1\.1' for interface 'holes' was refused")
    daemon.wait_log(r"ares_set_servers_csv failed: Misformatted string")
    daemon.wait_log(r"Failed to send GnuDIP update \(Ares channel init failed\)")
    found = outcomes(router, len(nine) + 2 * len(DNS_OUTCOMES) - 1, https)
    assert found == {name: outcome for name, (outcome, _) in DNS_OUTCOMES.items()}
    check_punctual(router, nine)
    assert {row["DynDnsId"] for row in router.rows("DynDnsStatus", Success=1)} - {*nine, *https.values()} == {
        gnudip[name] for name, (_, reason) in DNS_OUTCOMES.items() if reason is None}
    assert dict(re.findall(r"Failed to resolve for '(\w+)\.example\.net' \((.*)\)", daemon.log())) == {
        name: reason for name, (_, reason) in DNS_OUTCOMES.items() if reason and name not in ("holes", "elsewhere")}
    assert [row["ResponseCode"] for row in router.rows("DynDnsLog", DynDnsId=gnudip["elsewhere"])] == [3]
    asked = router.isp.programs[0].log()
    assert "query many 1 tcp" in asked and "query truncated 1 tcp" in asked
    assert not re.search(f"query ({'|'.join(links)}) ", asked), "a query left through another interface"


def test_interfaces(router):
    """Interfaces that fail between the decision and the attempt; and a storm of addresses on ppp0."""
    Path("/proc/sys/net/ipv4/tcp_syn_retries").write_text("1")
    router.start_tables({"alice": {"password": "word", "domain": "dyn.example.org"}}, pages={"page": "good\n"})
    links = {name: add_link(router, name, number, (FAULT_DNS,), provider=name == "renamed")
             for number, name in enumerate(("downed", "unplugged", "gone", "renamed"), 66)}
    start_faults(router.other, "word")
    https = [router.add_account("update-url", f"https://{HTTPS_HOST}/plain/page?<ipaddr>", "x") for _ in range(5)]
    gnudip = [router.add_account("gnudip", GNUDIP_HOST, "alice.dyn.example.org", "alice", "word") for _ in range(5)]
    accounts = {}
    for name in links:
        router.add_account("update-url", f"http://{FAULT_ANSWER}:{PORTS['plain']}/", "x", Interface=name)
        server = "renamed.example.net" if name == "renamed" else FAULT_ANSWER
        accounts[name] = router.add_account("gnudip", server, "alice.dyn.example.org", "alice", "word", Interface=name)
    total = len(https + gnudip) + 2 * len(links)
    daemon = router.start_daemon()
    daemon.wait_log("Built scheduler", times=total)
    ip("link", "set", "downed", "down")
    links["unplugged"].plug(False)
    ip("link", "delete", "gone")
    ip("link", "set", "renamed", "down", "name", "other0")
    ip("link", "set", "other0", "up")
    links["renamed"].interface = "other0"
    links["renamed"].set_address(links["renamed"].address)

    threads = set()
    for number in range(1000):
        router.ctl("set", "StatusNetifWatch", "Name=ppp0", f"Addr=10.64.{1 + number // 250}.{number % 250}")
        if number % 50 == 0:
            threads.update(re.findall(r"Threads:\s*(\d+)", Path(f"/proc/{daemon.pid}/status").read_text()))
    assert max(map(int, threads)) <= 1 + total
    for address in ("10.64.0.77", "", "10.64.0.77"):  # it goes and returns at once
        if address:
            router.ppp0.set_address(address)
        else:
            ip("addr", "flush", "dev", "ppp0")
        router.ctl("set", "StatusNetifWatch", "Name=ppp0", f"Addr={address}")

    router.wait_rows("DynDnsStatus", START_PERIOD + 30, len(https + gnudip) + 1, Success=1)
    daemon.wait_log("Failed to (bind|connect)", START_PERIOD, times=3)
    daemon.wait_log("is down, cannot send", START_PERIOD, times=len(links))
    assert loggings(router, r"(?:error|warning) \w+:\d+: (.*)") == {
        **{f"Interface '{name}' is down, cannot send HTTPS update.": 1 for name in links},
        "Failed to bind: Cannot assign requested address": 1,  # gone
        "Failed to connect GnuDIP server: Connection timed out": 2}  # downed, unplugged: the address is still there
    assert [request["uri"] for request in router.isp.requests()] == ["/plain/page?10.64.0.77"] * len(https)
    assert [update["source"] for update in router.isp.updates(GNUDIP)] == ["10.64.0.77"] * len(gnudip)
    # The address of the renamed interface is still there, so the update is right; its query took the default route.
    assert "query renamed 1 udp 10.65.0.2" in router.other.programs[-1].log()
    assert {row["DynDnsId"] for row in router.rows("DynDnsStatus")} - {*https, *gnudip} == {accounts["renamed"]}
