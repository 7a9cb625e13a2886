"""Measurements inside a sandbox: python3 -m bench.scenarios NAME BIN OUT [WORD]. Writes raw figures as JSON to OUT."""

import json
import re
import resource
import subprocess
import sys
import threading
import time
from collections import Counter
from pathlib import Path

from bench import probes
from sandbox.keys import trust
from sandbox.shims import Clock
from sandbox.processes import wait_for
from sandbox.router import DNS, GNUDIP, GNUDIP_HOST, HTTPS_HOST, SOCKET, Router, ip

PAGE = f"https://{HTTPS_HOST}/plain/page"
STEP = 90  # seconds that the clock is stepped to end every start period
MINUTE = 60
MANY = {"seconds": 600}


def machine_certificates():
    """As many certificates as on a real machine; an HTTPS update has to find one among them."""
    return [path.read_text() for path in sorted(Path("/usr/share/ca-certificates").rglob("*.crt"))]


def account(number, **columns):
    return {"Id": number, "Interface": "ppp0", "ServiceType": "update-url", "ServerAddr": f"{PAGE}?{number}=<ipaddr>",
            "Hostname": f"h{number}.example.org", "AccountUserName": "user", "Password": "word",
            "ExpectedResultSubString": "good", "Retry": 5, **columns}


def on_own_interfaces(number):
    """As many accounts, each on an interface of its own, for fill()."""
    names = [f"if{each}" for each in range(1, number + 1)]
    return {"accounts": [account(each, Interface=name) for each, name in enumerate(names, 1)],
            "StatusNetifWatch": [{"Name": name, "Addr": "10.0.0.1", "IsUp": 1} for name in names],
            "StatusNetIfIPv6Addresses": [{"Name": name, "Addr": "fd00::1"} for name in names]}


class Bench:
    def __init__(self, bin_dir, store=True):
        most = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
        resource.setrlimit(resource.RLIMIT_NOFILE, (min(most, 65536), most))  # for the provider
        self.router = Router(bin_dir)
        self.bin = Path(bin_dir)
        self.steps = 0
        self.clock = Clock(self.router.folder)
        self.router.start_provider({"alice": {"password": "word", "domain": "dyn.example.org"}},
                                   pages={"page": "good\n"})
        self.route()
        if store:
            self.trust()
        self.router.start_service()
        self.router.describe()

    def trust(self, hashed=True):
        trust([self.router.authority.root, *machine_certificates()], hashed)

    def route(self):
        """The floors are not bound to an interface and need a route to the servers, which a new address removes."""
        ip("route", "replace", "10.99.0.0/24", "via", self.router.ppp0.peer, "dev", "ppp0")

    def fill(self, accounts, **tables):
        path = self.router.folder / "accounts.json"
        path.write_text(json.dumps({"DynDns": accounts, **tables}))
        self.router.ctl("import", path, **MANY)
        path.unlink()

    def start_daemon(self, *options):
        return self.router.start_daemon(*(options or ("-f",)), env=self.clock.env)

    def pass_start_period(self):
        """Steps the daemon's clock, so that all pending updates are due within four seconds."""
        self.steps += STEP
        self.clock.step(self.steps)

    def seen(self, log="requests.log"):
        """The number of requests that reached the provider."""
        path = self.router.isp.folder / log
        return path.read_bytes().count(b"\n") if path.exists() else 0

    def update_all(self, requests, log="requests.log"):
        """Makes all pending updates happen within seconds. requests: how many the provider has seen afterwards."""
        self.pass_start_period()
        self.finish(requests, 120, log)

    def finish(self, requests, seconds, log="requests.log"):
        """Waits until all updates have happened and been written, and their workers are gone."""
        wait_for(f"{requests} requests", lambda: self.seen(log) >= requests, seconds)
        daemon = self.router.daemon
        wait_for("all workers done", lambda: probes.threads(daemon.pid) == 1, 60)
        for _ in range(2):  # the first pass writes, the second reaps what was still ending
            self.router.nudge()
            self.settle(daemon.pid)

    @staticmethod
    def settle(pid):
        """Waits until the process has been idle for a second."""
        def quiet():
            before = probes.cpu_seconds(pid)
            time.sleep(1)
            return probes.cpu_seconds(pid) == before
        wait_for("quiet", quiet, 60)

    def client(self, *words, **options):
        return probes.ask(self.bin / "bench_service", *words, **options)


