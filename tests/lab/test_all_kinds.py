"""Utility, firmware and driver in one update: look, act, look again."""

import json
import os
import signal
import time
import zipfile

import pytest
from conftest import HBACMD, REPOSITORY, SERVERS, components

ROOT = "/opt/velmora/qdm/provider"
NEW = {"util": "10.2.400.1", "firm": {"fcelx_16g": "11.2.156.27", "fcelx_8g1p": "2.10a5",
                                      "fcelx_8g2p": "2.10a5"}, "driver": "10.2.400.7"}
OLD = {"util": "10.2.370.16", "firm": {"fcelx_16g": "11.2.156.20", "fcelx_8g1p": "2.02a3",
                                       "fcelx_8g2p": "2.02a3"}, "driver": "10.2.370.15"}
DESCRIPTOR = json.loads((REPOSITORY / "provider/data/EMULEX_FC.json").read_text())
LATER = "installed; takes effect after a reboot"


def offer(lab, versions, **options):
    """Makes the repository hold these versions alone; options by kind."""
    for old in lab.repo.glob("*.zip"):
        old.unlink()
    for kind, version in versions.items():
        for model, number in version.items() if kind == "firm" else [(None, version)]:
            lab.package(model, number, *options.get(kind, ()), kind=kind)
    lab.repository()


def update(lab, *options, **keywords):
    return lab.qdmctl("update", "--repo", "/repo", "--yes", *options, **keywords)


def outcome(answer, kind):
    """Outcome and reason of a kind that is one for the whole server."""
    told = {(one["outcome"], one["reason"]) for one in components(answer.json, kind)}
    assert len(told) == 1, told
    return told.pop()


def work(lab, since=0):
    """The calls that changed the server."""
    asking = (["rpm", "-qa"], ["rpm", "-q"])
    calls = [call for call in lab.calls()[since:]
             if [call["verb"], *call["arguments"][:1]] not in asking
             and call["verb"] in ("uninstall.sh", "install.sh", "rpm", "depmod", "Download")]
    return [call["verb"] for call in calls]


def state(lab):
    """What the server itself has: utility, firmware of each adapter, driver in use."""
    shown = lab.show()
    return {"util": shown["tool"]["version"], "driver": shown["driver"]["loaded"],
            "firm": {one["family"]: one["running"]["firmware"].split(" ")[0]
                     for one in shown["adapters"]}}


def works(lab):
    """The next run brings everything, once the server is booted."""
    done = update(lab)
    assert done.exit_code == 0, done
    lab.reboot()
    again = update(lab)
    assert (again.exit_code, again.json["result"]) == (0, "nothing"), again


def test_one_update_brings_all_kinds_and_older_packages_bring_them_back(lab):
    for versions, options in ((NEW, []), (OLD, ["--allow-older"])):
        offer(lab, versions)
        before, calls = state(lab), len(lab.calls())
        done = update(lab, *options)
        assert (done.exit_code, done.json["result"], done.json["errors"]) == (0, "ok", [])
        assert [outcome(done, "util")[0], outcome(done, "driver")] == ["updated", ("pending", LATER)]
        assert [one["outcome"] for one in components(done.json)] == ["updated"] * 5
        assert work(lab, calls) == ["uninstall.sh", "install.sh", *["Download"] * 7, "rpm", "depmod"]
        assert state(lab) == {**versions, "driver": before["driver"]}
        for port in done.json["ports"]:
            assert (port["versions"]["utility"], port["versions"]["driver"]) == \
                (versions["util"], before["driver"])
            assert [one["kind"] for one in port["components"]] == ["util", "firm", "driver"]
        calls = len(lab.calls())
        waits = update(lab, *options)
        assert (waits.exit_code, outcome(waits, "driver")) == (0, ("pending", LATER))
        [pending] = lab.qdmctl("pending").json["pending"]
        assert pending["version"] == versions["driver"] and len(pending["device_ids"]) == 5
        lab.reboot()
        assert update(lab, *options).json["result"] == "nothing" and work(lab, calls) == []
        assert state(lab) == versions and lab.qdmctl("pending").json["pending"] == []


