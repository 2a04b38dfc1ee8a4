"""Exact costs of one command: processes, opened files, loaded libraries, instructions.

Each function takes `enter`, which runs a command where it shall be counted and waits for it, and
two names of one folder: `inside` as the command sees it, `outside` as this process does.
"""

import os
import pathlib
import re

CALLS = "trace=execve,openat,open,clone,clone3,fork,vfork"
MADE = re.compile(r"\d+ +(clone3?|v?fork)\(")
OPENED = re.compile(r'openat?\(.*"([^"]+)".*= \d+|openat resumed.*= \d+')


def trace_counts(text):
    """What a trace of strace tells. Processes: those that the command's own process has made,
    with all that these made; threads are none."""
    lines = [line for line in text.splitlines() if "= -1 " not in line]
    made = [line for line in lines if MADE.match(line) and "CLONE_THREAD" not in line]
    opened = [found for line in lines if (found := OPENED.search(line))]
    libraries = {path for found in opened if (path := found[1] or "").rpartition(".so")[1]
                 and "/etc/" not in path}
    return {"processes": len(made), "programs": sum(" execve(" in line for line in lines),
            "opens": len(opened), "libraries": len(libraries)}


def trace(enter, inside, outside, *command):
    enter("strace", "-f", "-qq", "-e", CALLS, "-o", f"{inside}/trace", *command)
    return trace_counts(pathlib.Path(outside, "trace").read_text(encoding="utf-8"))


def instructions(enter, inside, outside, *command):
    """Instructions of the command and of the processes that it forks, by process."""
    enter("valgrind", "-q", "--tool=callgrind", f"--callgrind-out-file={inside}/instructions.%p",
          *command)
    totals = {}
    for name in os.listdir(outside):
        if name.startswith("instructions."):
            path = pathlib.Path(outside, name)
            found = re.search(r"^(?:totals|summary): (\d+)", path.read_text(encoding="utf-8"),
                              re.MULTILINE)
            totals[int(name.split(".")[1])] = int(found[1])
            path.unlink()
    return totals
