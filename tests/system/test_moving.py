"""The accounts move to another machine by the commands of the manual's own page."""

import os
import re
import stat
import subprocess
from pathlib import Path

from sandbox.router import HTTPS_HOST

PAGE = Path(__file__).resolve().parents[2] / "docs" / "operations.md"


def blocks():
    """The page's commands, block by block."""
    section = re.search(r"^## Moving to another machine\n(.*?)^## ", PAGE.read_text(), re.M | re.S).group(1)
    return re.findall(r"(?:^    .+\n)+", section, re.M)


def test_moving(router):
    def run(commands):
        return subprocess.run(["sh", "-e", "-c", "systemctl() { echo \"systemctl $*\"; }\n" + commands], cwd=router.folder,
                              env={**os.environ, "PATH": f"{router.bin}:{os.environ['PATH']}"}, capture_output=True,
                              text=True, timeout=60)
    leave, arrive, correct = blocks()
    router.start_provider()
    router.start_service()
    router.add_account("update-url", f"https://{HTTPS_HOST}/", "home.example.org", "alice", "word", Interface="wan9")
    router.ctl("set", "etl", "Id=1", "serial_no=OLD")
    account = router.ctl("--show-secrets", "show", "DynDns").stdout
    left = run(leave)
    assert left.returncode == 0 and "systemctl disable --now quorvad" in left.stdout, left
    settings = router.folder / "settings.json"
    assert stat.S_IMODE(settings.stat().st_mode) == 0o600

    # The other machine has an interface of another name.
    router.service.stop()
    router.service, router.database = None, router.folder / "moved.db"
    router.start_service()
    router.start_watcher()
    router.describe("NEW")
    router.start_daemon().wait_log("Connected to the configuration service")
    arrived = run(arrive)
    assert "wan9" in arrived.stdout + arrived.stderr and not settings.exists(), arrived
    assert router.ctl("--show-secrets", "show", "DynDns").stdout == account and "word" in account
    assert router.rows("etl")[0]["serial_no"] == "NEW"
    corrected = run(correct)
    assert corrected.returncode == 0 and "Ready" in corrected.stdout, corrected