def test_what_is_the_servers_is_asked_and_done_as_such(lab):
    offer(lab, {"util": NEW["util"], "driver": NEW["driver"]})
    dry = lab.qdmctl("update", "--repo", "/repo", "--dry-run")
    assert (dry.exit_code, work(lab), state(lab)) == (0, [], OLD)
    assert [call["arguments"] for call in lab.calls("rpm")].count(["-qa"]) == 1, "for all ports"
    typed = ["script", "-qec", "qdmctl update --repo /repo --device 04:00.0 --device 05:00.0",
             "/dev/null"]
    process = lab.start(*typed, stdin=-1, env={"TERM": "xterm"})
    said, _ = process.communicate("n\n", timeout=60)
    assert said.count("the whole server") == 2 and "10.2.370.16 -> 10.2.400.1" in said
    one = update(lab, "--device", "04:00.0")
    assert (one.exit_code, len(one.json["ports"])) == (0, 1)
    calls = len(lab.calls())
    assert {port["versions"]["utility"] for port in lab.qdmctl("list").json["ports"]} == \
        {NEW["util"]}
    assert [call["verb"] for call in lab.calls()[calls:]] == ["listhbas"] + ["HbaAttributes"] * 4
    [waits] = one.json["pending"]
    assert (waits["version"], len(waits["device_ids"])) == (NEW["driver"], 5), "of all ports"


def test_modules_that_disagree_are_refused(lab):
    lab.package("fcelx_16g", "10.2.400.1", kind="driver")
    lab.package("fcelx_8g1p", "10.2.400.2", kind="driver")
    lab.repository()
    done = update(lab)
    assert (done.exit_code, done.error_ids(), work(lab)) == (8, ["package-unsuitable"], [])


UNSUITABLE = [
    ("util", ["--without", "install"], "install script (x64/install.sh)"),
    ("util", ["--without", "uninstall"], "uninstall script (x64/uninstall.sh)"),
    ("util", ["--without", "message"], "message file (x64/message.txt)"),
    ("util", ["--without", "x64"], "uninstall script (x64/uninstall.sh)"),
    ("driver", ["--without", "rpm"], "driver package (x64/FC/*.rpm)"),
    ("driver", ["--twice", "rpm"], "2 times a driver package"),
    ("driver", ["--without", "x64"], "driver package (x64/FC/*.rpm)")]


def test_unsuitable_module_is_refused_once_and_beforehand(lab):
    for kind, options, named in UNSUITABLE:
        offer(lab, {kind: NEW[kind], "firm": {"fcelx_8g1p": "2.10a5"}}, **{kind: options})
        looked = lab.qdmctl("check", "--repo", "/repo")
        [error] = looked.json["errors"]
        assert (error["id"], error["kind"]) == ("package-unsuitable", kind)
        assert named in error["message"] and outcome(looked, kind)[0] == "failed"
    done = update(lab)
    assert (done.exit_code, done.error_ids()) == (4, ["package-unsuitable"])
    assert work(lab) == ["Download", "Download"]


CONFIGURATION = {one["file"]: one["lines"] for one in DESCRIPTOR["utility"]["configuration"]}
DISC, MANAGEMENT = CONFIGURATION


def configure(lab, name=None, change=None):
    """Writes the right configuration, but for one file that a function has changed."""
    for file, lines in CONFIGURATION.items():
        lines = change(list(lines)) if file == name else lines
        lab.inside(file).unlink(missing_ok=True)
        if lines is not None:
            lab.inside(file).write_text("".join(f"{line}\n" for line in lines))


def instead(key, line):
    return lambda lines: [line if one.startswith(key) else one for one in lines]


REFUSED = [
    (DISC, instead("TcpSocket", "TcpSocketPortNumber:23334"), '"TcpSocketPortNumber:23334" where',
     "write TcpSocketPortNumber:23333 in that line of /etc/emulexDiscConfig"),
    (MANAGEMENT, instead("ManagementHost", "#ManagementHost:false"), '"#ManagementHost:false" where',
     "write ManagementHost:false in that line of /etc/emulexRMConfig"),
    (MANAGEMENT, instead("Secure", "SecureManagement\t: disabled"), r'"SecureManagement\t: disabled"',
     "write SecureManagement:disabled in that"),
    (DISC, lambda lines: [*lines[1:3], lines[1]], f"{DISC} lacks", '"TcpSocketPortNumber:23333"'),
    (MANAGEMENT, lambda lines: [], f"{MANAGEMENT} lacks", '"ExclusiveHostMgmnt:false"'),
    (DISC, lambda lines: None, f"{DISC} is not there", '"TcpSocketPortNumber:23333"'),
    *((file, lambda lines, line=line: [two for two in lines if two != line],
       f'{file} lacks "{line}"', f'"{line}"') for file, lines in CONFIGURATION.items()
      for line in lines)]


