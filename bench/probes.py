"""Resources of running processes, from the kernel's accounting."""

import json
import subprocess
import time
from pathlib import Path


def cpu_seconds(pid):
    """Processor time of all threads of a process, ended ones too, to the nanosecond."""
    return time.clock_gettime((~pid << 3) | 2)


def memory(pid):
    """In KiB. unique: pages that no other process maps; anonymous: pages without a file."""
    found = dict(line.split(":") for line in Path(f"/proc/{pid}/smaps_rollup").read_text().splitlines()[1:])
    kib = {name: int(value.split()[0]) for name, value in found.items()}
    return {"resident": kib["Rss"], "proportional": kib["Pss"], "unique": kib["Private_Clean"] + kib["Private_Dirty"],
            "anonymous": kib["Anonymous"]}


def status(pid, name):
    for line in Path(f"/proc/{pid}/status").read_text().splitlines():
        if line.startswith(name + ":"):
            return int(line.split()[1])
    raise KeyError(name)


def threads(pid):
    return status(pid, "Threads")


def descriptors(pid):
    return sum(1 for _ in Path(f"/proc/{pid}/fd").iterdir())


def wakeups(pid):
    """Voluntary context switches of the present threads."""
    total = 0
    for task in Path(f"/proc/{pid}/task").iterdir():
        for line in (task / "status").read_text().splitlines():
            if line.startswith("voluntary"):
                total += int(line.split()[1])
    return total


def written(pid):
    """Bytes that the process caused to be written to a disk."""
    for line in Path(f"/proc/{pid}/io").read_text().splitlines():
        if line.startswith("write_bytes"):
            return int(line.split()[1])
    raise KeyError("write_bytes")


def ask(program, *words, env=None, seconds=300):
    """Runs one of our own programs and returns the line of JSON that it prints."""
    done = subprocess.run([program, *map(str, words)], capture_output=True, text=True, timeout=seconds, env=env)
    if done.returncode != 0:
        raise RuntimeError(f"{program} {' '.join(map(str, words))}: {done.stderr[-2000:]}")
    return json.loads(done.stdout.splitlines()[-1])


class Peak:
    """Keeps the highest value of each measure of a process over all looks."""

    def __init__(self, pid, **measures):
        self.pid, self.measures = pid, measures
        self.most = dict.fromkeys(measures, 0)

    def look(self):
        for name, measure in self.measures.items():
            self.most[name] = max(self.most[name], measure(self.pid))
