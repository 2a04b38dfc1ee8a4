"""Installs a build of the project into a lab."""

import os
import shutil
import subprocess

from .errors import LabError
from .layout import SLEEP_LIBRARY
from .machine import RECORDED_FOLDER, TOOL

REPOSITORY = os.path.dirname(os.path.dirname(os.path.dirname(os.path.realpath(__file__))))
# Kills what runs at a chosen moment; found by its name.
CUTTER = "lab-cut"
COMPONENTS = ("provider", "qdmctl")
HOW_TO_BUILD = "build it with: cmake --preset dev && cmake --build --preset dev"


def find_build(named):
    """The build folder: as named, or as the environment names it, or one of the presets'."""
    named = named or os.environ.get("QDMLAB_BUILD")
    if named:
        if not os.path.isfile(os.path.join(named, "CMakeCache.txt")):
            raise LabError(f"{named} is no build folder; {HOW_TO_BUILD}")
        return os.path.abspath(named)
    for preset in ("release", "dev"):
        folder = os.path.join(REPOSITORY, "build", preset)
        if os.path.isfile(os.path.join(folder, "lab", "hbacmd")):
            return folder
    raise LabError(f"nothing is built that a lab could install; {HOW_TO_BUILD}")


def run_cmake_install(build, component, destination):
    command = ["cmake", "--install", build, "--component", component]
    try:
        done = subprocess.run(command, env={**os.environ, "DESTDIR": destination}, text=True,
                              capture_output=True, check=False)
    except FileNotFoundError as error:
        raise LabError("cmake is not installed") from error
    if done.returncode != 0:
        raise LabError(f"installing {component} from {build} failed; {HOW_TO_BUILD}\n"
                       f"{done.stderr.strip()}")


def copy_built(build, name, target):
    source = os.path.join(build, "lab", name)
    try:
        shutil.copy(source, target)
    except OSError as error:
        raise LabError(f"cannot copy {source}: {error.strerror}; {HOW_TO_BUILD}") from error


def install_build(lab, build):
    """Installs the product, and the lab's own programs where it will look for them."""
    copy_built(build, "hbacmd", lab.root(TOOL))
    copy_built(build, CUTTER, lab.root(f"{RECORDED_FOLDER}/{CUTTER}"))
    copy_built(build, SLEEP_LIBRARY, lab.state(SLEEP_LIBRARY))
    for component in COMPONENTS:
        run_cmake_install(build, component, lab.path("root"))
