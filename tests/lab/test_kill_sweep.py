"""A server dies at any step of an update: what is left is told truly, and the next run ends it."""

import collections
import concurrent.futures
import copy
import json
import os
import subprocess
import sys

import pytest
from conftest import REPOSITORY, components

sys.path.insert(0, str(REPOSITORY / "lab"))

from qdmlab_lib import show  # noqa: E402  (the path above is what finds it)
from qdmlab_lib.layout import open_lab  # noqa: E402

pytestmark = pytest.mark.slow

LABS, POINTS = 4, int(os.environ.get("QDM_CUT_POINTS", "208"))
ROOT = "/opt/velmora/qdm/provider"
NEW = {"util": "10.2.400.1", "driver": "10.2.400.7", "fcelx_16g": "11.2.156.27",
       "fcelx_8g1p": "2.10a5"}
LOADED = "10.2.370.15"
PORTS = {"03:00": "fcelx_16g", "04:00": "fcelx_8g1p"}
SERVER = {"adapters": [
    {"family": family, "slot": slot, "serial": f"S{slot[1]}",
     "ports": [f"10:00:00:90:fa:16:{slot}"]} for slot, family in PORTS.items()]}
UPDATE = "update --repo /repo --yes"
LOOKS = ("check --repo /repo", "doctor", "pending")
KINDS = {"uninstall.sh": "util", "install.sh": "util", "Download": "firm", "depmod": "driver"}


def twin(lab, folder):
    """Another server that is as this one is now."""
    subprocess.run(["rm", "-rf", folder], check=True)
    subprocess.run(["cp", "-a", "--reflink=auto", lab.folder, folder], check=True)
    made = copy.copy(lab)
    made.folder, made.repo = folder, folder / "repo"
    return made


def fill(lab):
    """Offers newer packages of all kinds."""
    for family in PORTS.values():
        lab.package(family, NEW[family], "--no-end-message")
    for kind in ("util", "driver"):
        lab.package(None, NEW[kind], kind=kind)
    lab.repository()
    return lab


def cut(lab, number):
    """Ends all that runs before the step of this number; 0: never. Tells the steps."""
    done = lab.run("lab-cut", number, "/root/steps", "qdmctl", *UPDATE.split(), "--json",
                   env={"ASAN_OPTIONS": "detect_leaks=0"})
    steps = lab.inside("/root/steps").read_text(encoding="utf-8").splitlines()
    assert done.returncode == (137 if number else 0) and len(steps) >= number, done
    return steps


def held(lab):
    """What the server truly has, by kind or adapter, and the kind that the run was at."""
    shown = show.view(open_lab(lab.folder))
    assert shown["processes"] == []
    true = {one["family"]: one["running"]["firmware"].split(" ")[0] for one in shown["adapters"]}
    # As the kernel's tools see it: depmod may have ended between two forms of its map.
    true["driver"] = subprocess.run(
        ["/sbin/modinfo", "-b", lab.inside("/"), "-F", "version", "lpfc"],
        text=True, capture_output=True, check=True).stdout.strip()
    true["util"] = shown["tool"]["version"] if shown["tool"]["installed"] else None
    begun = ["driver" if "-Uhv" in call["arguments"] else KINDS.get(call["verb"])
             for call in shown["calls"]]
    return true, ([kind for kind in begun if kind] or ["preparation"])[-1], \
        sum((one["flashing"] for one in shown["adapters"]), [])


def answers(lab, *lines):
    """What the program answers to several calls, made in one visit."""
    text = lab.run("sh", "-c", "".join(f"qdmctl {line} --json; " for line in lines)).stdout
    found, end = [], 0
    while end < len(text):
        answer, end = json.JSONDecoder().raw_decode(text, end)
        found.append(answer)
        end += len(text[end:]) - len(text[end:].lstrip())
    assert len(found) == len(lines), text
    return found


def judge(answer, true):
    """Whether a look tells of the server what it has."""
    for port in answer["ports"]:
        for one in components({"ports": [port]}, None):
            kind = PORTS[port["device_id"][5:10]] if one["kind"] == "firm" else one["kind"]
            done = "pending" if kind == "driver" else "not-needed"
            assert one["outcome"] == (done if true[kind] == NEW[kind] else "not-attempted"), one
    rows = [one["finding"] for one in answer.get("checks", []) if one["name"] == "driver"]
    assert all(true["driver"] in row for row in rows), rows
    if answer["schema"] == "qdm.pending/1":
        waits = [one["version"] for one in answer["pending"]]
        assert waits == [true["driver"]] * (true["driver"] != LOADED)


def judge_looks(lab, true, command):
    """What the program tells is so; where it cannot, it names what finishes the matter."""
    for file in (*lab.inside(ROOT).glob("*.json"), *lab.inside(f"{ROOT}/state").glob("*.json")):
        json.loads(file.read_text(encoding="utf-8"))
    listed, looked = answers(lab, "list", command)
    if true["util"] is None:
        assert "qdmctl repair" in listed["errors"][0]["hint"], listed
        return
    assert listed["exit_code"] == 0, listed
    for port in listed["ports"]:
        versions, family = port["versions"], PORTS[port["device_id"][5:10]]
        assert (versions["firmware"], versions["utility"], versions["driver"]) == \
            (true[family], true["util"], LOADED), (port, true)
    judge(looked, true)


def finish(lab):
    """The next run, or the repair that it names and then the next, brings everything."""
    outcome, (done, health) = "finished by the next update", answers(lab, UPDATE, "doctor")
    if done["exit_code"] != 0:
        assert any("qdmctl repair" in error["hint"] for error in done["errors"]), done
        outcome = "finished by repair and the next update"
        _, done, health = answers(lab, "repair --yes", UPDATE, "doctor")
    true, _, flashing = held(lab)
    assert (done["exit_code"], true, flashing) == (0, NEW, []), done
    assert [one["version"] for one in done["pending"]] == [NEW["driver"]]
    found = {one["name"]: one["finding"] for one in health["checks"] if one["state"] != "ok"}
    assert set(found) == {"driver", "pending"} and LOADED in found["driver"], found
    return outcome


def sweep(origin, folder, numbers):
    outcomes = collections.Counter()
    for number in numbers:
        lab = twin(origin, folder)
        step = cut(lab, number)[-1]
        try:
            true, kind, _ = held(lab)
            judge_looks(lab, true, LOOKS[number % len(LOOKS)])
            outcomes[kind, finish(lab)] += 1
        except (AssertionError, ValueError) as error:
            raise AssertionError(f"cut before step {step}: {error}") from error
    return outcomes


def test_any_step_may_be_the_last(make_lab, tmp_path, tried):
    lab = fill(make_lab(server=SERVER))
    steps = len(cut(twin(lab, tmp_path / "twin"), 0)) - 9  # not one run is quite like another
    numbers = sorted({1 + number * steps // POINTS for number in range(POINTS)})
    with concurrent.futures.ThreadPoolExecutor(LABS) as pool:
        jobs = [pool.submit(sweep, lab, tmp_path / f"twin{index}", numbers[index::LABS])
                for index in range(LABS)]
    outcomes = sum((job.result() for job in jobs), collections.Counter())
    for (kind, outcome), number in outcomes.items():
        tried("cut points", kind, outcome, number)
    assert sum(outcomes.values()) == len(numbers) and {kind for kind, _ in outcomes} == \
        {"preparation", "util", "firm", "driver"}, outcomes
