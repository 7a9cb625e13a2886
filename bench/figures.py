"""The table: what the raw figures of the scenarios mean, and their targets."""

import statistics


class Row:
    """Values and floors in the same unit. most (or least): the target for the ratio to the floor, or for the value itself
    if there is no floor. once: what the table shows next to a single value."""

    def __init__(self, name, unit, values, floors=None, most=None, least=None, once="one run"):
        self.name, self.unit, self.once = name, unit, once
        self.values = values if isinstance(values, list) else [values]
        self.floors = floors if isinstance(floors, list) or floors is None else [floors]
        self.most, self.least = most, least
        self.ratio = None
        if self.floors:
            middle = statistics.median(self.floors)
            self.ratio = statistics.median(self.values) / middle if middle else None

    @property
    def judged(self):
        return self.ratio if self.floors else statistics.median(self.values)

    @property
    def met(self):
        if self.most is None and self.least is None or self.judged is None:
            return None
        return (self.most is None or self.judged <= self.most) and (self.least is None or self.judged >= self.least)

    def cells(self):
        sign = "<=" if self.most is not None else ">="
        goal = self.most if self.most is not None else self.least
        of_floor = " x floor" if self.floors else ""
        return (f"{self.name} ({self.unit})", number(statistics.median(self.floors)) if self.floors else "",
                *self.spread(),
                f"{self.ratio:.2f}" if self.ratio is not None else "",
                "" if goal is None else f"{sign} {number(goal)}{of_floor}", {None: "", True: "yes", False: "NO"}[self.met])

    def spread(self):
        middle = number(statistics.median(self.values))
        return (self.once, middle, "") if len(self.values) == 1 else (number(min(self.values)), middle,
                                                                      number(max(self.values)))

    def raw(self):
        return {"figure": self.name, "unit": self.unit, "values": self.values, "floors": self.floors,
                "ratio": self.ratio, "most": self.most, "least": self.least, "met": self.met}


HEAD = ("figure", "floor", "min", "median", "max", "ratio", "target", "met")


def number(value):
    return f"{value:.0f}" if abs(value) >= 1000 else f"{value:.3g}"


def idle_rows(number_of_accounts, raw):
    name = f"idle daemon, {number_of_accounts} accounts"
    yield from resting_rows(name, raw["daemon"], threads=1, wakeups=2)
    if number_of_accounts in (1, 1000):
        most = 3072 if number_of_accounts == 1 else None
        yield from resting_rows(f"idle service, {number_of_accounts} accounts", raw["service"], unique=most)


def watcher_rows(raw):
    yield from resting_rows("idle watcher", raw, unique=3072)


def resting_rows(name, raw, **most):
    for key, what, unit in (("unique", "unique memory", "KiB"), ("proportional", "proportional memory", "KiB"),
                            ("resident", "resident memory", "KiB"), ("threads", "threads", ""),
                            ("wakeups", "wake-ups", "1/min"), ("cpu_ms", "processor", "ms/min")):
        yield Row(f"{name}: {what}", unit, raw[key], most=most.get(key))


def updates_rows(raw):
    unique = [each["unique"] for each in raw["memory"]]
    yield Row("unique memory after 500 updates", "KiB", unique[-1], most=5120)
    yield Row("resident memory after 500 updates", "KiB", raw["memory"][-1]["resident"])
    # Without file pages, which are no longer unique once another process maps the same file. Pages on the heap's free
    # lists come and go.
    own = [each["anonymous"] for each in raw["memory"]]
    for first, most in ((50, 128), (250, 32)):
        yield Row(f"growth of memory of its own from update {first} to 500", "KiB", own[-1] - own[first // 25 - 1],
                  most=most)
    for kind, figures, most in (("HTTPS", raw, 1.2), ("GnuDIP", raw["gnudip"], 1.5)):
        yield Row(f"one {kind} update, whole daemon: processor", "us", figures["cpu_us"], figures["floor_us"], most=most)
    yield Row("one HTTPS update, whole daemon, against bare ones at once", "us", raw["cpu_us"], raw["together_us"])
    yield Row("written by the service for a round of 25 outcomes", "B", raw["written"])


def classes_rows(raw):
    for name, key, most in (("one HTTPS update, hashed folder", "folder", 1.3),
                            ("one HTTPS update, bundle only", "bundle", 1.3),
                            ("one GnuDIP update, server by address", "gnudip_address", 1.5),
                            ("one GnuDIP update, server by name", "gnudip_name", None)):
        yield Row(f"{name}, its class alone: processor", "us", raw[key]["action_cpu"], raw[key]["floor_cpu"], most=most)


def trigger_rows(raw):
    for kind, words in (("rest", "at rest"), ("pending", "with pending updates")):
        for accounts, most in (("1", 2), ("10", None), ("100", None), ("1000", 100)):
            found = raw[f"{kind} {accounts}"]
            name = f"commit to scheduler built, {accounts} accounts {words}"
            yield Row(name, "ms", [us / 1e3 for us in found["wall"]], most=most)
            if accounts == "1":
                yield Row(f"{name}, against a round trip", "us", found["wall"], raw["floor"])
            yield Row(f"{name}: processor", "us/account", found["cpu"] / int(accounts))


def load_rows(raw):
    for accounts in ("10", "100", "1000", "10000"):
        found = raw[accounts]
        yield Row(f"load of {accounts} accounts, against one transfer decoded: processor", "us", found["cpu"],
                  found["page_cpu"], most=3 if accounts == "1000" else None)
        yield Row(f"load of {accounts} accounts: per account", "us", [us / int(accounts) for us in found["cpu"]])
    yield Row("load of 1000 accounts, against bare bytes: time", "us", raw["1000"]["wall"], raw["1000"]["floor_wall"])
    yield Row("load of 1000 accounts on 1000 interfaces: time", "us", raw["interfaces"]["wall"],
              raw["interfaces"]["page_wall"])


def crowd_rows(hanging, raw):
    name = "1000 due at once" + (", every tenth hangs" if hanging else "")
    yield Row(f"{name}: pending, unique memory each", "KiB", raw["pending"]["unique"] / 1000, most=40)
    yield Row(f"{name}: answered of {raw['expected']}", "", raw["answered"], least=raw["expected"])
    yield Row(f"{name}: first to last good answer", "s", raw["seconds"])
    yield Row(f"{name}: peak unique memory", "KiB", raw["peak"]["unique"])
    yield Row(f"{name}: peak descriptors", "", raw["peak"]["descriptors"])
    yield Row(f"{name}: processor", "us/update", raw["cpu_us"])


def service_rows(raw):
    rate, alone = [1e6 / us for us in raw["commits"]], [1e6 / us for us in raw["sqlite"]]
    yield Row("service: commits", "1/s", rate, alone, least=0.8)
    yield Row("service: commits, fastest turn", "1/s", max(rate), max(alone), once="")
    yield Row("service: bytes on disk per status update", "B", raw["written"])
    rows = raw["reads"]["rows"][0]
    yield Row("service: rows read one by one", "1/s", [rows * 1e6 / us for us in raw["reads"]["single_wall"]])
    yield Row("service: rows read in pages", "1/s", [rows * 1e6 / us for us in raw["reads"]["paged_wall"]])
    yield Row("service: start with 10000 rows", "ms", raw["start"])
    yield Row("service: unique memory with 10000 rows", "KiB", raw["memory"]["unique"])


def sizes_rows(raw):
    for name, size in raw.items():
        yield Row(f"size: {name}", "B", size, most=1258291 if name == "quorvad" else None, once="")
