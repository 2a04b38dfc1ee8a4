"""What an inventory costs, by exact counts: more than this is a step back. Time is no such count;
scripts/bench measures it."""

import sys

import pytest
from conftest import REPOSITORY

sys.path.insert(0, str(REPOSITORY / "bench"))

import counts  # noqa: E402  (the path above is what finds it)

pytestmark = pytest.mark.cost

LIST = ("/opt/qdmctl/bin/qdmctl", "list")
PORTS = 8
# The program's three libraries, the provider, and four of the system.
LIBRARIES = 8


@pytest.fixture
def server(make_lab):
    return make_lab(ports=PORTS)


def enter(server):
    """How counts are taken in this server: a way in, and one folder under its two names."""
    def run(*command):
        done = server.run(*command, options=("--real-time",))
        assert done.returncode == 0, done.stderr

    return run, "/tmp", server.inside("/tmp")


def test_programs_files_and_libraries(server):
    cold = counts.trace(*enter(server), *LIST)
    calls = len(server.calls())
    warm = counts.trace(*enter(server), *LIST)
    assert (calls, len(server.calls())) == (PORTS + 2, calls), "calls of the tool, cold and warm"
    assert cold["processes"] <= 2 * calls + 1, "a shell and the tool for a call, and the worker"
    assert (warm["processes"], warm["programs"]) == (1, 1), "the worker, which starts nothing"
    assert max(cold["libraries"], warm["libraries"]) <= LIBRARIES
    assert warm["opens"] <= 40 + 8 * PORTS


def test_instructions(server):
    server.run(*LIST)
    spent = counts.instructions(*enter(server), *LIST)
    assert len(spent) == 2, "front process and worker"
    assert sum(spent.values()) <= 60_000_000
