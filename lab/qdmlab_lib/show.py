"""The true state of a lab, in one answer."""

import os

from .faults import read_faults
from .kernel import version_on_disk
from .layout import read_marker
from .machine import TOOL, TOOL_VERSION
from .processes import list_processes
from .state import adapter_view, read_calls, read_facts


def tool_view(lab):
    try:
        version = read_facts(lab.root(TOOL_VERSION)).get("version")
    except FileNotFoundError:
        version = None
    return {"installed": os.path.exists(lab.root(TOOL)), "version": version}


def view(lab):
    server = read_marker(lab)["server"]
    with open(lab.boot_id_file, encoding="ascii") as file:
        boot_id = file.read().strip()
    return {
        "boot_id": boot_id,
        "adapters": [adapter_view(lab, index, adapter)
                     for index, adapter in enumerate(server["adapters"])],
        "driver": {**read_facts(lab.state("driver")), "on_disk": version_on_disk(lab)},
        "tool": tool_view(lab),
        "faults": read_faults(lab),
        "processes": list_processes(lab),
        "calls": read_calls(lab),
    }
