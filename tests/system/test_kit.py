"""The daemon built on another kit (platform/example): no service; rows and outcomes are in a text file."""

from pathlib import Path

from sandbox.router import DNS, GNUDIP_HOST, HTTPS_HOST, START_PERIOD, wait_for

ROWS = Path("/run/quorvad.rows")


def row(table, **columns):
    return "\t".join([table, *(f"{name}={value}" for name, value in columns.items())]) + "\n"


def test_kit(router):
    router.start_provider({"alice": {"password": "word", "domain": "dyn.example.org"}}, pages={"page": "good\n"})
    account = {"Enable": 1, "Interface": "ppp0", "Retry": 1, "ExpectedResultSubString": ""}
    ROWS.write_text(
        row("DynDns", Id=1, ServiceType="update-url", ServerAddr=f"https://{HTTPS_HOST}/plain/page",
            Hostname="home.example.org", AccountUserName="", Password="", **account)
        + row("DynDns", Id=2, ServiceType="gnudip", ServerAddr=GNUDIP_HOST, Hostname="alice.dyn.example.org",
              AccountUserName="alice", Password="word", **account)
        + row("DNSClientServer", Id=1, Enable=1, Interface="ppp0", IPAddress=DNS))
    daemon = router.start_daemon()
    daemon.wait_log("Init cache")
    # The interface comes up later, a change that the kit must report. Both accounts then wait for their update.
    text = ROWS.read_text() + row("StatusNetifWatch", Id=1, Name="ppp0", Addr=router.ppp0.address, IsUp=1)
    new = ROWS.with_suffix(".changed")
    new.write_text(text)
    new.rename(ROWS)
    wait_for("two outcomes in the file", lambda: ROWS.read_text().count("\tSuccess=1") == 2, START_PERIOD + 60, [daemon])
    assert set(text.splitlines()) < set(ROWS.read_text().splitlines())
    assert daemon.stop() == 0
