"""The commands beside inventory and update: report, restore, info and doctor."""

import fcntl
import json
import os
import subprocess

import pytest
from conftest import HBACMD, REPOSITORY

ROOT = "/opt/velmora/qdm/provider"
XSD = REPOSITORY / "qdmctl/schemas/Emulex_FcConfigInfo.xsd"
DOCUMENT = "Emulex_FcConfigInfo.xml"
DATA = "Emulex_FcConfigInfo.json"


def shown(lab, *arguments, **keywords):
    """What people see; it fits a terminal of 80 columns."""
    done = lab.run("script", "-qec", " ".join(["stty cols 80;", "qdmctl", *arguments]), "/dev/null",
                   env={"NO_COLOR": "1", "TERM": "dumb"}, **keywords)
    return done.returncode, done.stdout.replace("\r", "")


def test_report_is_the_providers_document_and_the_same_as_data(lab):
    lab.fault("HbaAttributes", "empty", "times", "2")
    answer = lab.qdmctl("report", "--output", "/tmp/new")
    assert answer.exit_code == 4 and answer.error_ids() == ["tool-failed"]
    folder = lab.inside("/tmp/new")
    assert sorted(os.listdir(folder)) == [DATA, DOCUMENT]
    assert subprocess.run(["xmllint", "--noout", "--schema", XSD, folder / DOCUMENT],
                          check=False, capture_output=True).returncode == 0
    told = answer.json["report"]
    assert json.loads((folder / DATA).read_text()) == answer.json and not told["replaced"]
    assert [(port["location"], port["wwpn"]) for port in told["ports"]] == [
        ("/".join(str(port["pci"][key]) for key in ("bus", "device", "function")), port["wwpn"])
        for port in answer.json["ports"]]
    text = (folder / DOCUMENT).read_text()
    assert all(f'"{value}"' in text for port in told["ports"] for value in port.values() if value)
    for spoiled in (text.replace("WWPN", "WWNN", 1), text.replace("0x10DF", "10df", 1),
                    text.replace('<attr name="Driver Version"', '<attr name="WWPN"', 1)):
        assert spoiled != text and subprocess.run(
            ["xmllint", "--noout", "--schema", XSD, "-"], input=spoiled, text=True, check=False,
            capture_output=True).returncode != 0
    again = lab.qdmctl("report", "--output", "/tmp/new/", "--device", "04:00.0")
    assert again.exit_code == 0 and again.json["report"]["replaced"]
    assert (folder / DOCUMENT).read_text().count("<port>") == 1


def link(lab, folder):
    (folder / DOCUMENT).symlink_to("/etc/passwd")


def in_the_way(lab, folder):
    (folder / DATA).mkdir()


@pytest.mark.parametrize("spoil, folder, options, error, named", [
    (None, "/tmp/no/such", (), "output-failed", "/tmp/no/such cannot be made"),
    (None, "/etc/passwd", (), "output-failed", "/etc/passwd cannot be opened"),
    (None, "/tmp/linked", (), "output-failed", "is a link"),
    (None, "/tmp/out", ("--read-only", "/tmp/out"), "output-failed", f"/tmp/out/{DOCUMENT}"),
    (None, "/tmp/out", ("--disk", "/tmp/out", "4096"), "disk-full", "/tmp/out/Emulex"),
    (link, "/tmp/out", (), "output-failed", f"{DOCUMENT} is a link"),
    (in_the_way, "/tmp/out", (), "output-failed", f"{DATA} is no plain file")])
def test_hostile_and_unusable_folders(lab, spoil, folder, options, error, named):
    out = lab.inside("/tmp/out")
    out.mkdir(mode=0o777)
    lab.inside("/tmp/linked").symlink_to("/etc")
    (out / (DATA if spoil is link else DOCUMENT)).write_text("earlier")
    if spoil:
        spoil(lab, out)
    etc = {path.name: path.read_bytes() for path in lab.inside("/etc").iterdir() if path.is_file()}
    before = sorted(os.listdir(out))
    answer = lab.qdmctl("report", "--output", folder, options=options)
    assert (answer.exit_code, answer.error_ids()) == (1, [error]), answer
    assert named in answer.json["errors"][0]["message"] and answer.json["errors"][0]["hint"]
    assert "report" not in answer.json and sorted(os.listdir(out)) == before
    assert (out / (DATA if spoil is link else DOCUMENT)).read_text() == "earlier"
    assert etc == {path.name: path.read_bytes() for path in lab.inside("/etc").iterdir()
                   if path.is_file()}


