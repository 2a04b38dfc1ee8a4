"""The PCI devices of a lab, in the files that the kernel shows for real ones."""

import os
import struct

CLASS_FIBRE_CHANNEL = 0x0C0400
IRQ = 16
CONFIG_SIZE = 256
RESOURCE_LINES = 13


def config_space(adapter):
    """The 256 bytes of a function's configuration space, header type 0."""
    identifiers = [int(adapter[key], 16) for key in ("vendor", "device")]
    subsystem = [int(adapter[key], 16) for key in ("subsystem_vendor", "subsystem_device")]
    command, status, cache_line, latency = 0x0006, 0x0000, 16, 0
    header_type = 0x80 if len(adapter["ports"]) > 1 else 0x00
    head = struct.pack("<HHHHB", *identifiers, command, status, int(adapter["revision"], 16))
    head += CLASS_FIBRE_CHANNEL.to_bytes(3, "little")
    head += struct.pack("<BBBB", cache_line, latency, header_type, 0)
    head = head.ljust(0x2C, b"\0") + struct.pack("<HH", *subsystem)
    head = head.ljust(0x3C, b"\0") + struct.pack("<BB", IRQ, 1)
    return head.ljust(CONFIG_SIZE, b"\0")


def modalias(adapter):
    """The text of that name: all numbers of a function, as modules name the devices they know."""
    ids = (f"{mark}0000{adapter[key].upper()}" for mark, key in (
        ("v", "vendor"), ("d", "device"), ("sv", "subsystem_vendor"), ("sd", "subsystem_device")))
    code = f"{CLASS_FIBRE_CHANNEL:06X}"
    return f"pci:{''.join(ids)}bc{code[:2]}sc{code[2:4]}i{code[4:]}\n"


def write_function(folder, adapter):
    os.makedirs(folder)
    texts = {key: f"0x{adapter[key]}\n"
             for key in ("vendor", "device", "subsystem_vendor", "subsystem_device", "revision")}
    texts["class"] = f"0x{CLASS_FIBRE_CHANNEL:06x}\n"
    texts["modalias"] = modalias(adapter)
    texts["irq"] = f"{IRQ}\n"
    texts["resource"] = f"{' '.join(['0x' + '0' * 16] * 3)}\n" * RESOURCE_LINES
    for name, text in texts.items():
        with open(os.path.join(folder, name), "w", encoding="ascii") as file:
            file.write(text)
    with open(os.path.join(folder, "config"), "wb") as file:
        file.write(config_space(adapter))


def write_tree(folder, adapters):
    """Makes what is seen under /sys/bus/pci."""
    for name in ("devices", "drivers", "slots"):
        os.makedirs(os.path.join(folder, name))
    for adapter in adapters:
        for function in range(len(adapter["ports"])):
            address = f"{adapter['slot']}.{function}"
            write_function(os.path.join(folder, "devices", address), adapter)
