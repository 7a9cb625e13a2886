"""Each file runs inside a sandbox of its own; CTest starts it there (see CMakeLists.txt). By hand, from the root folder:

QUORVAD_BIN=build/release/bin /usr/bin/python3 -m sandbox -- /usr/bin/python3 -m pytest tests/system/test_process.py
"""

import os

import pytest

from sandbox import is_inside

from doubles.router import FaultyRouter

HERE = os.path.dirname(__file__)
os.environ["PYTHONPATH"] = f"{os.environ.get('PYTHONPATH', '')}:{HERE}"  # for doubles that run as programs


def pytest_configure(config):
    if not is_inside() or "QUORVAD_BIN" not in os.environ:
        pytest.exit("run it inside a sandbox, with QUORVAD_BIN set: see tests/system/conftest.py", 4)


@pytest.fixture(scope="session")
def router():
    return FaultyRouter(os.environ["QUORVAD_BIN"])


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item, call):
    """Adds the end of every log to a failure."""
    outcome = yield
    report = outcome.get_result()
    if report.failed and "router" in item.funcargs:
        report.sections.append(("logs of the sandbox", item.funcargs["router"].tail()))