def test_configuration_that_is_refused_is_named(lab):
    offer(lab, {"util": NEW["util"], "driver": NEW["driver"]})
    for name, change, named, hint in REFUSED:
        configure(lab, name, change)
        [error] = lab.qdmctl("check", "--repo", "/repo").json["errors"]
        assert (error["id"], error["kind"]) == ("config-refused", "util"), named
        assert named in error["message"] and hint in error["hint"], error
    done = update(lab)
    assert (done.exit_code, done.error_ids()) == (4, ["config-refused"])
    assert outcome(done, "util") == ("failed", done.json["errors"][0]["message"])
    assert work(lab) == ["rpm", "depmod"], "the driver does not depend on the configuration"
    for change in (lambda lines: ["", *(f" {line.replace(':', ' : ')} " for line in lines)],
                   lambda lines: [lines[0], lines[0], *lines[1:3], "# nothing but this"]):
        configure(lab, DISC, change)
        looked = lab.qdmctl("check", "--repo", "/repo")
        assert looked.exit_code == 0 and outcome(looked, "util")[0] == "not-attempted", looked
    works(lab)


def test_forbidden_package_is_named(make_lab):
    server = json.loads((SERVERS / "default.json").read_text())
    server["packages"] = [{"name": "elxocmjvm", "version": "10.2.3705", "release": "rpm1"}]
    lab = make_lab(server=server)
    offer(lab, {"util": NEW["util"]})
    for answer in (lab.qdmctl("check", "--repo", "/repo"), update(lab)):
        [error] = answer.json["errors"]
        assert (answer.exit_code, error["id"]) == (1, "config-refused")
        assert "elxocmjvm is installed" in error["message"] and "rpm -e" in error["hint"]
    assert work(lab) == [] and state(lab) == OLD


def fail_late(lab, line=b"fail_at_first"):
    """The installation fails when the tool is in place, which then knows no version."""
    [module] = lab.repo.glob("util-*.zip")
    with zipfile.ZipFile(module) as archive:
        members = {member: archive.read(member) for member in archive.infolist()}
    with zipfile.ZipFile(module, "w") as archive:
        for member, data in members.items():
            if member.filename.endswith("/install.sh"):
                data = data.replace(b"\n    fail_at_first\n", b"\n")
                data = data.replace(b'|| fail "no tool"\n', b'|| fail "no tool"\n' + line + b"\n")
            archive.writestr(member, data)
    lab.repository()


@pytest.mark.parametrize("spoil", [lambda lab: None, fail_late], ids=["missing", "silent"])
def test_utility_whose_second_attempt_succeeds(lab, spoil):
    offer(lab, {"util": NEW["util"]}, util=["--fail-install", "1"])
    spoil(lab)
    done = update(lab)
    assert (done.exit_code, outcome(done, "util")[0]) == (0, "updated")
    assert work(lab) == ["uninstall.sh", "install.sh"] * 2
    assert not lab.inside(f"{ROOT}/state/repair.json").exists()


def test_utility_that_stays_away_is_told_with_its_repair(lab):
    offer(lab, NEW, util=["--fail-install", "2"])
    lab.inside(f"{ROOT}/tmp/EMULEX/temp").mkdir(parents=True)  # open to others until the update
    done = update(lab)
    [error] = done.json["errors"]
    folder = f"{ROOT}/tmp/EMULEX/temp/tmp/x64"
    assert (done.exit_code, error["id"]) == (1, "update-failed")
    assert f"{HBACMD} is missing" in error["message"] and folder in error["message"]
    assert "qdmctl repair" in error["hint"] and f"{folder}/install.sh -q" in error["hint"]
    assert outcome(done, "util")[0] == "failed"
    for kind in ("firm", "driver"):
        assert outcome(done, kind)[0] == "not-attempted" and "tool" in outcome(done, kind)[1]
    assert work(lab) == ["uninstall.sh", "install.sh"] * 2
    note = json.loads(lab.inside(f"{ROOT}/state/repair.json").read_text())
    assert (note["folder"], note["command"]) == (folder, f"{folder}/install.sh -q")
    assert lab.qdmctl("repair", "--dry-run").exit_code == 0, "nobody else could get there"
    assert {os.stat(lab.inside(f"{ROOT}/tmp{one}")).st_mode & 0o77
            for one in ("", "/EMULEX", "/EMULEX/temp")} == {0}
    assert lab.run(*note["command"].split()).returncode == 0
    works(lab)
    assert state(lab) == NEW and not lab.inside(f"{ROOT}/state/repair.json").exists(), "by hand"
    assert not lab.inside(f"{ROOT}/tmp/qdmctl/packages").exists()


