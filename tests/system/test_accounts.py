"""An account on the command line: added by a provider's key, updated, shown, removed; and shell completion."""

import base64
import json
import os
import re
import signal
import subprocess
import termios

from sandbox.namespaces import mount
from sandbox.processes import wait_for
from sandbox.router import HTTPS_HOST, START_PERIOD

PROVIDERS = {"providers": [
    {"key": "local", "name": "Local", "sure": True, "auth": "basic", "expect": "good", "unchanged": "nochg", "retry": 2,
     "url": f"https://{HTTPS_HOST}/nic/update?host=<domain>&ip=<ipaddr>"},
    {"key": "token", "auth": "url", "expect": "good",
     "url": f"https://{HTTPS_HOST}/plain/update?host=<domain>&user=<username>&token=<password>&ip=<ipaddr>"}]}
WORD = "p&ss w=rd<serial>%"


class Terminal:
    """cfgctl on a terminal of its own."""

    def __init__(self, router, *words):
        self.master, self.slave = os.openpty()
        self.process = subprocess.Popen([router.bin / "cfgctl", *words], stdin=self.slave, stdout=self.slave,
                                        stderr=self.slave, start_new_session=True)
        self.text = ""

    def echoes(self):
        return bool(termios.tcgetattr(self.slave)[3] & termios.ECHO)

    def wait_text(self, text):
        def shown():
            if os.get_blocking(self.master):
                os.set_blocking(self.master, False)
            try:
                self.text += os.read(self.master, 65536).decode()
            except BlockingIOError:
                pass
            return text in self.text
        wait_for(f"'{text}' on the terminal", shown, 30, pause=0.05)

    def type(self, text):
        os.write(self.master, text.encode())


