"""The server file: what a lab's server is made of, read strictly."""

import json
import re

from .errors import LabError
from .utility_package import CONFIGURATION

# What an adapter of each family is when the server file does not say otherwise.
FAMILIES = {
    "fcelx_16g": {"model": "EFC-1602", "device": "e200", "firmware": "11.2.156.20",
                  "bios": "11.2.156.1"},
    "fcelx_8g1p": {"model": "EFC-0801", "device": "f100", "firmware": "2.02a3 (U3D2.02A3)",
                   "bios": "2.02a1"},
    "fcelx_8g2p": {"model": "EFC-0802", "device": "f100", "firmware": "2.02a3 (U3D2.02A3)",
                   "bios": "2.02a1"},
}
NUMBERINGS = {"short": 2, "full": 8}
MAX_PORTS = 256

TEXT = r"[!-~]([ -~]{0,62}[!-~])?"
PATTERNS = {
    "slot": (r"([0-9a-f]{4}:)?[0-9a-f]{2}:[01][0-9a-f]", "a PCI slot such as 03:00"),
    "wwpn": (r"([0-9a-f]{2}:){7}[0-9a-f]{2}", "a WWPN such as 10:00:00:90:fa:00:03:00"),
    "serial": (r"[A-Z0-9]{1,16}", "capital letters and digits"),
    "identifier": (r"[0-9a-f]{4}", "four lower-case hexadecimal digits"),
    "revision": (r"[0-9a-f]{2}", "two lower-case hexadecimal digits"),
    "text": (TEXT, "up to 64 printable characters"),
    "line": (r"[ -~\t]{0,200}", "a line of up to 200 printable characters"),
    "package name": (r"[A-Za-z0-9][A-Za-z0-9._+-]{0,62}", "the name of an rpm package"),
    "package version": (r"[A-Za-z0-9._+~]{1,40}", "letters, digits and \"._+~\""),
}


def fail(where, problem):
    raise LabError(f"server file: {where}: {problem}")


def check_text(value, where, pattern):
    expression, description = PATTERNS[pattern]
    if not isinstance(value, str) or not re.fullmatch(expression, value):
        fail(where, f"must be {description}, not {json.dumps(value)}")
    return value


def check_number(value, where, highest):
    if not isinstance(value, int) or isinstance(value, bool) or not 0 <= value <= highest:
        fail(where, f"must be a number from 0 to {highest}, not {json.dumps(value)}")
    return value


def check_choice(value, where, choices):
    if not isinstance(value, str) or value not in choices:
        fail(where, f"must be one of {', '.join(choices)}, not {json.dumps(value)}")
    return value


def check_list(value, where, shortest, longest):
    if not isinstance(value, list) or not shortest <= len(value) <= longest:
        fail(where, f"must be a list of {shortest} to {longest} entries")
    return value


def check_keys(value, where, required, optional):
    if not isinstance(value, dict):
        fail(where, "must be an object")
    for key in required:
        if key not in value:
            fail(f"{where}.{key}", "is missing")
    for key in value:
        if key not in (*required, *optional):
            fail(f"{where}.{key}", "is not a key of a server file")
    return value


def read_tool(value):
    check_keys(value, "tool", (), ("version", "download_ms", "function_numbering"))
    return {
        "version": check_text(value.get("version", "10.2.370.16"), "tool.version", "text"),
        "download_ms": check_number(value.get("download_ms", 0), "tool.download_ms", 600000),
        "function_numbering": check_choice(value.get("function_numbering", "short"),
                                           "tool.function_numbering", tuple(NUMBERINGS)),
    }


def read_driver(value):
    check_keys(value, "driver", (), ("loaded",))
    return {"loaded": check_text(value.get("loaded", "10.2.370.15"), "driver.loaded", "text")}


def read_lines(value, where):
    """The lines of a configuration file; None for one that is missing."""
    if value is None:
        return None
    return [check_text(line, f"{where}[{index}]", "line")
            for index, line in enumerate(check_list(value, where, 0, 100))]


def read_utility(value):
    check_keys(value, "utility", (), ("config",))
    config = check_keys(value.get("config", {}), "utility.config", (), tuple(CONFIGURATION))
    return {"config": {name: read_lines(config.get(name, lines), f"utility.config.{name}")
                       for name, lines in CONFIGURATION.items()}}


