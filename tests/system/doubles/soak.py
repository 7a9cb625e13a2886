"""Measures resources of daemon and service under continuous changes. Runs inside a sandbox: see scripts/soak.

Rounds of 100 s. In the first 20 s of each, everything changes several times a second: accounts, DNS servers, interfaces;
all schedulers come and go. After that only wan1 changes, and the accounts on ppp0 reach their tries, some of which
succeed. In the first half of the rounds the service ends four times in those 20 s; in the second half it keeps running,
so that its resources can be compared as well.
"""

import random
import statistics
import sys
import time
from pathlib import Path

from sandbox.processes import Failure
from sandbox.router import DNS, GNUDIP, GNUDIP_HOST, HTTPS_HOST, Router

STEP = 0.25  # seconds between two changes
ROUND, BUSY = 100, 20  # seconds
OUTAGE = 5  # seconds between two ends of the service while everything changes
MUTE = "10.99.0.36"  # a server that accepts and says nothing: attempts are in progress when their accounts change
BUNDLE = "/etc/ssl/certs/ca-certificates.crt"
# What is compared between rounds, and how much higher it may be at the end. Medians, because tries hold memory and
# descriptors for a moment and a sample may fall into several of them.
MEASURES = {"anonymous KiB": (statistics.median, 256), "descriptors": (statistics.median, 0), "threads": (max, 0)}


def sample(pid):
    status = dict(line.split(":", 1) for line in Path(f"/proc/{pid}/status").read_text().splitlines())
    return {"anonymous KiB": int(status["RssAnon"].split()[0]), "threads": int(status["Threads"]),
            "descriptors": len(list(Path(f"/proc/{pid}/fd").iterdir()))}