def test_utility_that_does_not_answer_is_repaired_before_anything_else(lab):
    offer(lab, NEW, util=["--fail-install", "2"])
    fail_late(lab)
    done = update(lab)
    assert (done.exit_code, done.error_ids()) == (1, ["update-failed", "tool-failed"])
    for error in done.json["errors"]:
        assert "qdmctl repair" in error["hint"], error
    for kind in ("firm", "driver"):
        assert outcome(done, kind)[0] == "not-attempted" and "repair" in outcome(done, kind)[1]
    for words in (["list"], *([*words, "--repo", "/repo"] for words in (
            ["check"], ["update", "--yes"], ["update", "--yes", "--force", "--device", "04:00.0"]))):
        answer = lab.qdmctl(*words)
        [error] = answer.json["errors"]
        assert (answer.exit_code, error["id"]) == (1, "tool-failed") and \
            "qdmctl repair" in error["hint"] and components(answer.json, None) == [], answer
    assert work(lab) == ["uninstall.sh", "install.sh"] * 2
    remedies = {check["name"]: check["remedy"] for check in lab.qdmctl("doctor").json["checks"]}
    assert all("run qdmctl repair" in remedies[name] for name in ("adapters", "repair"))
    assert lab.qdmctl("repair", "--yes").exit_code == 0
    works(lab)
    assert state(lab) == NEW


def test_killed_installation_is_repaired_before_anything_else(lab):
    offer(lab, NEW)
    fail_late(lab, b'[ -e "$folder/once" ] || { touch "$folder/once"; exec sleep 99; }')
    run = lab.start("qdmctl", "update", "--repo", "/repo", "--yes", "--json")
    limit = time.monotonic() + 60
    while not lab.inside(f"{os.path.dirname(HBACMD)}/once").exists():
        assert time.monotonic() < limit
        time.sleep(0.1)
    for process in lab.show()["processes"]:
        if process["command"].startswith(("qdmctl", "sleep", "/bin/sh", "sh ")):
            os.kill(process["pid"], signal.SIGKILL)
    run.communicate()
    calls = len(lab.calls())
    refused = update(lab)
    assert (refused.exit_code, refused.error_ids(), work(lab, calls)) == (1, ["tool-failed"], [])
    assert "qdmctl repair" in refused.json["errors"][0]["hint"]
    assert lab.qdmctl("repair", "--yes").exit_code == 0
    works(lab)


def test_utility_that_does_not_tell_its_version_is_told_once(lab):
    offer(lab, {"driver": NEW["driver"]})
    lab.fault("version", "error")
    done = update(lab)
    assert (done.error_ids(), outcome(done, "driver")[0]) == (["tool-failed"], "pending")


def test_utility_that_cannot_be_removed_stays(lab):
    offer(lab, NEW, util=["--fail-uninstall"])
    done = update(lab)
    [error] = done.json["errors"]
    assert (done.exit_code, error["id"], outcome(done, "util")[0]) == (4, "update-failed", "failed")
    assert "uninstall script" in error["message"] and "now reports 10.2.370.16" in error["message"]
    assert "missing" not in error["message"] and not lab.inside(f"{ROOT}/state/repair.json").exists()
    assert work(lab)[:2] == ["uninstall.sh", "Download"], "tried once; the other kinds go on"
    offer(lab, NEW)
    works(lab)


def test_utility_without_end_message_or_with_a_daemon(lab):
    offer(lab, {"util": NEW["util"]}, util=["--no-end-message", "--daemon", "--model", "fcelx_16g"])
    done = update(lab)
    assert done.exit_code == 0 and state(lab)["util"] == NEW["util"]
    assert {port["versions"]["utility"] for port in done.json["ports"]} == {NEW["util"]}
    assert lab.inside(f"{ROOT}/qdmctl.lock").read_text() == "", "of killed runs alone it tells"
    lab.reboot()


