"""Updates end to end: look, act, look again."""

import json

import jsonschema
import pytest
from conftest import REPOSITORY, SERVERS, components

INDEX_SCHEMA = REPOSITORY / "qdmctl/schemas/qdm.repository.1.schema.json"
NEW = {"fcelx_16g": "11.2.156.27", "fcelx_8g1p": "2.10a5", "fcelx_8g2p": "2.10a5"}


def fill(lab, versions=None):
    for model, version in (versions or NEW).items():
        lab.package(model, version)
    lab.repository()


def update(lab, *options, **keywords):
    return lab.qdmctl("update", "--repo", "/repo", "--yes", *options, **keywords)


def outcomes(answer):
    return [component["outcome"] for component in components(answer.json)]


def running(lab):
    return {one["family"]: one["running"]["firmware"].split(" ")[0]
            for one in lab.show()["adapters"]}


def downloads(lab):
    """(WWPN, kind of image) of each download, in order."""
    return [(call["arguments"][0], call["arguments"][1].rsplit(".", 1)[1])
            for call in lab.calls() if call["verb"].lower() == "download"]


def test_update_brings_all_ports_to_the_offered_versions(lab):
    fill(lab)
    looked = lab.qdmctl("check", "--repo", "/repo")
    assert (looked.exit_code, looked.json["result"]) == (0, "ok")
    assert outcomes(looked) == ["not-attempted"] * 5 and downloads(lab) == []

    done = update(lab)
    assert (done.exit_code, done.json["result"], done.json["errors"]) == (0, "ok", [])
    assert outcomes(done) == ["updated"] * 5
    assert "[6/35] firm: backup" in done.stderr and "[31/35] firm: check" in done.stderr
    assert running(lab) == NEW
    for port, component in zip(done.json["ports"], components(done.json)):
        assert port["versions"]["firmware"] == component["offered"]

    flashed = downloads(lab)
    again = update(lab)
    assert (again.exit_code, again.json["result"]) == (0, "nothing")
    assert outcomes(again) == ["not-needed"] * 5 and downloads(lab) == flashed


def test_16g_is_flashed_once_and_8g_on_every_function_bios_first(lab):
    fill(lab)
    update(lab)
    assert downloads(lab) == [
        ("10:00:00:90:fa:16:03:00", "grp"),
        ("10:00:00:90:fa:81:04:00", "prg"), ("10:00:00:90:fa:81:04:00", "all"),
        ("10:00:00:90:fa:82:05:00", "prg"), ("10:00:00:90:fa:82:05:00", "all"),
        ("10:00:00:90:fa:82:05:01", "prg"), ("10:00:00:90:fa:82:05:01", "all")]
    bios = {port["versions"]["boot_bios"] for port in lab.qdmctl("list").json["ports"][2:]}
    assert bios == {"2.10a5"}


def test_function_1_of_16g_is_checked_and_not_updated_alone(lab):
    fill(lab)
    alone = update(lab, "--device", "03:00.1")
    assert (alone.exit_code, alone.error_ids(), outcomes(alone)) == (2, ["usage"], ["skipped"])
    assert "0000:03:00.0-10df-e200" in alone.json["errors"][0]["hint"] and downloads(lab) == []
    lab.qdmctl("restore")
    lab.fault("HbaAttributes", "error", "times", "2")
    told = update(lab, "--dry-run")
    assert (told.error_ids(), outcomes(told)[:2]) == (["tool-failed"], ["skipped"] * 2), "once"
    both = update(lab, "--device", "03:00.0", "--device", "03:00.1")
    assert both.exit_code == 0 and outcomes(both) == ["updated"] * 2
    assert running(lab)["fcelx_16g"] == NEW["fcelx_16g"] and len(downloads(lab)) == 1


def test_shifted_lspci_columns_do_not_hide_the_package(make_lab):
    lab = make_lab("revision03")
    fill(lab, {"fcelx_8g2p": "2.10a5"})
    assert outcomes(update(lab)) == ["updated"] * 2


def test_versions_older_same_and_unreadable(make_lab):
    server = json.loads((SERVERS / "default.json").read_text())
    server["adapters"][1]["firmware"] = "no version"
    lab = make_lab(server=server)
    fill(lab, {"fcelx_16g": "11.2.156.9", "fcelx_8g1p": "2.10a5", "fcelx_8g2p": "2.02a3"})
    looked = lab.qdmctl("check", "--repo", "/repo")
    verdicts = [component["verdict"] for component in components(looked.json)]
    assert verdicts == ["older", "older", "unreadable", "same", "same"]
    plain = update(lab)
    assert (plain.exit_code, plain.json["result"], downloads(lab)) == (0, "nothing", [])

    assert outcomes(update(lab, "--allow-older")) == ["updated", "updated", "skipped",
                                                      "not-needed", "not-needed"]
    assert outcomes(update(lab, "--device", "04:00.0")) == ["skipped"]
    forced = update(lab, "--force", "--device", "04:00.0")
    assert (forced.exit_code, outcomes(forced)) == (0, ["updated"])
    assert running(lab) == {"fcelx_16g": "11.2.156.9", "fcelx_8g1p": "2.10a5",
                            "fcelx_8g2p": "2.02a3"}


