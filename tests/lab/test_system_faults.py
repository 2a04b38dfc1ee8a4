"""Faults of the server and of packages: what is told, what is left behind, and the next run."""

import os
import random
import shutil
import zipfile

import pytest
from conftest import HBACMD

ROOT = "/opt/velmora/qdm/provider"
FOLDERS = ("tmp", "tmp/EMULEX", "tmp/EMULEX/cache", "tmp/EMULEX/temp", "tmp/qdmctl", "state")
VERSION = "11.2.156.27"


def update(lab, *options):
    return lab.qdmctl("update", "--repo", "/repo", "--yes", options=options)


def running(lab):
    return lab.adapter("fcelx_16g")["running"]["firmware"]


@pytest.fixture
def server(make_lab):
    """One 16G adapter and its package."""
    lab = make_lab("single")
    lab.package("fcelx_16g", VERSION)
    lab.repository()
    return lab


def refused(lab, answer, error, exit_code, named):
    """Nothing is flashed, and the answer says what is wrong, where, and what to do."""
    assert (answer.exit_code, set(answer.error_ids())) == (exit_code, {error}), answer
    for one in answer.json["errors"]:
        assert named in one["message"] + one["hint"] and one["hint"], answer
    assert lab.calls("Download") == [] and running(lab) != VERSION


def updates(lab):
    done = update(lab)
    assert done.exit_code == 0 and running(lab) == VERSION, done


def as_file(path):
    def spoil(lab):
        place = lab.inside(f"{ROOT}/{path}")
        place.parent.mkdir(mode=0o700, parents=True, exist_ok=True)
        place.write_text("no folder")
        return place.unlink
    return spoil


def as_link(lab):
    place = lab.inside(f"{ROOT}/tmp")
    place.symlink_to("/var")
    return place.unlink


def moved(lab):
    place = lab.inside(ROOT)
    place.rename(f"{place}.away")
    return lambda: place.with_name("provider.away").rename(place)


def mode(path, wrong, right):
    def spoil(lab):
        os.chmod(lab.inside(path), wrong)
        return lambda: os.chmod(lab.inside(path), right)
    return spoil


def foreign(lab):
    os.chown(lab.inside(ROOT), 1000, 1000)
    return lambda: os.chown(lab.inside(ROOT), 0, 0)


def nothing(_):
    return lambda: None


FAULTS = [
    ("tool not executable", mode(HBACMD, 0o644, 0o755), (), "listing-failed", "cannot be executed"),
    ("no root", moved, (), "work-area", ROOT),
    ("foreign root", foreign, (), "work-area", f"{ROOT} belongs to another user"),
    ("open root", mode(ROOT, 0o777, 0o755), (), "work-area", f"{ROOT} is writable for other"),
    ("read-only root", nothing, ("--read-only", ROOT), "work-area", f"{ROOT}/tmp"),
    ("read-only work area", nothing, ("--read-only", f"{ROOT}/tmp"), "work-area", f"{ROOT}/tmp"),
    ("read-only state", nothing, ("--read-only", f"{ROOT}/state"), "work-area", f"{ROOT}/state"),
    ("link", as_link, (), "work-area", f"{ROOT}/tmp is not a folder"),
    ("full disk", nothing, ("--disk", f"{ROOT}/tmp", "8192"), "disk-full", f"{ROOT}/tmp"),
    *((f"file {path}", as_file(path), (), "work-area", f"{ROOT}/{path} is not a folder")
      for path in FOLDERS)]


@pytest.mark.parametrize("spoil, options, error, named", [row[1:] for row in FAULTS],
                         ids=[row[0] for row in FAULTS])
def test_fault_of_the_server(server, spoil, options, error, named):
    mend = spoil(server)
    answer = update(server, *options)
    mend()
    refused(server, answer, error, 1, named)
    updates(server)


def add_member(lab, data):
    with zipfile.ZipFile(next(lab.repo.glob("*.zip")), "a", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("more.bin", data)
    lab.repository()


@pytest.mark.parametrize("data, named", [
    (random.Random(1).randbytes(2 << 20), "cannot be copied to"),
    (random.Random(1).randbytes(16 << 10) * 128, "needs 2")], ids=["staging", "unpacking"])
def test_disk_that_fills_up_is_found_before_flashing(server, data, named):
    add_member(server, data)
    answer = update(server, "--disk", f"{ROOT}/tmp", str(1 << 20))
    refused(server, answer, "disk-full", 1, named)
    assert f"{ROOT}/tmp" in answer.json["errors"][0]["message"]
    updates(server)


def test_event_log_that_cannot_be_written_fails_no_run(server):
    log = server.inside(f"{ROOT}/log")
    answers = []
    for spoil, options in (
            (lambda: None, ()), (lambda: None, ("--read-only", f"{ROOT}/log")),
            (lambda: None, ("--disk", f"{ROOT}/log", "1")),
            (lambda: (shutil.rmtree(log), log.write_text("no folder")), ()),
            (lambda: (log.unlink(), (log / "events.log").mkdir(parents=True)), ())):
        spoil()
        server.fault("Download", "error", "times", "4")
        answers.append(update(server, *options))
    assert answers[0].json["errors"][0]["message_id"] == "MSGID_EMULEX_FC_0004_F"
    assert all(answer.json == answers[0].json for answer in answers), answers
    updates(server)