class Soak:
    """prefix: a command under which the daemon runs, such as a checker."""

    def __init__(self, router, seconds, prefix=()):
        self.router, self.seconds, self.prefix = router, seconds, prefix
        self.dice = random.Random(1)
        self.changes = self.outages = self.refused = 0
        self.series = {"quorvad": [], "cfgserver": []}

    def prepare(self):
        router = self.router
        router.start_tables({"u": {"password": "word", "domain": "dyn.example.org"}}, pages={"page": "good\n"},
                            extra_names={"mute.example.net": MUTE})
        router.isp.start_gnudip(MUTE, {}, "no-salt")
        if not self.prefix:  # as large as on a real machine; every HTTPS try reads it, too slowly under a checker
            with open(BUNDLE, "a", encoding="utf-8") as bundle:
                bundle.writelines(path.read_text() for path in sorted(Path("/usr/share/ca-certificates").rglob("*.crt")))
        self.describe_wan1()
        for interface in ("ppp0", "wan1"):
            for server in (GNUDIP_HOST, "mute.example.net"):
                router.add_account("gnudip", server, "u.dyn.example.org", "u", "word", Retry=3, Interface=interface)
            for path in ("plain/page", "plain/page?<ipaddr>", "broken/page"):
                router.add_account("update-url", f"https://{HTTPS_HOST}/{path}", "home.example.org", Retry=3,
                                   Interface=interface)
        router.start_daemon("-f", prefix=self.prefix)

    def describe_wan1(self):
        self.ctl("add", "StatusNetifWatch", "Name=wan1", "Addr=10.65.0.2", "IsUp=1")
        if not self.router.rows("DNSClientServer", Interface="wan1"):
            self.ctl("add", "DNSClientServer", "Enable=1", "Interface=wan1", f"IPAddress={DNS}")

    def ctl(self, *words):
        """May fail: the service may be down, or another client may be writing."""
        self.refused += self.router.ctl(*words, check=False).returncode != 0
        self.changes += 1

    def change_wan1(self):
        number = self.dice.randrange(2, 250)
        self.dice.choice((
            lambda: self.ctl("set", "StatusNetifWatch", "Name=wan1", f"Addr=10.65.0.{number}"),
            lambda: self.ctl("set", "StatusNetifWatch", "Name=wan1", f"IsUp={number % 2}"),
            lambda: self.ctl("set", "DNSRelay", "Id=1", f"Enable={number % 2}"),
        ))()

    def change_anything(self):
        account = self.dice.choice(self.router.rows("DynDns"))
        server = self.dice.choice(self.router.rows("DNSClientServer", Interface="wan1"))
        number = self.dice.randrange(2, 250)
        self.dice.choice((
            self.change_wan1,
            self.change_ppp0,
            lambda: [self.ctl("set", "DynDns", f"Id={account['Id']}", f"Enable={on}") for on in (0, 1)],
            lambda: self.ctl("set", "DynDns", f"Id={account['Id']}",
                             f"Hostname={account['AccountUserName'] or 'x'}.h{number}.example.org"),
            lambda: self.replace(account),
            lambda: self.ctl("set", "DNSClientServer", f"Id={server['Id']}", f"IPAddress=10.99.1.{number}"),
        ))()

    def replace(self, account):
        # Under its old Id: the daemon keeps a deleted account until it exits.
        columns = [f"{name}={value}" for name, value in {**account, "Password": "word"}.items()]
        self.ctl("delete", "DynDns", f"Id={account['Id']}")
        self.ctl("add", "DynDns", *columns)

    def change_ppp0(self):
        self.router.ppp0.set_address(f"10.64.0.{self.dice.randrange(2, 250)}")
        self.ctl("set", "StatusNetifWatch", "Name=ppp0", f"Addr={self.router.ppp0.address}")

    def end_service(self):
        self.outages += 1
        self.router.service.kill() if self.outages % 2 else self.router.service.stop()
        time.sleep(self.dice.uniform(0, 3))
        self.router.start_service()
        self.router.show_interfaces()
        self.describe_wan1()

    def run(self):
        """Returns the daemon's exit status after the final stop."""
        self.prepare()
        begin, ended = time.monotonic(), 0
        while (now := time.monotonic() - begin) < self.seconds:
            busy = now % ROUND < BUSY
            if busy and ended + OUTAGE < now < self.seconds / 2:
                ended = now
                self.end_service()
            self.change_anything() if busy else self.change_wan1()
            for program in (self.router.daemon, self.router.service):
                if not program.running:
                    raise Failure(f"{program.name} ended with status {program.status}\n{program.tail()}")
                self.series[program.name].append((time.monotonic() - begin, sample(program.pid)))
            time.sleep(STEP)
        stopped = self.router.daemon.stop(seconds=180 if self.prefix else 60)
        print(f"{self.changes} changes ({self.refused} refused), {self.outages} restarts of the service, "
              f"{len(self.router.isp.requests())} HTTPS and {len(self.router.isp.updates(GNUDIP))} GnuDIP requests; "
              f"the daemon stopped with status {stopped}")
        return stopped

    def judge(self):
        """Compares the second round (for the service: the first one without an outage) with the last one. In its first
        round the daemon makes its first TLS connection, which raises its memory for good."""
        good = True
        for name, first in (("quorvad", ROUND), ("cfgserver", self.seconds / 2)):
            for what, (measure, noise) in MEASURES.items():
                early, late = (measure(value[what] for at, value in self.series[name] if start <= at < start + ROUND)
                               for start in (first, self.seconds - ROUND))
                good &= late <= early + noise
                print(f"{name:9} {what:13} early {early:6.0f}, at the end {late:6.0f}"
                      + ("" if late <= early + noise else "  GROWS"))
        return good

    def write_series(self):
        for name, samples in self.series.items():
            lines = [f"{at:.1f} " + " ".join(str(value[what]) for what in MEASURES) for at, value in samples]
            (self.router.folder / f"{name}.series").write_text("\n".join([" ".join(["seconds", *MEASURES]), *lines, ""]))


def main():
    soak = Soak(Router(sys.argv[1]), float(sys.argv[2]))
    try:
        return 0 if soak.run() == 0 and soak.judge() else 1
    finally:
        soak.write_series()


if __name__ == "__main__":
    sys.exit(main())
