#include "qdmctl/BootIdentifier.h"
#include "qdmctl/Command.h"
#include "qdmctl/DriverOnDisk.h"
#include "qdmctl/DriverPackage.h"
#include "qdmctl/ModuleKinds.h"
#include "qdmctl/PendingJudgement.h"
#include "qdmctl/Session.h"

#include <algorithm>
#include <string>

namespace qdmctl {
namespace {

/// What to do about an installed driver that a reboot did not bring.
std::string DriverRemedy(Session& session, const std::string& version) {
    const std::string& module = session.ProviderDescriptor().kernelModule;
    const auto onDisk = DriverOnDisk(module);
    if (onDisk == version) {
        return "it lies on disk as installed, so the boot has loaded another copy, most likely "
               "from the initial RAM disk: make that anew (dracut -f or update-initramfs -u) and "
               "reboot";
    }
    const auto packages = InstalledDriverPackages(session);
    const bool installed = std::count(packages.begin(), packages.end(), version) != 0;
    return "modinfo finds " + onDisk.value_or("no version of " + module) + " on disk: " +
           (installed ? PreferenceRemedy(session)
                      : "install the driver again with qdmctl update, then reboot");
}

void TellRefuted(Session& session, const PendingView& view) {
    const PendingUpdate& update = view.update;
    session.AddError(
        ErrorId::NotConfirmed,
        update.kind + ": " + update.version +
            " was installed and the server has been rebooted since, but " +
            (view.operating.empty() ? "it did not operate" : view.operating + " operates"),
        update.kind == "driver" ? DriverRemedy(session, update.version)
                                : "run qdmctl update again");
    session.answer.errors.back().kind = update.kind;
}

void TellNotPreferred(Session& session, const PendingView& view) {
    session.AddError(ErrorId::NotConfirmed,
                     view.update.kind + ": " + view.update.version +
                         " was installed, but the next boot would load " + view.nextBoot,
                     PreferenceRemedy(session));
    session.answer.errors.back().kind = view.update.kind;
}

/// What keeps a port from being read is no concern of this command once another port has told the
/// versions.
void LinkForReading(Session& session) {
    if (!session.OpenPorts() || !session.Link()) {
        return;
    }
    const auto& ports = session.Ports();
    if (std::any_of(ports.begin(), ports.end(),
                    [](const PortSession& port) { return port.usable; })) {
        session.answer.errors.clear();
    }
}

/// The version of the packaged driver that the next boot would load; empty: none, or another.
std::string PackagedOnDisk(Session& session) {
    const auto packages = InstalledDriverPackages(session);
    const auto onDisk =
        packages.empty() ? std::nullopt : DriverOnDisk(session.ProviderDescriptor().kernelModule);
    return onDisk && std::count(packages.begin(), packages.end(), *onDisk) != 0 ? *onDisk : "";
}

/// A run that was killed behind rpm has recorded nothing. That nobody can tell what operates is no
/// fault while nothing is known to wait.
void RecordUnrecorded(Session& session, PendingUpdates& store) {
    LinkForReading(session);
    session.answer.errors.clear();
    PendingUpdate update{DriverKind,       PackagedOnDisk(session),   {},
                         BootIdentifier(), session.ServerDeviceIds(), PendingState::Pending};
    const std::string operating =
        update.version.empty() ? "" : OperatingFromCaches(session, update);
    if (operating.empty() || operating == update.version) {
        return;
    }
    update.previous = operating;
    if (auto error = store.Record(update)) {
        session.answer.errors.push_back(std::move(*error));
    }
}

void Judge(Session& session, PendingUpdates& store) {
    JudgePending(session, store);
    for (const PendingView& view : *session.answer.pending) {
        if (view.update.state == PendingState::Refuted) {
            TellRefuted(session, view);
        } else if (!view.bootedSince && !view.nextBoot.empty()) {
            TellNotPreferred(session, view);
        } else if (view.operating.empty() && session.answer.errors.empty()) {
            session.AddError(ErrorId::ToolFailed,
                             "no port tells which " + view.update.kind + " operates",
                             "nothing is decided; look with qdmctl list what the ports answer, "
                             "then try again");
        }
    }
}

}  // namespace

/// Keeps changing and other reading runs out as every reading command does, so that it may write
/// the store.
Answer RunPending(const Options& options, Console& console) {
    Answer answer;
    Session session(options, console, answer);
    PendingUpdates store(session.Root());
    if (!session.OpenWorkArea()) {
        return answer;
    }
    if (auto error = store.Load()) {
        answer.errors.push_back(std::move(*error));
        return answer;
    }
    answer.pending.emplace();
    if (store.All().empty()) {
        RecordUnrecorded(session, store);
    } else {
        LinkForReading(session);
    }
    if (!store.All().empty()) {
        Judge(session, store);
    }
    return answer;
}

}  // namespace qdmctl
