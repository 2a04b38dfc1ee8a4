"""Faults of the server and of packages: what is told, what is left behind, and the next run."""

import contextlib
import os
import random
import shutil
import signal
import socket
import time
import zipfile

import pytest
from conftest import HBACMD, Answer

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
def test_fault_of_the_server(server, tried, spoil, options, error, named):
    tried("system faults", "work area and disk", "refused with the reason")
    mend = spoil(server)
    answer = update(server, *options)
    mend()
    refused(server, answer, error, 1, named)
    updates(server)


def test_a_work_area_that_was_written_before(server):
    """A list need not try again whether files can be made; when they cannot, it says so."""
    whole = server.qdmctl("list")
    assert whole.exit_code == 0
    probe = server.inside(f"{ROOT}/tmp/qdmctl/probe")
    probe.mkdir()
    assert server.qdmctl("list").exit_code == 0, "not tried again"
    probe.rmdir()

    answer = server.qdmctl("list", options=("--read-only", f"{ROOT}/tmp"))
    refused(server, answer, "work-area", 1, f"{ROOT}/tmp/qdmctl cannot be written")
    answer = server.qdmctl("list", options=("--read-only", f"{ROOT}/tmp/qdmctl/report"))
    refused(server, answer, "work-area", 1, "the boot BIOS versions are not known")
    told, known = (one.json["ports"][0]["versions"] for one in (answer, whole))
    assert told == {**known, "boot_bios": told["boot_bios"]} and told != known, answer

    fill = f"head -c 1M /dev/zero > {ROOT}/tmp/much 2>/dev/null; exec qdmctl list --json"
    answer = Answer(server.run("sh", "-c", f"qdmctl list > /dev/null && ({fill})",
                               options=("--disk", f"{ROOT}/tmp", str(1 << 20))))
    refused(server, answer, "disk-full", 1, f"{ROOT}/tmp")
    assert server.qdmctl("list").exit_code == 0


def in_place(make):
    """Puts something else where a file of the product lies; what was there comes back."""
    def spoil(place):
        aside = place.with_name(f"..{place.name}")
        place.parent.mkdir(mode=0o700, parents=True, exist_ok=True)
        if place.exists():
            place.rename(aside)
        make(place, aside)
        def mend():
            if place.is_dir() and not place.is_symlink():
                place.rmdir()
            else:
                place.unlink(missing_ok=True)
            if aside.exists():
                aside.rename(place)
        return mend
    return spoil


def bind_socket(place, _):
    with contextlib.chdir(place.parent), socket.socket(socket.AF_UNIX) as one:
        one.bind(place.name)


def foreign_file(place, aside):
    place.write_bytes(aside.read_bytes() if aside.exists() else b"")
    os.chown(place, 1000, 1000)


VICTIM = "/etc/hostname"
ODD = {"link": lambda place, _: place.symlink_to(VICTIM), "pipe": lambda place, _: os.mkfifo(place),
       "folder": lambda place, _: place.mkdir(), "socket": bind_socket, "foreign": foreign_file}
PLACES = ("qdmctl.lock", "qdmctl-read.lock", "log/events.log", "state/pending.json",
          "state/pending.json.new", "state/repair.json", "tmp/EMULEX/cache/Listhbas.txt",
          "tmp/EMULEX/cache/HbaAttrib10-00-00-90-fa-16-03-00.txt", "tmp/qdmctl/caches",
          "tmp/EMULEX/temp/temp_hbacmd_Download.txt", "tmp/qdmctl/probe")


@pytest.mark.parametrize("odd", ODD)
def test_odd_things_in_place_of_files(server, tried, odd):
    """Nothing is written through a link or waits for a pipe; what is not refused is done."""
    victim = server.inside(VICTIM).read_bytes()
    for path in PLACES:
        before = len(server.calls("Download"))
        mend = in_place(ODD[odd])(server.inside(f"{ROOT}/{path}"))
        answer = update(server)
        outside = server.inside(VICTIM)
        assert outside.read_bytes() == victim and outside.stat().st_uid == 0, path
        if answer.exit_code != 0:
            assert answer.error_ids() == ["work-area"], (path, answer)
            assert f"{ROOT}/{path.removesuffix('/probe')}" in answer.json["errors"][0]["message"]
            assert len(server.calls("Download")) == before
        listed = server.qdmctl("list")
        assert set(listed.error_ids()) <= {"work-area"}, (path, listed)
        mend()
        tried("system faults", f"{odd} in place of a file",
              "refused with the reason" if answer.exit_code else "done all the same")
    updates(server)


