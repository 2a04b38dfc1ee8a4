"""The processes that run inside a lab."""

import os
import signal
import time


def identity(path):
    status = os.stat(path)
    return status.st_dev, status.st_ino


def command_line(pid):
    with open(f"/proc/{pid}/cmdline", "rb") as file:
        return file.read().rstrip(b"\0").replace(b"\0", b" ").decode("utf-8", "replace")


def list_processes(lab):
    """Process id and command line of everything that sees the lab's own /opt."""
    own = identity(lab.root("/opt"))
    found = []
    for name in os.listdir("/proc"):
        if not name.isdigit():
            continue
        try:
            if identity(f"/proc/{name}/root/opt") == own:
                found.append({"pid": int(name), "command": command_line(name)})
        except OSError:
            continue  # ended meanwhile, or another user's
    return sorted(found, key=lambda process: process["pid"])


def end_processes(lab):
    """Ends what runs inside at once, as a power cut does, with what it starts meanwhile."""
    while left := list_processes(lab):
        for process in left:
            try:
                os.kill(process["pid"], signal.SIGKILL)
            except ProcessLookupError:
                pass
        time.sleep(0.01)
