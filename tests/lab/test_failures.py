"""The table of docs/failures.md, row by row, held against what happens in the lab."""

import json
import re
import time

import pytest
from conftest import PATIENCE, REPOSITORY, SERVERS, Lab, components

ROOT = "/opt/velmora/qdm/provider"
ASKING = (["-q"], ["-qa"])
MOST_BYTES = 4 << 20  # of all files that a run may leave or hold below the install root


def rows():
    text = (REPOSITORY / "docs" / "failures.md").read_text(encoding="utf-8")
    lines = [line for line in text.splitlines() if line.startswith("| `")]
    return [[cell.strip().replace("`", "") for cell in line.strip("|").split("|")]
            for line in lines]


pytestmark = pytest.mark.slow

ROWS = rows()
ENDLESS = [row for row in ROWS if row[3] == "runs on"]
ENDING = [row for row in ROWS if row[3] != "runs on"]


class Server:
    """Two ports, 16 and 8 Gbit, and for each update a package that is newer than the last."""

    def __init__(self, folder):
        server = json.loads((SERVERS / "default.json").read_text())
        server["adapters"] = server["adapters"][:2]
        server["adapters"][0]["ports"] = server["adapters"][0]["ports"][:1]
        server["tool"]["download_ms"] = 10
        (folder / "server.json").write_text(json.dumps(server))
        self.lab = Lab(folder / "lab", "--server", folder / "server.json")
        self.number = 0

    def offer(self, kind="firm"):
        self.number += 1
        for old in self.lab.repo.glob("*.zip"):
            old.unlink()
        if kind == "driver":  # of a server that never had one, so that depmod has a task
            self.lab.run("sh", "-c", "rpm -e elx-lpfc; rm -f /etc/depmod.d/*; depmod -a")
        if kind == "firm":
            self.lab.package("fcelx_16g", f"11.2.156.{100 + self.number}")
            self.lab.package("fcelx_8g1p", f"{3 + self.number // 10}.1{self.number % 10}a5")
        else:
            self.lab.package(None, f"10.2.{400 + self.number}.1", "--without", "x86", kind=kind)
        self.offered = {one["version"] for one in self.lab.repository()["packages"]}

    def command(self, words, fault=""):
        """Output without end is to be ended for its length, however slow the machine is."""
        update = ["update", "--repo", "/repo", "--yes"]
        return [*(["list"] if words == "list" else update),
                "--read-timeout", str(20 if fault == "endless" else PATIENCE)]

    def begun(self, verb):
        """Calls of a verb so far, of rpm those that change the server."""
        return [call for call in self.lab.calls(verb)
                if verb != "rpm" or call["arguments"][:1] not in ASKING]

    def holds_what_was_offered(self, kind):
        state = self.lab.show()
        firmware = {one["running"]["firmware"].split(" ")[0] for one in state["adapters"]}
        return self.offered == {"firm": firmware, "util": {state["tool"]["version"]},
                                "driver": {state["driver"]["on_disk"]}}[kind]

    def finish(self, kind, errors):
        """What the hints say, then the next run brings what was offered."""
        hints = " ".join(error["hint"] for error in errors)
        if "qdmctl repair" in hints:
            done = self.lab.qdmctl("repair", "--yes")
            assert done.exit_code == 0, done
        if said := re.search('that (/etc/depmod.d/.*) holds the line "(.*?)"', hints):
            self.lab.inside(said[1]).write_text(said[2] + "\n")
            self.lab.run("depmod", "-a")
        if not self.holds_what_was_offered(kind):
            done = self.lab.qdmctl(*self.command("update"))
            assert done.exit_code == 0 and self.holds_what_was_offered(kind), done

    def bytes_used(self):
        """Disk space of the files that the product writes, in bytes."""
        files = [file.stat() for file in self.lab.inside(ROOT).rglob("tmp/*/**/*")]
        return sum(state.st_blocks * 512 for state in files)


@pytest.fixture(scope="module")
def server(tmp_path_factory):
    return Server(tmp_path_factory.mktemp("failures"))


def told_errors(answer):
    told = [" ".join(str(error[key]) for key in ("id", "last_error", "message_id") if key in error)
            for error in answer.json["errors"]]
    return "; ".join(dict.fromkeys(told)) or "-"