def cut(place, aside):
    place.write_bytes(aside.read_bytes()[:min(aside.stat().st_size // 2, 20000)])


def of_other_machine(place, aside):
    data = bytearray(aside.read_bytes())
    data[18:20] = b"\xb7\0"  # AArch64
    place.write_bytes(data)


PARTS = {"EMULEX_FC.json": "internal", "FcVCFac.ini": "internal",
         "libqdmp_EMULEX_FC.so": "work-area"}
WRONG_PARTS = {**ODD, "link": lambda place, aside: place.symlink_to(aside.name), "cut": cut,
               "empty": lambda place, _: place.write_bytes(b""),
               "open": lambda place, aside: (shutil.copy(aside, place), place.chmod(0o666))}
LIBRARIES = {"other machine": of_other_machine,
             "other library": lambda place, _: shutil.copy(
                 place.parents[3] / "qdmctl/lib/libqdm_DllCommon.so", place)}


@pytest.mark.parametrize("part", PARTS)
def test_damaged_provider_is_refused(server, tried, part):
    for odd, make in {**WRONG_PARTS, **(LIBRARIES if part.endswith(".so") else {})}.items():
        mend = in_place(make)(server.inside(f"{ROOT}/{part}"))
        answer = update(server)
        mend()
        refused(server, answer, PARTS[part], 1, f"{ROOT}/{part}")
        tried("system faults", f"{part}: {odd}", "refused with the reason")
    updates(server)


@pytest.mark.parametrize("option, low, enough", [
    # Sanitizers need descriptors and memory of their own.
    pytest.param("-n", (3, 4, 5, 6, 7, 8, 9, 10, 12, 16, 32, 63), 64, marks=pytest.mark.cost),
    ("-f", (0, 1, 8, 64, 1024), 1 << 21),
    ("-t", (1, 3599), 3600), pytest.param("-v", (
        4000, 8000, *range(9500, 11500, 250), 12000, 16000, 32000, 64000, 524287),
        524288, marks=pytest.mark.cost)])
def test_limits_of_the_caller(server, tried, option, low, enough):
    """Too low: nothing is begun. A program that cannot even be loaded the system itself ends."""
    def limited(limit):
        line = f"ulimit {limit} && exec qdmctl update --repo /repo --yes --json"
        return server.run("sh", "-c", line)

    for value in low:
        done = limited(f"{option} {value}")
        loading = (127, -signal.SIGABRT) if done.stdout == "" and value < 12000 else ()
        assert done.returncode in loading or \
            done.returncode == 1 and (f"ulimit {option}" in done.stdout + done.stderr), done
        tried("system faults", f"ulimit {option}", "refused with the reason"
              if done.returncode == 1 else "cannot be loaded, nothing begun")
    assert server.calls() == [] and running(server) != VERSION
    lifted = limited(f"-S {option} {9 if option != '-v' else 32000}")
    assert lifted.returncode == 0, "one's own soft limit is lifted"
    assert limited(f"{option} {enough}").returncode == 0 and running(server) == VERSION


@pytest.mark.parametrize("age, calls", [(1800, 0), (3540, 0), (3660, 3), (-30, 3), (-3540, 3),
                                        (-7200, 3), (1 << 30, 3)])
def test_caches_after_a_change_of_the_clock(server, tried, age, calls):
    """Less than an hour old they are good; what comes from the future is of unknown age."""
    before = server.qdmctl("list").json
    for file in server.inside(f"{ROOT}/tmp/EMULEX/cache").iterdir():
        os.utime(file, (time.time() - age,) * 2)
    called = len(server.calls())
    assert server.qdmctl("list").json == before and len(server.calls()) - called == calls
    tried("system faults", "clock set back or forward", "right answer")


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
