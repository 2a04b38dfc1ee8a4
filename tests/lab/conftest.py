"""A fresh simulated server for each test, used through what a user has: the commands."""

import json
import os
import pathlib
import shutil
import signal
import subprocess

import jsonschema
import pytest

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
QDMLAB = REPOSITORY / "lab" / "qdmlab"
SERVERS = REPOSITORY / "lab" / "servers"
HBACMD = "/usr/sbin/ocmanager/hbacmd"
TIME_LIMIT = 120  # seconds for one command; reached only by a fault
PATIENCE = int(os.environ.get("QDMLAB_PATIENCE", "1"))  # factor of limits that a slow machine reaches

# A script that runs the tests beside itself has them ignore interrupts, and with them all they start.
signal.signal(signal.SIGINT, signal.default_int_handler)


def pytest_configure(config):
    config.addinivalue_line("markers", "slow: takes minutes")
    config.addinivalue_line("markers", "timed: measures how soon a run ends, alone on the machine")
    config.addinivalue_line("markers", "memory: valgrind takes a minute, without sanitizers")
    config.addinivalue_line("markers", "cost: counts what the product costs, without sanitizers")


def qdmlab(*arguments, check=True):
    """Runs the lab's front program. Returns the finished process, output as text."""
    done = subprocess.run([QDMLAB, *map(str, arguments)], text=True, capture_output=True,
                          timeout=TIME_LIMIT, check=False)
    if check and done.returncode != 0:
        raise AssertionError(f"qdmlab {arguments} ended {done.returncode}:\n{done.stderr}")
    return done


class Answer:
    """What `qdmctl` answered: exit code, the JSON of stdout (None when there is none), stderr. The
    JSON follows its schema."""

    def __init__(self, done):
        self.exit_code = done.returncode
        self.stdout = done.stdout
        self.stderr = done.stderr
        self.json = json.loads(done.stdout) if done.stdout.strip() else None
        if self.json:
            name = self.json["schema"].replace("/", ".")
            schema = REPOSITORY / "qdmctl" / "schemas" / f"{name}.schema.json"
            jsonschema.validate(self.json, json.loads(schema.read_text(encoding="utf-8")))
            assert self.json["exit_code"] == self.exit_code

    def error_ids(self):
        return [error["id"] for error in self.json["errors"]]

    def __repr__(self):
        return f"exit {self.exit_code}\n{self.stdout}\n{self.stderr}"


def components(answer, kind="firm"):
    """What an answer's JSON tells of one kind of module, port by port; None of all kinds."""
    return [component for port in answer["ports"] for component in port.get("components", [])
            if kind in (None, component["kind"])]


class Lab:
    """One server. `repo` is the folder outside that is /repo inside."""

    def __init__(self, folder, *options):
        self.folder = pathlib.Path(folder)
        self.repo = self.folder / "repo"
        qdmlab("new", self.folder, *options)

    def _enter(self, command, options):
        return [str(QDMLAB), "run", str(self.folder), *options, "--", *map(str, command)]

    def run(self, *command, options=(), env=None, stdin=subprocess.DEVNULL):
        """Runs a command inside and waits. `options` are those of `qdmlab run`."""
        return subprocess.run(self._enter(command, options), text=True, capture_output=True,
                              timeout=TIME_LIMIT, check=False, stdin=stdin,
                              env={**os.environ, **(env or {})})

    def start(self, *command, options=(), env=None, **arguments):
        """Starts a command inside, for signals and second runs; the process is its own."""
        pipes = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE}
        return subprocess.Popen(self._enter(command, options), text=True,
                                env={**os.environ, **(env or {})}, **{**pipes, **arguments})

    def qdmctl(self, *arguments, **keywords):
        """`qdmctl ARGUMENTS --json` inside."""
        return Answer(self.run("qdmctl", *arguments, "--json", **keywords))

    def hbacmd(self, *arguments):
        return self.run(HBACMD, *arguments)

    def show(self):
        return json.loads(qdmlab("show", self.folder).stdout)

    def adapter(self, family):
        """The true state of the first adapter of a family."""
        return next(one for one in self.show()["adapters"] if one["family"] == family)

    def calls(self, verb=None):
        """Tool calls so far, in order; all or those of one verb."""
        return [call for call in self.show()["calls"] if verb in (None, call["verb"])]

    def reboot(self):
        qdmlab("reboot", self.folder)

    def fault(self, *words):
        qdmlab("fault", self.folder, *words)

    def package(self, model, version, *options, kind="firm", name=None):
        """Makes an update module in the repository folder and returns its path. Model None, for
        the kinds "driver" and "util": for all of them."""
        path = self.repo / (name or f"{kind}-{model or 'all'}-{version}.zip")
        models = [] if model is None else ["--model", model]
        qdmlab("package", self.folder, "--kind", kind, *models, "--version", version,
               "--out", path, *options)
        return path

    def repository(self):
        """Writes the index of the repository folder and returns its content."""
        return json.loads(qdmlab("repository", self.folder, self.repo).stdout)

    def write_index(self, packages, schema="qdm.repository/1"):
        """Writes an index as given, for what `repository` would never write."""
        text = json.dumps({"schema": schema, "packages": packages})
        (self.repo / "index.json").write_text(text, encoding="utf-8")

    def inside(self, path):
        """Where the server's own file of this absolute path lies outside."""
        return self.folder / "root" / str(path).lstrip("/")


@pytest.fixture
def make_lab(tmp_path):
    """Makes servers of the test's own: make_lab("single"), make_lab(server={...}),
    make_lab(ports=8)."""
    made = []

    def make(name="default", server=None, ports=None):
        options = ["--server", SERVERS / f"{name}.json"]
        if server is not None:
            file = tmp_path / f"server{len(made)}.json"
            file.write_text(json.dumps(server), encoding="utf-8")
            options = ["--server", file]
        if ports is not None:
            options = ["--ports", ports]
        made.append(Lab(tmp_path / f"lab{len(made)}", *options))
        return made[-1]

    yield make
    left = [process for lab in made for process in lab.show()["processes"]]
    for lab in made:
        lab.reboot()
    assert not left, "still running inside after the test"
    for lab in made:  # of a few hundred tests they fill a disk
        shutil.rmtree(lab.folder, ignore_errors=True)


@pytest.fixture
def lab(make_lab):
    """The default server: a 16G adapter with two functions, an 8G single-port, an 8G dual-port."""
    return make_lab()


@pytest.fixture
def tried(record_property):
    """Counts attempts for docs/reliability.md, in the test report that `--junitxml` writes:
    tried("archives", "links that lead out", "refused", 12)."""
    def count(table, what, outcome, number=1):
        record_property("reliability", "|".join((table, what, outcome, str(number))))
    return count
