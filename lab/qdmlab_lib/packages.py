"""Makes update modules of every kind.

A member of its own says what a module is, so that a repository's index can be made of the module
alone, whatever else it lacks on purpose.
"""

import hashlib
import json
import os
import re
import zipfile
import zlib

from .driver_package import driver_members
from .errors import LabError
from .layout import read_marker
from .utility_package import utility_members

MAGIC = "QDM lab image 1"
PAYLOAD_SIZE = 32768
FIXED_DATE = (2014, 10, 9, 0, 0, 0)
MESSAGE_FILE = "message.txt"
DESCRIPTION = "module.json"
SUCCESS = ["SuccessMessage=Download Complete"]
END = ["EndMessage=Download Complete", "EndMessage=ERROR"]

MODELS = {"fcelx_16g": {"suffix": "grp", "bios": False},
          "fcelx_8g1p": {"suffix": "all", "bios": True},
          "fcelx_8g2p": {"suffix": "all", "bios": True}}


def make_image(kind, model, version, bios_version=None):
    """An image: a header of lines, an empty line, and bytes that no archive makes much smaller."""
    payload = hashlib.shake_256(f"{kind} {model} {version}".encode()).digest(PAYLOAD_SIZE)
    header = {"kind": kind, "model": model, "version": version, "size": len(payload),
              "crc32": zlib.crc32(payload)}
    if bios_version:
        header["boot-bios"] = bios_version
    lines = [MAGIC, *(f"{key} {value}" for key, value in header.items()), "", ""]
    return "\n".join(lines).encode() + payload


# What modules of each kind can do without, hold twice, and have besides.
KINDS = {
    "firm": {"without": {"message", "bios", "firmware"}, "twice": {"bios", "firmware"},
             "further": {"bios_version", "with_message", "no_end_message"}},
    "driver": {"without": {"rpm", "x86", "x64"}, "twice": {"rpm"}, "further": {"fail"}},
    "util": {"without": {"uninstall", "install", "message", "x86", "x64"}, "twice": set(),
             "further": {"daemon", "fail_install", "fail_uninstall", "no_end_message"}},
}
FURTHER = set().union(*(kind["further"] for kind in KINDS.values()))


def check_version(option, version):
    if not re.fullmatch(r"[A-Za-z0-9._+-]{1,40}", version):
        raise LabError(f"{option}: {version!r} cannot be part of a file name")


def firmware_images(options):
    """Boot BIOS and firmware of one module: pairs of member kind and (name, content)."""
    [model], version = options.model, options.version
    suffix, separate_bios = MODELS[model]["suffix"], MODELS[model]["bios"]
    stem = model.removeprefix("fcelx_")
    if separate_bios:
        bios = options.bios_version or version
        yield "bios", (f"{stem}-boot-{bios}.prg", make_image("bios", model, bios))
        # This generation's tool shows its firmware with the build's name behind.
        firmware = make_image("firmware", model, f"{version} (U3D{version.upper()})")
    else:
        firmware = make_image("firmware", model, version, options.bios_version)
    yield "firmware", (f"{stem}-{version}.{suffix}", firmware)


def message_text(options):
    lines = SUCCESS + ([] if options.no_end_message else END)
    return "\n".join([*lines, ""]).encode()


def firmware_members(options):
    wants_message = MODELS[options.model[0]]["bios"] or options.with_message
    members = []
    if wants_message and "message" not in options.without:
        members.append((MESSAGE_FILE, message_text(options)))
    for kind, (name, content) in firmware_images(options):
        if kind in options.without:
            continue
        members.append((name, content))
        if kind in options.twice:
            members.append((f"second-{name}", content))
    return members


def write_zip(path, members):
    """The same members always make the same bytes."""
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, content in members:
            info = zipfile.ZipInfo(name, FIXED_DATE)
            info.compress_type = zipfile.ZIP_DEFLATED
            info.external_attr = 0o644 << 16
            archive.writestr(info, content, compresslevel=1)


def option_name(name):
    return "--" + name.replace("_", "-")


def check_fits(options):
    """Refuses what modules of this kind do not know."""
    known = KINDS[options.kind]
    wrong = [f"--{option} {member}" for option in ("without", "twice")
             for member in getattr(options, option) if member not in known[option]]
    wrong += [option_name(name) for name in sorted(FURTHER - known["further"])
              if getattr(options, name)]
    if wrong:
        raise LabError(f"{wrong[0]}: not for a module of kind {options.kind}")
    if options.kind == "firm" and len(options.model) != 1:
        raise LabError("--model: firmware is made for one model")
    if options.fail_install < 0:
        raise LabError("--fail-install: must not be negative")
    check_version("--version", options.version)
    if options.bios_version:
        check_version("--bios-version", options.bios_version)


def make_members(lab, options):
    if options.kind == "driver":
        return driver_members(options)
    if options.kind == "util":
        return utility_members(options, os.path.join(read_marker(lab)["build"], "lab", "hbacmd"))
    return firmware_members(options)


def make_package(lab, options):
    if options.kind != "firm" and not options.model:
        options.model = list(MODELS)
    check_fits(options)
    description = {"kind": options.kind, "models": options.model, "version": options.version}
    members = list(make_members(lab, options))
    try:
        write_zip(options.out, [(DESCRIPTION, json.dumps(description).encode()), *members])
    except OSError as error:
        raise LabError(f"cannot write {options.out}: {error.strerror}") from error
    return {"file": os.path.abspath(options.out), **description,
            "members": [name for name, _ in members]}