def kind_of(command):
    return {"util": "util", "driver": "driver"}.get(command.split(" ")[-1], "firm")


def told_outcome(port, kind):
    for component in components({"ports": [port]}, kind):
        return component["outcome"]
    return "read" if port["versions"]["firmware"] else "not read"


def check_errors(answer, says, running, kind):
    """Every error says what to do, and of a port that was flashed what it runs now."""
    devices = [port["device_id"] for port in answer.json["ports"]]
    for error in answer.json["errors"]:
        assert len(error["hint"].split()) > 5 and len(error["message"].split()) > 5
        reports = re.search("the port now reports (.*)", error["message"])
        assert reports is None or reports[1] == running[devices.index(error["device_id"])]
        if error["id"] in ("update-failed", "not-confirmed") and kind == "firm":
            assert reports or "cannot be read now" in error["message"]
            assert error["device_id"] in devices
            assert ROOT not in error["message"], "no paths and lines of the trace"
    assert says == "-" or any(says in error["message"] for error in answer.json["errors"])


def check_state(answer, running):
    """What is told as updated runs; a version that is told is the true one."""
    for port, true in zip(answer.json["ports"], running):
        assert port["versions"]["firmware"] in (None, true)
        for component in components({"ports": [port]}):
            assert component["outcome"] != "updated" or component["offered"] == true


def name(row):
    return " ".join(row[:3])


@pytest.mark.parametrize("row", ENDING, ids=name)
def test_run_ends_as_documented(server, tried, row):
    fault, verb, command, result, code, errors, outcome, says = row
    lab = server.lab
    tried("tool faults", verb, "ended as documented")
    for file in lab.inside(f"{ROOT}/tmp/EMULEX/cache").glob("*"):
        file.unlink()
    kind = kind_of(command)
    if command != "list":
        server.offer(kind)
    if command == "update after list":
        lab.qdmctl("list")
    words = re.sub("delay$", "delay 100", fault)
    words = re.sub("[0-9]+00$", lambda delay: str(int(delay[0]) * PATIENCE), words)
    lab.fault(verb, *words.split())
    answer = lab.qdmctl(*server.command(command, fault))
    lab.fault("--clear")
    state = lab.show()

    told = (answer.json["result"], str(answer.exit_code), told_errors(answer),
            ", ".join(told_outcome(port, kind) for port in answer.json["ports"]))
    assert told == (result, code, errors, outcome), answer
    running = [one["running"]["firmware"].split(" ")[0] for one in state["adapters"]]
    check_errors(answer, says, running, kind)
    check_state(answer, running)
    assert state["processes"] == [] and server.bytes_used() < MOST_BYTES

    if command != "list":
        assert answer.json["result"] != "ok" or server.holds_what_was_offered(kind)
        server.finish(kind, answer.json["errors"])
        running = [one["running"]["firmware"].split(" ")[0] for one in lab.show()["adapters"]]
    again = lab.qdmctl("list")
    assert again.exit_code == 0, again
    assert [port["versions"]["firmware"] for port in again.json["ports"]] == running
    assert all(None not in port["versions"].values() for port in again.json["ports"])


@pytest.mark.parametrize("row", ENDLESS, ids=name)
def test_work_that_never_ends_is_left_alone(server, tried, row):
    fault, verb, command = row[:3]
    tried("tool faults", verb, "left to run on, within bounds")
    lab = server.lab
    server.offer(kind_of(command))
    before = len(server.begun(verb))
    lab.fault(verb, fault)
    process = lab.start("qdmctl", *server.command(command), "--json")
    while len(server.begun(verb)) == before and process.poll() is None:
        time.sleep(0.05)
    lab.fault("--clear")
    used = [server.bytes_used()]
    for _ in range(8):
        time.sleep(0.25)
        used.append(server.bytes_used())
    process.terminate()
    time.sleep(0.5)
    assert process.poll() is None, "the run waits for the flash"
    program = verb.replace("Download", "hbacmd")
    assert any(program in str(one) for one in lab.show()["processes"]), "the work is not ended"
    assert max(used) - used[0] < MOST_BYTES
    lab.reboot()
    _, said = process.communicate(timeout=30)
    assert row[7] in said
    server.finish(kind_of(command), lab.qdmctl("list").json["errors"])
