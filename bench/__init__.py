"""What the programs cost, measured beside the least that the same work takes: `make bench`. See docs/performance.md.

__main__.py chooses and prints, figures.py holds the targets, scenarios.py what runs inside a sandbox, probes.py reads
processes, programs/ holds the loops in C++.
"""