def test_accounts(router):
    router.start_provider(users={"alice": WORD}, pages={"update": "good\n"})
    router.start_service()
    providers = router.folder / "providers.json"
    providers.write_text(json.dumps(PROVIDERS))
    common = ("--host", "home.example.org", "-i", "ppp0", "--user", "alice", "--providers", providers)

    # The interface is not monitored yet: the command says so, and keeps the account.
    added = router.ctl("account", "add", "-p", "local", *common, "--password-file", "-", text=WORD + "\n")
    assert "Added account 1" in added.stdout and "is not monitored" in added.stderr
    assert router.rows("DynDns")[0]["UnchangedResultSubString"] == "nochg"
    tested = router.ctl("account", "test", "1", check=False)
    assert tested.returncode == 1 and "Not ready" in tested.stdout
    router.describe()
    tested = router.ctl("account", "test", "1", check=False)
    assert tested.returncode == 1 and "No daemon (quorvad) is connected" in tested.stdout

    # The password prompt does not echo, and a signal restores the terminal.
    mount("devpts", "/dev/pts", "devpts", data="newinstance,ptmxmode=0666")
    os.symlink("pts/ptmx", "/dev/ptmx")
    words = ("account", "add", "-p", "token", *common)
    interrupted = Terminal(router, *words)
    interrupted.wait_text("password: ")
    assert not interrupted.echoes()
    interrupted.process.send_signal(signal.SIGINT)
    assert interrupted.process.wait(30) == -signal.SIGINT and interrupted.echoes()
    ended = Terminal(router, *words)
    ended.wait_text("password: ")
    ended.type("\x04")
    ended.wait_text("\r\ncfgctl: No password was entered")
    assert ended.process.wait(30) == 1 and ended.echoes()
    cut = Terminal(router, *words)  # a terminal keeps 4095 bytes of a line
    cut.wait_text("password: ")
    cut.type("x" * 5000 + "\n")
    cut.wait_text("longer than 4094 bytes")
    assert cut.process.wait(30) == 1 and cut.echoes()
    typed = Terminal(router, *words)
    typed.wait_text("password: ")
    typed.type(WORD + "\n")
    typed.wait_text("Added account 2")
    assert typed.process.wait(30) == 0 and typed.echoes() and WORD not in typed.text
    assert "percent-encoded" in typed.text

    follower = subprocess.Popen([router.bin / "cfgctl", "log", "--follow", "--json"], stdout=subprocess.PIPE, text=True)
    daemon = router.start_daemon()
    daemon.wait_log("Built scheduler", times=2)
    ready = router.ctl("account", "test", "1").stdout
    assert re.search(r"^Ready: an update goes out within \d+ seconds\.$", ready, re.M)
    assert 'contains "good" or "nochg"' in ready
    assert "10.64.0.2" in ready and "10.99.0.53" in ready and WORD not in ready
    router.wait_rows("DynDnsStatus", START_PERIOD + 15, 2, Success=1)
    basic, = router.isp.requests("/nic/")
    assert basic["authorization"] == "Basic " + base64.b64encode(f"alice:{WORD}".encode()).decode()
    assert "/nic/update?host=home.example.org&ip=10.64.0.2 " in basic["request"]
    token, = router.isp.requests("/plain/")
    assert "&user=alice&token=p%26ss%20w%3Drd%3Cserial%3E%25&ip=10.64.0.2 " in token["request"]
    assert token["authorization"] == ""

    lines = [json.loads(follower.stdout.readline()) for _ in range(2)]
    follower.send_signal(signal.SIGINT)
    assert follower.wait(30) == 0
    assert {line["DynDnsId"]: line["Outcome"] for line in lines} == {1: "updated", 2: "updated"}
    assert len(re.findall(r" updated +200  good$", router.ctl("log", "--lines", "2").stdout, re.M)) == 2
    router.nudge()  # another interface, of which the service tells only that it was some interface
    status = router.ctl("status").stdout
    pattern = r"updated .* (?:ago|now) +good +an update within \d+ seconds if its address changed$"
    assert len(re.findall(pattern, status, re.M)) == 2

    # An update without a change: each account once.
    mark = daemon.mark()
    asked = json.loads(router.ctl("--json", "account", "update").stdout)
    assert asked == {"Sent": [1, 2], "Held": [], "EarliestSeconds": 51, "LatestSeconds": 75}
    assert router.ctl("account", "update").stdout == "2 accounts are sent within 75 seconds.\n"
    for account in (1, 2):
        daemon.wait_log(f"DynDns cfg id {account} needs action .DynDns changed", start=mark)

    # The daemon keeps an account whose row disappears, but does not update a removed one.
    assert router.ctl("account", "remove", "2", check=False).returncode == 1
    removed = router.ctl("account", "remove", "2", "--yes").stdout
    assert removed.endswith(" send all enabled ones again: 1 other follows within 75 seconds.\n")
    assert "No account 2" in router.ctl("account", "test", "2", check=False).stderr
    for table in ("DynDnsLog", "DynDnsStatus"):
        assert [row["DynDnsId"] for row in router.rows(table)] == [1]
    mark = router.move("10.64.0.9")
    daemon.wait_log("DynDns cfg id 1 needs action .iface 'ppp0' Ipv4", start=mark)
    daemon.wait_log("Built scheduler with 2 retries", start=mark)
    assert daemon.count("DynDns cfg id 2 needs action", mark) == 0
    assert [account["Next"] for account in json.loads(router.ctl("status", "--json").stdout)] == ["due"]
    assert daemon.stop() == 0
    stopped = router.ctl("status")
    assert stopped.stdout.endswith("  nothing: no daemon is connected\n")
    assert stopped.stderr.count("warning: No daemon (quorvad) is connected") == 1
    check = router.ctl("status", "--check", check=False)
    assert (check.returncode, check.stdout) == (
        2, "missing: no daemon (quorvad) is connected; no watcher (netifwatch) is connected\n")
    router.service.stop()
    assert router.ctl("status", "--check", check=False).returncode == 2
    assert "\nquorvad_service_up 0\n" in router.ctl("status", "--metrics").stdout


def test_completion(router):
    router.start_service()
    router.ctl("add", "DynDns", "Hostname=home.example.org")
    router.show_interfaces()
    script = router.folder / "complete"
    file = os.path.abspath("cfgctl/completion/cfgctl.bash")
    script.write_text(f'set -u; PATH="{router.bin}:$PATH"; . "{file}"; COMP_WORDS=(cfgctl "$@"); COMP_CWORD=$#\n'
                      'COMPREPLY=(); _cfgctl; echo "${COMPREPLY[@]}"\n')
    cases = {("acc",): "account", ("account", "re"): "remove", ("account", "add", "--pass"): "--password-file",
             ("account", "add", "-p", "duck"): "duckdns", ("account", "test", ""): "1", ("log", "--acc"): "--account",
             ("show", "DynDnsL"): "DynDnsLog", ("set", "DynDns", "Id=1", "Hos"): "Hostname=",
             ("account", "add", "-i", "ppp"): "ppp0", ("set", "DynDns", "Id", "=", ""): ""}
    for words, expected in cases.items():
        done = subprocess.run(["bash", script, *words], capture_output=True, text=True, timeout=30)
        assert (done.stdout.strip(), done.stderr) == (expected, ""), words
