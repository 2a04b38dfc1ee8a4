"""Switches faults of the simulated tool, and of the programs and scripts beside it, on and off.

They read them from the state file "faults": a line "VERB KIND VALUE REMAINING" each, "-" for
no value, -1 for a fault that strikes every call.
"""

import os

from .errors import LabError
from .layout import replace_file
from .state import locked

VERBS = ("listhbas", "HbaAttributes", "Download", "version", "all", "rpm", "rpm-query", "depmod",
         "uninstall.sh", "install.sh")
# What a kind's value is: needed, possible or none.
KINDS = {"delay": "needed", "hang": None, "error": None, "error64": None, "truncate": "possible",
         "empty": None, "garbage": None, "endless": None, "exit": "possible", "crash": None,
         "no-effect": None, "effect-then-fail": None, "no-line-ends": None, "wrong": None}
EVERY_CALL = -1


def number(text, what):
    if not text.isascii() or not text.isdigit() or len(text) > 9:
        raise LabError(f"fault: {what} must be a number, not {text}")
    return int(text)


def parse_fault(words):
    """VERB KIND [VALUE] [times N]"""
    words = list(words)
    remaining = EVERY_CALL
    if len(words) > 3 and words[-2] == "times":
        remaining = number(words.pop(), "times")
        words.pop()
    if not 2 <= len(words) <= 3:
        raise LabError("fault: what is wanted is: VERB KIND [VALUE] [times N], or --clear")
    verb, kind = words[:2]
    if verb not in VERBS:
        raise LabError(f"fault: {verb} is none of the verbs {', '.join(VERBS)}")
    if kind not in KINDS:
        raise LabError(f"fault: {kind} is none of the kinds {', '.join(KINDS)}")
    value = words[2] if len(words) == 3 else None
    if value is None and KINDS[kind] == "needed":
        raise LabError(f"fault: {kind} needs a value")
    if value is not None and KINDS[kind] is None:
        raise LabError(f"fault: {kind} takes no value")
    text = "-" if value is None else str(number(value, "the value"))
    return f"{verb} {kind} {text} {remaining}\n"


def read_faults(lab):
    try:
        with open(lab.state("faults"), encoding="utf-8") as file:
            rows = [line.split() for line in file]
    except FileNotFoundError:
        return []
    return [{"verb": verb, "kind": kind, "value": None if value == "-" else int(value),
             "remaining": None if remaining == str(EVERY_CALL) else int(remaining)}
            for verb, kind, value, remaining in rows]


def add_fault(lab, words):
    line = parse_fault(words)
    path = lab.state("faults")
    with locked(path):
        before = ""
        if os.path.exists(path):
            with open(path, encoding="utf-8") as file:
                before = file.read()
        replace_file(path, before + line)


def clear_faults(lab):
    path = lab.state("faults")
    with locked(path):
        if os.path.exists(path):
            os.unlink(path)
