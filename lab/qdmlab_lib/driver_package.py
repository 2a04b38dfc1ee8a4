"""Update modules with the driver, in a package that the real rpm installs."""

import re

from .errors import LabError
from .kernel import PACKAGED, make_module, modules_folder
from .rpms import build_package

# Folder of the module for each word size, and what its package is built for.
TARGETS = {"x86": "i686", "x64": "x86_64"}

SPEC = """Name: elx-lpfc
Version: {version}
Release: 1
Summary: Fibre Channel driver
License: none
Group: System Environment/Kernel
AutoReqProv: no
%description
The driver of the simulated server's adapters.
%install
install -D -m 644 @SOURCES@/lpfc.ko %{{buildroot}}{path}
%pre
echo "Checking for {version}"
exit {pre}
%post
echo "Driver {version} is on disk"
exit {post}
%files
%defattr(-,root,root)
{path}
"""


def driver_rpm(options, target):
    if not re.fullmatch(r"[A-Za-z0-9._+]{1,40}", options.version):
        raise LabError(f"--version: {options.version!r} cannot be the version of an rpm package")
    spec = SPEC.format(version=options.version, path=f"{modules_folder()}/{PACKAGED}",
                       pre=int(options.fail == "pre"), post=int(options.fail == "post"))
    return build_package(spec, {"lpfc.ko": make_module(options.version)}, target)


def driver_members(options):
    for folder, target in TARGETS.items():
        if folder in options.without:
            continue
        yield f"{folder}/FC/release.txt", f"Driver {options.version}\n".encode()
        if "rpm" in options.without:
            continue
        name, content = driver_rpm(options, target)
        yield f"{folder}/FC/{name}", content
        if "rpm" in options.twice:
            yield f"{folder}/FC/second-{name}", content
