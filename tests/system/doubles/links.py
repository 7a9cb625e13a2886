"""More uplinks for the router than the usual two, and the faulty provider behind them."""

import json
import sys

from sandbox.provider import Provider
from sandbox.router import Link

FAULT_NETWORK, FAULT_DNS, FAULT_ANSWER = "10.98.0.1/16", "10.98.0.53", "10.98.0.80"


def add_link(router, name, number, servers=(), provider=False):
    """Creates an interface with a namespace behind it, adds it and its DNS servers to the tables, and returns it.
    With provider, the faulty provider (good for other names and addresses) serves there: link.provider."""
    link = Link(name, f"{name}-net", number, number * 10)
    link.create()
    if provider:
        link.provider = Provider(link.netns, router.folder)
        start_faults(link.provider, "word")
    add_rows(router, name, link.address, servers)
    return link


def add_rows(router, name, address, servers):
    """Adds rows for an interface and its DNS servers."""
    router.ctl("add", "StatusNetifWatch", f"Name={name}", f"Addr={address}", "IsUp=1")
    for server in servers:
        router.ctl("add", "DNSClientServer", "Enable=1", f"Interface={name}", f"IPAddress={server}")


def start_faults(provider, password="", certificates=None):
    """Starts faultprovider.py in the provider's namespace; certificates as it takes them."""
    provider.add_address(FAULT_NETWORK)
    settings = provider.folder / "faults.json"
    files = {kind: [str(path) for path in pair] for kind, pair in (certificates or {}).items()}
    settings.write_text(json.dumps({"certificates": files, "password": password, "dns": FAULT_DNS,
                                    "answer": FAULT_ANSWER}))
    provider.start("faults", [sys.executable, "-m", "doubles.faultprovider", settings]).wait_log("DNS ready")
