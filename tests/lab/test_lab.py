"""The lab itself: what other tests rely on without looking."""

import json
import signal
import subprocess

import pytest
from conftest import QDMLAB, SERVERS, qdmlab

PORT_16G = ("10:00:00:90:fa:16:03:00", "10:00:00:90:fa:16:03:01")
PORT_8G1P = "10:00:00:90:fa:81:04:00"


def image(lab, model="fcelx_16g", version="11.2.156.27", options=(), suffix="grp"):
    """Unpacks one image of a new module and returns its path inside."""
    module = lab.package(model, version, *options)
    lab.run("python3", "-m", "zipfile", "-e", f"/repo/{module.name}", "/root/images")
    return "/root/images/" + next(lab.inside("/root/images").glob(f"*.{suffix}")).name


def attribute(lab, wwpn, name):
    lines = lab.hbacmd("HbaAttributes", wwpn).stdout.splitlines()
    return next(line.split(":", 1)[1].strip() for line in lines if line.startswith(name))


def test_listing_holds_every_port_in_fixed_columns(lab):
    blocks = lab.hbacmd("listhbas").stdout.split("\n\n")[1:]
    ports = [port for adapter in lab.show()["adapters"] for port in adapter["ports"]]
    assert len(blocks) == len(ports) == 5
    for block, port in zip(blocks, ports):
        lines = block.splitlines()
        bus, function = port["pci"].split(":")[1], port["pci"][-1]
        assert f"Port WWN       : {port['wwpn']}" in lines
        assert f"PCI Bus Number : {int(bus, 16)}" in lines
        assert f"PCI Function   : {int(function)}" in lines
        # Readers count the lines that hold a key: none may hold two.
        for key in ("Port WWN", "Port Number", "PCI Bus Number", "PCI Function", "Serial No."):
            assert block.count(key) == 1


@pytest.mark.parametrize("numbering, expected", [("short", ["2", "3"]), ("full", ["8", "9"])])
def test_listing_numbers_functions_of_a_second_device(make_lab, numbering, expected):
    server = json.loads((SERVERS / "devices.json").read_text())
    server["tool"]["function_numbering"] = numbering
    lines = make_lab(server=server).hbacmd("listhbas").stdout.splitlines()
    assert [line[17:] for line in lines if line.startswith("PCI Function")][:2] == expected


def test_lspci_shows_the_adapters_and_the_shifted_columns(lab, make_lab):
    line = lab.run("lspci", "-nms", "0000:05:00.1").stdout
    assert line == '05:00.1 "0c04" "10df" "f100" -p00 "10df" "f100"\n'
    shifted = make_lab("revision03").run("lspci", "-nms", "05:00.1").stdout
    assert shifted == '05:00.1 "0c04" "10df" "f100" -r03 -p00 "10df" "f100"\n'


def test_download_changes_every_port_of_the_adapter_alone(lab):
    before = lab.show()["adapters"]
    done = lab.hbacmd("Download", PORT_16G[1], image(lab))
    assert done.returncode == 0 and done.stdout.endswith("Download Complete\n")
    assert {attribute(lab, wwpn, "FW Version") for wwpn in PORT_16G} == {"11.2.156.27"}
    after = lab.show()["adapters"]
    assert after[0]["flashed"]["firmware"] == after[0]["running"]["firmware"] == "11.2.156.27"
    assert after[1:] == before[1:]


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
    file = image(lab)
    for version, activate in (("11.2.156.27", lambda: lab.hbacmd("Reset", wwpn)),
                              ("11.2.156.28", lab.reboot)):
        file = image(lab, version=version)
        old = attribute(lab, wwpn, "FW Version")
        lab.hbacmd("Download", wwpn, file.replace("11.2.156.27", version))
        assert attribute(lab, wwpn, "FW Version") == old
        assert lab.show()["adapters"][1]["flashed"]["firmware"] == version
        activate()
        assert attribute(lab, wwpn, "FW Version") == version


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
    process = lab.start("/usr/sbin/ocmanager/hbacmd", "Download", PORT_16G[0], image(lab))
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


