"""netifwatch on real links, and what the database then shows."""

import itertools
import json
import os
import signal
import subprocess
from pathlib import Path

from sandbox.processes import wait_for
from sandbox.router import DNS, DNS_2, IPV6, ip

from doubles import machine

PEER = ("-n", "isp")
PPP0 = ("dev", "ppp0")
NUMBERS = itertools.count()


def start(router, *options, **how):
    router.start_provider()
    router.start_service("--group", "daemon")
    router.start_watcher(*options, **how).wait_log("Connected to the configuration service")
    router.wait_shown()
    router.changes = router.start_program("changes", [router.bin / "cfgctl", "watch", "--socket", router.socket])
    wait_for("changes are shown", lambda: touch(router) or router.changes.log(), 40)


def touch(router):
    """A marker: every change before it is shown before it."""
    router.ctl("set", "etl", "Id=1", f"serial_no={next(NUMBERS)}")


def settled(router):
    """Waits until the watcher has handled everything so far; returns the number of changes written."""
    mark = router.watcher.mark()
    ip("link", "set", "lo", "mtu", "65535" if "65536" in ip("link", "show", "lo") else "65536")
    router.watcher.wait_log("Looked at", start=mark)
    before = router.changes.count(" etl\n")
    touch(router)
    wait_for("the marker is shown", lambda: router.changes.count(" etl\n") > before, 40)
    return router.changes.count(" (Status|DNSClient)")


def ipv6(name, what, value):
    Path(f"/proc/sys/net/ipv6/conf/{name}/{what}").write_text(str(value))


def create_again(router):
    router.ppp0.netns = "isp2"
    router.ppp0.create()


def test_interfaces(router):
    start(router)
    steps = (
        # IPv4: a second address, the first one gone, none, a point-to-point address, another one.
        (lambda: ip("addr", "add", "10.70.0.1/24", *PPP0), {}),
        (lambda: ip("addr", "del", "10.64.0.2/24", *PPP0), {"Addr": "10.70.0.1"}),
        (lambda: ip("-4", "addr", "flush", *PPP0), {"Addr": ""}),
        (lambda: ip("addr", "add", "10.71.0.1", "peer", "10.71.0.2", *PPP0), {"Addr": "10.71.0.1"}),
        (lambda: router.ppp0.set_address("10.64.0.77"), {}),
        # IPv6: a public address is preferred, unless it is unusable.
        (lambda: ipv6("ppp0", "dad_transmits", 60) or ip("-6", "addr", "add", "2001:db8::1/64", *PPP0), {}),
        (lambda: ip("-6", "addr", "add", "2001:db8::5/64", *PPP0, "nodad"), {"ipv6": "2001:db8::5"}),
        (lambda: ip("-6", "addr", "add", "2001:db8::4/64", *PPP0, "nodad"), {"ipv6": "2001:db8::5"}),
        (lambda: ip("-6", "addr", "change", "2001:db8::5/64", *PPP0, "preferred_lft", 0), {"ipv6": "2001:db8::4"}),
        (lambda: ipv6("ppp0", "use_tempaddr", 2) or ip("-6", "addr", "add", "2001:db8:1::9/64", *PPP0, "nodad",
                                                        "mngtmpaddr"), {"ipv6": "2001:db8::4"}),
        (lambda: ip("-6", "addr", "del", "2001:db8::4/64", *PPP0), {"ipv6": "2001:db8:1::9"}),
        # The tentative address, which is the lowest, turns out to be in use elsewhere: not chosen.
        (lambda: ip(*PEER, "-6", "addr", "add", "2001:db8::1/64", "dev", "router", "nodad"), {"ipv6": "2001:db8:1::9"}),
        (lambda: ip("-6", "addr", "flush", *PPP0, "scope", "global"), {"ipv6": ""}),
        # Carrier, administrative state; the interface is deleted, returns, is renamed and moved to another namespace.
        (lambda: router.ppp0.plug(False), {"IsUp": 0, "ipv6": None}),
        (lambda: router.ppp0.plug(True), {"ipv6": None}),
        (lambda: ip("link", "set", "ppp0", "down"), {"IsUp": 0, "ipv6": ""}),
        (lambda: ip("link", "set", "ppp0", "up"), {"ipv6": ""}),
        (lambda: (ip("link", "del", "ppp0"), create_again(router)), {"Addr": "10.64.0.2", "ipv6": ""}),
        (lambda: ip("link", "set", "ppp0", "name", "swap"), {"Name": "swap", "ipv6": ""}),
        (lambda: (ip("link", "set", "wan1", "name", "ppp0"), ip("link", "set", "swap", "name", "wan1")),
         {"Addr": "10.65.0.2", "ipv6": ""}),
        (lambda: ip("link", "set", "ppp0", "netns", "other"), {"Name": "wan1", "Addr": "10.64.0.2", "ipv6": ""}),
    )
    for number, (step, expected) in enumerate(steps):
        step()
        settled(router)
        router.wait_shown(**expected), number
    assert "temporary" not in str(router.rows("StatusNetIfIPv6Addresses"))
    assert [row["Name"] for row in router.rows("StatusNetifWatch")] == ["wan1"]
    assert router.watcher.stop() == 0
    assert len(router.rows("StatusNetifWatch")) == 1  # the next watcher takes over from there


