"""The router under test: its interfaces, its configuration service, its daemon, and the command line to them."""

import json
import subprocess
import sys
from pathlib import Path

from sandbox import namespaces
from sandbox.keys import Authority, trust
from sandbox.processes import Failure, Program, wait_for
from sandbox.provider import Provider

SOCKET = Path("/tmp/cfgserver.socket")
PID_FILE = Path("/run/quorvad.pid")
# The servers are behind the peers, on routed addresses. The same DNS address exists behind both interfaces, so that it
# shows which way a query took.
DNS, DNS_2, HTTPS, GNUDIP = "10.99.0.53", "10.99.0.54", "10.99.0.80", "10.99.0.35"
IPV6 = "fd64::2"  # of ppp0
HTTPS_HOST, GNUDIP_HOST = "ddns.example.net", "gnudip.example.net"
START_PERIOD = 100  # seconds until a first try has begun: 51 to 70, checked every 4, on a busy machine

_SYSLOG = """import os, socket
sink = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
sink.bind("/dev/log")
os.chmod("/dev/log", 0o666)
while True: os.write(1, sink.recv(65536).rstrip(b"\\0\\n") + b"\\n")"""


class Link:
    """A virtual cable from an interface of the router to a namespace, with a route for the addresses behind it."""

    def __init__(self, interface, netns, number, metric):
        self.interface, self.netns, self.number, self.metric = interface, netns, number, metric
        self.peer = f"10.{number}.0.1"
        self.address = None

    def create(self):
        ip("netns", "add", self.netns)
        ip("link", "add", "name", self.interface, "type", "veth", "peer", "name", "router", "netns", self.netns)
        ip("-n", self.netns, "link", "set", "lo", "up")
        ip("-n", self.netns, "addr", "add", f"{self.peer}/24", "dev", "router")
        ip("-n", self.netns, "link", "set", "router", "up")
        ip("link", "set", self.interface, "up")
        ip("rule", "add", "from", f"10.{self.number}.0.0/24", "lookup", self.number)
        self.set_address(f"10.{self.number}.0.2")

    def set_address(self, address):
        """Replaces the interface's IPv4 address."""
        ip("-4", "addr", "flush", "dev", self.interface)
        ip("addr", "add", f"{address}/24", "dev", self.interface)
        for table in ("main", self.number):
            ip("route", "replace", "default", "via", self.peer, "dev", self.interface, "table", table,
               "metric", self.metric)
        self.address = address

    def plug(self, plugged):
        """Unplugged, the interface is up but not running."""
        ip("-n", self.netns, "link", "set", "router", "up" if plugged else "down")
        wait_for(f"{self.interface} {'running' if plugged else 'not running'}",
                 lambda: ("LOWER_UP" in ip("-br", "link", "show", "dev", self.interface)) == plugged, 30)


def ip(*words):
    done = subprocess.run(["ip", *map(str, words)], capture_output=True, text=True)
    if done.returncode != 0:
        raise Failure(f"ip {' '.join(map(str, words))}: {done.stderr.strip()}")
    return done.stdout


