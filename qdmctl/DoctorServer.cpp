#include "host/DllCommon/InstallRoot.h"
#include "qdmctl/Doctor.h"
#include "qdmctl/FileAccess.h"
#include "qdmctl/ProgramAnswer.h"
#include "qdmctl/RepairNote.h"
#include "qdmctl/ResultFiles.h"
#include "qdmctl/WorkAreaCheck.h"

#include <sys/statvfs.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstdint>

namespace qdmctl {
namespace {

/// An update module is copied and unpacked there, and modules of the utility are the largest.
constexpr std::uint64_t wantedBytes = 256U << 20U;
constexpr std::uint64_t leastBytes = 1U << 20U;

struct Program {
    const char* name;
    const char* use;
    const char* package;
};

constexpr Program programs[] = {
    {"rpm", "drivers are installed with it", "rpm"},
    {"depmod", "the kernel learns of an installed driver by it", "kmod"},
    {"modinfo", "it tells the driver on disk", "kmod"},
    {"lspci", "identifiers of dual-port adapters are read with it", "pciutils"},
};

void CheckRoot(Checks& checks, const std::string& root) {
    constexpr char name[] = "install-root";
    if (!GetInstallRoot().refusal.empty()) {
        AddFailure(checks, name, "QDM_INSTALL_PATH is refused: " + GetInstallRoot().refusal,
                   "unset it, or name an absolute path to a folder that belongs to root alone");
    } else if (const auto error = InspectWorkFolders(root)) {
        AddFailure(checks, name, error->message, error->hint);
    } else if (const std::string open = OpenWorkFolder(root); !open.empty()) {
        AddWarning(checks, name,
                   open +
                       " can be entered by other users; an update manager would run scripts "
                       "below it that are writable for all",
                   "chmod 700 " + open + "; qdmctl update does it before it replaces the utility");
    } else {
        AddOk(checks, name, root);
    }
}

void CheckSpace(Checks& checks, const std::string& root) {
    constexpr char name[] = "space";
    const std::string area = root + "/tmp";
    struct statvfs disk {};
    if (::statvfs(area.c_str(), &disk) != 0 && ::statvfs(root.c_str(), &disk) != 0) {
        AddWarning(checks, name, root + ": " + SystemText(errno), "see install-root");
        return;
    }
    const std::uint64_t bytes = static_cast<std::uint64_t>(disk.f_bavail) * disk.f_frsize;
    const std::string finding = std::to_string(bytes >> 20U) + " MiB free below " + area;
    const std::string remedy =
        "free some space there; an update needs what its modules need "
        "unpacked, some hundred MiB at most";
    if (bytes < leastBytes) {
        AddFailure(checks, name, finding, remedy);
    } else if (bytes < wantedBytes) {
        AddWarning(checks, name, finding, remedy);
    } else {
        AddOk(checks, name, finding);
    }
}

void CheckPrograms(Checks& checks) {
    for (const Program& program : programs) {
        const std::string file = FindProgram(program.name);
        if (file.empty()) {
            AddFailure(checks, program.name, std::string("is not found on PATH; ") + program.use,
                       std::string("install the package ") + program.package);
        } else {
            AddOk(checks, program.name, file);
        }
    }
}

void CheckResultFiles(Checks& checks, const std::string& root) {
    constexpr char name[] = "result-files";
    const auto files = FindResultFiles(root);
    for (const ResultFile* file : files) {
        AddWarning(checks, name,
                   PathOf(*file, root) + " is left of an earlier run: as long as it is there, " +
                       file->step + " is skipped",
                   file->droppedByRestore
                       ? "run qdmctl restore"
                       : "remove it, unless an update of converged adapters is under way");
    }
    if (files.empty()) {
        AddOk(checks, name, "none is left");
    }
}

void CheckRepairNote(Checks& checks, const std::string& root) {
    constexpr char name[] = "repair";
    const auto note = ReadRepairNote(root);
    for (const Error& error : note.errors) {
        AddFailure(checks, name, error.message, error.hint);
    }
    if (!note) {
        return;
    }
    if (*note.value) {
        AddFailure(checks, name,
                   "an installation of the utility " + (*note.value)->version +
                       " was begun and is not known to have ended",
                   "run qdmctl repair");
    } else {
        AddOk(checks, name, "nothing is to be repaired");
    }
}

}  // namespace

void AddOk(Checks& checks, const char* name, const std::string& finding) {
    checks.push_back({name, CheckState::Ok, finding, {}});
}

void AddWarning(Checks& checks, const char* name, const std::string& finding,
                const std::string& remedy) {
    checks.push_back({name, CheckState::Warning, finding, remedy});
}

void AddFailure(Checks& checks, const char* name, const std::string& finding,
                const std::string& remedy) {
    checks.push_back({name, CheckState::Failure, finding, remedy});
}

void CheckServer(Checks& checks, const std::string& root) {
    if (::geteuid() == 0) {
        AddOk(checks, "rights", "root");
    } else {
        AddFailure(checks, "rights", "not root: only some things could be looked at",
                   "run it again as root, for example with sudo");
    }
    CheckRoot(checks, root);
    CheckSpace(checks, root);
    CheckPrograms(checks);
}

void CheckState(Checks& checks, const std::string& root) {
    const auto error = CheckStateWritable(root);
    if (error) {
        constexpr char name[] = "install-root";
        checks.erase(std::remove_if(checks.begin(), checks.end(),
                                    [&](const Check& check) { return check.name == name; }),
                     checks.end());
        AddFailure(checks, name, error->message, error->hint);
    }
}

void CheckLeftovers(Checks& checks, const std::string& root) {
    CheckResultFiles(checks, root);
    CheckRepairNote(checks, root);
}

}  // namespace qdmctl
