"""The lab itself: what other tests rely on without looking."""

import json
import signal
import subprocess

import pytest
from conftest import HBACMD, SERVERS, qdmlab

PORT_16G = ("10:00:00:90:fa:16:03:00", "10:00:00:90:fa:16:03:01")
PORT_8G1P = "10:00:00:90:fa:81:04:00"


def image(lab, model="fcelx_16g", version="11.2.156.27", options=(), suffix="grp"):
    """Unpacks one image of a new module and returns its path inside."""
    module = lab.package(model, version, *options)
    folder = f"/root/{module.stem}"
    lab.run("python3", "-m", "zipfile", "-e", f"/repo/{module.name}", folder)
    return f"{folder}/" + next(lab.inside(folder).glob(f"*.{suffix}")).name


def attribute(lab, wwpn, name):
    lines = lab.hbacmd("HbaAttributes", wwpn).stdout.splitlines()
    return next(line.split(":", 1)[1].strip() for line in lines if line.startswith(name))


@pytest.mark.parametrize("numbering, expected", [("short", ["2", "3"]), ("full", ["8", "9"])])
def test_listing_numbers_functions_of_a_second_device(make_lab, numbering, expected):
    server = json.loads((SERVERS / "devices.json").read_text())
    server["tool"]["function_numbering"] = numbering
    lines = make_lab(server=server).hbacmd("listhbas").stdout.splitlines()
    assert [line[17:] for line in lines if line.startswith("PCI Function")][:2] == expected


def test_boot_bios_and_firmware_of_8g_are_apart(lab):
    bios = image(lab, "fcelx_8g1p", "2.02a5", ["--bios-version", "2.02b7"], "prg")
    assert lab.hbacmd("Download", PORT_8G1P, bios).returncode == 0
    assert attribute(lab, PORT_8G1P, "Boot Version") == "2.02b7"
    assert attribute(lab, PORT_8G1P, "FW Version") == "2.02a3 (U3D2.02A3)"
    lab.hbacmd("Download", PORT_8G1P, bios.replace("boot-2.02b7.prg", "2.02a5.all"))
    assert attribute(lab, PORT_8G1P, "FW Version") == "2.02a5 (U3D2.02A5)"


def test_activation_at_reset_or_reboot(make_lab):
    lab = make_lab("devices")
    wwpn = "10:00:00:90:fa:16:0c:00"
    before = attribute(lab, wwpn, "FW Version")
    for version, activate in (("11.2.156.27", lambda: lab.hbacmd("Reset", wwpn)),
                              ("11.2.156.28", lab.reboot)):
        lab.hbacmd("Download", wwpn, image(lab, version=version))
        assert attribute(lab, wwpn, "FW Version") == before
        assert lab.show()["adapters"][1]["flashed"]["firmware"] == version
        activate()
        before = attribute(lab, wwpn, "FW Version")
        assert before == version


@pytest.mark.parametrize("wwpn, spoil, code", [
    (PORT_8G1P, None, 432), ("10:00:00:00:00:00:00:00", None, 38),
    (PORT_16G[0], lambda data: data[:-1], 431),
    (PORT_16G[0], lambda data: data[:-1] + bytes([data[-1] ^ 1]), 431),
    (PORT_16G[0], lambda data: data.replace(b"kind firmware", b"kind bios"), 433),
    (PORT_16G[0], lambda data: data[1:], 430)],
    ids=["model", "wwpn", "short", "flipped bit", "kind", "no image"])
def test_tool_refuses_and_changes_nothing(lab, wwpn, spoil, code):
    file = image(lab)
    if spoil:
        outside = lab.inside(file)
        outside.write_bytes(spoil(outside.read_bytes()))
    before = lab.show()["adapters"]
    done = lab.hbacmd("Download", wwpn, file)
    assert done.returncode == 1 and f"ERROR: <{code}>" in done.stdout
    assert lab.show()["adapters"] == before


def test_call_log_tells_killed_calls_from_ended_ones(lab):
    lab.fault("Download", "hang")
    process = lab.start(HBACMD, "Download", PORT_16G[0], image(lab))
    while "50%" not in process.stdout.readline():
        pass
    assert [one["pid"] for one in lab.show()["processes"]] == [process.pid]
    process.kill()
    process.communicate()
    lab.hbacmd("HbaAttributes", 'a"b\\')
    killed, refused = lab.calls()
    assert (killed["pid"], killed["exit"], killed["duration"]) == (process.pid, None, None)
    assert (refused["arguments"], refused["exit"]) == (['a"b\\'], 1)
    assert lab.adapter("fcelx_16g")["flashing"] == ["firmware"]
    assert lab.adapter("fcelx_16g")["running"]["firmware"] == "11.2.156.20"


def test_faults_take_values_and_strike_their_verb_alone(lab):
    whole = lab.hbacmd("version").stdout
    lab.fault("version", "truncate", "9", "times", "1")
    lab.fault("listhbas", "exit", "9")
    assert (lab.hbacmd("version").stdout, lab.hbacmd("version").stdout) == (whole[:9], whole)
    assert lab.hbacmd("listhbas").returncode == 9


