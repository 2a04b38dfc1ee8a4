"""docs/operations.md: every command of it, in order, on one server; each must be known here."""

import os
import re
import shutil
import subprocess

from conftest import REPOSITORY
from test_all_kinds import NEW, offer

DOCUMENT = (REPOSITORY / "docs/operations.md").read_text(encoding="utf-8")
# A line that is indented or closes a parenthesis goes on with the command before it.
COMMANDS = [command for block in re.findall(r"^```sh\n(.*?)^```$", DOCUMENT, re.M | re.S)
            for command in re.split(r"\n(?![\s)])", block.rstrip("\n"))]
UPDATE, SETTING = "qdmctl update --repo /root/", "TcpSocketPortNumber:23333"


def provide(lab, folder, versions, **options):
    offer(lab, versions, **options)
    shutil.copytree(lab.repo, lab.inside(f"/root/{folder}"), dirs_exist_ok=True)


def misconfigure(lab):
    provide(lab, "packages", {"util": "10.2.400.2"})
    file = lab.inside("/etc/emulexDiscConfig")
    file.write_text(file.read_text().replace(SETTING, "TcpSocketPortNumber:1"))


def lose_utility(lab):
    provide(lab, "packages", {"util": "10.2.400.2"}, util=["--fail-install", "2"])
    assert lab.run(*f"{UPDATE}packages --yes".split()).returncode == 1


# The beginning of a command, what it says, and what happens before it. All but one end with 0.
KNOWN = [
    ("tar -C /", ""), ("qdmctl doctor", " 0 failure"), ("qdmctl list", "11.2.156.20"),
    ("qdmctl info", "10000090FA160300"),
    ("(\n    cd /root/packages", "", lambda lab: provide(lab, "packages", NEW)),
    ("qdmctl check", "15 not-attempted"), (f"{UPDATE}packages --dry-run", "15 not-attempted"),
    (f"{UPDATE}packages --device 04:00.0 --dry-run", "3 not-attempted"),
    (f"{UPDATE}packages --yes", "10 updated, 5 pending"),
    (f"{UPDATE}older --allow-older --device 04:00.0", "1 updated",
     lambda lab: provide(lab, "older", {"firm": {"fcelx_8g1p": "2.02a3"}})),
    ("qdmctl pending", "next reboot"), ("qdmctl pending", "confirmed", lambda lab: lab.reboot()),
    ("qdmctl list", "10.2.400.7"), ("qdmctl check", f'"{SETTING}" is needed', misconfigure),
    ("grep -n", "TcpSocketPortNumber:1\n"), ("sed -i", ""), ("qdmctl check", "5 not-attempted"),
    ("qdmctl repair --dry-run", "install.sh -q", lose_utility), ("qdmctl repair --yes", "updated"),
    ("qdmctl list", "10.2.400.2"), ("qdmctl doctor", " 0 warning"), ("qdmctl restore", ""),
    ("qdmctl list", "2.02a3"), ("qdmctl list --trace", "10.2.400.2"), ("grep -E", "INFO"),
    ("qdmctl report", "report written"), ("xmllint", "validates"),
    ("qdmctl pending", "nothing is pending"), ("rm -r", "")]


def test_every_command_of_the_guide(lab, tmp_path):
    build = os.environ.get("QDMLAB_BUILD", REPOSITORY / "build/dev")
    packing = [command for command in COMMANDS if "stage" in command]
    lab.run("rm", "-r", "/opt/velmora", "/opt/qdmctl", "/usr/local/sbin/qdmctl")
    for command in packing:
        subprocess.run(command.replace("build/release", str(build)), shell=True, check=True,
                       cwd=tmp_path, capture_output=True)
    shutil.move(tmp_path / "qdm.tar.gz", lab.inside("/root"))
    for command, (beginning, said, *before) in zip(COMMANDS[len(packing):], KNOWN, strict=True):
        assert command.startswith(beginning), f"not known here: {command}"
        for act in before:
            act(lab)
        done = lab.run("sh", "-c", f"cd /root; {command}")
        assert done.returncode == (1 if "is needed" in said else 0), (command, done)
        assert said in done.stdout + done.stderr, (command, done)
    assert not lab.inside("/opt/qdmctl").exists()
