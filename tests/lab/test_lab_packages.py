"""The lab's driver and utility: what other tests rely on without looking."""

import json
import os
import zipfile

import pytest
from conftest import HBACMD, SERVERS

CONFIGURATION = ["emulexDiscConfig", "emulexRMConfig"]


def unpack(lab, module):
    """Unpacks a new module and returns its 64-bit folder inside, scripts made executable."""
    folder = f"/root/{module.stem}"
    lab.run("python3", "-m", "zipfile", "-e", f"/repo/{module.name}", folder)
    lab.run("sh", "-c", f"chmod 777 {folder}/x64/*")
    return f"{folder}/x64"


def install_driver(lab, version, *options):
    folder = unpack(lab, lab.package(None, version, *options, kind="driver"))
    [name] = [path.name for path in lab.inside(f"{folder}/FC").glob("*.rpm")]
    return lab.run("rpm", "-Uhv", "--oldpackage", f"{folder}/FC/{name}")


def installed(lab):
    names = lab.run("rpm", "-qa").stdout.split()
    return [name for name in names if not name.startswith("lab-shell")]


def loaded_driver(lab):
    wwpn = lab.show()["adapters"][0]["ports"][0]["wwpn"]
    lines = lab.hbacmd("HbaAttributes", wwpn).stdout.splitlines()
    value = next(line for line in lines if line.startswith("Driver Version")).split(":", 1)[1]
    return value.split(";")[0].strip()


def test_driver_needs_an_override_and_is_loaded_by_a_reboot(lab):
    before = "10.2.370.15"
    install_driver(lab, "10.2.370.19")
    lab.run("depmod", "-a")
    assert lab.show()["driver"]["on_disk"] == before, "the kernel's own goes first"
    lab.inside("/etc/depmod.d/elxlpfc.conf").write_text("override lpfc * weak-updates/elx-lpfc\n")
    assert lab.show()["driver"]["on_disk"] == before, "nobody has run depmod"
    for version in ("10.2.370.20", "10.2.370.17"):
        assert install_driver(lab, version).returncode == 0
        assert installed(lab) == [f"elx-lpfc-{version}-1.x86_64"]
        assert lab.run("rpm", "-V", "elx-lpfc").stdout == ""
        assert lab.run("depmod", "-a").returncode == 0
        assert lab.show()["driver"] == {"loaded": before, "on_disk": version}
        assert lab.run("modinfo", "-F", "version", "lpfc").stdout == f"{version}\n"
        lab.reboot()
        assert loaded_driver(lab) == lab.show()["driver"]["loaded"] == version
        before = version


@pytest.mark.parametrize("script, status, after", [
    ("pre", 1, "elx-lpfc-10.2.370.17-1.x86_64"), ("post", 0, "elx-lpfc-10.2.370.19-1.x86_64")])
def test_driver_with_a_failing_script(lab, script, status, after):
    install_driver(lab, "10.2.370.17")
    done = install_driver(lab, "10.2.370.19", "--fail", script)
    assert (done.returncode, f"%{script}" in done.stderr) == (status, True)
    assert installed(lab) == [after]


def install_utility(lab, version, *options):
    """Removes and installs; returns both finished processes."""
    folder = unpack(lab, lab.package(None, version, *options, kind="util"))
    return lab.run(f"{folder}/uninstall.sh"), lab.run(f"{folder}/install.sh", "-q")


def test_utility_is_removed_and_installed(lab):
    folder = unpack(lab, lab.package(None, "10.2.400.1", kind="util"))
    messages = lab.inside(f"{folder}/message.txt").read_text()
    right = [lab.inside(f"/etc/{name}").read_text() for name in CONFIGURATION]
    removed = lab.run(f"{folder}/uninstall.sh")
    assert lab.show()["tool"] == {"installed": False, "version": None}
    assert lab.inside(HBACMD).parent.is_dir()
    assert not any(lab.inside(f"/etc/{name}").exists() for name in CONFIGURATION)
    refused = lab.run(f"{folder}/install.sh")
    assert refused.returncode == 1 and not lab.show()["tool"]["installed"], "nobody has agreed"
    done = lab.run(f"{folder}/install.sh", "-q")
    assert lab.hbacmd("version").stdout.split(":")[1].startswith(" 10.2.400.1 (")
    assert [lab.inside(f"/etc/{name}").read_text() for name in CONFIGURATION] == right
    for process in (removed, done):
        last = process.stdout.splitlines()[-1]
        assert f"SuccessMessage={last}\n" in messages and f"EndMessage={last}\n" in messages
    said = refused.stdout.splitlines()[-1]
    assert not any(line.partition("=")[2] in said for line in messages.splitlines()
                   if line.startswith("SuccessMessage"))


