"""Libraries loaded between a program and the C library."""

import struct
import subprocess
from pathlib import Path


class Shim:
    """A library, built from this source, that replaces part of the machine for programs started with env."""

    def __init__(self, folder, source):
        name = source.stem
        library, self.state = Path(folder) / f"{name}.so", Path(folder) / name
        subprocess.run(["cc", "-shared", "-fPIC", "-O1", "-o", library, source], check=True)
        self.env = {"LD_PRELOAD": str(library), f"{name.upper()}_FILE": str(self.state)}

    def write(self, *numbers):
        new = self.state.with_suffix(".new")
        new.write_text(" ".join(map(str, numbers)) + "\n")
        new.replace(self.state)


class Clock(Shim):
    """A wall clock that can be stepped."""

    def __init__(self, folder):
        super().__init__(folder, Path(__file__).with_name("clockstep.c"))
        self.state.write_bytes(bytes(8))

    def step(self, seconds):
        """Sets the offset from the real time."""
        with open(self.state, "r+b", buffering=0) as mapped:
            mapped.write(struct.pack("=q", seconds))
