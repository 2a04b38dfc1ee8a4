"""The true state of a lab: what the adapters keep, and the record of tool calls.

The simulated tool reads and writes the same files: lines "key value" in `adapters/N`, `driver` and
`settings`, one line of tab-separated fields for each port in `ports`, JSON lines in `calls`.
"""

import fcntl
import json
import os
from contextlib import contextmanager

from .layout import replace_file
from .server import listing_function

COMPONENTS = {"firmware": "firmware", "boot_bios": "bios"}


def read_facts(path):
    with open(path, encoding="utf-8") as file:
        pairs = (line.rstrip("\n").partition(" ") for line in file)
        return {key: value for key, _, value in pairs}


def write_facts(path, facts):
    replace_file(path, "".join(f"{key} {value}\n" for key, value in facts.items()))


def adapter_file(lab, index):
    return lab.state("adapters", str(index))


@contextmanager
def locked(path):
    """Holds the lock that the tool takes for changes of this file."""
    with open(f"{path}.lock", "w", encoding="utf-8") as file:
        fcntl.flock(file, fcntl.LOCK_EX)
        yield


def port_lines(server):
    numbering = server["tool"]["function_numbering"]
    for index, adapter in enumerate(server["adapters"]):
        for port, wwpn in enumerate(adapter["ports"]):
            bus = int(adapter["slot"].split(":")[1], 16)
            function = listing_function(adapter["slot"], port, numbering)
            fields = (index, adapter["family"], adapter["model"], adapter["serial"], wwpn, port,
                      bus, function)
            yield "\t".join(map(str, fields)) + "\n"


def write_state(lab, server):
    """Makes the state of a server that has just left its factory."""
    os.makedirs(lab.state("adapters"))
    replace_file(lab.state("ports"), "".join(port_lines(server)))
    for index, adapter in enumerate(server["adapters"]):
        facts = {"activation": adapter["activation"]}
        for stage in ("flashed", "running"):
            facts[f"{stage}.firmware"] = adapter["firmware"]
            facts[f"{stage}.bios"] = adapter["bios"]
        write_facts(adapter_file(lab, index), facts)
    write_facts(lab.state("driver"), {"loaded": server["driver"]["loaded"]})
    write_facts(lab.state("settings"), {"download_ms": server["tool"]["download_ms"]})


def activate(lab, count):
    """What is flashed runs from now on."""
    for index in range(count):
        path = adapter_file(lab, index)
        with locked(path):
            facts = read_facts(path)
            for name in COMPONENTS.values():
                facts[f"running.{name}"] = facts[f"flashed.{name}"]
            write_facts(path, facts)


def adapter_view(lab, index, adapter):
    facts = read_facts(adapter_file(lab, index))
    view = {key: adapter[key] for key in ("family", "model", "serial", "slot", "revision",
                                          "activation")}
    view["ports"] = [{"wwpn": wwpn, "pci": f"{adapter['slot']}.{port}"}
                     for port, wwpn in enumerate(adapter["ports"])]
    for stage in ("flashed", "running"):
        view[stage] = {key: facts[f"{stage}.{name}"] for key, name in COMPONENTS.items()}
    # Set while a download runs, and left behind by one that was cut short.
    view["flashing"] = [key for key, name in COMPONENTS.items() if f"flashing.{name}" in facts]
    return view


def read_calls(lab):
    """Every tool call in the order of their beginnings; exit and duration are null for one that
    has not ended or was killed."""
    calls, open_calls = [], {}
    try:
        with open(lab.state("calls"), encoding="utf-8") as file:
            lines = file.readlines()
    except FileNotFoundError:
        return []
    for line in lines:
        record = json.loads(line)
        if "begin" in record:
            call = {"time": record["begin"], "pid": record["pid"], "verb": record["verb"],
                    "arguments": record["arguments"], "exit": None, "duration": None}
            calls.append(call)
            open_calls[record["pid"]] = call
        elif call := open_calls.pop(record["pid"], None):
            call["exit"] = record["exit"]
            call["duration"] = round(record["end"] - call["time"], 6)
    return calls
