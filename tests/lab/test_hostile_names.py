"""Hostile text over every way into the program: none of it reaches a shell line or another file."""

import functools
import json
import operator
import re
import shutil
from types import SimpleNamespace

import pytest
from conftest import HBACMD, Answer
from exec_trace import OWN, ROOT, trace, unexpected

CANARY = "/tmp/owned"
TOUCH = f"touch {CANARY}"
# Behind what would be sound alone.
BEHIND = [
    f";{TOUCH}", f"$({TOUCH})", f"`{TOUCH}`", f"|{TOUCH}", f"&{TOUCH}&", f"&& {TOUCH}",
    f"|| {TOUCH}", f"\n{TOUCH}\n", f"\r\n{TOUCH}\r\n", f"';{TOUCH};'", f'";{TOUCH};"',
    f'" $({TOUCH}) "', f"\\;{TOUCH}", f" >{CANARY}", f" 2>>{CANARY}", f"<({TOUCH})",
    f"${{IFS}};touch${{IFS}}{CANARY}", f";{{touch,{CANARY}}}", f"#\n{TOUCH}", f"\t;{TOUCH}",
    "/../../../../etc/shadow", "\\..\\x", "%n%s%99999d", "[!-~]*", "~", "!!", "$HOME", ";id",
    "\x1b]0;x\7\x1b[2J", "\u202ex", "\udcff\udcfe", "=" + "a" * 5000]
# In place of it.
ALONE = ["-x", "-Wf,--all", f"--checkpoint-action=exec={TOUCH}", "//dev/null/x",
         "../../../../dev/null/x", "..", "~root", "(", "{"]

# Runs the cases, one a line of JSON, and writes what each came to.
LOOP = """
import json, os, pathlib, subprocess
for words, env, files in map(json.loads, open("/repo/cases")):
    for path, text in files.items():
        pathlib.Path(path).write_text(text, "utf-8", "surrogateescape")
    done = subprocess.run(["qdmctl", *words, "--json"], executable="/opt/qdmctl/bin/qdmctl",
                          env={**os.environ, **env}, stdin=subprocess.DEVNULL, capture_output=True)
    print(json.dumps([done.returncode, done.stdout.decode()]))
"""


DEVICE, REPO = "0000:03:00.0", ("--repo", "/repo")
OPTIONS = [  # words, what is hostile if not the last word, what stands before it, what is answered
    *((words, "", DEVICE, {"no-device", "usage"}) for words in (
        ("info",), ("list", "--device"), ("check", *REPO, "--device"),
        ("update", *REPO, "--yes", "--device"), ("restore", "--device"),
        ("report", "--output", "/tmp/out", "--device"))),
    (("check", "--repo"), "", "/repo", {"index-missing", "index-invalid", "usage"}),
    (("report", "--output"), "", "/tmp/out", {"output-failed", "usage", "ok"}),
    (("list", "--trace"), "", "/tmp/trace", {"usage", "ok"}),
    (("list", "--jobs"), "", "1", {"usage"}), (("list", "--read-timeout"), "", "1", {"usage"}),
    ((), "", "list", {"usage"}), (("list",), "QDM_INSTALL_PATH", ROOT, {"work-area"}),
    (("list",), "QDM_TRACE", "/tmp/trace", {"usage", "ok"}),
    (("list",), "QDM_TRACE_LEVEL", "1", {"usage"})]
NAMED = ("/tmp/out", "/tmp/trace", "/tmp/qdmctl.")  # by us; the last are the program's own
# Keys of files that are read; those of one object are all made hostile at once.
NOTE = {"kind": "util", "version": "1", "folder": f"{ROOT}/tmp/EMULEX/temp/tmp",
        "command": f"{ROOT}/tmp/EMULEX/temp/tmp/install.sh", "missing": HBACMD}
ENTRY = {"kind": "firm", "models": ["fcelx_16g"], "version": "11.2.156.27", "file": "0.zip",
         "sha256": "0" * 64}
