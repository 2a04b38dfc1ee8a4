"""docs/messages.md, held against the catalogue, the table of inserts and the provider's codes."""

import configparser
import re

from conftest import REPOSITORY


def source(path):
    return (REPOSITORY / path).read_text(encoding="utf-8")


DOCUMENT = source("docs/messages.md")
SECTION = re.compile(r"^### (\w+)\n\n> (.*)\n\n(\w+), (\d) inserts?(.*)\n", re.MULTILINE)
PROVIDER = "".join(file.read_text() for file in (REPOSITORY / "provider").rglob("*.cpp"))
CODES = {int(row[0]): row[1:] for row in re.findall(
    r"^\| (\d+) \| (\w+) \| (.*) \| (.*) \|$", DOCUMENT, re.MULTILINE)}


def test_messages_are_those_of_the_catalogue():
    catalogue = configparser.ConfigParser(interpolation=None)
    catalogue.read_string(source("host/DllCommon/messages.ini"))
    inserts = dict(re.findall(r'\{"(\w+)", (\d+)\}', source("host/DllCommon/MessageTable.cpp")))
    known = sorted(inserts)
    assert sorted(catalogue.sections()) == known == sorted(set(re.findall(r"MSGID\w+", PROVIDER)))
    assert re.findall("^### (.*)$", DOCUMENT, re.MULTILINE) == known
    assert [section[:4] for section in SECTION.findall(DOCUMENT)] == [
        (name, catalogue[name]["text"], catalogue[name]["severity"], inserts[name])
        for name in known]
    for name, _, _, number, places in SECTION.findall(DOCUMENT):
        assert re.findall(r"`\{(\d)\}`", places) == [str(i) for i in range(int(number))], name


def test_codes_are_those_of_the_provider():
    codes = re.findall(r"(\w+) = (\d+)", source("provider/common/ErrorCode.h"))
    assert list(CODES) == sorted(int(code) for _, code in codes)
    assert {name for name, _ in codes} | {"Code"} == set(re.findall(r"ErrorCode::(\w+)", PROVIDER))
    assert [cells[0] for cells in CODES.values()] == [f"{code:x}" for code in CODES]


def test_named_answers_and_messages_exist():
    told = " ".join(cells[-1] for cells in CODES.values())
    known = re.findall('"([a-z-]+)"', source("qdmctl/schemas/qdm.error.1.schema.json"))
    missing = set(re.findall("`([a-z]+(?:-[a-z]+)+)`", DOCUMENT)) - set(known)
    words = [quote for quote in re.findall('"(.+?)"', told)
             if quote not in source("qdmctl/Reasons.cpp")]
    numbers = [number for number in re.findall(r"`(\d{4})`", DOCUMENT)
               if f"### MSGID_EMULEX_FC_{number}_F" not in DOCUMENT]
    assert (missing, words, numbers) == (set(), [], [])
