"""Signals, lost terminals and dead processes at any moment: no flash ends, the answer is true."""

import concurrent.futures
import fcntl
import json
import os
import random
import select
import signal
import subprocess
import time

import pytest
from conftest import PATIENCE, components, qdmlab

LABS, RUNS_OF_LAB = 4, 25
LIMIT = 2.0 + 2.5 * PATIENCE  # seconds to the end of a run; the second part is this machine's noise
VERSIONS = {"old": {"fcelx_16g": "11.2.156.20", "fcelx_8g1p": "2.02a3"},
            "new": {"fcelx_16g": "11.2.156.27", "fcelx_8g1p": "2.10a5"}}
SERVER = {"adapters": [
    {"family": "fcelx_16g", "slot": f"{slot:02x}:00", "serial": f"S{slot}",
     "ports": [f"10:00:00:90:fa:16:{slot:02x}:{port:02x}" for port in range(2)]}
    for slot in (3, 4)] + [
    {"family": "fcelx_8g1p", "slot": "05:00", "serial": "S5", "ports": ["10:00:00:90:fa:81:05:00"]}]}
KINDS = ("INT", "TERM", "HUP", "INT-INT-TERM", "all", "terminal", "stdout", "stderr", "KILL")


def fill(lab):
    for name, versions in VERSIONS.items():
        (lab.repo / name).mkdir()
        for model, version in versions.items():
            lab.package(model, version, "--no-end-message", name=f"{name}/{model}.zip")
        qdmlab("repository", lab.folder, lab.repo / name)


def update(name):
    return ["qdmctl", "update", "--repo", f"/repo/{name}", "--yes", "--allow-older", "--json"]


def await_that(condition, seconds=30.0):
    end = time.monotonic() + seconds
    while not (value := condition()) and time.monotonic() < end:
        time.sleep(0.01)
    assert value, "did not come about in time"
    return value


def runs_in(process):
    """Whether the lab's front program has become qdmctl."""
    with open(f"/proc/{process.pid}/comm", encoding="ascii") as file:
        return file.read() == "qdmctl\n" or process.poll() is not None


def worker_of(lab, process):
    return [one["pid"] for one in lab.show()["processes"]
            if one["command"].startswith("qdmctl") and one["pid"] != process.pid]


def is_idle(lab):
    return not lab.show()["processes"]


def families(lab, stage="running"):
    """True firmware versions by PCI address; those of the 8G carry a second name."""
    return {port["pci"]: one[stage]["firmware"].split(" ")[0]
            for one in lab.show()["adapters"] for port in one["ports"]}


class Run:
    """One update that is disturbed by something at a moment of its life."""

    def __init__(self, lab, name, kind):
        self.lab, self.kind, self.name = lab, kind, name
        self.before, self.calls = families(lab), len(lab.calls())
        self.master, slave = os.openpty()
        words = ["setsid", "--ctty", *update(name)] if kind == "terminal" else update(name)
        streams = {"stdin": slave, "stderr": slave} if kind == "terminal" else {}
        self.process = lab.start(*words, **streams)
        os.close(slave)
        await_that(lambda: runs_in(self.process))

    def disturb(self):
        self.moment = time.time()
        if self.kind == "terminal":
            os.close(self.master)
        elif self.kind in ("stdout", "stderr"):
            getattr(self.process, self.kind).close()
        elif self.kind == "all":  # as "pkill qdmctl" does
            both = [*worker_of(self.lab, self.process), self.process.pid]
            subprocess.run(["kill", *map(str, both)], capture_output=True, check=False)
        else:
            for name in self.kind.split("-"):
                self.process.send_signal(getattr(signal, f"SIG{name}"))
                time.sleep(0.03)

    def finish(self):
        """Waits for the end and returns the answer; None when there is none."""
        output = self.process.stdout.read() if self.kind != "stdout" else ""
        self.process.wait(60)
        await_that(lambda: is_idle(self.lab), 60)
        self.end = time.time()
        for stream in (self.process.stdout, self.process.stderr):
            if stream:
                stream.close()
        if self.kind != "terminal":
            os.close(self.master)
        return json.loads(output) if output else None

    def downloads(self):
        return [call for call in self.lab.calls()[self.calls:] if call["verb"] == "Download"]


def check_in_time(run):
    """The run ends soon after the disturbance, or after the flash of the port that was at work."""
    downloads = run.downloads()
    last = max([run.moment] + [call["time"] + call["duration"] for call in downloads])
    assert run.end - last < LIMIT
    later = {call["arguments"][0] for call in downloads if call["time"] > run.moment + 0.3}
    assert len(later) <= 1, "a flash was begun after the signal"