def test_restore_makes_the_next_run_read_anew(lab):
    lab.qdmctl("list")
    state, calls = lab.show()["adapters"], len(lab.calls())
    for name in ("temp_driver_fc.txt", "temp_ocm_install.txt"):
        lab.inside(f"{ROOT}/tmp/EMULEX/temp/{name}").write_text("left by a run that was killed")
    answer = lab.qdmctl("restore")
    assert answer.exit_code == 0 and len(lab.calls()) == calls
    cleared = [path.rsplit("/", 1)[1] for path in answer.json["restored"]["cleared"]]
    assert {"Listhbas.txt", "HbaVersion.txt", "temp_driver_fc.txt", "temp_ocm_install.txt"} < set(
        cleared) and len(cleared) == 9, cleared
    assert os.listdir(lab.inside(f"{ROOT}/tmp/EMULEX/cache")) == []
    lab.run("rm", HBACMD)
    for name in ("temp/temp_ocm_install.txt", "cache/Listhbas.txt"):
        lab.inside(f"{ROOT}/tmp/EMULEX/{name}").write_text("left")
    without = lab.qdmctl("restore")
    assert (without.exit_code, without.error_ids()) == (1, ["tool-missing"])
    assert len(without.json["restored"]["cleared"]) == 2
    code, text = shown(lab, "restore")
    assert code == 1 and "nothing was left to clear" in text
    assert lab.show()["adapters"] == state


def test_info_tells_all_of_one_port(lab):
    record(lab)
    answer = lab.qdmctl("info", "10:00:00:90:fa:82:05:01")
    assert (answer.exit_code, answer.json["result"], answer.json["errors"]) == (0, "ok", [])
    [port], info = answer.json["ports"], answer.json["info"]
    assert port["device_id"] == "0000:05:00.1-10df-f100" and None not in port["versions"].values()
    assert [info[key] for key in ("vendor_id", "device_id", "subsystem_vendor_id",
                                  "subsystem_device_id")] == ["10df", "f100"] * 2
    assert info["driver_on_disk"] == port["versions"]["driver"]
    assert info["update_order"] == ["util", "firm", "driver"]
    assert {"name": "Bus/Dev/Func", "value": "5/0/1"} in info["extended"]
    assert [one["state"] for one in answer.json["pending"]] == ["pending"]
    assert lab.qdmctl("info", "03:00.0").json["pending"] == [], "not of this port"
    code, text = shown(lab, "info", "05:00.1")
    assert code == 0 and "lpfc: 10.2.370.15 loaded" in text and max(map(len, text.split("\n"))) <= 80
    for name, exit_code, error in (("05:00", 2, "usage"), ("06:00.0", 3, "no-device")):
        refused = lab.qdmctl("info", name)
        assert (refused.exit_code, refused.error_ids()) == (exit_code, [error])


def record(lab, version="10.2.370.19", boot=None, state="pending"):
    """An update of the driver as a run leaves it for later ones."""
    boot = boot or lab.run("cat", "/proc/sys/kernel/random/boot_id").stdout.strip()
    write(lab, f"{ROOT}/state/pending.json", json.dumps(
        {"schema": "qdm.pending-store/1", "updates": [
            {"kind": "driver", "version": version, "previous": "10.2.370.15", "boot_id": boot,
             "device_ids": ["0000:05:00.1-10df-f100"], "state": state}]}))


def write(lab, path, text):
    lab.inside(path).parent.mkdir(mode=0o700, exist_ok=True, parents=True)
    lab.inside(path).write_text(text)


def cached_driver(lab):
    lab.qdmctl("list")
    for file in lab.inside(f"{ROOT}/tmp/EMULEX/cache").glob("HbaAttrib*"):
        file.write_text(file.read_text().replace("10.2.370.15", "10.2.370.14"))