DESCRIPTOR = [
    "library", "vendor_family", "kernel_module", "supported_devices", "architectures.x86_64",
    "utility.tool", "utility.unpacked", "utility.install", "utility.forbidden_package"], [
    "driver.preference_file", "driver.package", "driver.skip_marker", "models.0.vendor_class",
    "models.0.model_key", "models.0.pci_ids.0", "files.util.0.pattern", "files.driver.0.pattern",
    "models.0.files.firm.0.pattern", "utility.configuration.0.file"]


def names(sound):
    return [sound + text for text in BEHIND] + ALONE


def case(words, env=None, **files):
    return words, env or {}, files


def attack(lab, cases):
    """The answers to all cases, in none of which anything hostile has run."""
    files, before = {path for case in cases for path in case[2]}, lab.show()["adapters"]
    (lab.repo / "cases").write_text("\n".join(map(json.dumps, cases)))
    done, programs, made = trace(lab, "/usr/bin/python3", "-c", LOOP)
    assert done.returncode == 0 and len(programs) > len(cases), done.stderr
    assert not (strange := unexpected(programs[1:])), strange
    assert not (strange := [path for path in made if not OWN.fullmatch(path)
                            and path not in files and not path.startswith(NAMED)]), strange
    assert not lab.inside(CANARY).exists() and lab.show()["adapters"] == before
    return [Answer(SimpleNamespace(returncode=code, stdout=text, stderr=""))
            for code, text in map(json.loads, done.stdout.splitlines())]


@pytest.mark.slow
def test_command_line_and_environment(make_lab, tried):
    lab = make_lab("single")
    lab.write_index([])
    for words, variable, sound, outcomes in OPTIONS:
        hostile = names(sound)
        answers = attack(lab, [
            case(words, {"QDM_TRACE": "/tmp/trace", variable: name}) if variable else
            case((*words, name)) for name in hostile])
        wrong = [(name, answer.json["errors"]) for name, answer in zip(hostile, answers)
                 if not set(answer.error_ids() or ["ok"]) <= outcomes]
        assert len(answers) == len(hostile) and not wrong, (words, variable, wrong)
        what = f"{variable}=..." if variable else " ".join(("qdmctl", *words, "..."))
        tried("hostile names", what, "refused, or taken for a file's name", len(hostile))


def changed(value, keys):
    """Copies of the value, each with one hostile name behind what these keys hold."""
    for index in range(len(names(""))):
        copy = json.loads(json.dumps(value))
        for key in keys:
            *path, last = [int(part) if part.isdigit() else part for part in key.split(".")]
            place = functools.reduce(operator.getitem, path, copy)
            place[last] = names(place[last])[index]
        yield json.dumps(copy, ensure_ascii=False)


@pytest.mark.slow
def test_files_that_are_read(make_lab, tried):
    lab = make_lab("single")
    descriptor = lab.inside(f"{ROOT}/EMULEX_FC.json").read_text()
    lab.inside(f"{ROOT}/state").mkdir(mode=0o700, exist_ok=True)
    index = {"schema": "qdm.repository/1", "packages": [{**ENTRY, "size": 1}]}
    for file, words, value, keys in (
            ("/repo/index.json", ("update", *REPO, "--yes"), index, [
                f"packages.0.{key}" for key in ("kind", "models.0", "version", "file", "sha256")]),
            (f"{ROOT}/state/repair.json", ("repair", "--yes"),
             {"schema": "qdm.repair-note/1", **NOTE}, list(NOTE)),
            *((f"{ROOT}/EMULEX_FC.json", ("list",), json.loads(descriptor), keys)
              for keys in DESCRIPTOR)):
        texts = list(changed(value, keys))
        answers = attack(lab, [case(words, **{file: text}) for text in texts])
        for text, answer in zip(texts, answers):
            told = " ".join(error["message"] for error in answer.json["errors"])
            missing = [key for key in keys if re.sub(
                r"\.(\d+)\b", r"[\1]", key.removesuffix(".0")) not in told]
            assert answer.exit_code and f"{file}: " in told, answer
            assert not missing or "is not valid JSON" in told, (missing, text, answer)
        tried("hostile names", f"{len(keys)} keys of {file.rpartition('/')[2]}",
              "refused, key named", len(keys) * len(texts))


