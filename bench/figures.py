"""The table: what the raw figures of the scenarios mean, and where they should be."""

import statistics


class Row:
    """values beside floors of the same unit; most (or least): the target for the ratio to the floor, or for the value
    itself where there is no floor."""

    def __init__(self, name, unit, values, floors=None, most=None, least=None):
        self.name, self.unit = name, unit
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
                number(min(self.values)), number(statistics.median(self.values)), number(max(self.values)),
                f"{self.ratio:.2f}" if self.ratio is not None else "",
                "" if goal is None else f"{sign} {number(goal)}{of_floor}", {None: "", True: "yes", False: "NO"}[self.met])

    def raw(self):
        return {"figure": self.name, "unit": self.unit, "values": self.values, "floors": self.floors,
                "ratio": self.ratio, "most": self.most, "least": self.least, "met": self.met}


HEAD = ("figure", "floor", "min", "median", "max", "ratio", "target", "met")


def number(value):
    return f"{value:.0f}" if abs(value) >= 1000 else f"{value:.3g}"


def idle_rows(number_of_accounts, raw):
    name = f"idle daemon, {number_of_accounts} accounts"
    daemon, service = raw["daemon"], raw["service"]
    yield Row(f"{name}: unique memory", "KiB", daemon["unique"])
    yield Row(f"{name}: proportional memory", "KiB", daemon["proportional"])
    yield Row(f"{name}: resident memory", "KiB", daemon["resident"])
    yield Row(f"{name}: threads", "", daemon["threads"], most=1)
    yield Row(f"{name}: wake-ups", "1/min", daemon["wakeups"], most=2)
    yield Row(f"{name}: processor", "ms/min", daemon["cpu_ms"])
    if number_of_accounts in (1, 1000):
        most = 3072 if number_of_accounts == 1 else None
        yield Row(f"idle service, {number_of_accounts} accounts: unique memory", "KiB", service["unique"], most=most)
        yield Row(f"idle service, {number_of_accounts} accounts: wake-ups", "1/min", service["wakeups"])


def watcher_rows(raw):
    yield Row("idle watcher: unique memory", "KiB", raw["unique"], most=3072)
    yield Row("idle watcher: wake-ups", "1/min", raw["wakeups"])


def updates_rows(raw):
    unique = [each["unique"] for each in raw["memory"]]
    yield Row("unique memory after 500 updates", "KiB", unique[-1], most=5120)
    yield Row("resident memory after 500 updates", "KiB", raw["memory"][-1]["resident"])
    # Pages that the heap's free lists happen to hold come and go.
    yield Row("growth of it from update 50 to 500", "KiB", unique[-1] - unique[1], most=128)
    yield Row("growth of it from update 250 to 500", "KiB", unique[-1] - unique[9], most=32)
    yield Row("one HTTPS update, whole daemon: processor", "us", raw["cpu_us"])
    yield Row("written by the service for a round of 25 outcomes", "B", raw["written"])


def classes_rows(raw):
    for name, key, most in (("one HTTPS update, hashed folder", "folder", 1.3),
                            ("one HTTPS update, bundle only", "bundle", None),
                            ("one GnuDIP update, server by address", "gnudip_address", 1.5),
                            ("one GnuDIP update, server by name", "gnudip_name", None)):
        yield Row(f"{name}: processor", "us", raw[key]["action_cpu"], raw[key]["floor_cpu"], most=most)


def trigger_rows(raw):
    for kind, words in (("rest", "at rest"), ("pending", "with pending updates")):
        for accounts, most in (("1", 2), ("10", None), ("100", None), ("1000", 100)):
            found = raw[f"{kind} {accounts}"]
            name = f"commit to scheduler built, {accounts} accounts {words}"
            yield Row(name, "ms", [us / 1e3 for us in found["wall"]], most=most)
            yield Row(f"{name}: processor", "us/account", found["cpu"] / int(accounts))
    yield Row("a round trip over a socket", "ms", [us / 1e3 for us in raw["floor"]])


def load_rows(raw):
    for accounts in ("10", "100", "1000", "10000"):
        found = raw[accounts]
        yield Row(f"load of {accounts} accounts: processor", "us", found["cpu"], found["page_cpu"],
                  most=3 if accounts == "1000" else None)
        yield Row(f"load of {accounts} accounts: per account", "us", [us / int(accounts) for us in found["cpu"]])
    yield Row("load of 1000 accounts, bytes alone: time", "us", raw["1000"]["wall"], raw["1000"]["floor_wall"])
    yield Row("load of 1000 accounts on 1000 interfaces: time", "us", raw["interfaces"]["wall"],
              raw["interfaces"]["page_wall"])


def crowd_rows(hanging, raw):
    name = "1000 due at once" + (", every tenth hangs" if hanging else "")
    yield Row(f"{name}: pending, unique memory each", "KiB", raw["pending"]["unique"] / 1000, most=40)
    yield Row(f"{name}: answered of {raw['expected']}", "", raw["answered"])
    yield Row(f"{name}: first to last good answer", "s", raw["seconds"])
    yield Row(f"{name}: peak unique memory", "KiB", raw["peak"]["unique"])
    yield Row(f"{name}: peak descriptors", "", raw["peak"]["descriptors"])
    yield Row(f"{name}: processor", "us/update", raw["cpu_us"])


def service_rows(raw):
    rate = [1e6 / us for us in raw["commits"]]
    yield Row("service: commits", "1/s", rate, [1e6 / us for us in raw["sqlite"]], least=0.8)
    yield Row("service: bytes on disk per status update", "B", raw["written"])
    rows = raw["reads"]["rows"][0]
    yield Row("service: rows read one by one", "1/s", [rows * 1e6 / us for us in raw["reads"]["single_wall"]])
    yield Row("service: rows read in pages", "1/s", [rows * 1e6 / us for us in raw["reads"]["paged_wall"]])
    yield Row("service: start with 10000 rows", "ms", raw["start"])
    yield Row("service: unique memory with 10000 rows", "KiB", raw["memory"]["unique"])


def sizes_rows(raw):
    for name, size in raw.items():
        yield Row(f"size: {name}", "B", size, most=1258291 if name == "quorvad" else None)
