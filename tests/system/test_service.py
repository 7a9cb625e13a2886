"""A daemon and a service that come and go independently."""

import signal
import stat
from pathlib import Path

from sandbox.router import DNS, HTTPS_HOST, SOCKET, START_PERIOD

CALM = 1.0  # seconds of processor time that an outage may cost


def processor_seconds(pid):
    fields = Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / 100


def test_killed(router):
    router.start_tables(pages={"page": "good\n"})
    account = router.add_account("update-url", f"https://{HTTPS_HOST}/plain/page?<ipaddr>", "home.example.org")
    daemon = router.start_daemon()
    daemon.wait_log("Built scheduler with")

    # An outage costs next to nothing; afterwards everything is read again, and committed rows are there.
    used, mark = processor_seconds(daemon.pid), daemon.mark()
    router.service.kill()
    daemon.wait_log("Cannot reach the configuration service", times=4)
    assert processor_seconds(daemon.pid) - used < CALM
    assert SOCKET.exists()  # a dead service's socket does not prevent the next start
    router.start_service()
    assert [row["Id"] for row in router.rows("DynDns")] == [account] and router.rows("DNSClientServer", IPAddress=DNS)
    assert router.rows("StatusNetifWatch") == []  # kept in memory only
    assert stat.S_IMODE(router.database.stat().st_mode) == 0o600
    router.ppp0.set_address("10.64.0.66")
    router.show_interfaces()
    daemon.wait_log("Built scheduler with", 60, mark)

    # An update during an outage is reported once the service is back.
    router.service.kill()
    daemon.wait_log("HTTPS update sent", START_PERIOD)
    daemon.wait_log("found latest elem ts", 80)
    router.start_service()
    router.wait_rows("DynDnsStatus", 60, nudge=False, DynDnsId=account, Success=1)
    assert [request["uri"] for request in router.isp.requests()] == ["/plain/page?10.64.0.66"]
    assert daemon.stop(signal.SIGTERM, 40) == 0
