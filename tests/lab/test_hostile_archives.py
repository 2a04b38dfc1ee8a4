"""Hostile update modules, offered for an update each to an adapter model of its own."""

import collections
import hashlib
import json
import subprocess

import pytest
from conftest import REPOSITORY, Answer
from exec_trace import OWN, ROOT, trace, unexpected

pytestmark = pytest.mark.slow

MODELS = 64  # as many as a descriptor may hold
MODEL = ["fcelx_16g", *(f"m{number}" for number in range(1, MODELS))]
VERSION = "11.2.156.27"


def server_of_models(make_lab):
    """One 16G adapter of each model."""
    lab = make_lab(server={"adapters": [
        {"family": "fcelx_16g", "slot": f"{number + 1:02x}:00", "serial": f"S{number}",
         "device": f"{0xe200 + number:04x}", "ports": [f"10:00:00:00:00:00:00:{number:02x}"]}
        for number in range(MODELS)]})
    path = lab.inside(f"{ROOT}/EMULEX_FC.json")
    descriptor = json.loads(path.read_text())
    descriptor["models"] = [{**descriptor["models"][0], "model_key": key,
                             "pci_ids": [f"10df:{0xe200 + number:04x}"]}
                            for number, key in enumerate(MODEL)]
    path.write_text(json.dumps(descriptor))
    lab.inside(f"{ROOT}/FcVCFac.ini").write_text(
        f"[SuportDevice]\nSuportDeviceNum={MODELS}\n" + "".join(
            f"Vendor{number + 1}=VEN_10DF\nDevice{number + 1}=DEV_{0xe200 + number:04X}\n"
            for number in range(MODELS)))
    return lab


def update(lab, files):
    """Offers each model one of these files of the repository and updates all that can be."""
    data = [(lab.repo / file).read_bytes() for file in files]
    lab.write_index([{"kind": "firm", "models": [model], "version": VERSION, "file": file,
                      "size": len(text), "sha256": hashlib.sha256(text).hexdigest()}
                     for model, file, text in zip(MODEL, files, data)])
    done, programs, made = trace(lab, "qdmctl", "update", "--repo", "/repo", "--yes", "--json")
    return Answer(done), programs, made


def holdings(lab):
    """All files of the server but those that a run renews, with their content."""
    top = lab.inside("/")
    return {path: path.is_file() and (path.stat().st_mode, hashlib.sha256(
        path.read_bytes()).digest()) for path in top.rglob("*")
            if not OWN.fullmatch(f"/{path.relative_to(top)}")}


def test_hostile_archives_are_refused_before_anything_is_unpacked(make_lab, tried):
    lab = server_of_models(make_lab)
    sound = lab.package(MODEL[0], VERSION, name="sound.zip")
    subprocess.run([REPOSITORY / "scripts" / "hostile-archives", sound, lab.repo], check=True)
    rows = json.loads((lab.repo / "samples.json").read_text())
    assert lab.qdmctl("list").exit_code == 0
    before = holdings(lab)
    offered = rows + rows[:-len(rows) % MODELS]  # one for each model in every run
    for batch in (offered[start:start + MODELS] for start in range(0, len(offered), MODELS)):
        answer, programs, made = update(lab, [row["file"] for row in batch])
        assert (answer.exit_code, set(answer.error_ids())) == (8, {"package-unsuitable"}), answer
        told = [error["message"] for error in answer.json["errors"] if error["hint"]]
        wrong = [(row, text) for row, text in zip(batch, told) if not (
            text.startswith(f"{row['file']}: ") and row["reason"] in text)]
        assert not wrong and len(told) == len(batch), wrong
        assert not unexpected(programs) and lab.calls("Download") == []
        assert not (elsewhere := [path for path in made if not OWN.fullmatch(path)]), elsewhere
        assert holdings(lab) == before
    for group, number in collections.Counter(row["group"] for row in rows).items():
        tried("archives", group, "refused with the reason, nothing unpacked or run", number)
    answer = update(lab, [sound.name])[0]
    assert answer.exit_code == 0 and lab.show()["adapters"][0]["running"]["firmware"] == VERSION