@pytest.mark.parametrize("fails, exit_code, error, told, after", [
    ("pre", 1, "update-failed", "rpm did not install", OLD["driver"]),
    ("post", 0, None, LATER, NEW["driver"])])
def test_driver_with_a_failing_script(lab, fails, exit_code, error, told, after):
    offer(lab, {"driver": NEW["driver"]}, driver=["--fail", fails])
    done = update(lab)
    assert (done.exit_code, done.error_ids()) == (exit_code, [error] if error else [])
    assert told in outcome(done, "driver")[1] and lab.show()["driver"]["on_disk"] == after
    assert work(lab).count("rpm") == 1
    offer(lab, {"driver": "10.2.400.8"})
    works(lab)
    assert state(lab)["driver"] == "10.2.400.8"


ADDED = "\noverride lpfc * weak-updates/updates/elx-lpfc\noverride lpfc * weak-updates/elx-lpfc\n"
MARKED = "override lpfc * weak-updates/elx-lpfc"


@pytest.mark.parametrize("before, after, pending", [
    (None, ADDED, True), ("", ADDED, True), ("search updates", "search updates" + ADDED, True),
    (MARKED, MARKED, True), (f"{MARKED}\n", f"{MARKED}\n", True),
    ("# no override lpfc here\n", "# no override lpfc here\n", False), ("x", None, False)])
def test_preference_of_the_packaged_driver(lab, before, after, pending):
    offer(lab, {"driver": NEW["driver"]})
    file = lab.inside("/etc/depmod.d/elxlpfc.conf")
    if before is not None:
        file.write_text(before)
    if after is None:
        file.unlink()
        file.mkdir()
    done = update(lab)
    assert after is None or file.read_bytes().decode() == after
    assert outcome(done, "driver")[0] == ("pending" if pending else "failed")
    if pending:
        return
    [error] = done.json["errors"]
    assert error["id"] == "not-confirmed" and "next boot would load 10.2.370.15" in error["message"]
    assert f"/etc/depmod.d/elxlpfc.conf holds the line \"{MARKED}\"" in error["hint"]
    told = "package of 10.2.400.7 is installed, but the next boot would load 10.2.370.15"
    for again in (lab.qdmctl("check", "--repo", "/repo"), update(lab)):
        [error] = again.json["errors"]
        assert (again.exit_code, error["id"]) == (1, "not-confirmed") and told in error["message"]
        assert MARKED in error["hint"] and outcome(again, "driver")[0] == "failed"
    [row] = [one for one in lab.qdmctl("doctor").json["checks"] if one["name"] == "driver"]
    assert row["state"] == "warning" and "elx-lpfc 10.2.400.7" in row["finding"], row
    assert MARKED in row["remedy"] and work(lab).count("rpm") == 1, "rpm would refuse the package"
    if after is None:
        file.rmdir()
    prefer(lab, MARKED)
    assert len(update(lab).json["pending"]) == 1
    works(lab)


def test_driver_whose_installation_was_ended_is_installed_again(lab):
    """Between rpm and depmod, and of two versions on rpm's record the older one, too."""
    for version, options in ((NEW["driver"], ""), ("10.2.370.17", "--justdb --replacefiles")):
        offer(lab, {"driver": version})
        module = next(lab.repo.glob("*.zip")).name
        lab.run("python3", "-m", "zipfile", "-e", f"/repo/{module}", f"/root/{version}")
        lab.run("sh", "-c", f"rpm -ih --oldpackage {options} /root/{version}/x64/FC/*.rpm")
        [reason] = {one["reason"] for one in components(lab.qdmctl(
            "check", "--repo", "/repo").json, "driver")}
        assert "an update installs it again" in reason
        assert update(lab, "--allow-older").exit_code == 0
        assert lab.show()["driver"]["on_disk"] == version
        assert lab.run("rpm", "-q", "elx-lpfc").stdout.count("\n") == 1


def prefer(lab, line):
    lab.inside("/etc/depmod.d/elxlpfc.conf").write_text(f"{line}\n")
    lab.run("depmod", "-a")