def test_dry_run_and_question_change_nothing(lab):
    fill(lab)
    dry = lab.qdmctl("update", "--repo", "/repo", "--dry-run")
    assert (dry.exit_code, outcomes(dry)) == (0, ["not-attempted"] * 5)
    for reply, expected in (("n", "not-attempted"), ("", "not-attempted"), ("y", "updated")):
        typed = ["script", "-qec", "qdmctl update --repo /repo --json >/tmp/answer; cat /tmp/answer"
                 " >/root/answer", "/dev/null"]
        process = lab.start(*typed, stdin=-1, env={"TERM": "xterm"})
        output, _ = process.communicate(reply + "\n", timeout=60)
        answer = json.loads(lab.inside("/root/answer").read_text())
        assert "0000:03:00.0-10df-e200" in output and "[y/N]" in output
        assert {component["outcome"] for component in components(answer)} == {expected}


def test_port_that_does_not_take_the_image_fails_alone(lab):
    fill(lab)
    lab.fault("Download", "error", "times", "4")
    done = update(lab)
    assert (done.exit_code, done.json["result"]) == (4, "partial")
    assert outcomes(done) == ["failed"] * 2 + ["updated"] * 3
    first = done.json["errors"][0]
    assert (first["id"], first["last_error"], first["message_id"], first["device_id"]) == (
        "update-failed", 33, "MSGID_EMULEX_FC_0004_F", "0000:03:00.0-10df-e200")
    assert "11.2.156.20" in first["message"]
    lab.fault("Download", "no-effect", "times", "1")
    first = update(lab).json["errors"][0]
    assert (first["id"], first["message_id"]) == ("not-confirmed", "MSGID_EMULEX_FC_0009_F")
    assert update(lab).exit_code == 0 and running(lab) == NEW


@pytest.mark.parametrize("model, options", [
    ("fcelx_16g", ["--twice", "firmware"]), ("fcelx_8g1p", ["--without", "message"]),
    ("fcelx_8g1p", ["--twice", "bios"]), ("fcelx_8g2p", ["--without", "firmware"])])
def test_unsuitable_module_is_refused_before_flashing(lab, model, options):
    lab.package(model, NEW[model], *options)
    lab.repository()
    done = update(lab)
    assert set(done.error_ids()) == {"package-unsuitable"} and downloads(lab) == []
    assert running(lab)[model] != NEW[model]


@pytest.mark.parametrize("damage, code, error", [
    ({"sha256": "0" * 64}, 4, "package-damaged"), ({"file": "gone.zip"}, 4, "package-missing"),
    ({"file": "../x.zip"}, 8, "index-invalid"), ({"version": "11.2.156"}, 4, "index-invalid")])
def test_damaged_index_is_refused(lab, damage, code, error):
    assert update(lab).error_ids() == ["index-missing"]
    (lab.repo / "index.json").write_text('{"schema": ')
    broken = update(lab)
    assert (broken.exit_code, broken.error_ids()) == (8, ["index-invalid"])
    assert lab.calls() == [], "a broken index needs no look at the adapters"
    fill(lab, {"fcelx_16g": "11.2.156.27"})
    index = json.loads((lab.repo / "index.json").read_text())
    jsonschema.validate(index, json.loads(INDEX_SCHEMA.read_text()))
    lab.write_index([{**index["packages"][0], **damage}])
    done = update(lab)
    assert (done.exit_code, set(done.error_ids())) == (code, {error}) and downloads(lab) == []


def test_interrupt_never_ends_a_flash(lab):
    fill(lab)
    lab.fault("Download", "delay", "1500", "times", "1")
    process = lab.start("qdmctl", "update", "--repo", "/repo", "--yes", "--json")
    while not downloads(lab):
        assert process.poll() is None
    process.terminate()
    output, said = process.communicate(timeout=60)
    answer = json.loads(output)
    assert "never ended" in said and process.returncode == 4
    assert "interrupted" in [error["id"] for error in answer["errors"]]
    told = [component["outcome"] for component in components(answer)]
    assert told == ["updated"] * 2 + ["not-attempted"] * 3, "of one adapter, or not begun"
    assert running(lab) == {**NEW, "fcelx_8g1p": "2.02a3", "fcelx_8g2p": "2.02a3"}
    assert all(one["flashing"] == [] for one in lab.show()["adapters"])
    assert update(lab).exit_code == 0 and running(lab) == NEW


def test_version_that_only_the_second_reading_tells_confirms(make_lab):
    lab = make_lab("single")
    fill(lab, {"fcelx_16g": NEW["fcelx_16g"]})
    lab.fault("Download", "delay", "1000")
    process = lab.start("qdmctl", "update", "--repo", "/repo", "--yes", "--json")
    while not downloads(lab):
        assert process.poll() is None
    lab.fault("HbaAttributes", "error", "times", "1")
    answer = json.loads(process.communicate(timeout=60)[0])
    assert (process.returncode, components(answer)[0]["outcome"]) == (0, "updated")
