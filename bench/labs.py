"""Labs to measure in: simulated servers with the measuring programs inside, under /repo/bench."""

import json
import os
import pathlib
import shutil
import subprocess

REPOSITORY = pathlib.Path(__file__).resolve().parents[1]
QDMLAB = REPOSITORY / "lab" / "qdmlab"
HBACMD = "/usr/sbin/ocmanager/hbacmd"
QDMCTL = "/opt/qdmctl/bin/qdmctl"
PROVIDER = "/opt/velmora/qdm/provider/libqdmp_EMULEX_FC.so"
CACHE = "/opt/velmora/qdm/provider/tmp/EMULEX/cache"
INSIDE = "/repo/bench"
PROGRAMS = ("bench_measure", "bench_plugin_host", "libbench_plugin.so", "bench_least_host")


def run(*command, **options):
    """Output of a program that must succeed."""
    done = subprocess.run([str(word) for word in command], text=True, check=False,
                          stdout=subprocess.PIPE, **options)
    if done.returncode != 0:
        raise SystemExit(f"{' '.join(map(str, command))}: ended with status {done.returncode}")
    return done.stdout


class Lab:
    """A server with this many ports, in a folder that must not exist."""

    def __init__(self, folder, ports, build):
        self.folder = pathlib.Path(folder)
        self.ports = ports
        run(QDMLAB, "new", folder, "--ports", ports, "--build", build)
        tools = self.folder / "repo" / "bench"
        tools.mkdir()
        for name in PROGRAMS:
            shutil.copy(build / "bench" / name, tools)
        shutil.copy(REPOSITORY / "bench" / "admin_list.sh", tools)
        self.wwpns = [line.split(" : ")[1] for line in self.run(HBACMD, "listhbas").splitlines()
                      if line.startswith("Port WWN")]

    def run(self, *command, **options):
        """Runs a command inside. Nothing is preloaded, so that counts are those of a server."""
        return run(QDMLAB, "run", self.folder, "--real-time", "--", *command, **options)

    def delay(self, milliseconds):
        """Every call of the tool takes so much longer."""
        run(QDMLAB, "fault", self.folder, "all", "delay", milliseconds)

    def forget(self):
        """Empties the provider's cache."""
        folder = self.folder / "root" / CACHE.lstrip("/")
        for name in os.listdir(folder) if folder.is_dir() else ():
            os.unlink(folder / name)

    def measure(self, rounds, cases):
        """Runs the cases in turn, all inside; see Measure.cpp for plan and result."""
        plan = json.dumps({"rounds": rounds, "cases": cases})
        return json.loads(self.run(f"{INSIDE}/bench_measure", input=plan))

    def bare_calls(self):
        """The tool calls of a cold inventory, and nothing else."""
        calls = [["listhbas"], *(["HbaAttributes", wwpn] for wwpn in self.wwpns), ["version"]]
        return [{"argv": [HBACMD, *call], "output": f"/tmp/call{index}"}
                for index, call in enumerate(calls)]

    def shell_calls(self):
        """The same, each by a shell line as the provider and its host run them."""
        return [{"argv": ["/bin/sh", "-c", f"{' '.join(call['argv'])} > {call['output']}"]}
                for call in self.bare_calls()]


def one_step(name, *words, drop=""):
    return {"name": name, "drop": drop, "steps": [{"argv": list(words)}]}


def inventory_cases(lab):
    """What every lab without delay is measured with."""
    return [
        {"name": "bare", "steps": lab.bare_calls()},
        {"name": "shells", "steps": lab.shell_calls()},
        one_step("cold", QDMCTL, "list", drop=CACHE),
        one_step("warm", QDMCTL, "list"),
        one_step("script", f"{INSIDE}/admin_list.sh"),
        one_step("floor", f"{INSIDE}/bench_plugin_host", f"{INSIDE}/libbench_plugin.so"),
        one_step("least", f"{INSIDE}/bench_least_host", PROVIDER, "/tmp/"),
        one_step("leastworker", f"{INSIDE}/bench_least_host", PROVIDER, "/tmp/", "--worker"),
    ]


def offers_jobs(lab):
    return "--jobs" in lab.run(QDMCTL, "list", "--help")


def delayed_cases(lab):
    """With a tool that takes its time; more than one job only where the program knows them."""
    cases = [{"name": "bare", "steps": lab.bare_calls()},
             {"name": "shells", "steps": lab.shell_calls()},
             one_step("cold", QDMCTL, "list", drop=CACHE),
             one_step("script", f"{INSIDE}/admin_list.sh")]
    if offers_jobs(lab):
        cases.append(one_step("cold4", QDMCTL, "list", "--jobs", "4", drop=CACHE))
    return cases
