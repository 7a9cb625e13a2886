"""The cost of the programs against the least that the same work takes: `make bench`. See docs/performance.md.

__main__.py selects and prints, figures.py has the targets, scenarios.py runs inside a sandbox, probes.py reads the
accounting of processes, programs/ has the loops in C++.
"""