def test_utility_leaves_a_daemon_that_the_next_one_ends(lab):
    folder = unpack(lab, lab.package(None, "10.2.400.1", "--daemon", kind="util"))
    process = lab.start("sh", "-c", f"{folder}/install.sh -q; echo ended")
    assert "ended" in [process.stdout.readline().strip() for _ in range(3)]
    process.wait()
    [daemon] = lab.show()["processes"]
    assert os.readlink(f"/proc/{daemon['pid']}/fd/1") == \
        os.readlink(f"/proc/self/fd/{process.stdout.fileno()}")
    lab.run(f"{folder}/uninstall.sh")
    process.communicate()
    assert lab.show()["processes"] == []


def test_utility_that_fails(lab):
    kept, _ = install_utility(lab, "10.2.400.2", "--fail-uninstall")
    assert (kept.returncode, kept.stdout.split(":")[0]) == (1, "Removal failed")
    _, failed = install_utility(lab, "10.2.400.3", "--fail-install", "1")
    assert (failed.returncode, failed.stdout.split(":")[0]) == (1, "Installation failed")
    assert not lab.show()["tool"]["installed"]
    assert lab.run("/root/util-all-10.2.400.3/x64/install.sh", "-q").returncode == 0
    assert lab.show()["tool"]["version"] == "10.2.400.3"


def test_calls_of_programs_and_scripts_are_recorded(lab):
    install_utility(lab, "10.2.400.1")
    lab.run("rpm", "-q", 'a"b\\')
    lab.run("depmod", "-a")
    calls = [(call["verb"], call["arguments"], call["exit"]) for call in lab.calls()]
    assert calls == [("uninstall.sh", [], 0), ("install.sh", ["-q"], 0),
                     ("rpm", ["-q", 'a"b\\'], 1), ("depmod", ["-a"], 0)]
    assert lab.calls("rpm")[0]["duration"] > 0


def test_server_file_sets_configuration_and_packages(make_lab):
    server = json.loads((SERVERS / "default.json").read_text())
    lines = ["#ManagementHost:false", "", " ServerRemoteOperation\t: enabled"]
    server["utility"] = {"config": {"emulexRMConfig": lines, "emulexDiscConfig": None}}
    server["packages"] = [{"name": "elxocmjvm", "version": "10.2.3705", "release": "rpm1"}]
    lab = make_lab(server=server)
    assert lab.inside("/etc/emulexRMConfig").read_text().splitlines() == lines
    assert not lab.inside("/etc/emulexDiscConfig").exists()
    assert lab.run("sh", "-c", "rpm -qa | grep elxocmjvm-..........rpm").returncode == 0


RPM = "elx-lpfc-10.2.1.1-1.x86_64.rpm"


@pytest.mark.parametrize("kind, options, members", [
    ("driver", [], {"FC/release.txt", f"FC/{RPM}"}),
    ("driver", ["--twice", "rpm"], {"FC/release.txt", f"FC/{RPM}", f"FC/second-{RPM}"}),
    ("util", ["--without", "message", "--without", "uninstall"], {"install.sh"}),
    ("util", ["--without", "x64"], set())])
def test_members_and_models(lab, kind, options, members):
    path = lab.package(None, "10.2.1.1", *options, kind=kind)
    names = [name.removeprefix("x64/") for name in zipfile.ZipFile(path).namelist()
             if name.startswith("x64/") and "/payload/" not in name]
    assert (len(names), set(names)) == (len(members), members)
    assert lab.repository()["packages"][0]["models"] == ["fcelx_16g", "fcelx_8g1p", "fcelx_8g2p_*"]
