"""What runs leave to later ones: updates that wait for a reboot, a utility that went missing."""

import json
import os

import pytest
from conftest import HBACMD

ROOT = "/opt/velmora/qdm/provider"
STORE = f"{ROOT}/state/pending.json"
BOOT = "/proc/sys/kernel/random/boot_id"
OLD, NEW = "10.2.370.15", "10.2.370.19"


def write_state(lab, path, content):
    place = lab.inside(path)
    place.parent.mkdir(mode=0o700, exist_ok=True)
    place.write_text(content if isinstance(content, str) else json.dumps(content))


def record(lab, version=NEW):
    """What an update of the driver leaves behind."""
    lab.qdmctl("list")  # so that caches are there
    boot = lab.run("cat", BOOT).stdout.strip()
    ports = [port["device_id"] for port in lab.qdmctl("list").json["ports"]]
    write_state(lab, STORE, {"schema": "qdm.pending-store/1", "updates": [
        {"kind": "driver", "version": version, "previous": OLD, "boot_id": boot,
         "device_ids": ports, "state": "pending"}]})


def install_driver(lab):
    module = lab.package(None, NEW, kind="driver")
    lab.run("python3", "-m", "zipfile", "-e", f"/repo/{module.name}", "/root/driver")
    lab.run("sh", "-c", "rpm -Uhv /root/driver/x64/FC/*.rpm")
    lab.inside("/etc/depmod.d/elxlpfc.conf").write_text("override lpfc * weak-updates/elx-lpfc\n")
    lab.run("depmod", "-a")


def told(answer):
    [one] = answer.json["pending"]
    return one["state"], one["boot"], one["operating"], answer.exit_code


def test_installed_driver_is_pending_until_a_reboot_confirms_it(lab):
    empty = lab.qdmctl("pending")
    assert (empty.exit_code, empty.json["result"], empty.json["pending"]) == (0, "nothing", [])
    install_driver(lab)  # as a run leaves it that is killed before it records that
    for _ in range(2):
        assert told(lab.qdmctl("pending")) == ("pending", "same", OLD, 0)
        listing = lab.inside(f"{ROOT}/tmp/EMULEX/cache/Listhbas.txt")  # another port will tell
        listing.write_text(listing.read_text().replace("10:00:00:90:fa:16:03:00", "bad"))
    assert len(lab.calls("HbaAttributes")) == 3, "not from caches, once there is a record"
    table = lab.run("qdmctl", "pending")
    assert "takes effect with the next reboot" in table.stdout and max(
        map(len, table.stdout.splitlines())) > 80 and table.returncode == 0, "no terminal"
    rows = {one["name"]: one for one in lab.qdmctl("doctor").json["checks"]}
    assert "does not operate yet" in rows["pending"]["finding"]
    preference = lab.inside("/etc/depmod.d/elxlpfc.conf")
    line = preference.read_text()
    preference.write_text(f"# {line}")
    lab.run("depmod", "-a")
    answer, named = lab.qdmctl("pending"), f"the next boot would load {OLD}"
    assert told(answer) == ("pending", "same", OLD, 1)
    assert line[:-1] in answer.json["errors"][0]["hint"]
    assert answer.json["pending"][0]["reason"] == f"installed, but {named}"
    rows = {one["name"]: one for one in lab.qdmctl("doctor").json["checks"]}
    for name in ("driver", "pending"):
        assert named in rows[name]["finding"] and line[:-1] in rows[name]["remedy"], rows[name]
    preference.write_text(line)
    lab.run("depmod", "-a")
    lab.reboot()
    assert told(lab.qdmctl("pending")) == ("confirmed", "changed", NEW, 0)
    assert lab.qdmctl("pending").json["pending"] == [], "told once"
    assert {port["versions"]["driver"] for port in lab.qdmctl("list").json["ports"]} == {NEW}