# Kind, then what is expected of a listing: exit status, and whether it is whole and begins rightly.
@pytest.mark.parametrize("fault, status, whole, sound", [
    (["delay", "1"], 0, True, True), (["error"], 1, False, False), (["error64"], 1, False, False),
    (["truncate"], 0, False, True), (["truncate", "25"], 0, False, True),
    (["empty"], 0, False, False), (["garbage"], 0, False, False), (["exit", "9"], 9, True, True),
    (["crash"], -signal.SIGSEGV, False, True), (["effect-then-fail"], 1, False, False)],
    ids=lambda value: "-".join(value) if isinstance(value, list) else "")
def test_fault_strikes_once_and_only_its_verb(lab, fault, status, whole, sound):
    def read(verb):
        done = subprocess.run([QDMLAB, "run", lab.folder, "--", "/usr/sbin/ocmanager/hbacmd", verb],
                              capture_output=True, check=False)
        return done.returncode, done.stdout

    good = read("listhbas")
    lab.fault("listhbas", *fault, "times", "1")
    assert read("version")[0] == 0
    code, output = read("listhbas")
    assert (code, output == good[1], output.startswith(good[1][:18])) == (status, whole, sound)
    assert (b"<64>" in output) == (fault == ["error64"])
    assert read("listhbas") == good


@pytest.mark.parametrize("fault, status, told, changed", [
    ("no-effect", 0, True, False), ("effect-then-fail", 1, False, True),
    ("empty", 0, False, True), ("error", 1, False, False)])
def test_download_faults_part_what_is_told_from_what_is_done(lab, fault, status, told, changed):
    lab.fault("Download", fault)
    done = lab.hbacmd("Download", PORT_16G[0], image(lab))
    assert (done.returncode, "Download Complete" in done.stdout) == (status, told)
    assert (lab.adapter("fcelx_16g")["running"]["firmware"] == "11.2.156.27") == changed


def test_endless_output_ends_with_its_reader(lab):
    lab.fault("version", "endless")
    done = lab.run("sh", "-c", "/usr/sbin/ocmanager/hbacmd version | head -c 200000 | wc -c")
    assert done.stdout.strip() == "200000"


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


@pytest.mark.parametrize("options, members", [
    ([], {"message.txt", "prg", "all"}), (["--without", "message"], {"prg", "all"}),
    (["--without", "bios"], {"message.txt", "all"}),
    (["--twice", "bios"], {"message.txt", "prg", "prg2", "all"}),
    (["--without", "firmware", "--without", "message"], {"prg"})])
def test_package_members(lab, options, members):
    made = json.loads(qdmlab("package", lab.folder, "--kind", "firm", "--model", "fcelx_8g1p",
                             "--version", "2.02a5", "--out", lab.repo / "x.zip", *options).stdout)
    kinds = {name if name == "message.txt" else
             name.rsplit(".", 1)[1] + ("2" if name.startswith("second-") else "")
             for name in made["members"]}
    assert kinds == members


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


@pytest.mark.parametrize("arguments, status, said", [
    (["new", "{lab}"], 1, "no empty folder"), (["show", "{lab}/repo"], 1, "is no lab"),
    (["run", "{lab}/repo", "--", "true"], 125, "is no lab"), (["run", "{lab}"], 2, "no command"),
    (["new", "{lab}/x", "--build", "/"], 1, "no build folder"),
    (["fault", "{lab}", "listhbas", "delay"], 1, "needs a value"),
    (["fault", "{lab}", "listhbas", "hang", "5"], 1, "takes no value"),
    (["fault", "{lab}", "listhbas", "hang", "times", "x"], 1, "must be a number"),
    (["fault", "{lab}", "listhbas", "hang", "--clear"], 2, "or --clear"),
    (["package", "{lab}", "--kind", "firm", "--model", "fcelx_16g", "--version", "a/b", "--out",
      "{lab}/repo/x.zip"], 1, "--version")])
def test_clear_errors(lab, arguments, status, said):
    done = qdmlab(*(text.format(lab=lab.folder) for text in arguments), check=False)
    assert (done.returncode, done.stdout) == (status, "") and said in done.stderr


@pytest.mark.parametrize("ports", [1, 3, 256])
def test_servers_of_any_size(make_lab, ports):
    lab = make_lab(ports=ports)
    listing = lab.hbacmd("listhbas").stdout
    assert listing.count("Port WWN") == ports
    assert len(lab.run("lspci", "-n").stdout.splitlines()) == ports
