"""What a command in a lab, with all that it starts, has executed and made, as strace tells it."""

import ast
import os
import re

CALLS = ("trace=execve,execveat,open,creat,openat,mkdir,mkdirat,symlink,symlinkat,link,linkat,"
         "mknod,mknodat,rename,renameat,renameat2")
TEXT = r'"(?:[^"\\]|\\.)*"'
EXECUTED = re.compile(rf"execve\({TEXT}, (\[(?:{TEXT}(?:, )?)*\])")
MADE = re.compile(rf"\b(?:open|creat|mkdir|symlink|link|mknod|rename)(?:at2?)?\(.*?({TEXT})[^\"]*$")
FOLDER = re.compile(rf"(?:AT_FDCWD|\d+)<([^>]*)>, {TEXT}[^\"]*$")
ROOT = "/opt/velmora/qdm/provider"

# Shell lines that this product has, whatever it is asked and told.
HBACMD = "/usr/sbin/ocmanager/hbacmd"
WWPN = "(?:[0-9a-f]{2}:){7}[0-9a-f]{2}"
ADDRESS = "[0-9a-f]{4}:[0-9a-f]{2}:[0-9a-f]{2}[.][0-7]"
CACHE = f"{ROOT}/tmp/EMULEX/cache"
LINES = re.compile("|".join([
    f"{HBACMD} listhbas ", f"{HBACMD} version(  > {CACHE}/HbaVersion.txt)?", "rpm -q elxocmjvm",
    rf"rpm -qa [|] grep elxocmjvm-[.]{{10}}rpm;echo [$][?] > {ROOT}/tmp/EMULEX/temp/\w+[.]txt",
    r"""PATH="[$]PATH:/usr/bin:/bin" rpm -q --qf '%[{]VERSION[}]\\n' elx-lpfc""",
    f"{HBACMD} HbaAttributes ({WWPN}) > {CACHE}/HbaAttrib[0-9a-f-]{{23}}[.]txt",
    rf"lspci -nms {ADDRESS} \| cut [^;&$`]* > {ROOT}/tmp/EMULEX/temp/4ids",
    'PATH="[$]PATH:/usr/sbin:/sbin" modinfo -F version lpfc']))
PROGRAMS = {"qdmctl", HBACMD, "lspci", "cut", "sed", "modinfo", "rpm", "/usr/bin/rpm", "date",
            "grep"}

# What a run that refuses all makes, copies of packages included; the last two are others'.
OWN = re.compile(
    rf"{ROOT}/(tmp(/qdmctl(/(packages(/\d+[.]zip)?|report(/.*)?|\w+([.]txt)?))?)?|state(/probe)?"
    r"|tmp/EMULEX(/(cache|temp)(/[\w.-]+)?)?|qdmctl(-read)?[.]lock)"
    "|/dev/null|/var/lib/(rpm|qdmlab)/.*")


def trace(lab, *command, **options):
    """Runs the command inside. Returns the finished process, the argument lists of all programs
    that it has executed or tried to, and the paths of all that it has made."""
    # A traced process cannot look for its leaks.
    env = {"ASAN_OPTIONS": ":".join(filter(None, (os.environ.get("ASAN_OPTIONS"),
                                                  "detect_leaks=0")))}
    done = lab.run("strace", "-f", "-qq", "-y", "--seccomp-bpf", "-s", "70000", "-e", CALLS, "-o",
                   "/tmp/trace", *command, env=env, **options)
    file = lab.inside("/tmp/trace")
    lines = file.read_text(encoding="utf-8", errors="surrogateescape").splitlines()
    file.unlink()
    programs = [ast.literal_eval(found[1]) for line in lines if (found := EXECUTED.search(line))]
    made = [made_by(line) for line in lines
            if ("open" not in line or "O_CREAT" in line) and "= -1 E" not in line]
    return done, programs, [path for path in made if path]


def made_by(line):
    found, folder = MADE.search(line), FOLDER.search(line)
    return found and os.path.normpath(os.path.join(folder[1] if folder else "/",
                                                   ast.literal_eval(found[1])))


def unexpected(programs):
    """Those that the product does not run of itself."""
    return [words for words in programs if words[0] not in PROGRAMS and not (
        words[:2] == ["sh", "-c"] and LINES.fullmatch(words[2]))]