def test_driver_in_use_that_the_next_boot_would_not_load_is_not_updated(lab):
    offer(lab, {"driver": NEW["driver"]})
    works(lab)
    offer(lab, {"driver": OLD["driver"]})
    update(lab, "--allow-older")
    prefer(lab, "# override lpfc: no")
    offer(lab, {"driver": NEW["driver"]})
    done = update(lab)
    assert (done.exit_code, done.error_ids(), done.json["pending"]) == (1, ["not-confirmed"], [])
    assert outcome(done, "driver") == \
        ("failed", "rpm told success, but the next boot would load 10.2.370.15 and not 10.2.400.7")
    prefer(lab, MARKED)
    assert update(lab).json["result"] == "nothing" and work(lab).count("rpm") == 3


def test_driver_is_left_to_the_update_of_converged_adapters(lab):
    marker = lab.inside(f"{ROOT}/{DESCRIPTOR['driver']['skip_marker']}")
    marker.parent.mkdir(parents=True, exist_ok=True)
    marker.write_text("")
    offer(lab, {"driver": NEW["driver"]})
    done = update(lab)
    assert (done.exit_code, outcome(done, "driver")[0], work(lab)) == (0, "skipped", [])
    assert f"{marker.name} is there" in outcome(done, "driver")[1]
    marker.unlink()
    works(lab)


def test_driver_that_waits_is_superseded_or_taken_back(lab):
    for version, options, told, reason, waits in (
            ("10.2.400.7", [], "pending", LATER, ["10.2.400.7"]),
            ("10.2.400.5", [], "skipped", "older than 10.2.400.7 on disk", ["10.2.400.7"]),
            ("10.2.400.8", [], "pending", LATER, ["10.2.400.8"]),
            ("10.2.370.17", ["--allow-older"], "pending", LATER, ["10.2.370.17"]),
            ("10.2.370.15", ["--allow-older"], "updated", "confirmed", [])):
        offer(lab, {"driver": version})
        done = update(lab, *options)
        assert outcome(done, "driver")[0] == told and reason in outcome(done, "driver")[1]
        assert [one["version"] for one in done.json["pending"]] == waits
        assert told == "skipped" or lab.show()["driver"]["on_disk"] == version
    assert work(lab).count("rpm") == 4


def test_driver_that_a_boot_did_not_bring_is_refuted(lab):
    offer(lab, {"driver": NEW["driver"]})
    update(lab)
    store = lab.inside(f"{ROOT}/state/pending.json")
    recorded = store.read_text()
    boot = json.loads(recorded)["updates"][0]["boot_id"]
    store.write_text(recorded.replace(boot, "00000000-0000-0000-0000-000000000000"))
    done = update(lab)
    assert (done.exit_code, done.error_ids()) == (1, ["not-confirmed"])
    assert outcome(done, "driver")[0] == "failed" and "qdmctl doctor" in done.json["errors"][0]["hint"]
    prefer(lab, "# override lpfc: no")
    assert outcome(update(lab), "driver")[0] == "failed"
    prefer(lab, MARKED)
    assert outcome(update(lab), "driver") == ("pending", LATER), "the boot could not bring it"
    offer(lab, {"driver": "10.2.400.8"})
    works(lab)
    store.write_text("damaged")
    damaged = update(lab)
    assert set(damaged.error_ids()) == {"work-area"} and "pending.json" in \
        damaged.json["errors"][0]["message"]


def test_driver_that_no_run_has_recorded_is_found(lab):
    offer(lab, {"driver": NEW["driver"]})
    update(lab)
    lab.inside(f"{ROOT}/state/pending.json").unlink()
    assert outcome(update(lab), "driver") == ("pending", LATER) and work(lab).count("rpm") == 1
    store = lab.inside(f"{ROOT}/state/pending.json")
    recorded = json.loads(store.read_text())
    ports = recorded["updates"][0]["device_ids"]
    recorded["updates"][0]["device_ids"] = ports[:1]
    store.write_text(json.dumps(recorded))
    update(lab)
    [waits] = lab.qdmctl("pending").json["pending"]
    assert waits["device_ids"] == ports and len(ports) == 5
    prefer(lab, "# override lpfc: no")
    offer(lab, {"driver": OLD["driver"]})
    [waits] = update(lab).json["pending"]
    assert waits["next_boot"] == OLD["driver"]