@pytest.mark.parametrize("on_disk, named", [(False, f"finds {OLD} on disk"), (True, "RAM disk")])
def test_driver_that_a_reboot_did_not_bring_is_refuted_until_it_operates(lab, on_disk, named):
    record(lab)
    lab.reboot()
    if on_disk:
        install_driver(lab)
    for _ in range(2):
        answer = lab.qdmctl("pending")
        assert told(answer) == ("refuted", "changed", OLD, 1)
        [error] = answer.json["errors"]
        assert error["id"] == "not-confirmed" and named in error["hint"], answer
    install_driver(lab)
    lab.reboot()
    assert told(lab.qdmctl("pending")) == ("confirmed", "changed", NEW, 0)


def test_store_is_shown_where_nothing_can_be_read_and_a_damaged_one_is_kept(lab):
    install_driver(lab)
    record(lab)
    lab.reboot()
    lab.inside(HBACMD).rename(lab.inside(f"{HBACMD}.away"))
    answer = lab.qdmctl("pending")
    assert told(answer) == ("pending", "changed", None, 1)
    assert answer.error_ids() == ["tool-missing"], answer
    lab.inside(f"{HBACMD}.away").rename(lab.inside(HBACMD))
    lab.fault("HbaAttributes", "error", "times", "9")  # the last of five ports answers
    assert told(lab.qdmctl("pending")) == ("confirmed", "changed", NEW, 0)
    write_state(lab, STORE, '{"schema"')
    answer = lab.qdmctl("pending")
    assert (answer.exit_code, answer.error_ids()) == (1, ["work-area"]), answer
    assert STORE in answer.json["errors"][0]["message"] and "pending" not in answer.json
    assert lab.inside(STORE).read_text() == '{"schema"'
    assert lab.qdmctl("list").exit_code == 0


UTILITY = "10.2.400.1"
NOTE = f"{ROOT}/state/repair.json"
UNPACKED = f"{ROOT}/tmp/EMULEX/temp/tmp"
FOLDER = f"{UNPACKED}/x64"


def lose_utility(lab, *options):
    """What an update leaves that has removed the utility and not installed the new one."""
    lab.qdmctl("list")
    module = lab.package(None, UTILITY, *options, kind="util")
    lab.run("python3", "-m", "zipfile", "-e", f"/repo/{module.name}", UNPACKED)
    lab.run("sh", "-c", f"chmod 777 {FOLDER}/*; {FOLDER}/uninstall.sh")
    write_state(lab, NOTE, {
        "schema": "qdm.repair-note/1", "kind": "util", "version": UTILITY, "folder": FOLDER,
        "command": f"{FOLDER}/install.sh -q", "missing": HBACMD})


def repair(lab, *arguments, **keywords):
    return lab.qdmctl("repair", *arguments, **keywords)


def installs(lab):
    return len(lab.calls("install.sh"))


def test_repair_installs_what_an_update_has_begun(lab):
    empty = repair(lab, "--yes")
    assert (empty.exit_code, empty.json["result"], empty.json["repair"]["note"]) == \
        (0, "nothing", None)
    lose_utility(lab, "--daemon", "--fail-install", "1")
    missing = lab.qdmctl("list")
    assert missing.error_ids() == ["tool-missing"], missing
    assert "run qdmctl repair" in missing.json["errors"][0]["hint"]
    assert "run qdmctl repair" in next(check["remedy"] for check in lab.qdmctl(
        "doctor").json["checks"] if check["name"] == "adapter-tool")
    assert (repair(lab).exit_code, repair(lab, "--dry-run").exit_code) == (2, 0)
    assert installs(lab) == 0
    failed = repair(lab, "--yes", "--trace", "/root/trace")
    [error] = failed.json["errors"]
    assert (failed.exit_code, error["id"]) == (1, "repair-failed")
    assert "status 1" in error["message"] and "Installation failed" in error["message"]
    assert "Installation failed" in lab.inside("/root/trace").read_text()
    assert lab.inside(NOTE).exists() and installs(lab) == 1
    done = lab.run("qdmctl", "repair", "--yes")
    assert done.returncode == 0 and f"answers with version {UTILITY}" in done.stdout, done
    assert "installing the adapter utility" in done.stderr
    assert not lab.inside(NOTE).exists() and lab.show()["tool"]["version"] == UTILITY
    assert repair(lab, "--yes").json["result"] == "nothing"
    assert lab.qdmctl("list").json["ports"][0]["versions"]["utility"] == UTILITY
    lab.reboot()  # the utility has left a process