def test_sandbox_hides_the_machine_and_keeps_the_server(lab):
    folders = "/etc /opt /usr/sbin /lib/modules /tmp /var/tmp /run"
    done = lab.run("sh", "-c", f"id -u; for f in {folders}; do echo > $f/mark; done")
    assert (done.stdout, done.stderr, done.returncode) == ("0\n", "", 0)
    for machine in ("/usr/bin/mark", "/mark", "/home/mark", "/sbin/mark"):
        assert lab.run("touch", machine).returncode == 1
    read_boot_id = ("cat", "/proc/sys/kernel/random/boot_id")
    before = lab.run(*read_boot_id).stdout
    assert before == lab.run(*read_boot_id).stdout == lab.show()["boot_id"] + "\n"
    lab.reboot()
    assert lab.run(*read_boot_id).stdout != before
    left = lab.run("sh", "-c", "ls -d /*/mark /*/*/mark").stdout.split()
    assert left == ["/etc/mark", "/lib/modules/mark", "/opt/mark", "/usr/sbin/mark",
                    "/var/tmp/mark"]


def test_command_inside_is_the_process_that_was_started(lab):
    process = lab.start("sh", "-c", "trap 'exit 42' TERM; echo $$; read wait",
                        stdin=subprocess.PIPE)
    assert int(process.stdout.readline()) == process.pid
    process.send_signal(signal.SIGTERM)
    process.communicate("\n")
    assert process.returncode == 42
    assert [lab.run(*command).returncode for command in
            (["sh", "-c", "exit 7"], ["no-such-program"], ["/etc/passwd"])] == [7, 127, 126]
    assert lab.run("id", "-u", options=["--user"]).stdout == "1000\n"


def test_package_and_index_are_reproducible(lab):
    first = lab.package("fcelx_8g2p", "2.02a5", name="one.zip").read_bytes()
    assert lab.package("fcelx_8g2p", "2.02a5", name="two.zip").read_bytes() == first
    entries = lab.repository()["packages"]
    assert [entry.pop("file") for entry in entries] == ["one.zip", "two.zip"]
    assert entries[0] == entries[1] and entries[0]["size"] == len(first)
    assert (entries[0]["models"], entries[0]["version"]) == (["fcelx_8g2p_*"], "2.02a5")


ADAPTER = {"family": "fcelx_16g", "slot": "03:00", "serial": "X1", "ports": [PORT_16G[0]]}


@pytest.mark.parametrize("server, named", [
    ({}, "server.adapters"), ({"adapters": {}}, "adapters"),
    ({"adapters": [], "extra": 1}, "server.extra"),
    ({"adapters": [{**ADAPTER, "slot": "3:0"}]}, "adapters[0].slot"),
    ({"adapters": [{**ADAPTER, "ports": ["10:00"]}]}, "adapters[0].ports[0]"),
    ({"adapters": [{**ADAPTER, "family": []}]}, "adapters[0].family"),
    ({"adapters": [{**ADAPTER, "model": "two\nlines"}]}, "adapters[0].model"),
    ({"adapters": [ADAPTER, {**ADAPTER, "slot": "04:00"}]}, "adapters[1].ports"),
    ({"adapters": [], "tool": {"download_ms": True}}, "tool.download_ms")])
def test_faulty_server_file_is_named_and_makes_nothing(tmp_path, server, named):
    file = tmp_path / "server.json"
    file.write_text(json.dumps(server))
    done = qdmlab("new", tmp_path / "lab", "--server", file, check=False)
    assert done.returncode == 1 and f" {named}: " in done.stderr
    assert not (tmp_path / "lab").exists()


PACKAGE = ["package", "{lab}", "--out", "{lab}/repo/x.zip", "--kind"]


@pytest.mark.parametrize("arguments, status, said", [
    (["new", "{lab}"], 1, "no empty folder"), (["show", "{lab}/repo"], 1, "is no lab"),
    (["run", "{lab}/repo", "--", "true"], 125, "is no lab"), (["run", "{lab}"], 2, "no command"),
    (["new", "{lab}/x", "--build", "/"], 1, "no build folder"),
    (["fault", "{lab}", "listhbas", "delay"], 1, "needs a value"),
    (["fault", "{lab}", "listhbas", "hang", "5"], 1, "takes no value"),
    (["fault", "{lab}", "listhbas", "hang", "times", "x"], 1, "must be a number"),
    (["fault", "{lab}", "listhbas", "hang", "--clear"], 2, "or --clear"),
    ([*PACKAGE, "firm", "--model", "fcelx_16g", "--version", "a/b"], 1, "--version"),
    ([*PACKAGE, "util", "--version", "1.2", "--fail", "pre"], 1, "--fail: not for"),
    ([*PACKAGE, "driver", "--version", "1.2", "--twice", "bios"], 1, "--twice bios: not for"),
    ([*PACKAGE, "firm", "--version", "1.2"], 1, "one model"),
    ([*PACKAGE, "driver", "--version", "1-2"], 1, "rpm package")])
def test_clear_errors(lab, arguments, status, said):
    done = qdmlab(*(text.format(lab=lab.folder) for text in arguments), check=False)
    assert (done.returncode, done.stdout) == (status, "") and said in done.stderr
    assert not list(lab.repo.iterdir())
