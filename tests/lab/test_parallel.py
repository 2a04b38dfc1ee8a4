"""`qdmctl list --jobs`: the answer of one call at a time, and no fault costs another port."""

import json
import os
import pathlib
import re
import signal

import pytest
from test_interruption import LIMIT, await_that, is_idle


@pytest.fixture
def server(make_lab):
    """A server that nothing is kept of, with the answer of one call at a time."""
    lab = make_lab(ports=8)
    lab.expected = lab.qdmctl("list").json["ports"]
    lab.run("sh", "-c", "rm -r /opt/velmora/qdm/provider/tmp/EMULEX/cache/*")
    return lab


def await_hanging(lab, number):
    await_that(lambda: [call["exit"] for call in lab.calls("HbaAttributes")].count(None) == number)


def above_tool(lab):
    """The processes of qdmctl between a hanging tool and init: reader, worker, front."""
    commands = {one["pid"]: one["command"] for one in lab.show()["processes"]}
    chain = [next(pid for pid, command in commands.items() if "hbacmd HbaA" in command)]
    while chain[-1] in commands:
        stat = pathlib.Path(f"/proc/{chain[-1]}/stat").read_text()
        chain.append(int(stat.rpartition(")")[2].split()[1]))
    return [pid for pid in chain if commands.get(pid, "").startswith("qdmctl")]


@pytest.mark.parametrize("jobs, fault, more_calls", [
    (2, "delay 20", 0), (4, "delay 20", 0), (32, "delay 20", 0),
    (4, "error64 times 3", 3), (4, "crash times 1", 1), (4, "endless times 1", 1)])
def test_answers_are_those_of_one_call_at_a_time(server, jobs, fault, more_calls):
    server.fault("HbaAttributes", *fault.split())
    before = len(server.calls())
    answer = server.qdmctl("list", "--jobs", str(jobs), "--trace", "/tmp/trace")
    assert (answer.exit_code, answer.json["ports"]) == (0, server.expected)
    verbs = [call["verb"] for call in server.calls()[before:]]
    assert verbs == ["listhbas", "version"] + ["HbaAttributes"] * (8 + more_calls)
    trace = server.inside("/tmp/trace").read_text()
    assert not re.search(r".\d{4}-\d\d-\d\dT[\d:.]+Z ", trace), "a line within another"
    again = server.qdmctl("list", "--jobs", str(jobs))
    assert again.json == answer.json and len(server.calls()) == before + len(verbs)


def test_a_file_that_two_ports_share_is_written_by_one(server):
    server.qdmctl("list")
    server.run("sh", "-c", "rm /opt/velmora/qdm/provider/tmp/EMULEX/cache/HbaAttrib*")
    listing = server.inside("/opt/velmora/qdm/provider/tmp/EMULEX/cache/Listhbas.txt")
    first, second = re.findall(r"Port WWN *: (\S+)", listing.read_text())[:2]
    listing.write_text(listing.read_text().replace(second, first))
    server.fault("HbaAttributes", "delay", "300")
    before = len(server.calls())
    server.qdmctl("list", "--jobs", "8")
    assert [call["verb"] for call in server.calls()[before:]] == ["HbaAttributes"] * 7


@pytest.mark.parametrize("killed, says", [(False, "in time"), (True, "somebody else")])
def test_a_call_without_end_costs_its_own_port(server, killed, says):
    server.fault("HbaAttributes", "hang", "times", "1")
    process = server.start("qdmctl", "list", "--jobs", "3", "--read-timeout", "2", "--json")
    if killed:
        await_hanging(server, 1)
        os.kill(above_tool(server)[0], signal.SIGKILL)
    answer = json.loads(process.communicate(timeout=2 + LIMIT)[0])
    error, = answer["errors"]
    assert process.returncode == 4 and error["id"] == "tool-failed" and says in error["message"]
    for port, expected in zip(answer["ports"], server.expected):
        lost = port["device_id"] == error["device_id"]
        assert port["versions"]["firmware"] is None if lost else port == expected
    assert server.qdmctl("list", "--jobs", "3").json["ports"] == server.expected


@pytest.mark.parametrize("victim, number", [(2, "TERM"), (2, "KILL"), (1, "KILL")])
def test_an_end_takes_readers_and_tools_along(server, victim, number):
    server.fault("HbaAttributes", "hang")
    process = server.start("qdmctl", "list", "--jobs", "4", "--json")
    await_hanging(server, 4)
    os.kill(above_tool(server)[victim], getattr(signal, f"SIG{number}"))
    output = process.communicate(timeout=LIMIT)[0]
    await_that(lambda: is_idle(server), LIMIT)
    if number == "TERM":
        assert [error["id"] for error in json.loads(output)["errors"]] == ["interrupted"]
    server.fault("--clear")
    assert server.qdmctl("list", "--jobs", "4").json["ports"] == server.expected
