"""Where everything of one lab lies.

DIR/lab.json    what the lab was made of: the server file, and the build that is installed
DIR/root/       the server's own folders: /opt, /etc, /var, /tmp, /run, /root, /lib, /usr/sbin
DIR/sys/        what the kernel shows: the PCI devices and the boot identifier
DIR/state/      what the adapters keep, the record of tool calls, faults; /var/lib/qdmlab inside
DIR/repo/       update modules; /repo inside
"""

import json
import os
import uuid

from .errors import LabError

STATE_INSIDE = "/var/lib/qdmlab"
REPO_INSIDE = "/repo"
SLEEP_LIBRARY = "liblab_sleep.so"


class Lab:
    """The paths of a lab below its folder."""

    def __init__(self, folder):
        self.folder = os.path.abspath(folder)
        self.marker = self.path("lab.json")

    def path(self, *names):
        return os.path.join(self.folder, *names)

    def root(self, inside):
        """The lab's own file or folder that is seen under this absolute path inside."""
        return self.path("root", inside.lstrip("/"))

    def state(self, *names):
        return self.path("state", *names)

    @property
    def boot_id_file(self):
        return self.path("sys", "boot_id")

    def new_boot_id(self):
        replace_file(self.boot_id_file, f"{uuid.uuid4()}\n")


def open_lab(folder):
    """The lab in this folder; a clear error when there is none."""
    lab = Lab(folder)
    if not os.path.isfile(lab.marker):
        raise LabError(f"{folder} is no lab; make one with: qdmlab new {folder}")
    return lab


def read_marker(lab):
    with open(lab.marker, encoding="utf-8") as file:
        return json.load(file)


def replace_file(path, text):
    """Writes a file in one step: a reader sees the old or the new content."""
    draft = f"{path}.new.{os.getpid()}"
    with open(draft, "w", encoding="utf-8") as file:
        file.write(text)
    os.rename(draft, path)