def component_of(port):
    """Without one the port had not been judged yet."""
    return (components({"ports": [port]}) or [{"outcome": "not-attempted"}])[0]


def check_answer(run, answer, true):
    for port in answer["ports"]:
        component, pci = component_of(port), port["device_id"].split("-")[0]
        expected = {"updated": component.get("offered"), "not-attempted": run.before[pci],
                    "not-needed": run.before[pci]}
        assert component["outcome"] in expected, component
        assert true[pci] == expected[component["outcome"]], (port, true)
        assert port["versions"]["firmware"] == true[pci] or component["outcome"] != "updated"
    done = {component_of(port)["outcome"] for port in answer["ports"]}
    assert done <= {"updated", "not-needed"} and done or \
        "interrupted" in [error["id"] for error in answer["errors"]]


def check(run, answer):
    true = families(run.lab)
    assert [one["flashing"] for one in run.lab.show()["adapters"]] == [[]] * 3
    assert families(run.lab, "flashed") == true
    assert all(call["exit"] == 0 for call in run.downloads())
    if run.kind in ("stdout", "stderr"):
        assert run.process.returncode == 0 and set(true.values()) == set(VERSIONS[run.name].values())
    else:
        check_in_time(run)
    if answer:
        killed = [-signal.SIGKILL] if run.kind == "KILL" else []  # between its answer and its end
        assert run.process.returncode in [answer["exit_code"], *killed]
        check_answer(run, answer, true)
    elif run.kind not in ("stdout", "KILL"):  # before it had begun at all
        assert run.process.returncode < 0 and true == run.before and not run.downloads()


def disturbed_runs(lab, seed):
    chance = random.Random(seed)
    begin = time.monotonic()
    assert lab.run(*update("new")).returncode == 0
    span = time.monotonic() - begin
    for number in range(RUNS_OF_LAB):
        name = ("old", "new")[number % 2]
        run = Run(lab, name, KINDS[(number * LABS + seed) % len(KINDS)])
        moment = span * (number + chance.random()) / RUNS_OF_LAB
        time.sleep(moment)
        run.disturb()
        answer = run.finish()
        try:
            check(run, answer)
            done = lab.run(*update(name))
            assert done.returncode == 0, done.stdout
            assert set(families(lab).values()) == set(VERSIONS[name].values())
        except AssertionError as error:
            raise AssertionError(f"{run.kind} after {moment:.3f} s of {span:.3f}: {answer}") from error
    return span


@pytest.mark.slow
@pytest.mark.timed
def test_any_moment_of_a_run(make_lab):
    labs = [make_lab(server=SERVER) for _ in range(LABS)]
    for lab in labs:
        fill(lab)
        lab.fault("Download", "delay", "150")
    with concurrent.futures.ThreadPoolExecutor(LABS) as pool:
        for outcome in [pool.submit(disturbed_runs, lab, seed) for seed, lab in enumerate(labs)]:
            outcome.result()


def test_signal_answers_the_question(make_lab):
    lab = make_lab(server=SERVER)
    fill(lab)
    master, slave = os.openpty()
    process = lab.start("qdmctl", "update", "--repo", "/repo/new", "--json", stdin=slave)
    while "[y/N]" not in process.stderr.readline():
        pass
    process.send_signal(signal.SIGINT)
    answer = json.loads(process.communicate(timeout=LIMIT)[0])
    os.close(slave)
    os.close(master)
    assert [error["id"] for error in answer["errors"]] == ["interrupted"]
    assert process.returncode == 1 and lab.calls("Download") == []


def test_flash_that_is_asked_for_behind_a_signal_is_neither_begun_nor_told(make_lab):
    lab = make_lab(server=SERVER)
    fill(lab)
    lab.fault("listhbas", "delay", "500")
    process = lab.start(*update("new"))
    await_that(lambda: lab.calls("listhbas"))
    process.send_signal(signal.SIGSTOP)
    time.sleep(1.5)  # the worker waits for the consent
    process.terminate()
    process.send_signal(signal.SIGCONT)
    output, said = process.communicate(timeout=LIMIT)
    assert [error["id"] for error in json.loads(output)["errors"]] == ["interrupted"]
    assert "firm: backup" in said and "flashing" not in said and lab.calls("Download") == []


def test_twenty_updates_at_once(make_lab):
    lab = make_lab(server=SERVER)
    fill(lab)
    lab.fault("Download", "hang")
    runs = [lab.start(*update("new")) for _ in range(20)]
    await_that(lambda: sum(run.poll() is None for run in runs) == 1, 60)
    first, = (run for run in runs if run.poll() is None)
    runs.remove(first)
    await_that(lambda: lab.calls("Download"))
    runs += [lab.start("qdmctl", "list"), lab.start("qdmctl", "check", "--repo", "/repo/new")]
    for run in runs:
        output = "".join(run.communicate())
        assert run.returncode == 7 and "qdmctl update" in output
    assert len(lab.calls("Download")) == 1
    lab.fault("--clear")
    end_tool(lab)
    assert json.loads(first.communicate(timeout=60)[0])["ports"]


