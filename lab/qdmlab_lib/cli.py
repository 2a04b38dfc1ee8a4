"""The command line. Commands import what they need, so that `run` starts fast."""

import argparse
import os
import sys

from .errors import LabError
from .layout import Lab, open_lab, read_marker, replace_file

EXIT_FAILED = 1
EXIT_SANDBOX = 125  # `run` and `shell`: nothing was run


def command_new(options):
    import json

    from .install import find_build, install_build
    from .machine import make_machine
    from .rpms import filling_database
    from .server import load_server, server_of_ports

    lab = Lab(options.dir)
    is_empty = os.path.isdir(lab.folder) and not os.listdir(lab.folder)
    if os.path.lexists(lab.folder) and not is_empty:
        raise LabError(f"{options.dir} exists and is no empty folder")
    build = find_build(options.build)
    default = os.path.join(os.path.dirname(os.path.dirname(os.path.realpath(__file__))), "servers",
                           "default.json")
    server = server_of_ports(options.ports) if options.ports is not None \
        else load_server(options.server or default)
    make_machine(lab, server)
    with filling_database(lab, server["packages"]):
        install_build(lab, build)
    # Last, so that a lab that was not finished is none.
    replace_file(lab.marker, json.dumps({"build": build, "server": server}, indent=2) + "\n")
    return 0


def command_run(options):
    from .sandbox import run_inside

    if not options.command:
        options.parser.error("no command; what is wanted is: run DIR [options] -- COMMAND...")
    return run_inside(open_lab(options.dir), options.command, options.real_time, options.user,
                      options.read_only, options.disk)


def command_shell(options):
    from .sandbox import run_inside

    shell = ["/usr/bin/env", "PS1=lab:$PWD# ", "/bin/sh"]
    return run_inside(open_lab(options.dir), shell, options.real_time, options.user,
                      options.read_only, options.disk)


def command_show(options):
    from .show import view

    print_json(view(open_lab(options.dir)))
    return 0


def command_reboot(options):
    from .machine import reboot
    from .processes import end_processes

    lab = open_lab(options.dir)
    end_processes(lab)
    reboot(lab, read_marker(lab)["server"])
    return 0


def command_fault(options):
    from .faults import add_fault, clear_faults

    lab = open_lab(options.dir)
    if options.clear == bool(options.words):
        options.parser.error("what is wanted is: VERB KIND [VALUE] [times N], or --clear")
    if options.clear:
        clear_faults(lab)
    else:
        add_fault(lab, options.words)
    return 0


def command_package(options):
    from .packages import make_package

    print_json(make_package(open_lab(options.dir), options))
    return 0


def command_repository(options):
    from .repository import write_index

    open_lab(options.dir)
    print_json(write_index(options.folder))
    return 0


def print_json(value):
    import json

    print(json.dumps(value, indent=2))


def add_run_options(parser):
    parser.add_argument("--real-time", action="store_true",
                        help="let the host's pauses last as long as on a real server")
    parser.add_argument("--user", action="store_true", help="run as an ordinary user, not as root")
    parser.add_argument("--read-only", action="append", default=[], metavar="PATH",
                        help="a folder inside that nobody can write")
    parser.add_argument("--disk", action="append", default=[], nargs=2, metavar=("PATH", "BYTES"),
                        help="an empty disk of this size in place of a folder inside")


def add_package_options(parser):
    models = ("fcelx_16g", "fcelx_8g1p", "fcelx_8g2p")
    parser.add_argument("--kind", required=True, choices=("firm", "driver", "util"))
    parser.add_argument("--model", action="append", default=[], choices=models,
                        help="model it is for: one for firm, else several or, left out, all")
    parser.add_argument("--version", required=True)
    parser.add_argument("--without", action="append", default=[], metavar="MEMBER",
                        help="leave this out: message, bios, firmware (firm); rpm, x86, x64 "
                        "(driver); uninstall, install, message, x86, x64 (util)")
    parser.add_argument("--twice", action="append", default=[], metavar="MEMBER",
                        help="put this in under a second name as well: bios, firmware, rpm")
    parser.add_argument("--no-end-message", action="store_true",
                        help="a message file that names no end of the tool's output")
    add_firmware_options(parser.add_argument_group("firm"))
    parser.add_argument_group("driver").add_argument(
        "--fail", choices=("pre", "post"), help="this script of the rpm package fails")
    add_utility_options(parser.add_argument_group("util"))
    parser.add_argument("--out", required=True, metavar="FILE.zip")