class Router:
    """Two uplinks: ppp0, which the accounts follow, and wan1 with the default route."""

    def __init__(self, bin_dir, folder=namespaces.WORK):
        self.bin = Path(bin_dir).resolve()
        self.folder = Path(folder)
        self.folder.mkdir(exist_ok=True)
        self.database = self.folder / "config.db"
        self.socket = SOCKET
        self.service = self.daemon = self.syslog = self.watcher = None
        self._programs = []
        self._nudges = 0
        self.ppp0 = Link("ppp0", "isp", 64, 200)
        self.wan1 = Link("wan1", "other", 65, 100)
        for link in (self.ppp0, self.wan1):
            link.create()
        self.isp = Provider("isp", self.folder)
        self.other = Provider("other", self.folder)

    def start_provider(self, gnudip_accounts=None, users=None, pages=None, extra_names=None, hashed=True):
        """Starts the usual servers behind ppp0, and behind wan1 only a DNS server, which is also the system's: queries
        there did not use the account's interface. Without hashed, the machine has a bundle of certificates only."""
        names = {HTTPS_HOST: HTTPS, GNUDIP_HOST: GNUDIP, **(extra_names or {})}
        self.isp.start_dns(DNS, names)
        self.other.start_dns(DNS, names)
        namespaces.cover("/etc/resolv.conf", f"nameserver {DNS}\noptions timeout:1 attempts:1\n")
        self.authority = Authority(self.folder, "Provider")
        trust([self.authority.root], hashed)
        self.isp.add_https(HTTPS, self.authority, HTTPS_HOST)
        self.isp.start_https(users or {}, pages or {})
        self.isp.start_gnudip(GNUDIP, gnudip_accounts or {})

    def start_syslog(self):
        self.syslog = self.start_program("syslog", [sys.executable, "-u", "-c", _SYSLOG])
        wait_for("/dev/log", Path("/dev/log").exists, 10, [self.syslog], 0.05)

    def start_program(self, name, command, env=None):
        program = Program(name, command, self.folder, env=env).start()
        self._programs.append(program)
        return program

    def start_service(self, *options, env=None):
        """Starts the service, or starts it again on the same database, and waits until it answers."""
        if self.service is None:
            self.service = self.start_program("cfgserver", [self.bin / "cfgserver", "--foreground", "--socket", self.socket,
                                                       "--database", self.database, *options], env)
        else:
            self.service.start()
        wait_for("the service answers", lambda: self.ctl("tables", check=False).returncode == 0, 40, [self.service])

    def start_watcher(self, *options, prefix=(), env=None):
        """Starts netifwatch, or starts it again. From then on, methods that would write rows of interfaces wait for its
        rows instead. It leaves lan0 to nudge()."""
        if self.watcher is None:
            words = ["--foreground", "--debug", "--exclude", "lan0"]
            self.watcher = self.start_program("netifwatch", [*prefix, self.bin / "netifwatch", *words, *options], env)
            ip("-6", "addr", "add", f"{IPV6}/64", "dev", "ppp0", "nodad")
        else:
            self.watcher.start()
        return self.watcher

    def wait_shown(self, seconds=40, ipv6=IPV6, **state):
        """Waits until the database shows ppp0 in this state and with this IPv6 address (None: any)."""
        wanted = {"Name": "ppp0", "Addr": self.ppp0.address, "IsUp": 1, **state}

        def shown():
            found = [row["Addr"] for row in self.rows("StatusNetIfIPv6Addresses", Name=wanted["Name"])]
            return self.rows("StatusNetifWatch", **wanted) and (ipv6 is None or found == [ipv6][:bool(ipv6)])
        wait_for(f"rows show {wanted}, {ipv6}", shown, seconds, [self.service, self.watcher])

    def start_tables(self, *provider, options=(), **more):
        """Starts provider (as start_provider) and service, and describes the router in the tables."""
        self.start_provider(*provider, **more)
        self.start_service(*options)
        self.describe()

    def start_usual(self, *options, page="page", **columns):
        """Starts provider and service and adds an account of each kind; returns their Ids. page may have a query."""
        self.start_tables({"alice": {"password": "word", "domain": "dyn.example.org"}}, pages={"page": "good\n"},
                          options=options)
        return (self.add_account("update-url", f"https://{HTTPS_HOST}/plain/{page}", "home.example.org", **columns),
                self.add_account("gnudip", GNUDIP_HOST, "alice.dyn.example.org", "alice", "word", **columns))

    def move(self, address):
        """Gives ppp0 this address, also in the database. Returns a mark in the daemon's log from before."""
        mark = self.daemon.mark()
        self.ppp0.set_address(address)
        if self.watcher:
            self.wait_shown(ipv6=None)
        else:
            self.ctl("set", "StatusNetifWatch", "Name=ppp0", f"Addr={address}")
        return mark

    def start_daemon(self, *options, prefix=(), env=None, name="quorvad"):
        self.daemon = self.start_program(name, [*prefix, self.bin / "quorvad", *(options or ("-f", "-d"))], env)
        return self.daemon

    def ctl(self, *words, check=True, seconds=30, text=None):
        """Runs cfgctl. With check, a failure is an exception."""
        done = subprocess.run([self.bin / "cfgctl", "--socket", self.socket, *map(str, words)], capture_output=True,
                              text=True, input=text, stdin=None if text is not None else subprocess.DEVNULL,
                              timeout=seconds)
        if check and done.returncode != 0:
            raise Failure(f"cfgctl {' '.join(map(str, words))}: status {done.returncode}\n{done.stderr}")
        return done

    def rows(self, table, **keys):
        """Rows of a table as dicts, only those with these column values."""
        found = json.loads(self.ctl("--json", "show", table).stdout)
        return [row for row in found if all(row[name] == value for name, value in keys.items())]

    def describe(self, serial="A1B2C3D4"):
        """Writes the router's state into the database, as its network manager would."""
        self.ctl("set", "etl", "Id=1", f"serial_no={serial}")
        self.show_interfaces()
        if self.watcher:
            wait_for("DNS servers of ppp0", lambda: self.rows("DNSClientServer", Interface="ppp0"), 40, [self.watcher])
            return
        self.ctl("add", "DNSClientServer", "Enable=1", "Interface=ppp0", f"IPAddress={DNS}")

    def show_interfaces(self):
        """Writes the states of the interfaces, which the service keeps in memory only."""
        if self.watcher:
            self.wait_shown()
            return
        self.ctl("add", "StatusNetifWatch", "Name=ppp0", f"Addr={self.ppp0.address}", "IsUp=1")
        self.ctl("add", "StatusNetIfIPv6Addresses", "Name=ppp0", f"Addr={IPV6}")

    def add_account(self, service, server, host, user="", password="", **columns):
        """Adds a DynDns row and returns its Id. The password goes through a file."""
        words = [f"ServiceType={service}", f"ServerAddr={server}", f"Hostname={host}", f"AccountUserName={user}"]
        words += [f"{name}={value}" for name, value in {"Interface": "ppp0", "Retry": 1, **columns}.items()]
        secret = self.folder / "password"
        secret.write_text(password)
        secret.chmod(0o600)
        added = self.ctl("add", "DynDns", *words, f"Password@={secret}")
        secret.unlink()
        return int(added.stdout)

    def nudge(self):
        """Changes the state of an interface that no account follows, so that the daemon's loop runs and writes
        outcomes. Without any change it runs once a minute."""
        self._nudges += 1
        if self._nudges == 1:
            self.ctl("add", "StatusNetifWatch", "Name=lan0", "Addr=10.66.0.1", "IsUp=1")
        self.ctl("set", "StatusNetifWatch", "Name=lan0", f"Addr=10.66.0.{1 + self._nudges % 250}", check=False)

    def wait_rows(self, table, seconds, number=1, nudge=True, **keys):
        """Waits until at least this many rows with these values exist, and returns them."""
        def enough():
            found = self.rows(table, **keys)
            if len(found) >= number:
                return found
            if nudge:
                self.nudge()
            return None
        return wait_for(f"{number} row(s) in {table} with {keys}", enough, seconds, self._running(), 1)

    def wait_written(self, program, pattern, start=0):
        """Nudges the daemon until this program has logged what comes of an outcome that waits to be written. An update
        is logged before its outcome is queued, so a single nudge may come too early."""
        wait_for(f"{program.name} logs '{pattern}'", lambda: self.nudge() or program.count(pattern, start), 60,
                 self._running(), 1)

    def _running(self):
        return [program for program in (self.service, self.daemon, self.watcher) if program]

    def tail(self):
        """The end of every log, for a failure."""
        some = self._programs if len(self._programs) < 8 else self._programs[:2] + self._programs[-5:]
        return "\n".join([program.tail() for program in some] + [self.isp.tail(), self.other.tail()])
