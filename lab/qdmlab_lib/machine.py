"""Makes the folders of a new lab's server."""

import os
import shutil

from .errors import LabError
from .kernel import DEPMOD_FOLDER, version_on_disk, write_modules
from .layout import STATE_INSIDE, replace_file
from .pcitree import write_tree
from .rpms import DATABASE, MACROS, MACROS_FILE
from .state import activate, write_facts, write_state

TOOL_FOLDER = "/usr/sbin/ocmanager"
TOOL = f"{TOOL_FOLDER}/hbacmd"
TOOL_VERSION = f"{TOOL_FOLDER}/version"

# First on PATH inside: programs of the machine whose calls are recorded.
RECORDED_FOLDER = "/usr/local/sbin"
RECORDED = ("rpm", "depmod")
SCRIPTS = os.path.join(os.path.dirname(os.path.dirname(os.path.realpath(__file__))), "scripts")

FOLDERS = ("/opt", "/etc", "/root", "/run/lock", "/tmp", "/var/cache", DATABASE, "/var/log",
           "/var/tmp", STATE_INSIDE, "/lib/modules", TOOL_FOLDER, RECORDED_FOLDER, DEPMOD_FOLDER,
           os.path.dirname(MACROS_FILE))
VOLATILE = ("/tmp", "/run")
LINKS = {"/var/run": "/run", "/var/lock": "/run/lock", "/etc/mtab": "/proc/self/mounts"}
# Of the machine's own /etc, what programs need to run at all.
ETC = ("alternatives", "bash.bashrc", "debian_version", "group", "host.conf",
       "ld.so.cache", "ld.so.conf", "ld.so.conf.d", "localtime", "modprobe.d", "nsswitch.conf",
       "os-release", "passwd", "profile", "protocols", "services", "shells", "timezone")


def copy_etc(folder):
    for name in ETC:
        source, target = os.path.join("/etc", name), os.path.join(folder, name)
        try:
            if os.path.isdir(source):
                shutil.copytree(source, target, symlinks=True)
            elif os.path.exists(source):
                shutil.copyfile(source, target)
        except (PermissionError, shutil.Error):
            continue  # what an ordinary user cannot read is not needed to run programs


def write_etc(folder, utility):
    copy_etc(folder)
    texts = {"hostname": "server\n", "hosts": "127.0.0.1 localhost server\n", "fstab": "",
             os.path.relpath(MACROS_FILE, "/etc"): MACROS}
    for name, lines in utility["config"].items():
        if lines is not None:
            texts[name] = "".join(f"{line}\n" for line in lines)
    for name, text in texts.items():
        replace_file(os.path.join(folder, name), text)


def write_recorders(lab):
    for name in ("record.sh", "faults.sh"):
        shutil.copy(os.path.join(SCRIPTS, name), lab.state(name))
    for name in RECORDED:
        shutil.copy(os.path.join(SCRIPTS, "recorded"), lab.root(f"{RECORDED_FOLDER}/{name}"))


def link_entries(machine_folder, lab_folder, seen_as):
    """Fills a lab's folder with links to the entries of the machine's folder, which the sandbox
    shows under another name. A link of the machine is copied: it is relative to where it stands."""
    for entry in os.scandir(machine_folder):
        target = os.path.join(lab_folder, entry.name)
        if os.path.lexists(target):
            continue
        text = os.readlink(entry.path) if entry.is_symlink() else f"{seen_as}/{entry.name}"
        os.symlink(text, target)


def check_machine():
    """The sandbox shows the machine's programs under the second names that these links give up."""
    for link, target in (("/sbin", "/usr/sbin"), ("/lib", "/usr/lib")):
        if os.path.realpath(link) != os.path.realpath(target):
            raise LabError(f"{link} of this machine is no link to {target}: the lab's sandbox "
                           "cannot be made here (Debian 12 is known to work)")


def make_folders(lab):
    for inside in FOLDERS:
        os.makedirs(lab.root(inside), exist_ok=True)
    for inside, target in LINKS.items():
        os.symlink(target, lab.root(inside))
    for inside in ("/tmp", "/var/tmp"):
        os.chmod(lab.root(inside), 0o1777)
    os.chmod(lab.root("/root"), 0o700)
    os.makedirs(lab.path("sys"))
    os.makedirs(lab.path("repo"))


def make_machine(lab, server):
    """Makes everything of the server but what is installed on it."""
    check_machine()
    make_folders(lab)
    write_etc(lab.root("/etc"), server["utility"])
    link_entries("/usr/sbin", lab.root("/usr/sbin"), "/sbin")
    link_entries("/usr/lib", lab.root("/lib"), "/usr/lib")
    write_tree(lab.path("sys", "pci"), server["adapters"])
    lab.new_boot_id()
    write_state(lab, server)
    write_recorders(lab)
    write_modules(lab, server["driver"]["loaded"])
    write_facts(lab.root(TOOL_VERSION), {"version": server["tool"]["version"]})


def empty_folder(folder):
    for entry in os.scandir(folder):
        if entry.is_dir(follow_symlinks=False):
            shutil.rmtree(entry.path)
        else:
            os.unlink(entry.path)


def reboot(lab, server):
    """What a reboot does to a server on which nothing runs any more."""
    for inside in VOLATILE:
        empty_folder(lab.root(inside))
    os.makedirs(lab.root("/run/lock"))
    activate(lab, len(server["adapters"]))
    if driver := version_on_disk(lab):
        write_facts(lab.state("driver"), {"loaded": driver})
    lab.new_boot_id()