def end_tool(lab):
    tool, = (one["pid"] for one in lab.show()["processes"] if "hbacmd Download" in one["command"])
    os.kill(tool, signal.SIGKILL)


def test_hanging_flash_is_told_and_never_ended(make_lab):
    lab = make_lab(server=SERVER)
    fill(lab)
    lab.fault("Download", "hang", "times", "1")
    process = lab.start("script", "-qec", "stty cols 80; " + " ".join(update("new")), "/dev/null",
                        env={"TERM": "xterm"})
    await_that(lambda: lab.calls("Download"))
    both = [one["pid"] for one in lab.show()["processes"] if one["command"].startswith("qdmctl")]
    for number in (signal.SIGINT, signal.SIGTERM):
        subprocess.run(["kill", f"-{int(number)}", *map(str, both)], check=True)
    time.sleep(4.5)
    assert len(lab.calls("Download")) == 1 and lab.calls("Download")[0]["exit"] is None
    end_tool(lab)
    said = process.communicate(timeout=60)[0]
    shown = [line for line in said.splitlines() if "do not power off" in line]
    assert len({line[:79] for line in shown}) >= 4 and "never ended" in said
    assert "0000:03:00.0-10df-e200 00:04 - do not power off" in said
    assert "\n\x1b[K{" in said, "the answer stands in a line of its own"


@pytest.mark.parametrize("front_dies", [False, True])
def test_flash_that_outlives_its_run_keeps_others_out(make_lab, front_dies):
    lab = make_lab(server=SERVER)
    fill(lab)
    lab.fault("Download", "hang", "times", "1")
    process = lab.start(*update("new"))
    await_that(lambda: lab.calls("Download"))
    worker, = worker_of(lab, process)
    process.send_signal(signal.SIGKILL if front_dies else signal.SIGTERM)
    time.sleep(1.5 * front_dies)
    os.kill(worker, signal.SIGKILL)
    output = process.communicate()[0]
    if not front_dies:
        answer = json.loads(output)
        assert components(answer)[0]["reason"] == "begun, and not known to have ended"
        assert "while it changed the server" in answer["errors"][0]["message"]
    for command in (update("new"), ["qdmctl", "list", "--json"]):
        busy = lab.run(*command)
        assert busy.returncode == 7 and "was killed, and what it had begun" in busy.stdout, busy
    end_tool(lab)
    await_that(lambda: is_idle(lab), 10)
    lab.fault("HbaAttributes", "delay", "500", "times", "2")
    reading = lab.start("qdmctl", "list")
    await_that(lambda: lab.calls()[-1]["exit"] is None)
    assert lab.run(*update("new")).returncode == 0, "waits for who reads"
    assert reading.communicate()[0] and reading.returncode == 0


@pytest.mark.parametrize("number, error", [
    (None, "tool-failed"), (signal.SIGKILL, None), (signal.SIGTERM, "interrupted")])
def test_hanging_read_ends_and_leaves_nothing_behind(make_lab, number, error):
    lab = make_lab(server=SERVER)
    lab.fault("HbaAttributes", "hang", "times", "1")
    process = lab.start("qdmctl", "list", "--json", "--read-timeout", "60" if number else "1")
    if number:
        await_that(lambda: lab.calls("HbaAttributes"))
        if error:  # a worker that does not wind up
            os.kill(*worker_of(lab, process), signal.SIGSTOP)
        process.send_signal(number)
    output = process.communicate(timeout=10)[0]
    await_that(lambda: is_idle(lab), 10)
    if error:
        assert [one["id"] for one in json.loads(output)["errors"]] == [error]
    again = lab.qdmctl("list")
    assert again.exit_code == 0 and [port["versions"]["firmware"] for port in again.json["ports"]] \
        == ["11.2.156.20"] * 4 + ["2.02a3"]


def test_reader_that_does_not_read_holds_nobody_up(make_lab):
    lab = make_lab(ports=32)
    process = lab.start("qdmctl", "list", "--json")
    fcntl.fcntl(process.stdout, fcntl.F_SETPIPE_SZ, 4096)
    assert select.select([process.stdout], [], [], LIMIT)[0]  # the answer is on its way
    with pytest.raises(subprocess.TimeoutExpired):
        process.wait(0.5)
    process.terminate()
    assert process.wait(LIMIT) == 0
    process.communicate()
