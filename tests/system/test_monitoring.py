"""The recipes of docs/monitoring.md, as they stand there, with real programs."""

import re
import shlex
import shutil
import signal
import subprocess
from pathlib import Path

from sandbox.processes import wait_for
from sandbox.router import START_PERIOD

PAGE = Path(__file__).parents[2] / "docs" / "monitoring.md"


class Recipes:
    """The files of the page, below a folder; its own paths are adapted to that."""

    def __init__(self, router):
        self.router, self.root = router, router.folder / "recipes"
        self.files = {}
        page = PAGE.read_text()
        for path, content in ((re.search(r"^# (/\S+)$", block, re.M)[1], block)
                              for block in re.findall(r"^```(?:sh|ini)\n(.*?)^```", page, re.M | re.S)):
            for folder in ("/usr/local/bin", "/usr/sbin", "/var/lib", "/etc"):
                content = content.replace(folder, f"{self.root}{folder}")
            self.files[path] = self.write(path, content.replace("/usr/bin/cfgctl", str(router.bin / "cfgctl")))
        self.mails = self.root / "mails"
        self.write("/usr/sbin/sendmail", f'#!/bin/sh\necho "$@" >> {self.mails}\ncat >> {self.mails}\n')
        self.mails.touch()

    def write(self, path, content):
        file = self.root / path.lstrip("/")
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(content)
        file.chmod(0o755 if content.startswith("#!") else 0o644)
        return file

    def command(self, unit):
        """What a unit, or a command of NRPE's file, runs."""
        return shlex.split(re.search(r"^(?:ExecStart|command\[\w+\])=(.*)$", self.files[unit].read_text(), re.M)[1])

    def run(self, unit):
        done = subprocess.run(self.command(unit), capture_output=True, text=True, timeout=60,
                              env={"PATH": f"{self.router.bin}:/usr/bin:/bin"})
        return done.returncode, done.stdout


def test_mail(router):
    """One mail when an account fails, however often it is tried, and one when it works again."""
    recipes = Recipes(router)
    units = [path for name, path in recipes.files.items() if "systemd" in name]
    assert len(units) == 5
    if shutil.which("systemd-analyze"):
        verified = subprocess.run(["systemd-analyze", "verify", "--man=no", *units], capture_output=True, text=True, timeout=60)
        assert not [line for line in verified.stderr.splitlines() if "quorvad-" in line], verified.stderr
    account, _ = router.start_usual()
    mail = router.start_program("mail", recipes.command("/etc/systemd/system/quorvad-mail.service"))
    mail.wait_catches("cfgctl", signal.SIGCHLD)  # once it knows what the log holds already
    for second, (code, answer) in enumerate(((500, "badauth"), (500, "badauth"), (200, "good"), (200, "good"), (500, "911"))):
        router.ctl("add", "DynDnsLog", f"DynDnsId={account}", f"Timestamp=2026-03-01T17:45:0{second}+0100",
                   f"ResponseCode={code}", f"Response={answer}")
    wait_for("mails", lambda: recipes.mails.read_text().count("911\n"), 20, [mail])
    assert re.findall("^Subject: .*: (.*)$", recipes.mails.read_text(), re.M) == ["failed", "updated", "failed"]
    assert "\nAnswer of the provider: 500 badauth\n" in recipes.mails.read_text() and mail.stop() == 0


def test_checks(router):
    recipes = Recipes(router)
    metrics = recipes.root / "var/lib/prometheus/node-exporter/quorvad.prom"
    metrics.parent.mkdir(parents=True)

    def measure():
        """{name: value} of all numbers without labels, and of those of the account."""
        assert recipes.run("/etc/systemd/system/quorvad-metrics.service")[0] == 0
        assert [file.name for file in metrics.parent.iterdir()] == [metrics.name]
        label = f'{{account="{account}",hostname="home.example.org",interface="ppp0"}}'
        return dict(re.findall(rf"^(\w+)(?:{re.escape(label)})? (\d+)$", metrics.read_text(), re.M))

    def check():
        """The result of a check, which is the same in each recipe that makes one, but for the age of an outcome."""
        lines = [recipes.run(unit) for unit in ("/etc/systemd/system/quorvad-check.service", "/etc/nagios/nrpe.d/quorvad.cfg")]
        result, other = [(code, line.split(":")[0]) for code, line in lines]
        assert result == other and [line.count("\n") for _, line in lines] == [1, 1], lines
        return result
    account, other = router.start_usual()
    router.ctl("set", "DynDns", f"Id={other}", "Enable=0")
    router.start_watcher()
    assert check() == (2, "missing")
    daemon = router.start_daemon()
    router.wait_rows("DynDnsStatus", START_PERIOD + 75, nudge=False, Success=1)
    assert check() == (0, "well")
    good = measure()
    named = set(re.findall(r"quorvad_\w+", PAGE.read_text()))
    assert named and named - {"quorvad_account_next_seconds"} == {*good}  # nothing is due
    assert (good["quorvad_account_last_success"], good["quorvad_daemon_up"], good["quorvad_account_enabled"]) == ("1", "1", "1")
    router.ctl("set", "DynDnsStatus", f"DynDnsId={account}", "Success=0")
    assert check() == (1, "failing") and measure()["quorvad_account_last_success"] == "0"
    assert daemon.stop() == 0
    assert check() == (2, "missing") and measure()["quorvad_daemon_up"] == "0"
    router.service.stop()
    assert check() == (2, "missing") and measure() == {"quorvad_service_up": "0"}
