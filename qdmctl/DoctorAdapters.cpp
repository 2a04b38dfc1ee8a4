#include "host/CModuleManager.h"
#include "host/CStringUtil.h"
#include "host/CVendor.h"
#include "qdmctl/BootIdentifier.h"
#include "qdmctl/ConfigRefusal.h"
#include "qdmctl/Doctor.h"
#include "qdmctl/DriverOnDisk.h"
#include "qdmctl/DriverPackage.h"
#include "qdmctl/ModuleKinds.h"
#include "qdmctl/PendingJudgement.h"
#include "qdmctl/ProgramAnswer.h"
#include "qdmctl/RepairNote.h"
#include "qdmctl/Session.h"

#include <algorithm>
#include <sstream>

namespace qdmctl {
namespace {

constexpr std::chrono::seconds queryLimit{30};

/// Makes checks of what the session has found wrong since there were `told` errors; none: all is
/// well.
void TellErrors(Checks& checks, const char* name, const Session& session, std::size_t told,
                const std::string& well) {
    const std::size_t before = checks.size();
    for (std::size_t i = told; i < session.answer.errors.size(); ++i) {
        const Error& error = session.answer.errors[i];
        if (error.id != ErrorId::Interrupted) {
            AddFailure(checks, error.id == ErrorId::NoAdapter ? "adapters" : name,
                       (error.deviceId.empty() ? "" : error.deviceId + ": ") + error.message,
                       error.hint);
        }
    }
    if (checks.size() == before || checks.back().name != name) {
        AddOk(checks, name, well);
    }
}

/// What a shell tells of a file that it cannot execute, and of one that is not there.
constexpr int notExecutable = 126;
constexpr int notFound = 127;

/// `advice`: where an update has begun to install it, what finishes that.
void TellSilentTool(Checks& checks, const char* name, const std::string& tool,
                    const ProgramAnswer& answer, const std::string& advice) {
    const auto tell = [&](const std::string& finding, const std::string& remedy) {
        AddFailure(checks, name, tool + finding, advice.empty() ? remedy : advice);
    };
    if (answer.ended && answer.status == notFound) {
        tell(" is not installed", "install the adapter maker's management utility");
    } else if (answer.ended && answer.status == notExecutable) {
        tell(" cannot be executed",
             "make it executable (chmod 755 " + tool + ") or install the utility again");
    } else {
        tell(" does not answer: " +
                 (answer.ended ? "exit status " + std::to_string(answer.status) : answer.reason),
             "run \"" + tool +
                 " version\" by hand and see what it answers; reload the adapters' driver "
                 "or restart the management utility");
    }
}

/// Without a descriptor nothing is known of the tool.
bool CheckTool(Checks& checks, Session& session) {
    constexpr char name[] = "adapter-tool";
    const std::string& tool = session.ProviderDescriptor().utility.tool;
    if (tool.empty()) {
        return false;
    }
    ProgramAnswer answer;
    session.Reading(session.ReadingStep("asking the adapter tool", nullptr), [&] {
        answer =
            AskProgram(tool + " version", std::chrono::seconds(session.options.readTimeoutSeconds));
    });
    if (!answer.ended || answer.status != 0 || answer.output.empty()) {
        TellSilentTool(checks, name, tool, answer, RepairAdvice(session.Root()));
        return false;
    }
    AddOk(checks, name, tool + " answers");
    return true;
}

/// By name: the provider's own look knows only some forms of the version.
void CheckUtilityPackage(Checks& checks, const std::string& package) {
    constexpr char name[] = "utility-package";
    if (package.empty()) {
        return;
    }
    const ProgramAnswer answer = AskProgram("rpm -q " + package, queryLimit);
    if (FindProgram("rpm").empty() || !answer.ended) {
        AddWarning(checks, name, "cannot be looked for without rpm", "see rpm");
    } else if (answer.status == 0) {
        AddFailure(checks, name,
                   answer.output.substr(0, answer.output.find('\n')) +
                       " is installed; an update of the utility may be refused beside it",
                   "remove it: rpm -e " + package);
    } else {
        AddOk(checks, name, "no package " + package + " is installed");
    }
}

void CheckColumns(Checks& checks, Session& session) {
    constexpr char name[] = "lspci-form";
    bool found = false;
    for (const PortSession& port : session.Ports()) {
        if (!port.found.model->keyHasPciIds || FindProgram("lspci").empty()) {
            continue;
        }
        const std::string address = port.found.id.address.Text();
        const ProgramAnswer answer = AskProgram(
            "lspci -nms " + address, std::chrono::seconds(session.options.readTimeoutSeconds));
        const std::string line = answer.output.substr(0, answer.output.find('\n'));
        if (!HasKnownColumns(line, port.found)) {
            AddWarning(checks, name, "the provider reads other columns than lspci prints: " + line,
                       "qdmctl takes the identifiers from the kernel; for an update manager, "
                       "install pciutils of the release that it was made for");
            found = true;
        }
    }
    if (!found) {
        AddOk(checks, name, "as the provider expects, or not needed by these adapters");
    }
}

PortSession* AnyUsable(Session& session) {
    const auto found = std::find_if(session.Ports().begin(), session.Ports().end(),
                                    [](const PortSession& port) { return port.usable; });
    return found == session.Ports().end() ? nullptr : &*found;
}

void CheckConfiguration(Checks& checks, Session& session, PortSession& port) {
    constexpr char name[] = "utility-config";
    const auto refusal = AskVendorsCondition(session, port, UtilityKind);
    if (!refusal) {
        AddOk(checks, name, "as updates of the utility require it");
    } else {
        const std::string advice = RepairAdvice(session.Root());
        AddFailure(checks, name, refusal->message, advice.empty() ? refusal->hint : advice);
    }
}

bool IsSameDriver(PortSession& port, const std::string& one, const std::string& other) {
    CModuleManager* module = ModuleOfKind(*port.vendor, DriverKind);
    return one == other || (module != nullptr && VersionRules{*module}.AreEqual(one, other));
}

/// An installed package that is not the driver on disk: depmod prefers another one, or has not
/// been run.
std::string NotPreferred(Session& session, PortSession& port, const std::string& onDisk) {
    const auto packages = InstalledDriverPackages(session);
    const bool preferred = std::any_of(packages.begin(), packages.end(), [&](const auto& version) {
        return IsSameDriver(port, version, onDisk);
    });
    return packages.empty() || preferred ? std::string() : packages.back();
}

void CheckDriver(Checks& checks, Session& session, PortSession& port) {
    constexpr char name[] = "driver";
    const std::string& module = session.ProviderDescriptor().kernelModule;
    const std::string& loaded = port.view.versions.driver;
    const auto onDisk = DriverOnDisk(module);
    const std::string package = NotPreferred(session, port, onDisk.value_or(""));
    if (!package.empty()) {
        AddWarning(checks, name,
                   "the package " + session.ProviderDescriptor().driver.package + " " + package +
                       " is installed, but the next boot would load " +
                       onDisk.value_or("no driver that modinfo finds"),
                   PreferenceRemedy(session));
    } else if (!onDisk) {
        AddWarning(checks, name, "modinfo finds no version of " + module + " on disk",
                   "see that the driver is installed for the kernel that runs");
    } else if (IsUnreadable(loaded)) {
        AddWarning(checks, name,
                   module + " " + *onDisk + " is on disk; what is loaded cannot be read",
                   "run qdmctl list and see what it tells");
    } else if (IsSameDriver(port, loaded, *onDisk)) {
        AddOk(checks, name, module + " " + loaded + " is loaded and on disk");
    } else {
        AddWarning(checks, name, module + " " + loaded + " is loaded, " + *onDisk + " is on disk",
                   "reboot, so that the one on disk is loaded");
    }
}

void CheckPending(Checks& checks, Session& session) {
    constexpr char name[] = "pending";
    PendingUpdates store(session.Root());
    if (const auto error = store.Load()) {
        AddFailure(checks, name, error->message, error->hint);
        return;
    }
    for (const PendingView& view : LookAtPending(session, store)) {
        const std::string what = view.update.kind + " " + view.update.version;
        if (view.update.state == PendingState::Refuted) {
            AddFailure(checks, name, what + " was installed, but a reboot has not brought it",
                       "qdmctl pending tells what to do");
        } else if (view.update.state == PendingState::Confirmed) {
            AddOk(checks, name, what + " operates");
        } else if (!view.bootedSince && !view.nextBoot.empty()) {
            AddWarning(checks, name,
                       what + " was installed, but the next boot would load " + view.nextBoot,
                       PreferenceRemedy(session));
        } else {
            AddWarning(checks, name, what + " is installed and does not operate yet",
                       view.bootedSince ? "see adapters and adapter-tool" : "reboot the server");
        }
    }
    if (store.All().empty()) {
        AddOk(checks, name, "no update waits for a reboot");
    }
}

void CheckPorts(Checks& checks, Session& session) {
    const std::size_t told = session.answer.errors.size();
    const bool linked = session.Link();
    if (linked) {
        session.ReadVersions(session.AllPorts());
    }
    TellErrors(checks, "adapters", session, told,
               std::to_string(session.Ports().size()) + " ports, all read");
    PortSession* port = linked ? AnyUsable(session) : nullptr;
    if (port != nullptr) {
        CheckConfiguration(checks, session, *port);
        CheckDriver(checks, session, *port);
    }
}

}  // namespace

bool HasKnownColumns(const std::string& line, const DiscoveredPort& port) {
    std::istringstream text(line);
    std::vector<std::string> columns;
    for (std::string column; std::getline(text, column, ' ');) {
        column.erase(std::remove(column.begin(), column.end(), '"'), column.end());
        columns.push_back(CStringUtil::StringToLowerCase(column));
    }
    constexpr std::size_t least = 7;
    return columns.size() >= least && columns[2] == port.id.vendor &&
           columns[3] == port.id.device && columns[5] == port.subsystemVendor &&
           columns[6] == port.subsystemDevice;
}

void CheckAdapters(Checks& checks, Session& session) {
    const bool opened = session.OpenPorts();
    TellErrors(checks, "provider", session, 0,
               session.ProviderDescriptor().library + " and its descriptor");
    CheckUtilityPackage(checks, session.ProviderDescriptor().utility.forbiddenPackage);
    const bool answers = CheckTool(checks, session);
    if (opened) {
        CheckColumns(checks, session);
    }
    if (opened && answers && !session.Stopped()) {
        CheckPorts(checks, session);
    }
    CheckPending(checks, session);
}

}  // namespace qdmctl