def tells(lab, verb, text):
    """Has the adapter tool answer this from now on."""
    lab.inside("/etc/hostile").mkdir(exist_ok=True)
    lab.inside(HBACMD).write_text('#!/bin/sh\nwhile IFS= read -r line; do printf "%s\\n" "$line"; '
                                  'done < "/etc/hostile/$1$2"\n')
    lab.inside(f"/etc/hostile/{verb}").write_text(text, errors="surrogateescape")


def sound(answer):
    """Whether the identity and the versions by which is acted are none, or of their form."""
    return all(re.fullmatch(r"[\w.]+", value or "none") for port in answer.json.get("ports", [])
               for value in (port["wwpn"], *(port["versions"][kind] for kind in (
                   "firmware", "driver", "utility"))))


def test_what_tool_and_kernel_tell(make_lab, tried):
    number = len(names(""))
    lab, other = make_lab(ports=number), make_lab("single")
    devices = lab.folder / "sys/pci/devices"
    folders = [name for name in names("0000:7f:00.0")
               if "/" not in name and name != ".." and len(name) < 255]
    for name in folders:
        shutil.copytree(devices / "0000:03:00.0", devices / name)
    listing, version = (lab.hbacmd(verb).stdout for verb in ("listhbas", "version"))
    wwpns = re.findall("Port WWN +: (.*)", listing)
    attributes = lab.hbacmd("HbaAttributes", wwpns[0]).stdout
    tells(lab, "version", version)
    tells(lab, "listhbas", listing)
    for index, wwpn in enumerate(wwpns):
        tells(lab, f"HbaAttributes{wwpn}", re.sub(
            "(?m)^((?:(?:FW|Driver|Boot) Version|Model|Serial Number) *: )(.*)",
            lambda found, index=index: found[1] + names(found[2])[index],
            attributes.replace(wwpns[0], wwpn)))
    asked = [case(words) for words in (
        ("list",), ("report", "--output", "/tmp/out"), ("info", DEVICE), ("doctor",), ("restore",))]
    answers = attack(lab, asked)
    for index, wwpn in enumerate(wwpns):
        told = {0: f"{wwpn}:00", 1: f"{wwpn[:-2]};&"}.get(index, names(wwpn)[index])
        listing = listing.replace(f": {wwpn}\n", f": {told}\n")
    tells(lab, "listhbas", listing)
    answers += attack(lab, asked)
    assert all(map(sound, answers)) and len(answers[0].json["ports"]) == number, answers
    listed = answers[len(asked)].json
    known = [name for name, port in zip(names(""), listed["ports"]) if port["wwpn"]]
    assert all(name[0] in "\r\n" for name in known), "only what stands in a line of its own"
    assert len(known) == 2 and len(listed["errors"]) == number - 2, listed
    calls = ("listhbas",), ("HbaAttributes", "10:00:00:90:fa:16:03:00")
    for call, text in [(call, other.hbacmd(*call).stdout) for call in calls]:
        tells(other, "".join(call), text)
    answers = attack(other, [case(("list",), **{"/etc/hostile/version": version.strip() + name})
                             for name in names("")])
    assert all(map(sound, answers))
    for what, count in (("PCI devices of the kernel", len(folders)), ("WWPNs listed", number),
                        ("versions, model and serial number of a port", 5 * number),
                        ("version of the tool", number)):
        tried("hostile names", what, "not taken, or told without being used", count)
