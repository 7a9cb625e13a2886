"""Fails if a change makes the programs clearly more expensive: python3 -m bench.check BIN, inside a sandbox.

Compares counts (instructions, waits, bytes, pages), not times, so a busy machine changes nothing. docs/performance.md
explains the figures.
"""

import re
import subprocess
import sys
import time

from bench import probes
from bench.scenarios import PAGE, Bench, account, on_own_interfaces, start_watcher
from sandbox.processes import wait_for
from sandbox.router import GNUDIP

FAILED = []


def check(what, value, most):
    print(f"{'ok  ' if value <= most else 'HIGH'}  {what}: {value:.4g}, at most {most}", flush=True)
    if value > most:
        FAILED.append(what)


def instructions(program, *words):
    """Instructions that the program executes in user mode."""
    done = subprocess.run(["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", program, *map(str, words)],
                          capture_output=True, text=True, timeout=120)
    found = re.search(r"Collected : (\d+)", done.stderr)
    if done.returncode != 0 or not found:
        raise RuntimeError(f"callgrind of {program}: {done.stderr[-2000:]}")
    return int(found[1])


def per_run(program, *words):
    """Instructions per additional run; start and end of the program cancel out."""
    return (instructions(program, *words, 6) - instructions(program, *words, 2)) / 4


def https(bench):
    certificate = bench.router.folder / "root.pem"
    certificate.write_text(bench.router.authority.root)
    words = (PAGE, certificate, "ppp0", "10.99.0.53", 1)
    action, floor = (per_run(bench.bin / "bench_update", mode, *words) for mode in ("https-action", "https-floor"))
    check("instructions of an HTTPS update among 140 certificates, x those of a minimal one with one", action / floor, 1.3)


def gnudip(bench):
    words = (GNUDIP, GNUDIP, "ppp0", "10.99.0.53", bench.router.ppp0.address, 1)
    check("instructions of a GnuDIP update, thousands", per_run(bench.bin / "bench_update", "gnudip-action", *words) / 1e3,
          120)


def load(bench):
    counts = {}
    for number in (500, 1000):
        bench.fill([account(each) for each in range(1, number + 1)])
        counts[number] = instructions(bench.bin / "bench_service", "load-once", 1)
    start = 2 * counts[500] - counts[1000]
    page = instructions(bench.bin / "bench_service", "page", 1)
    check("instructions of the load of 1000 accounts, x those of their one transfer",
          (counts[1000] - start) / (page - start), 2)
    bench.fill(**on_own_interfaces(1000))
    check("waits of the load of 1000 accounts on 1000 interfaces", bench.client("load-once", 1)["waits"][0], 40)


def idle(bench, seconds=15):
    """All programs at rest: the account has no tries, so its worker ends at once."""
    router = bench.router
    bench.fill([account(1, Retry=0)])
    router.start_daemon("-f")
    wait_for("its worker ended", lambda: router.daemon.count("HTTPS update will be scheduled"), 40)
    watcher = start_watcher(router)
    programs = {"daemon": router.daemon, "service": router.service, "watcher": watcher}
    for program in reversed(programs.values()):  # the watcher's writes wake the others
        bench.settle(program.pid)
    before = {name: probes.wakeups(program.pid) for name, program in programs.items()}
    time.sleep(seconds)
    for name, program in programs.items():
        check(f"waits of the {name} in {seconds} s at rest", probes.wakeups(program.pid) - before[name], 6)
        check(f"threads of the {name} at rest", probes.threads(program.pid), 1)
        if name != "daemon":
            check(f"unique memory of the {name} at rest, KiB", probes.memory(program.pid)["unique"], 3072)
    for name in ("watcher", "daemon"):
        programs[name].stop()


def memory(bench, number=300):
    bench.fill([account(each) for each in range(1, number + 1)])
    daemon = bench.router.start_daemon("-f")
    wait_for("pending updates", lambda: probes.threads(daemon.pid) == 1 + number, 40)
    time.sleep(1)
    check("unique memory of a pending update, KiB", probes.memory(daemon.pid)["anonymous"] / number, 30)


def written(bench):
    before = probes.written(bench.router.service.pid)
    bench.client("outcomes", 100)
    check("bytes on disk for an outcome", (probes.written(bench.router.service.pid) - before) / 100, 10000)


def size(bench):
    stripped = bench.router.folder / "stripped"
    subprocess.run(["strip", "-o", stripped, bench.bin / "quorvad"], check=True)
    check("size of the daemon's program, stripped, KiB", stripped.stat().st_size / 1024, 700)


def main(bin_dir):
    bench = Bench(bin_dir)
    for one in (size, idle, memory, written, load, https, gnudip):
        try:
            one(bench)
        except RuntimeError as error:  # for instance a time limit
            print(f"FAIL  {one.__name__}: {error}", flush=True)
            FAILED.append(one.__name__)
    return 1 if FAILED else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
