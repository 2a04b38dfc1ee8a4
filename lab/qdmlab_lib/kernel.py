"""The kernel's modules of a lab's server, in files that the real depmod and modinfo read."""

import os
import struct
import subprocess

from .errors import LabError
from .layout import replace_file

DRIVER = "lpfc"
IN_BOX = f"kernel/drivers/scsi/{DRIVER}/{DRIVER}.ko"
PACKAGED = f"weak-updates/elx-{DRIVER}/{DRIVER}.ko"
DEPMOD = "/sbin/depmod"
DEPMOD_FOLDER = "/etc/depmod.d"
# As the distributions do that have weak-updates: there a module loses unless it is overridden.
SEARCH_ORDER = "search updates extra built-in weak-updates\n"
# Lists that come with a kernel and that depmod reads.
KERNEL_LISTS = {"modules.order": f"{IN_BOX}\n", "modules.builtin": "",
                "modules.builtin.modinfo": ""}

RELOCATABLE, X86_64, BITS, STRINGS, ALLOCATED = 1, 62, 1, 3, 2
HEADER_SIZE, SECTION_SIZE, SECTIONS = 64, 64, 3


def modules_folder():
    """Where the running kernel's modules lie inside."""
    return f"/lib/modules/{os.uname().release}"


def section(name, kind, flags, offset, size):
    return struct.pack("<IIQQQQIIQQ", name, kind, flags, 0, offset, size, 0, 0, 1, 0)


def make_module(version):
    """A kernel module that holds nothing but what it says of itself."""
    facts = {"version": version, "license": "GPL", "description": "Fibre Channel adapters",
             "alias": "pci:v000010DFd*sv*sd*bc*sc*i*", "depends": "", "name": DRIVER}
    info = b"".join(f"{key}={value}\0".encode() for key, value in facts.items())
    names = b"\0.modinfo\0.shstrtab\0"
    names_start = HEADER_SIZE + len(info)
    table_start = (names_start + len(names) + 7) // 8 * 8
    header = b"\x7fELF\x02\x01\x01".ljust(16, b"\0")
    header += struct.pack("<HHIQQQIHHHHHH", RELOCATABLE, X86_64, 1, 0, 0, table_start, 0,
                          HEADER_SIZE, 0, 0, SECTION_SIZE, SECTIONS, SECTIONS - 1)
    table = bytes(SECTION_SIZE)
    table += section(names.index(b".modinfo"), BITS, ALLOCATED, HEADER_SIZE, len(info))
    table += section(names.index(b".shstrtab"), STRINGS, 0, names_start, len(names))
    return (header + info + names).ljust(table_start, b"\0") + table


def module_version(content):
    _, found, rest = content.partition(b"\0version=")
    return rest.split(b"\0", 1)[0].decode() if found else None


def write_modules(lab, version):
    """Makes the kernel's folder with its own driver, and runs depmod on it for the first time."""
    folder = lab.root(modules_folder())
    os.makedirs(os.path.dirname(os.path.join(folder, IN_BOX)))
    with open(os.path.join(folder, IN_BOX), "wb") as file:
        file.write(make_module(version))
    for name, text in KERNEL_LISTS.items():
        replace_file(os.path.join(folder, name), text)
    replace_file(os.path.join(lab.root(DEPMOD_FOLDER), "dist.conf"), SEARCH_ORDER)
    command = [DEPMOD, "-a", "-b", lab.path("root"), "-C", lab.root(DEPMOD_FOLDER),
               os.path.basename(folder)]
    try:
        done = subprocess.run(command, text=True, capture_output=True, check=False)
    except FileNotFoundError as error:
        raise LabError("depmod is not installed (Debian package kmod)") from error
    if done.returncode != 0:
        raise LabError(f"depmod failed: {done.stderr.strip()}")


def version_on_disk(lab):
    """Version of the driver that would be loaded now, by depmod's map; None when there is none."""
    folder = lab.root(modules_folder())
    try:
        with open(os.path.join(folder, "modules.dep"), encoding="utf-8") as file:
            paths = [line.partition(":")[0] for line in file]
        path = next(path for path in paths if os.path.basename(path) == f"{DRIVER}.ko")
        with open(os.path.join(folder, path), "rb") as file:
            return module_version(file.read())
    except (FileNotFoundError, StopIteration):
        return None