LIBRARY = f"{ROOT}/libqdmp_EMULEX_FC.so"
NO_PATH = ("env", "PATH=/nowhere")
UNHEALTHY = [  # check, state, part of the finding; what makes it so; how it is run; server
    ("rights", "failure", "not root", None, ("--user",), {}),
    ("install-root", "failure", "is writable for other", lambda lab: lab.inside(ROOT).chmod(0o777),
     (), {}),
    ("install-root", "failure", f"{ROOT}/tmp", None, ("--read-only", f"{ROOT}/tmp"), {}),
    ("install-root", "failure", f"{ROOT}/state", None, ("--read-only", f"{ROOT}/state"), {}),
    ("install-root", "warning", f"{ROOT}/tmp can be entered", lambda lab: lab.inside(
        f"{ROOT}/tmp/EMULEX/temp").mkdir(parents=True), (), {}),
    ("space", "failure", "0 MiB", None, ("--disk", f"{ROOT}/tmp", "8192"), {}),
    ("space", "warning", "100 MiB", None, ("--disk", f"{ROOT}/tmp", str(100 << 20)), {}),
    *((name, "failure", "is not found", None, NO_PATH, {})
      for name in ("rpm", "depmod", "modinfo", "lspci")),
    ("utility-package", "warning", "without rpm", None, NO_PATH, {}),
    ("utility-package", "failure", "elxocmjvm-10.2.3706-1", None, (), {"packages": [
        {"name": "elxocmjvm", "version": "10.2.3706", "release": "1"}]}),
    ("result-files", "warning", "installing the utility is skipped", lambda lab: write(
        lab, f"{ROOT}/tmp/EMULEX/temp/temp_ocm_install.txt", ""), (), {}),
    ("repair", "failure", "repair.json", lambda lab: write(
        lab, f"{ROOT}/state/repair.json", "{}"), (), {}),
    ("other-run", "warning", "at work", lambda lab: fcntl.flock(
        HELD.setdefault("lock", open(lab.inside(f"{ROOT}/qdmctl.lock"), "w", encoding="ascii")),
        fcntl.LOCK_EX), (), {}),
    ("provider", "failure", "cannot be loaded", lambda lab: lab.inside(LIBRARY).chmod(0o666), (),
     {}),
    ("adapter-tool", "failure", "is not installed", lambda lab: lab.run("rm", HBACMD), (), {}),
    ("adapter-tool", "failure", "cannot be executed", lambda lab: lab.inside(HBACMD).chmod(0o644),
     (), {}),
    ("adapter-tool", "failure", "exit status 1", lambda lab: lab.fault("version", "error"), (), {}),
    ("adapter-tool", "failure", "within 1 seconds", lambda lab: lab.fault("version", "hang"), (),
     {}),
    ("adapters", "failure", "could not list", lambda lab: lab.fault("listhbas", "error"), (), {}),
    ("adapters", "failure", "0000:05:00.1-10df-f100: the adapter tool", lambda lab: lab.fault(
        "HbaAttributes", "empty"), (), {}),
    ("adapters", "failure", "no adapter that", None, (), {"adapters": []}),
    ("lspci-form", "warning", "-p00", None, (), {"revision": "03"}),
    ("utility-config", "failure", '"TcpSocketPortNumber : 23334" where', lambda lab: write(
        lab, "/etc/emulexDiscConfig", "TcpSocketPortNumber : 23334\n"), (), {}),
    ("utility-config", "failure", "emulexRMConfig lacks", lambda lab: write(
        lab, "/etc/emulexRMConfig", ""), (), {}),
    ("driver", "warning", "10.2.370.14 is loaded, 10.2.370.15 is on disk", cached_driver, (), {}),
    ("pending", "warning", "the next boot would load", record, (), {}),
    ("pending", "failure", "has not brought it", lambda lab: record(lab, boot="another"), (), {}),
    ("pending", "failure", "pending.json", lambda lab: write(
        lab, f"{ROOT}/state/pending.json", "{"), (), {}),
]
HELD = {}


@pytest.mark.parametrize("name, state, finding, spoil, way, server", UNHEALTHY,
                         ids=[f"{row[0]}: {row[2]}" for row in UNHEALTHY])
def test_doctor_finds(make_lab, name, state, finding, spoil, way, server):
    adapter = {"family": "fcelx_8g2p", "slot": "05:00", "serial": "EF08000501",
               "revision": server.pop("revision", "00"),
               "ports": ["10:00:00:90:fa:82:05:00", "10:00:00:90:fa:82:05:01"]}
    lab = make_lab(server={"adapters": [adapter], **server})
    if spoil:
        spoil(lab)
    before = lab.show()["adapters"]
    arguments = ("doctor", "--read-timeout", "1")
    if way == NO_PATH:
        done = lab.run(*way, "/opt/qdmctl/bin/qdmctl", *arguments, "--json")
        code, checks = done.returncode, json.loads(done.stdout)["checks"]
    else:
        answer = lab.qdmctl(*arguments, options=way)
        code, checks = answer.exit_code, answer.json["checks"]
        HELD.clear()
    fitting = [check for check in checks if check["name"] == name and check["state"] == state
               and finding in check["finding"]]
    assert fitting and all(check["remedy"] for check in fitting), checks
    failures = [check["name"] for check in checks if check["state"] == "failure"]
    assert code == bool(failures) and failures.count("install-root") <= 1
    assert {check["name"] for check in checks} == {row[0] for row in UNHEALTHY}
    assert all(check["state"] != "ok" or check["remedy"] == "" for check in checks)
    assert lab.show()["adapters"] == before


def test_doctor_finds_nothing_on_a_sound_server(lab):
    assert {check["state"] for check in lab.qdmctl("doctor").json["checks"]} == {"ok"}
    code, text = shown(lab, "doctor")
    assert code == 0 and "18 ok, 0 warning, 0 failure" in text and "\x1b" not in text
    assert max(map(len, text.split("\n"))) <= 80 and os.listdir(lab.inside("/tmp")) == []
