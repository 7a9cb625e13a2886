"""python3 -m bench BIN OUT [FIGURES...]: measures, prints a table and writes the raw figures to the folder OUT.

FIGURES: idle watcher updates classes trigger load crowd service sizes; all unless named.
"""

import concurrent.futures
import json
import os
import re
import subprocess
import sys
from pathlib import Path

from bench import chart, figures

# Scenarios of each figure, with their arguments.
PLAN = {
    "idle": [("idle", "1"), ("idle", "10"), ("idle", "100"), ("idle", "1000")],
    "watcher": [("watcher",)],
    "updates": [("updates",)],
    "classes": [("classes",)],
    "trigger": [("trigger",)],
    "load": [("load",)],
    "crowd": [("crowd", "0"), ("crowd", "1")],
    "service": [("service",)],
    "sizes": [],
}
SIDE_BY_SIDE = ("idle", "watcher")  # these mostly wait
ROWS = {"idle": lambda raw, word: figures.idle_rows(int(word), raw), "watcher": lambda raw: figures.watcher_rows(raw),
        "updates": lambda raw: figures.updates_rows(raw), "classes": lambda raw: figures.classes_rows(raw),
        "trigger": lambda raw: figures.trigger_rows(raw), "load": lambda raw: figures.load_rows(raw),
        "crowd": lambda raw, word: figures.crowd_rows(word == "1", raw),
        "service": lambda raw: figures.service_rows(raw)}
LIMIT = 900  # seconds for one scenario


def measure(name, words, bin_dir, out):
    """Runs one scenario in its own sandbox; returns its raw figures, or None."""
    label = "-".join((name, *words))
    raw, log = out / f"{label}.json", out / f"{label}.log"
    raw.unlink(missing_ok=True)
    command = [sys.executable, "-m", "sandbox", "--keep", bin_dir, "--keep", out, "--", sys.executable, "-m",
               "bench.scenarios", name, bin_dir, raw, *words]
    with open(log, "wb") as sink:
        try:
            subprocess.run([str(word) for word in command], stdout=sink, stderr=subprocess.STDOUT, timeout=LIMIT,
                           stdin=subprocess.DEVNULL)
        except subprocess.TimeoutExpired:
            pass
    if not raw.exists():
        print(f"bench: {label} failed, see {log}\n" + "\n".join(log.read_text(errors="replace").splitlines()[-3:]),
              file=sys.stderr)
        return None
    return json.loads(raw.read_text())


def sizes(bin_dir, out):
    """Sizes of the stripped programs and of the libraries that they map."""
    found, libraries = {}, {}
    for program in ("quorvad", "cfgserver", "cfgctl", "netifwatch"):
        if not (bin_dir / program).exists():
            continue
        stripped = out / f"{program}.stripped"
        subprocess.run(["strip", "-o", stripped, bin_dir / program], check=True)
        found[program] = stripped.stat().st_size
        for path in re.findall(r"(/\S+) \(0x", subprocess.run(["ldd", bin_dir / program], check=True, text=True,
                                                               capture_output=True).stdout):
            libraries.setdefault(Path(path).name, [os.path.getsize(os.path.realpath(path)), []])[1].append(program)
    for name, (size, users) in sorted(libraries.items()):
        found[f"{name}, mapped by {' '.join(users)}"] = size
    return found


def show(rows):
    cells = [figures.HEAD] + [row.cells() for row in rows]
    widths = [max(len(line[column]) for line in cells) for column in range(len(figures.HEAD))]
    for line in cells:
        print("  ".join(cell.ljust(width) if not column else cell.rjust(width)
                        for column, (cell, width) in enumerate(zip(line, widths))).rstrip())


def scenarios(chosen):
    """Batches to run: first those that may run in parallel, then each of the others."""
    together = [(name, *words) for name in chosen if name in SIDE_BY_SIDE for words in [each[1:] for each in PLAN[name]]]
    alone = [[each] for name in chosen if name not in SIDE_BY_SIDE for each in PLAN[name]]
    return ([together] if together else []) + alone


def main(bin_dir, out, *chosen):
    bin_dir, out = Path(bin_dir).resolve(), Path(out).resolve()
    out.mkdir(parents=True, exist_ok=True)
    chosen = chosen or tuple(PLAN)
    unknown = set(chosen) - set(PLAN)
    if unknown:
        sys.exit(f"bench: unknown figures: {' '.join(unknown)}; there are {' '.join(PLAN)}")
    rows, failed = [], False
    for batch in scenarios(chosen):
        print(f"bench: {', '.join(' '.join(each) for each in batch)}", file=sys.stderr, flush=True)
        with concurrent.futures.ThreadPoolExecutor(len(batch)) as pool:
            results = list(pool.map(lambda each: measure(each[0], each[1:], bin_dir, out), batch))
        for each, raw in zip(batch, results):
            failed |= raw is None
            rows += ROWS[each[0]](raw, *each[1:]) if raw is not None else []
    if "sizes" in chosen:
        rows += figures.sizes_rows(sizes(bin_dir, out))
    show(rows)
    (out / "figures.json").write_text(json.dumps([row.raw() for row in rows], indent=1))
    (out / "figures.svg").write_text(chart.draw(rows) or "")
    print(f"Chart: {out}/figures.svg\nRaw figures: {out}/figures.json and the files next to it.")
    return 1 if failed else 0


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    sys.exit(main(*sys.argv[1:]))