def read_packages(value):
    packages = {}
    for index, package in enumerate(check_list(value, "packages", 0, 100)):
        where = f"packages[{index}]"
        check_keys(package, where, ("name", "version", "release"), ())
        name = check_text(package["name"], f"{where}.name", "package name")
        if name in packages:
            fail(f"{where}.name", f"{name} is installed already")
        packages[name] = {"name": name}
        for key in ("version", "release"):
            packages[name][key] = check_text(package[key], f"{where}.{key}", "package version")
    return list(packages.values())


def read_adapter(value, where):
    optional = ("model", "firmware", "bios", "activation", "revision", "vendor", "device",
                "subsystem_vendor", "subsystem_device")
    check_keys(value, where, ("family", "slot", "serial", "ports"), optional)
    family = check_choice(value["family"], f"{where}.family", tuple(FAMILIES))
    defaults = FAMILIES[family]
    slot = check_text(value["slot"], f"{where}.slot", "slot")
    adapter = {
        "family": family,
        "slot": slot if slot.count(":") == 2 else f"0000:{slot}",
        "serial": check_text(value["serial"], f"{where}.serial", "serial"),
        "activation": check_choice(value.get("activation", "immediate"), f"{where}.activation",
                                   ("immediate", "reset")),
        "revision": check_text(value.get("revision", "00"), f"{where}.revision", "revision"),
    }
    for key in ("model", "firmware", "bios"):
        adapter[key] = check_text(value.get(key, defaults[key]), f"{where}.{key}", "text")
    device = check_text(value.get("device", defaults["device"]), f"{where}.device", "identifier")
    identifiers = {"vendor": "10df", "subsystem_vendor": "10df", "subsystem_device": device}
    adapter["device"] = device
    for key, default in identifiers.items():
        adapter[key] = check_text(value.get(key, default), f"{where}.{key}", "identifier")
    ports = check_list(value["ports"], f"{where}.ports", 1, 8)
    adapter["ports"] = [check_text(wwpn, f"{where}.ports[{index}]", "wwpn")
                        for index, wwpn in enumerate(ports)]
    return adapter


def check_unique(adapters):
    slots, wwpns = {}, {}
    for index, adapter in enumerate(adapters):
        where = f"adapters[{index}]"
        if slots.setdefault(adapter["slot"], where) != where:
            fail(f"{where}.slot", f"{adapter['slot']} is taken by {slots[adapter['slot']]}")
        for wwpn in adapter["ports"]:
            if wwpn in wwpns:
                fail(f"{where}.ports", f"{wwpn} is taken by {wwpns[wwpn]}")
            wwpns[wwpn] = where
    if len(wwpns) > MAX_PORTS:
        fail("adapters", f"hold {len(wwpns)} ports, more than {MAX_PORTS}")


def read_server(value):
    """A server file's content, checked and with every default filled in."""
    check_keys(value, "server", ("adapters",), ("tool", "driver", "utility", "packages"))
    adapters = [read_adapter(adapter, f"adapters[{index}]")
                for index, adapter in enumerate(check_list(value["adapters"], "adapters", 0, 256))]
    check_unique(adapters)
    return {"tool": read_tool(value.get("tool", {})),
            "driver": read_driver(value.get("driver", {})),
            "utility": read_utility(value.get("utility", {})),
            "packages": read_packages(value.get("packages", [])), "adapters": adapters}


def load_server(path):
    try:
        with open(path, encoding="utf-8") as file:
            return read_server(json.load(file))
    except OSError as error:
        raise LabError(f"cannot read the server file {path}: {error.strerror}") from error
    except ValueError as error:
        raise LabError(f"{path} is no JSON: {error}") from error


def server_of_ports(count):
    """A server of 16G adapters with this many ports, two on each but for an odd last one."""
    if not 1 <= count <= MAX_PORTS:
        raise LabError(f"--ports: must be a number from 1 to {MAX_PORTS}, not {count}")
    adapters = []
    for index in range((count + 1) // 2):
        wwpns = [f"10:00:00:90:fa:10:{index:02x}:{port:02x}"
                 for port in range(min(2, count - 2 * index))]
        adapters.append({"family": "fcelx_16g", "slot": f"{index + 3:02x}:00",
                         "serial": f"EF16{index:04d}", "ports": wwpns})
    return read_server({"adapters": adapters})


def listing_function(slot, function, numbering):
    """The number under which the tool lists a PCI function."""
    return int(slot[-2:], 16) * NUMBERINGS[numbering] + function