def add_firmware_options(parser):
    parser.add_argument("--bios-version", help="the firmware's version when left out (8G); "
                        "boot BIOS that the image brings along (16G)")
    parser.add_argument("--with-message", action="store_true",
                        help="a message file also for a model that needs none")


def add_utility_options(parser):
    parser.add_argument("--daemon", action="store_true",
                        help="installing leaves a daemon that keeps its output open")
    parser.add_argument("--fail-install", type=int, default=0, metavar="N",
                        help="installing fails the first N times")
    parser.add_argument("--fail-uninstall", action="store_true", help="removing always fails")


def add_new_options(parser):
    server = parser.add_mutually_exclusive_group()
    server.add_argument("--server", metavar="FILE.json", help="what the server is made of")
    server.add_argument("--ports", type=int, metavar="N", help="a server of 16G adapters, N ports")
    parser.add_argument("--build", metavar="DIR", help="the build to install (else QDMLAB_BUILD, "
                        "else build/release or build/dev of this repository)")


def add_fault_options(parser):
    parser.add_argument("words", nargs="*", metavar="VERB KIND [VALUE] [times N]",
                        help="a fault of the adapter tool, see lab/README.md")
    parser.add_argument("--clear", action="store_true", help="switch all faults off")


def add_repository_options(parser):
    parser.add_argument("folder", metavar="FOLDER")


COMMANDS = {
    "new": ("make a server below DIR and install the build into it", command_new, add_new_options),
    "run": ("run a command inside: run DIR [options] -- COMMAND...", command_run, add_run_options),
    "shell": ("a shell inside", command_shell, add_run_options),
    "show": ("print the server's true state as JSON", command_show, None),
    "reboot": ("end what runs inside and start the server afresh", command_reboot, None),
    "fault": ("switch a fault of the adapter tool on", command_fault, add_fault_options),
    "package": ("make an update module", command_package, add_package_options),
    "repository": ("write the index.json of a folder of update modules", command_repository,
                   add_repository_options),
}


def make_parser():
    parser = argparse.ArgumentParser(prog="qdmlab", description="A simulated server in a sandbox.")
    subparsers = parser.add_subparsers(required=True, metavar="COMMAND")
    for name, (text, function, add_options) in COMMANDS.items():
        subparser = subparsers.add_parser(name, help=text, description=text)
        subparser.add_argument("dir", metavar="DIR", help="the lab's folder")
        if add_options:
            add_options(subparser)
        subparser.set_defaults(function=function, parser=subparser, failure=EXIT_FAILED)
        if function in (command_run, command_shell):
            subparser.set_defaults(failure=EXIT_SANDBOX)
        if function is command_run:
            subparser.usage = ("qdmlab run DIR [--real-time] [--user] [--read-only PATH] "
                               "[--disk PATH BYTES] -- COMMAND...")
    return parser


def main(arguments):
    command = []
    if arguments[:1] == ["run"] and "--" in arguments:
        # What follows belongs to the command inside, however it looks.
        cut = arguments.index("--")
        arguments, command = arguments[:cut], arguments[cut + 1:]
    options = make_parser().parse_args(arguments)
    options.command = command
    try:
        return options.function(options)
    except (LabError, OSError) as error:
        print(f"qdmlab: {error}", file=sys.stderr)
    except KeyboardInterrupt:
        return 130
    return options.failure