def test_repair_ends_an_installation_that_has_broken_off(lab):
    lose_utility(lab)
    lab.run(f"{FOLDER}/install.sh", "-q")
    lab.inside("/etc/emulexRMConfig").unlink()
    lab.repository()
    lab.qdmctl("restore")
    for _ in range(2):
        [error] = lab.qdmctl("update", "--repo", "/repo", "--yes").json["errors"]
        assert "has broken off: " in error["message"] and "qdmctl repair" in error["hint"], error
    [row] = [one for one in lab.qdmctl("doctor").json["checks"] if one["name"] == "utility-config"]
    assert "qdmctl repair" in row["remedy"] and repair(lab, "--yes").json["result"] == "ok"
    assert lab.qdmctl("update", "--repo", "/repo", "--yes").json["result"] == "nothing"


@pytest.mark.parametrize("version, outcome, left", [
    (UTILITY, "not-needed", False), ("10.2.400.9", "skipped", True)])
def test_repair_leaves_a_utility_alone_that_answers(lab, version, outcome, left):
    lose_utility(lab)
    lab.run(f"{FOLDER}/install.sh", "-q")
    note = json.loads(lab.inside(NOTE).read_text())
    write_state(lab, NOTE, {**note, "version": version})
    for options in (["--dry-run"], ["--yes"]):
        assert lab.inside(NOTE).exists()
        answer = repair(lab, *options)
        assert (answer.exit_code, answer.json["result"]) == (0, "nothing"), answer
        assert answer.json["repair"]["outcome"] == outcome
    assert lab.inside(NOTE).exists() == left and installs(lab) == 1


def opened(lab):
    """The package's scripts are writable for all, so the way to them must be closed."""
    for path in (f"{ROOT}/tmp", f"{ROOT}/tmp/EMULEX", f"{ROOT}/tmp/EMULEX/temp", UNPACKED, FOLDER):
        os.chmod(lab.inside(path), 0o755)


def linked(lab):
    lab.inside(f"{FOLDER}/install.sh").unlink()
    lab.inside(f"{FOLDER}/install.sh").symlink_to("/bin/sh")


@pytest.mark.parametrize("spoil, error, named", [
    (lambda lab: lab.inside(FOLDER).rename(lab.inside("/root/away")), "repair-failed", FOLDER),
    (lambda lab: lab.inside(f"{FOLDER}/install.sh").unlink(), "repair-failed", "install.sh"),
    (opened, "work-area", "writable for other users"), (linked, "work-area", "install.sh"),
    (lambda lab: os.chown(lab.inside(FOLDER), 1000, 1000), "work-area", "belongs to another"),
    (lambda lab: os.chmod(lab.inside(NOTE), 0o666), "work-area", NOTE),
    (lambda lab: write_state(lab, NOTE, lab.inside(NOTE).read_text().replace("-q", "; id")),
     "work-area", NOTE)], ids=["gone", "script", "open", "link", "foreign", "note", "command"])
def test_repair_runs_nothing_that_others_could_have_changed(lab, spoil, error, named):
    lose_utility(lab)
    spoil(lab)
    answer = repair(lab, "--yes")
    assert (answer.exit_code, answer.error_ids()) == (1, [error]), answer
    assert named in answer.json["errors"][0]["message"] and answer.json["errors"][0]["hint"]
    assert installs(lab) == 0 and lab.inside(NOTE).exists()


def test_signal_does_not_end_a_repair(lab):
    lose_utility(lab)
    lab.fault("install.sh", "delay", "2500")
    process = lab.start("qdmctl", "repair", "--yes", "--json")
    while not lab.calls("install.sh"):
        assert process.poll() is None
    process.terminate()
    answer = json.loads(process.communicate(timeout=60)[0])
    assert [error["id"] for error in answer["errors"]] == ["interrupted"]
    assert "was not looked at" in answer["repair"]["reason"]
    assert lab.show()["tool"]["version"] == UTILITY and installs(lab) == 1
    assert repair(lab, "--yes").json["repair"]["outcome"] == "not-needed"
