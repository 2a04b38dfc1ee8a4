"""The program as a new user would try it."""

import pytest

COMMANDS = ["list", "info", "check", "update", "pending", "repair", "report", "restore", "doctor"]
OF_SERVER = ("info", "pending", "repair", "doctor")


@pytest.mark.parametrize("command", COMMANDS)
def test_help_names_every_option(lab, command):
    done = lab.run("qdmctl", command, "--help")
    assert (done.returncode, done.stderr) == (0, "")
    for option in ("--repo", "--json", "--trace", "--help", "--version"):
        assert option in done.stdout
    assert ("--device" in done.stdout) == (command not in OF_SERVER)
    assert ("--dry-run" in done.stdout) == (command in ("update", "repair"))
    assert max(map(len, done.stdout.splitlines())) <= 80 and "TEXT" not in done.stdout


def test_version_and_help(lab):
    assert lab.run("qdmctl", "--version").stdout.startswith("qdmctl 0.")
    text = lab.run("qdmctl", "--help").stdout
    assert all(command in text for command in COMMANDS) and "Exit codes" in text


@pytest.mark.parametrize("arguments, named", [
    ([], "a command is missing"), (["lsit"], "lsit"), (["list", "extra"], "extra"), (["check"], "--repo"),
    (["update", "--bogus"], "--bogus"), (["update", "--yes", "--repo"], "--repo"),
    (["list", "--dry-run"], "--dry-run"),
    (["report"], "--output"), (["info"], "DEVICE"), (["info", "03:00.0", "04:00.0"], "one DEVICE"),
    (["list", "--read-timeout", "soon"], "soon"), (["list", "--read-timeout", "0"], "0"),
    (["list", "--jobs", "33"], "1 to 32"), (["update", "--repo", "/repo", "--jobs", "2"], "--jobs"),
    (["update", "--repo", "/repo", "--force", "--yes"], "--device"),
    (["update", "--repo", "/repo"], "--yes")])
def test_wrong_calls_are_told_and_do_nothing(lab, arguments, named):
    answer = lab.qdmctl(*arguments)
    assert (answer.exit_code, answer.error_ids()) == (2, ["usage"])
    error = answer.json["errors"][0]
    assert named in error["message"] + error["hint"] and error["hint"]
    done = lab.run("qdmctl", *arguments)
    assert (done.returncode, done.stdout) == (2, "") and named in done.stderr
    assert lab.calls() == []