def test_pressure(router):
    """Many changes, an overrun, irrelevant changes, and a service that loses its interface rows."""
    start(router, "--event-buffer", 4096)
    commands = router.folder / "flaps"
    commands.write_text("addr add 10.72.0.1/24 dev ppp0\naddr del 10.72.0.1/24 dev ppp0\n" * 5000
                        + "addr del 10.64.0.2/24 dev ppp0\naddr add 10.72.0.9/24 dev ppp0\n")
    before = settled(router)
    subprocess.run(["ip", "-batch", commands], check=True, timeout=120)
    router.wait_shown(Addr="10.72.0.9")
    assert settled(router) - before < 200

    commands.write_text("addr add 10.73.0.1/24 dev ppp0\naddr del 10.73.0.1/24 dev ppp0\n" * 500)
    mark, before = router.watcher.mark(), settled(router)
    router.watcher.send(signal.SIGSTOP)
    subprocess.run(["ip", "-batch", commands], check=True, timeout=120)
    ip("link", "set", "ppp0", "down")
    router.watcher.send(signal.SIGCONT)
    router.wait_shown(Addr="10.72.0.9", IsUp=0, ipv6="")
    router.watcher.wait_log("Event buffer overrun", start=mark)
    ip("link", "set", "ppp0", "up")
    ip("-6", "addr", "add", f"{IPV6}/64", "dev", "ppp0", "nodad")
    router.wait_shown(Addr="10.72.0.9")

    before = settled(router)
    for _ in range(5):
        ip("addr", "add", "10.72.0.10/24", "dev", "ppp0")  # secondary: irrelevant
        ip("addr", "del", "10.72.0.10/24", "dev", "ppp0")
        assert settled(router) == before
    router.ctl("set", "StatusNetifWatch", "Name=ppp0", "IsUp=0")  # the watcher corrects it
    router.wait_shown(Addr="10.72.0.9")
    router.service.kill()
    router.start_service()
    router.wait_shown(Addr="10.72.0.9")
    router.watcher.kill()
    ip("addr", "add", "10.72.0.10/24", "dev", "ppp0")
    router.start_watcher().wait_log("Looked at", times=2)
    router.wait_shown(Addr="10.72.0.9")


def servers(router, name="ppp0"):
    return [row["IPAddress"] for row in router.rows("DNSClientServer", Interface=name)]


