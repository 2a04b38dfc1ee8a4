"""Builds rpm packages with the real tools, and the database of a lab's server."""

import os
import shlex
import subprocess
import tempfile
from contextlib import contextmanager

from .errors import LabError
from .layout import replace_file

DATABASE = "/var/lib/rpm"
MACROS_FILE = "/etc/rpm/macros"
# Debian's rpm keeps a database for each user; a server has one.
MACROS = f"%_dbpath {DATABASE}\n"

BUILD_DATE = "1412812800"
BUILD_MACROS = {"__os_install_post": "%{nil}", "debug_package": "%{nil}", "_buildhost": "lab",
                "_build_name_fmt": "%%{NAME}-%%{VERSION}-%%{RELEASE}.%%{ARCH}.rpm",
                "use_source_date_epoch_as_buildtime": "1", "clamp_mtime_to_source_date_epoch": "1"}
# What packages with scripts require; the server's own shell came with no package.
SHELL_PACKAGE = {"name": "lab-shell", "version": "1", "release": "1", "provides": "/bin/sh"}

STUB_SPEC = """Name: {name}
Version: {version}
Release: {release}
Summary: A package of the simulated server, without files
License: none
BuildArch: noarch
{provides}
%description
Without files.
%files
"""


def environment(folder):
    """A home of its own keeps the user's settings for rpm out."""
    return {**os.environ, "HOME": folder, "LC_ALL": "C.UTF-8", "SOURCE_DATE_EPOCH": BUILD_DATE}


def build_command(folder, specs, target=None):
    """Command that builds packages of spec files, into the same folder."""
    places = {"_topdir": os.path.join(folder, "top"), "_tmppath": os.path.join(folder, "tmp"),
              "_dbpath": os.path.join(folder, "db"), "_rpmdir": folder}
    command = ["rpmbuild", "-bb", "--quiet"] + (["--target", target] if target else [])
    for name, value in {**places, **BUILD_MACROS}.items():
        command += ["--define", f"{name} {value}"]
    return command + specs


def find_packages(folder):
    return sorted(name for name in os.listdir(folder) if name.endswith(".rpm"))


def build_package(spec, sources, target):
    """Builds one package of a spec's text, in which @SOURCES@ is the folder of the source files.
    Returns its file name and content."""
    with tempfile.TemporaryDirectory(prefix="qdmlab.") as folder:
        for name, content in sources.items():
            with open(os.path.join(folder, name), "wb") as file:
                file.write(content)
        path = os.path.join(folder, "package.spec")
        replace_file(path, spec.replace("@SOURCES@", folder))
        try:
            done = subprocess.run(build_command(folder, [path], target), text=True,
                                  env=environment(folder), capture_output=True, check=False)
        except FileNotFoundError as error:
            raise LabError("rpmbuild is not installed (Debian package rpm)") from error
        if done.returncode != 0:
            raise LabError(f"rpmbuild failed: {done.stderr.strip()}")
        [name] = find_packages(folder)
        with open(os.path.join(folder, name), "rb") as file:
            return name, file.read()


def write_stub_specs(folder, packages):
    for package in packages:
        provides = f"Provides: {package['provides']}\n" if "provides" in package else ""
        path = os.path.join(folder, f"{package['name']}.spec")
        replace_file(path, STUB_SPEC.format(**{**package, "provides": provides}))
        yield path


@contextmanager
def filling_database(lab, packages):
    """Registers packages without files in the server's database, while the caller goes on."""
    with tempfile.TemporaryDirectory(prefix="qdmlab.") as folder:
        specs = list(write_stub_specs(folder, [SHELL_PACKAGE, *packages]))
        register = ["rpm", "--dbpath", lab.root(DATABASE), "--justdb", "-i"]
        script = f"{shlex.join(build_command(folder, specs))} && " \
                 f"{shlex.join(register)} {shlex.quote(folder)}/*.rpm"
        process = subprocess.Popen(["/bin/sh", "-c", script], env=environment(folder), text=True,
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        try:
            yield
        finally:
            said, _ = process.communicate()
        if process.returncode != 0:
            raise LabError(f"making the server's rpm database failed: {said.strip()}")
