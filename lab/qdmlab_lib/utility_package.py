"""Update modules with the adapter tool itself, installed by scripts of their own."""

import os

from .errors import LabError

SCRIPTS = os.path.join(os.path.dirname(os.path.dirname(os.path.realpath(__file__))), "scripts")
FOLDERS = ("x86", "x64")

# Files in /etc, as an installation leaves them: for a tool that works on this server alone.
CONFIGURATION = {
    "emulexDiscConfig": ["# Discovery, written by the installation.", "",
                         "ClientRemoteOperation:disabled", "ClientOperationMode:enabled",
                         "ClientReadOnlyOperation:disabled", "TcpSocketPortNumber:23333"],
    "emulexRMConfig": ["# Access, written by the installation.", "",
                       "ServerRemoteOperation:enabled", "ManagementHost:false",
                       "SecureManagement:disabled", "MngmtHostIpAddress:0",
                       "ExclusiveHostMgmnt:false"],
}

# What the scripts print at their ends.
SUCCESS = ["SuccessMessage=Removal complete", "SuccessMessage=Installation complete"]
END = ["EndMessage=Removal complete", "EndMessage=Installation complete",
       "EndMessage=Removal failed", "EndMessage=Installation failed"]


def text_file(lines):
    return "".join(f"{line}\n" for line in lines).encode()


def read_file(path):
    try:
        with open(path, "rb") as file:
            return file.read()
    except OSError as error:
        raise LabError(f"cannot read {path}: {error.strerror}") from error


def settings(options):
    """How the scripts behave, in lines of the shell."""
    flags = {name: "yes" if getattr(options, name) else "no"
             for name in ("daemon", "fail_uninstall")}
    facts = {"version": options.version, "fail_install": options.fail_install, **flags}
    return [f"{name}={value}" for name, value in facts.items()]


def payload(options, tool):
    yield "hbacmd", read_file(tool)
    yield "settings", text_file(settings(options))
    for name, lines in CONFIGURATION.items():
        yield name, text_file(lines)


def utility_members(options, tool):
    """The module's files; `tool` is the adapter tool that its installation brings."""
    for folder in FOLDERS:
        if folder in options.without:
            continue
        for script in ("uninstall", "install"):
            if script not in options.without:
                yield f"{folder}/{script}.sh", read_file(os.path.join(SCRIPTS, f"{script}.sh"))
        if "message" not in options.without:
            lines = SUCCESS + ([] if options.no_end_message else END)
            yield f"{folder}/message.txt", text_file(lines)
        for name, content in payload(options, tool):
            yield f"{folder}/payload/{name}", content
