"""The package's command line: see __init__.py."""

import argparse
import sys

from sandbox import namespaces


def main():
    parser = argparse.ArgumentParser(prog="python3 -m sandbox", description="Run a command in a new sandbox.")
    parser.add_argument("--keep", action="append", default=[], metavar="PATH",
                        help="folder under /tmp or /run that stays visible (this tree and the working folder always do)")
    parser.add_argument("--work", metavar="FOLDER",
                        help="folder for databases and logs; kept afterwards (default: a temporary one)")
    parser.add_argument("command", nargs=argparse.REMAINDER)
    arguments = parser.parse_args()
    command = arguments.command[1:] if arguments.command[:1] == ["--"] else arguments.command
    if not command:
        parser.error("a command is needed")
    try:
        return namespaces.run(command, arguments.keep, arguments.work)
    except namespaces.SandboxError as error:
        print(f"sandbox: {error}", file=sys.stderr)
        return 77


if __name__ == "__main__":
    sys.exit(main())