def idle(bin_dir, number):
    """Daemon and service at rest after all updates. In real time, so that the start periods spread the updates."""
    bench, number = Bench(bin_dir), int(number)
    bench.fill([account(each) for each in range(1, number + 1)])
    daemon = bench.router.start_daemon("-f")
    wait_for("pending updates", lambda: probes.threads(daemon.pid) == 1 + number, 60)
    time.sleep(2)
    found = {"pending": probes.memory(daemon.pid)}
    bench.finish(number, 240)
    pids = {"daemon": daemon.pid, "service": bench.router.service.pid}
    before = {name: (probes.wakeups(pid), probes.cpu_seconds(pid)) for name, pid in pids.items()}
    time.sleep(2 * MINUTE)
    for name, pid in pids.items():
        found[name] = {**probes.memory(pid), "threads": probes.threads(pid),
                       "wakeups": (probes.wakeups(pid) - before[name][0]) / 2,
                       "cpu_ms": (probes.cpu_seconds(pid) - before[name][1]) * 1e3 / 2}
    return found


def start_watcher(router):
    program = router.start_program("netifwatch", [router.bin / "netifwatch", "--foreground"])
    wait_for("its rows", lambda: router.rows("StatusNetifWatch", Name="wan1"), 40)  # only the watcher writes it
    return program


def watcher(bin_dir):
    """The watcher while nothing changes."""
    router = Router(bin_dir)
    router.start_service()
    program = start_watcher(router)
    Bench.settle(program.pid)
    before = probes.wakeups(program.pid), probes.cpu_seconds(program.pid)
    time.sleep(2 * MINUTE)
    return {**probes.memory(program.pid), "threads": probes.threads(program.pid),
            "wakeups": (probes.wakeups(program.pid) - before[0]) / 2,
            "cpu_ms": (probes.cpu_seconds(program.pid) - before[1]) * 1e3 / 2}


def rounds_of(bench, accounts, rounds, log, floor):
    """All accounts update in each round: what one update costs the whole daemon, alternating with its floor; the
    daemon's memory after each round, and what the service wrote in it."""
    pids = bench.router.daemon.pid, bench.router.service.pid
    found = {"memory": [], "cpu_us": [], "floor_us": [], "written": []}
    for number in range(rounds):
        wait_for("pending updates", lambda: probes.threads(pids[0]) == 1 + accounts, 60)
        before = probes.cpu_seconds(pids[0]), probes.written(pids[1])
        bench.update_all(bench.seen(log) + accounts, log)
        found["cpu_us"].append((probes.cpu_seconds(pids[0]) - before[0]) * 1e6 / accounts)
        found["written"].append(probes.written(pids[1]) - before[1])
        found["memory"].append(probes.memory(pids[0]))
        bench.route()
        found["floor_us"] += probes.ask(bench.bin / "bench_update", *floor, 1, accounts)["alone_cpu"]
        if number + 1 < rounds:
            bench.router.move(f"10.64.0.{10 + number}")
    return found


def updates(bin_dir):
    """500 HTTPS updates of 25 accounts, then 250 by GnuDIP of the same daemon."""
    bench, accounts = Bench(bin_dir), 25
    certificate = bench.router.folder / "root.pem"
    certificate.write_text(bench.router.authority.root)
    bench.fill([account(each) for each in range(1, accounts + 1)])
    bench.start_daemon()
    found = rounds_of(bench, accounts, 20, "requests.log", ("https-floor", PAGE, certificate, "ppp0", DNS))
    found["together_us"] = [us / accounts for us in probes.ask(
        bench.bin / "bench_update", "https-floors", PAGE, certificate, "ppp0", DNS, 20, accounts)["together_cpu"]]
    bench.fill([account(each, ServiceType="gnudip", ServerAddr=GNUDIP, Hostname="alice.dyn.example.org",
                        AccountUserName="alice") for each in range(1, accounts + 1)])
    return {**found, "gnudip": rounds_of(bench, accounts, 10, f"gnudip-{GNUDIP}.record", (
        "gnudip-floor", GNUDIP, GNUDIP, "ppp0", DNS, bench.router.ppp0.address))}


