#include "qdmctl/PendingJudgement.h"

#include "host/CModuleManager.h"
#include "host/CVendor.h"
#include "qdmctl/BootIdentifier.h"
#include "qdmctl/DriverOnDisk.h"
#include "qdmctl/ModuleKinds.h"
#include "qdmctl/Session.h"

#include <algorithm>
#include <utility>

namespace qdmctl {
namespace {

/// A reading that fails in time is repeated once.
constexpr int Attempts = 2;

/// The usable ports, those of the update first: what concerns the whole server any port can tell.
std::vector<PortSession*> PortsFor(Session& session, const PendingUpdate& update) {
    std::vector<PortSession*> ports;
    for (PortSession& port : session.Ports()) {
        if (port.usable && ModuleOfKind(*port.vendor, update.kind) != nullptr) {
            ports.push_back(&port);
        }
    }
    std::stable_partition(ports.begin(), ports.end(), [&](const PortSession* port) {
        return std::count(update.deviceIds.begin(), update.deviceIds.end(), port->view.deviceId) !=
               0;
    });
    return ports;
}

enum class Source { Adapter, Caches };

std::string Ask(CModuleManager& module, Source source) {
    if (source == Source::Adapter) {
        module.UpdateRestore({});
    }
    return module.GetOperatingVersion();
}

/// Empty when it cannot be read. A tool that hangs is not asked again through other ports.
std::string Operating(Session& session, PortSession& port, CModuleManager& module, Source source,
                      bool& inTime) {
    std::string version;
    for (int attempt = 0; attempt < Attempts && inTime && IsUnreadable(version); ++attempt) {
        inTime = session.Reading(session.ReadingStep("reading versions", &port),
                                 [&] { version = Ask(module, source); });
    }
    return IsUnreadable(version) ? std::string() : version;
}

/// The driver that the next boot would load in place of this one; empty: nothing tells so.
std::string OtherOnDisk(Session& session, const PendingUpdate& update) {
    std::optional<std::string> onDisk;
    session.Reading(session.ReadingStep("looking for the driver on disk", nullptr),
                    [&] { onDisk = DriverOnDisk(session.ProviderDescriptor().kernelModule); });
    const auto ports = PortsFor(session, update);
    const bool same = !onDisk || *onDisk == update.version ||
                      (!ports.empty() &&
                       VersionRules{*ModuleOfKind(*ports.front()->vendor, update.kind)}.AreEqual(
                           *onDisk, update.version));
    return same ? std::string() : *onDisk;
}

PendingView Judge(Session& session, const PendingUpdate& update, Source source) {
    PendingView view{update, {}, {}, false};
    const std::string bootId = BootIdentifier();
    view.bootedSince = IsBootedSince(update, bootId);
    bool inTime = true;
    for (PortSession* port : PortsFor(session, update)) {
        if (!view.operating.empty() || !inTime || session.Stopped()) {
            break;
        }
        CModuleManager& module = *ModuleOfKind(*port->vendor, update.kind);
        view.operating = Operating(session, *port, module, source, inTime);
        view.update.state = JudgeUpdate(update, bootId, view.operating,
                                        [&](const auto& operating, const auto& version) {
                                            return module.CheckVendorVersion(operating, version);
                                        });
    }
    if (update.kind == DriverKind && view.update.state == PendingState::Pending) {
        view.nextBoot = OtherOnDisk(session, update);
    }
    return view;
}

std::optional<Error> Keep(PendingUpdates& store, const PendingView& view, PendingState before) {
    if (view.update.state == PendingState::Confirmed) {
        return store.Drop(view.update.kind);
    }
    return view.update.state == before ? std::nullopt : store.Record(view.update);
}

}  // namespace

void JudgePending(Session& session, PendingUpdates& store) {
    const std::vector<PendingUpdate> updates = store.All();  // which changes meanwhile
    for (const PendingUpdate& update : updates) {
        PendingView view = Judge(session, update, Source::Adapter);
        if (auto error = Keep(store, view, update.state)) {
            session.answer.errors.push_back(std::move(*error));
        }
        if (!session.answer.pending) {
            session.answer.pending.emplace();
        }
        session.answer.pending->push_back(std::move(view));
    }
}

std::vector<PendingView> LookAtPending(Session& session, const PendingUpdates& store) {
    std::vector<PendingView> views;
    for (const PendingUpdate& update : store.All()) {
        views.push_back(Judge(session, update, Source::Caches));
    }
    return views;
}

std::string OperatingFromCaches(Session& session, const PendingUpdate& update) {
    std::string operating;
    bool inTime = true;
    for (PortSession* port : PortsFor(session, update)) {
        if (operating.empty() && inTime && !session.Stopped()) {
            operating = Operating(session, *port, *ModuleOfKind(*port->vendor, update.kind),
                                  Source::Caches, inTime);
        }
    }
    return operating;
}

}  // namespace qdmctl
