"""Enters a lab: this process becomes the command that runs inside.

bubblewrap makes the sandbox around a program that only waits. The caller joins its namespaces, lets
it go and executes the command, which so has the caller's own process identifier: signals, exit
status and job control need nobody in between, and ending the command ends nothing else.
"""

import ctypes
import os
import signal

from .errors import LabError
from .layout import REPO_INSIDE, SLEEP_LIBRARY, STATE_INSIDE

CLONE_NEWNS = 0x00020000
CLONE_NEWUSER = 0x10000000
ORDINARY_USER = 1000

PRIVATE = ("/etc", "/opt", "/root", "/run", "/tmp", "/var", "/lib", "/usr/sbin")
# Top folders of the machine that the sandbox fills itself.
OWN_TOP = {"dev", "etc", "lib", "opt", "proc", "repo", "root", "run", "sbin", "sys", "tmp", "var"}
BOOT_ID = "/proc/sys/kernel/random/boot_id"

PATH = "/usr/local/sbin:/opt/qdmctl/bin:/usr/sbin:/usr/bin:/sbin:/bin"
PASSED_THROUGH = ("TERM", "COLUMNS", "LINES", "NO_COLOR", "ASAN_OPTIONS", "LSAN_OPTIONS",
                  "UBSAN_OPTIONS")


def top_folders():
    """The machine's own top folders, read-only, and its top links."""
    arguments = []
    for entry in os.scandir("/"):
        if entry.name in OWN_TOP:
            continue
        if entry.is_symlink():
            arguments += ["--symlink", os.readlink(entry.path), entry.path]
        elif entry.is_dir():
            arguments += ["--ro-bind-try", entry.path, entry.path]
    return arguments


def own_mounts(lab, read_only, disks):
    """Folders of the server that are mounts of their own while the command runs."""
    arguments = []
    for path, size in disks:
        if not (size.isascii() and size.isdigit() and int(size) > 0):
            raise LabError(f"--disk: the size must be a number of bytes, not {size}")
        arguments += ["--perms", "0700", "--size", size, "--tmpfs", path]
    for path in read_only:
        arguments += ["--ro-bind", lab.root(path), path]
    for path in (*read_only, *(path for path, _ in disks)):
        if not os.path.normpath(path).startswith(tuple(f"{top}/" for top in PRIVATE)):
            raise LabError(f"{path} is no folder below the server's own {', '.join(PRIVATE)}")
        os.makedirs(lab.root(path), mode=0o700, exist_ok=True)
    return arguments


def bubblewrap_arguments(lab, mounts):
    arguments = ["bwrap", "--unshare-user", "--uid", "0", "--gid", "0", "--cap-add", "ALL"]
    arguments += top_folders()
    # The machine's programs stay reachable under the second name of their folder.
    arguments += ["--ro-bind", "/usr/sbin", "/sbin", "--ro-bind", "/sys", "/sys"]
    arguments += ["--bind", "/proc", "/proc", "--dev", "/dev"]
    for inside in PRIVATE:
        arguments += ["--bind", lab.root(inside), inside]
    if os.path.isdir("/usr/local/sbin"):
        arguments += ["--bind", lab.root("/usr/local/sbin"), "/usr/local/sbin"]
    arguments += ["--bind", lab.state(), STATE_INSIDE, "--bind", lab.path("repo"), REPO_INSIDE]
    arguments += ["--ro-bind", lab.path("sys", "pci"), "/sys/bus/pci"]
    arguments += ["--ro-bind", lab.boot_id_file, BOOT_ID, "--remount-ro", "/"]
    return arguments + mounts


def environment(real_time):
    inside = {"PATH": PATH, "HOME": "/root", "LANG": "C.UTF-8", "SHELL": "/bin/sh", "USER": "root",
              "LOGNAME": "root"}
    for name, value in os.environ.items():
        if name in PASSED_THROUGH or name.startswith("QDM_"):
            inside[name] = value
    if not real_time:
        inside["LD_PRELOAD"] = f"{STATE_INSIDE}/{SLEEP_LIBRARY}"
        # The preloaded library replaces nothing that the sanitizer's own library must come before.
        own = inside.get("ASAN_OPTIONS")
        inside["ASAN_OPTIONS"] = ":".join(filter(None, (own, "verify_asan_link_order=0")))
    return inside


class Holder:
    """The waiting program that keeps a new sandbox until the caller has joined it."""

    def __init__(self, lab, mounts):
        command = bubblewrap_arguments(lab, mounts) + ["/bin/sh", "-c", "echo $$; read -r end"]
        input_end, self.release_end = os.pipe()
        self.ready_end, output_end = os.pipe()
        actions = [(os.POSIX_SPAWN_DUP2, input_end, 0), (os.POSIX_SPAWN_DUP2, output_end, 1)]
        try:
            self.child = os.posix_spawnp("bwrap", command, os.environ, file_actions=actions)
        except FileNotFoundError as error:
            raise LabError("bwrap is not installed (Debian package bubblewrap)") from error
        os.close(input_end)
        os.close(output_end)

    def process(self):
        """The waiting program's process id, once the sandbox is whole."""
        answer = os.read(self.ready_end, 32)
        if not answer:
            raise LabError("bwrap could not make the sandbox")
        return int(answer)

    def release(self):
        os.close(self.release_end)
        os.close(self.ready_end)
        os.waitpid(self.child, 0)


def call_c(name, *arguments):
    library = ctypes.CDLL(None, use_errno=True)
    if getattr(library, name)(*arguments) != 0:
        raise LabError(f"{name}: {os.strerror(ctypes.get_errno())}")


def join_namespaces(process):
    descriptors = [os.open(f"/proc/{process}/ns/{name}", os.O_RDONLY) for name in ("user", "mnt")]
    for descriptor, kind in zip(descriptors, (CLONE_NEWUSER, CLONE_NEWNS)):
        call_c("setns", descriptor, kind)
        os.close(descriptor)


def become_ordinary_user():
    call_c("unshare", CLONE_NEWUSER)
    for name in ("uid_map", "gid_map"):
        with open(f"/proc/self/{name}", "w", encoding="ascii") as file:
            file.write(f"{ORDINARY_USER} 0 1")


def stay_in(folder, identity):
    """Goes to the caller's folder, or to / where a private folder hides it."""
    try:
        os.chdir(folder)
        status = os.stat(".")
        if (status.st_dev, status.st_ino) == identity:
            return
    except OSError:
        pass
    os.chdir("/")


def enter(lab, user, mounts):
    try:
        folder, status = os.getcwd(), os.stat(".")
        identity = (status.st_dev, status.st_ino)
    except FileNotFoundError:
        folder, identity = "/", None
    holder = Holder(lab, mounts)
    join_namespaces(holder.process())
    holder.release()
    stay_in(folder, identity)
    if user:
        become_ordinary_user()


def run_inside(lab, command, real_time=False, user=False, read_only=(), disks=()):
    """Never returns: executes the command inside, or raises LabError. The exit statuses of a
    command that cannot be executed are the shell's."""
    enter(lab, user, own_mounts(lab, read_only, disks))
    inside = environment(real_time)
    if user:
        inside.update({"HOME": "/tmp", "USER": "user", "LOGNAME": "user"})
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)
    signal.signal(signal.SIGXFSZ, signal.SIG_DFL)
    try:
        os.execvpe(command[0], command, inside)
    except OSError as error:
        status = 127 if isinstance(error, FileNotFoundError) else 126
        os.write(2, f"qdmlab: {command[0]}: {error.strerror}\n".encode())
        os._exit(status)