def classes(bin_dir):
    """One update by the daemon's own classes alone, against its floor."""
    bench = Bench(bin_dir)
    certificate = bench.router.folder / "root.pem"
    certificate.write_text(bench.router.authority.root)
    update = bench.bin / "bench_update"
    words = ("https", PAGE, certificate, "ppp0", DNS, 15, 20)
    gnudip = ("ppp0", DNS, bench.router.ppp0.address, 15, 40)
    folder = probes.ask(update, *words)
    bench.trust(hashed=False)
    return {"folder": folder, "bundle": probes.ask(update, *words),
            "gnudip_name": probes.ask(update, "gnudip", GNUDIP_HOST, GNUDIP, *gnudip),
            "gnudip_address": probes.ask(update, "gnudip", GNUDIP, GNUDIP, *gnudip)}


class Watcher:
    """The daemon, with the times at which a line appears in its log."""

    def __init__(self, bench, line):
        self.process = subprocess.Popen([bench.bin / "quorvad", "-f"], stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        self.line, self.times = line, []
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for text in self.process.stderr:
            if self.line in text:
                self.times.append(time.monotonic())

    def wait(self, number):
        wait_for(f"{number} lines", lambda: len(self.times) >= number, 60, pause=0.01)
        return self.times[number - 1]

    def stop(self):
        self.process.terminate()
        self.process.wait(30)


def moves(bench, number, retry):
    """Microseconds from each commit to the last scheduler, and the daemon's processor time for one commit."""
    bench.fill([account(each, Retry=retry) for each in range(1, number + 1)])
    watcher, times, rounds = Watcher(bench, b"HTTPS update will be scheduled"), [], 15
    watcher.wait(number)
    pid = watcher.process.pid
    before = probes.cpu_seconds(pid)
    for each in range(1, rounds + 1):
        time.sleep(0.1)
        moved = bench.client("move", "ppp0", f"10.64.0.{100 + each}")
        times.append(watcher.wait(number * (each + 1)) * 1e6 - moved["before"][0])
    cpu = (probes.cpu_seconds(pid) - before) * 1e6 / rounds
    watcher.stop()
    return {"wall": times, "cpu": cpu}


def trigger(bin_dir):
    """From the commit of an interface's new address to the last scheduler, with all accounts on it: accounts at rest
    (without tries, so their workers end at once), and accounts whose pending updates are replaced."""
    bench = Bench(bin_dir)
    found = {f"{kind} {number}": moves(bench, number, retry) for kind, retry in (("rest", 0), ("pending", 5))
             for number in (1, 10, 100, 1000)}
    return {**found, "floor": bench.client("load", 15)["roundtrip_wall"]}


def load(bin_dir):
    """The daemon's first load, against a transfer of the same bytes over a socket of the same kind."""
    bench, found = Bench(bin_dir, store=False), {}
    for number in (10, 100, 1000, 10000):
        bench.fill([account(each) for each in range(1, number + 1)])
        runs = [bench.client("load-once", 1) for _ in range(9)]
        found[number] = {"wall": [run["wall"][0] for run in runs], "cpu": [run["cpu"][0] for run in runs],
                         **bench.client("load", 9)}
    bench.fill(**on_own_interfaces(1000))
    runs = [bench.client("load-once", 1) for _ in range(9)]
    found["interfaces"] = {"wall": [run["wall"][0] for run in runs], **bench.client("load", 9)}
    return found


NGINX = """
    server {{ listen {address}:443 ssl backlog=4096; ssl_certificate {chain}; ssl_certificate_key {key};
        location / {{ proxy_pass http://127.0.0.1:8080; }} }}
"""


def crowd(bin_dir, hanging):
    """1000 accounts due within 4 s; each reply takes 100 ms, and with hanging every tenth never comes."""
    number, hung = 1000, int(hanging)
    bench = Bench(bin_dir)
    router, slow = bench.router, "10.99.0.90"
    isp = router.isp
    chain, key = router.authority.server("slow.example.net")
    isp.add_address(slow)
    config = (isp.folder / "nginx.conf").read_text().replace("nginx.pid", "slow.pid")
    config = config.replace("requests.log", "slow.log")
    head = config[:config.index("    server {")]
    (isp.folder / "slow.conf").write_text(head + NGINX.format(address=slow, chain=chain, key=key) + "}\n")
    isp.start("slow", [sys.executable, "-m", "bench.slowprovider", "127.0.0.1", "8080", "100"])
    isp.start("slow-nginx", ["nginx", "-e", "stderr", "-p", isp.folder, "-c", "slow.conf"])
    isp.add_address("10.99.0.55")
    isp.start("patientdns", [sys.executable, "-m", "bench.patientdns", "10.99.0.55", f"slow.example.net={slow}",
                             "hung.example.net=10.97.0.1"])
    router.ctl("set", "DNSClientServer", "Interface=ppp0", "IPAddress=10.99.0.55")
    bench.fill([account(each, Retry=1, ServerAddr=f"https://{'hung' if hung and each % 10 == 0 else 'slow'}.example.net/")
                for each in range(1, number + 1)])
    daemon = bench.start_daemon()
    wait_for("pending updates", lambda: probes.threads(daemon.pid) == 1 + number, 60)
    time.sleep(2)
    pending, cpu = probes.memory(daemon.pid), probes.cpu_seconds(daemon.pid)
    expected, log = number - (number // 10 if hung else 0), isp.folder / "slow.log"
    peak = probes.Peak(daemon.pid, descriptors=probes.descriptors, unique=lambda pid: probes.memory(pid)["unique"])
    bench.pass_start_period()

    def all_answered():
        peak.look()
        return probes.threads(daemon.pid) == 1
    wait_for("all workers done", all_answered, 180, pause=0.05)
    answers = [json.loads(line) for line in log.read_text().splitlines()]
    good = sorted(float(answer["time"]) for answer in answers if answer["status"] == "200")
    reasons = Counter(re.findall(r"curl_easy_perform\(\) failed: '(.*)'", daemon.log()))
    return {"pending": pending, "peak": peak.most, "failures": dict(reasons), "answered": len(good), "expected": expected,
            "seconds": good[-1] - good[0] + 0.1 if good else 0,
            "cpu_us": (probes.cpu_seconds(daemon.pid) - cpu) * 1e6 / number}


def service(bin_dir):
    """The service: transactions, reads, bytes on disk, start."""
    bench, found = Bench(bin_dir, store=False), {}
    bench.fill([account(1)])
    found["commits"], found["sqlite"] = [], []
    for number in range(40):  # short turns, because a busy machine's disk varies by the second
        found["commits"] += bench.client("commits", 1)["commit_wall"]
        found["sqlite"] += probes.ask(bench.bin / "bench_sqlite", bench.router.folder / f"alone{number}.db", 1,
                                      20)["commit_wall"]
    found["written"] = []
    for _ in range(5):
        before = probes.written(bench.router.service.pid)
        bench.client("outcomes", 200)
        found["written"].append((probes.written(bench.router.service.pid) - before) / 200)
    bench.fill([account(each) for each in range(1, 10001)])
    found["reads"] = bench.client("rows", 5)
    found["start"] = []
    for _ in range(5):
        bench.router.service.stop()
        begin = time.monotonic()
        bench.router.service.start()
        wait_for("socket", SOCKET.exists, 20, pause=0.001)
        wait_for("answer", lambda: bench.router.ctl("tables", check=False).returncode == 0, 20, pause=0.001)
        found["start"].append((time.monotonic() - begin) * 1e3)
    found["memory"] = probes.memory(bench.router.service.pid)
    return found


def main(name, bin_dir, out, *words):
    Path(out).write_text(json.dumps(globals()[name](bin_dir, *words)))


if __name__ == "__main__":
    main(*sys.argv[1:])
