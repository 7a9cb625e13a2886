"""A provider in its own network namespace: DNS (dnsmasq), HTTPS (nginx), GnuDIP (gnudip.py)."""

import json
import re
import socket
import subprocess
import sys
from pathlib import Path

from sandbox import gnudip
from sandbox.processes import Program, wait_for

_NGINX = """\
user root;
daemon off;
master_process off;
pid {folder}/nginx.pid;
error_log stderr warn;
events {{ worker_connections 4096; }}
http {{
    log_format record escape=json '{{"time":"$msec","source":"$remote_addr","server":"$server_addr","host":"$host",'
        '"request":"$request","uri":"$request_uri","agent":"$http_user_agent","authorization":"$http_authorization",'
        '"user":"$remote_user","status":"$status"}}';
    access_log {folder}/requests.log record;
    client_body_temp_path {folder}/body; proxy_temp_path {folder}/proxy; fastcgi_temp_path {folder}/fastcgi;
    uwsgi_temp_path {folder}/uwsgi; scgi_temp_path {folder}/scgi;
    default_type text/plain;
    ssl_protocols TLSv1.2 TLSv1.3;
{servers}}}
"""
_SERVER = """\
    server {{
        listen {address}:443 ssl;
        ssl_certificate {chain};
        ssl_certificate_key {key};
        location / {{ return 404 "no such page\\n"; }}
        location /nic/ {{
            auth_basic "dynamic dns";
            auth_basic_user_file {folder}/users;
            alias {folder}/pages/;
            try_files $uri =404;
        }}
        location /plain/ {{ alias {folder}/pages/; }}
        location /broken/ {{ if (!-f {folder}/repaired) {{ return 500 "try again later\\n"; }} return 200 "good\\n"; }}
    }}
"""


class Provider:
    """The servers of one namespace, whose loopback device has their addresses."""

    def __init__(self, netns, folder):
        self.netns = netns
        self.folder = Path(folder) / netns
        self.folder.mkdir()
        self.programs = []
        self._names = {}
        self._servers = ""

    def start(self, name, command):
        program = Program(name, command, self.folder, self.netns, {"PYTHONDONTWRITEBYTECODE": "1"}).start()
        self.programs.append(program)
        return program

    def add_address(self, address):
        """Adds an address, or a network, for all addresses of which this namespace then answers."""
        word = address if "/" in address else f"{address}/32"
        subprocess.run(["ip", "-n", self.netns, "addr", "replace", word, "dev", "lo"], check=True)

    def _wait_port(self, program, address, port):
        """Waits for the program to listen, as its own /proc shows the sockets of its namespace."""
        packed = socket.inet_aton(address)[::-1].hex().upper() + f":{port:04X}"

        def listening():
            try:
                return packed in Path(f"/proc/{program.pid}/net/tcp").read_text()
            except OSError:  # it has ended
                return False
        wait_for(f"{program.name} listening on {address}:{port}", listening, 20, [program], 0.05)

    def start_dns(self, address, names):
        """names: {host name: address}. Other names do not exist. Restart it to change the names."""
        self.add_address(address)
        command = ["dnsmasq", "--keep-in-foreground", "--conf-file=/dev/null", "--user=root", "--no-resolv",
                   "--no-hosts", "--no-daemon", "--pid-file=", "--log-queries=extra", "--bind-interfaces",
                   "--cache-size=0", "--local=/#/", f"--listen-address={address}"]
        command += [f"--host-record={name},{target}" for name, target in names.items()]
        program = self.start(f"dns-{address}", command)
        self._wait_port(program, address, 53)
        return program

    def queries(self, address, name=None):
        """The queries that reached the DNS server at this address: [(source, type, name)]."""
        log = (self.folder / f"dns-{address}.log").read_text(errors="replace")
        found = re.findall(r" query\[(\w+)\] (\S+) from (\S+)$", log, re.M)
        return [(source, kind, asked) for kind, asked, source in found if name in (None, asked)]

    def add_https(self, address, authority, host):
        """Adds a server with a certificate for one host name; start_https() starts them all."""
        self.add_address(address)
        chain, key = authority.server(host)
        self._servers += _SERVER.format(address=address, chain=chain, key=key, folder=self.folder)
        return address

    def start_https(self, users, pages):
        """users: {name: password} of /nic/; pages: {name: text} below /nic/ and /plain/. /broken/ fails until repair()."""
        (self.folder / "users").write_text("".join(f"{name}:{{PLAIN}}{word}\n" for name, word in users.items()))
        (self.folder / "pages").mkdir()
        for name, text in pages.items():
            (self.folder / "pages" / name).write_text(text)
        (self.folder / "nginx.conf").write_text(_NGINX.format(folder=self.folder, servers=self._servers))
        program = self.start("nginx", ["nginx", "-e", "stderr", "-p", self.folder, "-c", "nginx.conf"])
        for address in re.findall(r"listen (\S+):443", self._servers):
            self._wait_port(program, address, 443)
        return program

    def repair(self):
        (self.folder / "repaired").touch()

    def requests(self, text=""):
        """The requests that nginx answered, oldest first, as dicts; only those whose request line holds the text."""
        return [entry for entry in _json_lines(self.folder / "requests.log") if text in entry["request"]]

    def start_gnudip(self, address, accounts, fault=""):
        """accounts: {user: {"password": ..., "domain": ...}}; fault as in gnudip.py."""
        self.add_address(address)
        settings = self.set_gnudip(address, accounts)
        program = self.start(f"gnudip-{address}", [sys.executable, gnudip.__file__, address, settings,
                                                    self.folder / f"gnudip-{address}.record", fault])
        self._wait_port(program, address, gnudip.PORT)
        return program

    def set_gnudip(self, address, accounts):
        """Sets other accounts, from the next exchange on."""
        settings = self.folder / f"gnudip-{address}.json"
        settings.write_text(json.dumps(accounts))
        return settings

    def updates(self, address):
        """The finished exchanges of the GnuDIP server at this address, oldest first."""
        return _json_lines(self.folder / f"gnudip-{address}.record")

    def tail(self):
        return "\n".join(program.tail() for program in self.programs)


def _json_lines(path):
    if not path.exists():
        return []
    return [json.loads(line) for line in path.read_text(errors="replace").splitlines()]
