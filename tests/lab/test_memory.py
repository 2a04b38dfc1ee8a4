"""Memory faults of the program and the provider, sought by valgrind in a run from end to end."""

import pytest
from test_kill_sweep import SERVER, UPDATE, fill

pytestmark = pytest.mark.memory

VALGRIND = ("valgrind", "-q", "--leak-check=full", "--show-leak-kinds=definite,indirect",
            "--errors-for-leak-kinds=definite,indirect", "--suppressions=/root/known",
            "--log-file=/root/told.%p", "/opt/qdmctl/bin/qdmctl")
# The loader's own strncmp reads whole words of a library's run path.
KNOWN = "{\nloader\nMemcheck:Addr8\nfun:strncmp\nfun:is_dst\n}\n"


def test_no_memory_fault(make_lab):
    lab = fill(make_lab(server=SERVER))
    lab.inside("/root/known").write_text(KNOWN, encoding="utf-8")
    for line in ("list", "check --repo /repo", UPDATE, "report --output /root/out", "pending",
                 "doctor"):
        done = lab.run(*VALGRIND, *line.split(), "--json")
        assert done.returncode == 0, done
        told = list(lab.inside("/root").glob("told.*"))
        assert len(told) >= 2, "the front process and its worker"
        for file in told:
            # valgrind itself tells with dashes what it does not know of this kernel.
            assert not [one for one in file.read_text(encoding="utf-8").splitlines()
                        if not one.startswith("--")], (line, file.read_text(encoding="utf-8"))
            file.unlink()
