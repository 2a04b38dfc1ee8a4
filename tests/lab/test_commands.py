"""The commands beside inventory and update: report, restore, info and doctor."""

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
    lab.inside(f"{ROOT}/tmp/EMULEX/temp/temp_ocm_install.txt").write_text("left")
    without = lab.qdmctl("restore")
    assert (without.exit_code, without.error_ids()) == (1, ["tool-missing"])
    assert len(without.json["restored"]["cleared"]) == 1
    code, text = shown(lab, "restore")
    assert code == 1 and "nothing was left to clear" in text
    assert lab.show()["adapters"] == state