def test_dns(router):
    """As an ordinary user of the socket's group, where the sandbox has users."""
    conf = Path("/run/resolv.conf")
    start(router, "--resolv-conf", conf, prefix=machine.as_user(4711) if machine.HAS_USERS else ())
    ip("route", "add", f"{DNS_2}/32", "via", router.wan1.peer, "dev", "wan1")

    def expect(text, **wanted):
        new = Path("/run/resolv.conf.new")
        new.write_text(text)
        new.rename(conf)
        wait_for(f"the servers are {wanted}", lambda: all(servers(router, name) == list(addresses) for name, addresses in
                                                          wanted.items()), 40, [router.watcher])
    expect(f"nameserver {DNS}\nnameserver {DNS_2}\n", ppp0=[DNS], wan1=[DNS, DNS_2])
    expect(f"nameserver {DNS_2}\nnameserver 127.0.0.53\nnameserver fe80::1%ppp0\n", ppp0=["fe80::1"], wan1=[DNS_2])
    ip("route", "del", "default", "dev", "ppp0")
    # A named pipe is told of once and not waited for; what was known stays.
    mark = router.watcher.mark()
    os.mkfifo("/run/pipe")
    os.rename("/run/pipe", conf)
    router.watcher.wait_log(f"Cannot read DNS servers from {conf}: it is not a regular file", start=mark)
    settled(router)
    assert router.watcher.count("Cannot read DNS servers", start=mark) == 1 and servers(router, "wan1") == [DNS_2]
    expect(f"nameserver {DNS}\n", ppp0=["fe80::1"], wan1=[DNS])  # ppp0 has no server now; its row stays
    ip("route", "add", "default", "via", router.ppp0.peer, "dev", "ppp0", "metric", 200)
    wait_for("the route counts", lambda: servers(router) == [DNS], 40, [router.watcher])
    ids = [row["Id"] for row in router.rows("DNSClientServer")]
    # A user's row takes the interface over until it is deleted; a restart changes nothing.
    user_row = router.ctl("add", "DNSClientServer", "Interface=ppp0", f"IPAddress={DNS_2}").stdout.strip()
    wait_for("the watcher's row is gone", lambda: servers(router) == [DNS_2], 40, [router.watcher])
    router.watcher.stop()
    mark = router.watcher.mark()
    router.start_watcher().wait_log("Looked at", start=mark)
    expect(f"nameserver {DNS}\nnameserver 10.99.0.55\n", ppp0=[DNS_2], wan1=[DNS, "10.99.0.55"])
    assert ids[1] in [row["Id"] for row in router.rows("DNSClientServer", Interface="wan1")]
    router.ctl("delete", "DNSClientServer", f"Id={user_row}")
    wait_for("the watcher's rows are back", lambda: servers(router) == [DNS, "10.99.0.55"], 40, [router.watcher])


def test_process(router):
    def run(*words):
        done = subprocess.run([router.bin / "netifwatch", *words], capture_output=True, text=True, timeout=90)
        return done.returncode, done.stdout, done.stderr
    status, text, _ = run("--print", "--json", "--no-dns", "-i", "ppp*")
    assert status == 0 and json.loads(text) == {
        "StatusNetifWatch": [{"Name": "ppp0", "Addr": "10.64.0.2", "IsUp": 1}], "StatusNetIfIPv6Addresses": []}
    status, _, text = run("--once")
    assert status == 1 and "Is the service running? Start it with 'systemctl start cfgserver'" in text
    assert run("--bad")[0] == run("--once", "--print")[0] == 2 and run("--version")[0] == 0
    router.start_provider()
    router.start_service()
    assert run("--once") == (0, "", "")
    assert [row["Name"] for row in router.rows("StatusNetifWatch")] == ["ppp0", "wan1"]

    pid_file = Path("/run/netifwatch.pid")
    assert run() == (0, "", "")
    pid = wait_for("the process id", lambda: pid_file.exists() and int(pid_file.read_text()), 40)
    ip("link", "del", "wan1")
    wait_for("the row is gone", lambda: not router.rows("StatusNetifWatch", Name="wan1"), 40)
    status, _, text = run()
    assert status == 1 and "already running" in text
    os.kill(pid, signal.SIGHUP)
    os.kill(pid, signal.SIGTERM)
    wait_for("its end", lambda: not pid_file.exists(), 40)
    assert len(router.rows("StatusNetifWatch")) == 1
