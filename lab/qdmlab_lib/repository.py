"""Writes the index of a folder of update modules."""

import hashlib
import json
import os
import zipfile

from .errors import LabError
from .layout import replace_file
from .packages import DESCRIPTION

SCHEMA = "qdm.repository/1"
# A dual-port adapter's key goes on with its own PCI identifiers.
PATTERNS = {"fcelx_8g2p": "fcelx_8g2p_*"}


def describe(path):
    """What the module says of itself."""
    try:
        with zipfile.ZipFile(path) as archive:
            said = json.loads(archive.read(DESCRIPTION))
            return {key: said[key] for key in ("kind", "models", "version")}
    except (zipfile.BadZipFile, ValueError, KeyError) as error:
        raise LabError(f"{path} was not made by qdmlab package") from error


def index_entry(folder, name):
    path = os.path.join(folder, name)
    module = describe(path)
    with open(path, "rb") as file:
        content = file.read()
    models = [PATTERNS.get(model, model) for model in module["models"]]
    return {"kind": module["kind"], "models": models,
            "version": module["version"], "file": name, "size": len(content),
            "sha256": hashlib.sha256(content).hexdigest()}


def write_index(folder):
    """Makes FOLDER/index.json of the modules found there and returns its content."""
    try:
        names = sorted(name for name in os.listdir(folder) if name.endswith(".zip"))
    except OSError as error:
        raise LabError(f"cannot read {folder}: {error.strerror}") from error
    index = {"schema": SCHEMA, "packages": [index_entry(folder, name) for name in names]}
    replace_file(os.path.join(folder, "index.json"), json.dumps(index, indent=2) + "\n")
    return index
