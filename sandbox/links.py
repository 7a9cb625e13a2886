"""More uplinks of the router than the usual two."""

from sandbox.provider import Provider
from sandbox.router import Link


def add_link(router, name, number, servers=(), provider=False):
    """Lays an interface with a namespace behind it, tells the service of it and of its DNS servers, and returns it.
    With provider, the faulty provider (good for other names and addresses) serves there: link.provider."""
    link = Link(name, f"{name}-net", number, number * 10)
    link.lay()
    if provider:
        link.provider = Provider(link.netns, router.folder)
        link.provider.start_faults(password="word")
    tell(router, name, link.address, servers)
    return link


def tell(router, name, address, servers):
    """Writes an interface and its DNS servers into the database."""
    router.ctl("add", "StatusNetifWatch", f"Name={name}", f"Addr={address}", "IsUp=1")
    for server in servers:
        router.ctl("add", "DNSClientServer", "Enable=1", f"Interface={name}", f"IPAddress={server}")
