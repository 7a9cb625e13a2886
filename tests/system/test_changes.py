"""Which changes start updates, and which cancel them."""

from sandbox.router import DNS, DNS_2, GNUDIP, GNUDIP_HOST, HTTPS_HOST, START_PERIOD

BUILT = "Built scheduler with"


def start(router):
    """Starts everything with an HTTPS and a GnuDIP account; returns their Ids."""
    accounts = router.start_usual(page="page?<ipaddr>+<ipaddr6>")
    router.start_daemon().wait_log(BUILT, times=2)
    return accounts


def test_address_change(router):
    start(router)
    router.wait_rows("DynDnsLog", START_PERIOD + 15, 2)
    mark = router.daemon.mark()
    router.ppp0.set_address("10.64.0.77")
    router.ctl("set", "StatusNetifWatch", "Name=ppp0", "Addr=10.64.0.77")
    router.daemon.wait_log(BUILT, start=mark, times=2)
    # A new IPv6 address within the start period replaces the pending updates.
    router.ctl("set", "StatusNetIfIPv6Addresses", "Name=ppp0", "Addr=fd64::77")
    router.daemon.wait_log(BUILT, start=mark, times=4)
    router.wait_rows("DynDnsLog", START_PERIOD + 15, 4)
    assert [update["source"] for update in router.isp.updates(GNUDIP)] == ["10.64.0.2", "10.64.0.77"]
    assert [(request["source"], request["uri"]) for request in router.isp.requests()] == [
        ("10.64.0.2", "/plain/page?10.64.0.2+fd64::2"), ("10.64.0.77", "/plain/page?10.64.0.77+fd64::77")]
    assert {row["Success"] for row in router.rows("DynDnsStatus")} == {1}
    assert len(router.rows("DynDnsStatus")) == 2


def test_interface_and_account(router):
    https, gnudip = start(router)
    daemon = router.daemon
    for step, pattern in (
            (("set", "DynDns", f"Id={gnudip}", "Enable=0"), f"Remove stale action for config id {gnudip}\\."),
            (("set", "StatusNetifWatch", "Name=ppp0", "IsUp=0"),
             f"Remove scheduled action for config id {https} because iface is down"),
            (("set", "StatusNetIfIPv6Addresses", "Name=ppp0", "Addr=fd64::3"), "Check IPv6 config changes of iface"),
            (("set", "StatusNetifWatch", "Name=ppp0", "IsUp=1"), f"{BUILT} 1 retries")):
        mark = daemon.mark()
        router.ctl(*step)
        daemon.wait_log(pattern, start=mark)
    # An account whose interface is not monitored yet waits for it.
    late = router.add_account("update-url", f"https://{HTTPS_HOST}/", "home.example.org", Interface="wan1")
    daemon.wait_log("Interface wan1 not found in watch table")
    router.ctl("add", "StatusNetifWatch", "Name=wan1", f"Addr={router.wan1.address}", "IsUp=1")
    daemon.wait_log(f"DynDns cfg id {late} needs action \\(DynDns changed\\)")
    daemon.wait_log(r"Failed to send HTTPS update: 'Empty list of DNS nameservers'")  # wan1 has none

    # Nothing is sent or reported while an interface is up but not running; the table tells when it runs again.
    router.ppp0.plug(False)
    daemon.wait_log("Interface 'ppp0' is down, cannot send HTTPS update", START_PERIOD + 5)
    assert router.rows("DynDnsLog") == []
    router.ppp0.plug(True)
    router.ctl("set", "StatusNetifWatch", "Name=ppp0", "IsUp=0")
    router.ctl("set", "StatusNetifWatch", "Name=ppp0", "IsUp=1")
    router.wait_rows("DynDnsStatus", START_PERIOD + 15, DynDnsId=https, Success=1)
    assert [request["uri"] for request in router.isp.requests()] == ["/plain/page?10.64.0.2+fd64::3"]
    assert router.isp.updates(GNUDIP) == []  # disabled before its start period ended


def test_dns_servers(router):
    router.isp.start_dns(DNS_2, {HTTPS_HOST: "10.99.0.80", GNUDIP_HOST: GNUDIP})
    accounts = start(router)
    daemon, mark = router.daemon, router.daemon.mark()
    router.ctl("add", "DNSClientServer", "Enable=1", "Interface=ppp0", "IPAddress=10.99.0.55")
    daemon.wait_log(f"Nameservers: {DNS},10.99.0.55\n", start=mark, times=2)
    router.ctl("add", "DNSClientServer", "Enable=0", "Interface=ppp0", "IPAddress=10.99.0.56")
    router.ctl("set", "DNSRelay", "Id=1", "Enable=1", "EnableUserProvidedDnsServer=1", f"PrimaryServerIp={DNS_2}")
    daemon.wait_log(f"Nameservers: {DNS},10.99.0.55,{DNS_2},\n", start=mark, times=2)
    router.ctl("set", "DNSRelay", "Id=1", "UserProvidedDnsServerMode=1")
    daemon.wait_log(rf"Nameservers: {DNS_2},\n(?s:.*?){BUILT}", start=mark, times=2)
    # While the user's servers alone are in force, changes of the others have no effect.
    built = daemon.count(BUILT)
    row, = router.rows("DNSClientServer", IPAddress="10.99.0.55")
    router.ctl("set", "DNSClientServer", f"Id={row['Id']}", "IPAddress=10.99.0.57")
    router.wait_rows("DynDnsStatus", START_PERIOD + 15, 2, Success=1)
    assert daemon.count(BUILT) == built
    assert {row["DynDnsId"] for row in router.rows("DynDnsStatus")} == set(accounts)
    assert {name for _, _, name in router.isp.queries(DNS_2)} == {HTTPS_HOST, GNUDIP_HOST}
    assert router.isp.queries(DNS) == [] and router.other.queries(DNS) == []
