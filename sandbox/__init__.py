"""A sandbox of namespaces in which the real programs talk to real servers. The demo and the system tests share it.

python3 -m sandbox [--keep PATH]... [--work FOLDER] -- COMMAND...   runs COMMAND inside a new sandbox.
Inside, Router (router.py) builds the network and starts the programs; see namespaces.py for what is private.
"""

from sandbox.namespaces import SandboxError, is_inside
from sandbox.processes import Program, wait_for
from sandbox.router import Router

__all__ = ["Program", "Router", "SandboxError", "is_inside", "wait_for"]
