#include "qdmctl/DriverState.h"

#include "qdmctl/BootIdentifier.h"
#include "qdmctl/DriverOnDisk.h"
#include "qdmctl/DriverPackage.h"
#include "qdmctl/PendingJudgement.h"
#include "qdmctl/Repository.h"
#include "qdmctl/Session.h"

#include <algorithm>
#include <utility>

namespace qdmctl {
namespace {

constexpr char Refuted[] = "installed, but the boot since then has not loaded it";

}  // namespace

DriverState::DriverState(Session& session) : session(session), store(session.Root()) {}

void DriverState::Load() {
    damage = store.Load();
    if (!damage) {
        JudgePending(session, store);
    }
}

void DriverState::Look() {
    const std::string& module = session.ProviderDescriptor().kernelModule;
    session.Reading(session.ReadingStep("looking for the driver on disk", nullptr),
                    [&] { onDisk = DriverOnDisk(module); });
    looked = true;
}

DriverState::Judgement DriverState::Judge(Component& component, const VersionRules& rules) {
    if (damage) {
        component.outcome = Outcome::Failed;
        component.reason = damage->message;
        return {false, damage};
    }
    if (!looked) {
        Look();
    }
    if (!rules.IsWellFormed(component.offered)) {
        return {};
    }
    const bool comparable = onDisk && rules.IsWellFormed(*onDisk);
    const int order = comparable ? rules.Compare(*onDisk, component.offered) : 0;
    if (comparable && order == 0) {
        return JudgeWaiting(component, rules);
    }
    toForget = Packaged(component.offered, rules);
    if (!toForget.empty() && !MayInstallAgain(session)) {
        return JudgeNotPreferred(component);
    }
    if (comparable) {
        JudgeByDisk(component, order);
    }
    if (!toForget.empty()) {
        TellAgain(component);
    }
    return LeaveToOthers(component);
}

/// The offered version is on disk. It is not installed again: rpm refuses the very same package.
DriverState::Judgement DriverState::JudgeWaiting(Component& component, const VersionRules& rules) {
    if (component.verdict == Verdict::Same) {
        return {false, {}};
    }
    if (IsUnreadable(component.installed)) {
        component.outcome = Outcome::Skipped;
        component.reason = "this version is on disk; whether it is in use cannot be read";
    } else if (IsRefuted(component.offered, rules)) {
        component.reason = Refuted;
        return Fail(component, component.offered + " was " + Refuted,
                    "run qdmctl doctor, which tells what the boot may have loaded instead, mend "
                    "that and reboot; a newer driver can be installed meanwhile");
    } else {
        component.outcome = Outcome::Pending;
        component.reason = TakesEffectAfterReboot;
    }
    return {false, {}};
}

bool DriverState::IsRefuted(const std::string& version, const VersionRules& rules) const {
    const PendingUpdate* update = store.Find(DriverKind);
    return update != nullptr && rules.AreEqual(update->version, version) &&
           (update->state == PendingState::Refuted || IsBootedSince(*update, BootIdentifier()));
}

/// The version of an installed package that equals this one; empty: there is none.
std::string DriverState::Packaged(const std::string& version, const VersionRules& rules) {
    if (!packages) {
        packages = InstalledDriverPackages(session);
    }
    const auto found =
        std::find_if(packages->begin(), packages->end(),
                     [&](const std::string& one) { return rules.AreEqual(one, version); });
    return found == packages->end() ? std::string() : *found;
}

/// As a run leaves it that was ended between rpm and depmod.
void DriverState::TellAgain(Component& component) {
    notPreferred = component.offered;
    component.reason = "the package of this version is installed, but the next boot would load " +
                       OnDiskText() + ": an update installs it again" +
                       (component.verdict == Verdict::Older ? " (--allow-older)" : "");
}

void DriverState::MakeInstallable() {
    if (!toForget.empty()) {
        ForgetDriverPackage(session, std::exchange(toForget, {}));
    }
}

/// As it is where somebody has decided which driver is to be preferred.
DriverState::Judgement DriverState::JudgeNotPreferred(Component& component) {
    notPreferred = component.offered;
    component.reason =
        "the package of this version is installed, but the next boot would load " + OnDiskText();
    return Fail(component,
                "the package of " + component.offered +
                    " is installed, but the next boot would load " + OnDiskText(),
                PreferenceRemedy(session));
}

DriverState::Judgement DriverState::Fail(Component& component, const std::string& what,
                                         const std::string& hint) const {
    component.outcome = Outcome::Failed;
    const std::string inUse = IsUnreadable(component.installed)
                                  ? "which one is in use cannot be read"
                                  : "in use is " + component.installed;
    return {false, MakeError(ErrorId::NotConfirmed, "driver: " + what + "; " + inUse, hint)};
}

/// What is on disk counts, even if it is in use only after the next boot.
void DriverState::JudgeByDisk(Component& component, int order) const {
    if (component.verdict != Verdict::Newer && component.verdict != Verdict::Same &&
        component.verdict != Verdict::Older) {
        return;
    }
    component.verdict = order > 0 ? Verdict::Newer : Verdict::Older;
    const Plan plan = PlannedOutcome(component.verdict);
    component.outcome = plan.outcome;
    component.reason = plan.reason;
    if (*onDisk != component.installed) {
        const std::string other = *onDisk + " on disk, which the next boot would load";
        component.reason = order > 0 ? "an update would install it: newer than " + other
                                     : "older than " + other + " (--allow-older)";
    }
}

/// The provider would skip the installation and tell success.
DriverState::Judgement DriverState::LeaveToOthers(Component& component) const {
    const std::string marker = DriverSkipMarker(session);
    if (marker.empty() || component.verdict == Verdict::Same) {
        return {};
    }
    component.outcome = Outcome::Skipped;
    component.reason = marker +
                       " is there: the update of converged adapters brings this driver along; "
                       "remove that file unless such an update is under way";
    return {false, {}};
}

bool DriverState::IsOnDisk(const std::string& version, const VersionRules& rules) {
    Look();
    packages.reset();
    return onDisk && rules.AreEqual(*onDisk, version);
}

std::string DriverState::OnDiskText() const {
    return onDisk.value_or("no driver that modinfo finds");
}

std::optional<Error> DriverState::Record(const Component& component) {
    PendingUpdate update;
    update.kind = DriverKind;
    update.version = component.offered;
    update.previous = IsUnreadable(component.installed) ? std::string() : component.installed;
    update.bootId = BootIdentifier();
    update.deviceIds = session.ServerDeviceIds();
    return store.Record(update);
}

std::optional<Error> DriverState::Drop() {
    return store.Find(DriverKind) == nullptr ? std::nullopt : store.Drop(DriverKind);
}

std::optional<Error> DriverState::DropReplaced() {
    const PendingUpdate* known = store.Find(DriverKind);
    packages = InstalledDriverPackages(session);
    const bool gone = known != nullptr && !packages->empty() &&
                      std::count(packages->begin(), packages->end(), known->version) == 0;
    return gone ? store.Drop(DriverKind) : std::nullopt;
}

std::optional<Component> DriverState::Waiting() const {
    for (const PortSession& port : session.Ports()) {
        const auto& all = port.view.components;
        const auto found = std::find_if(all.begin(), all.end(), [](const Component& component) {
            return component.kind == DriverKind && component.outcome == Outcome::Pending;
        });
        if (found != all.end()) {
            return *found;
        }
    }
    return std::nullopt;
}

/// A run that was killed behind rpm has recorded nothing.
void DriverState::RecordFound() {
    const auto waiting = Waiting();
    const PendingUpdate* known = store.Find(DriverKind);
    std::optional<Error> error;
    if (waiting && (known == nullptr || known->version != waiting->offered)) {
        error = Record(*waiting);
    } else if (waiting && known->deviceIds != session.ServerDeviceIds()) {
        PendingUpdate update = *known;
        update.deviceIds = session.ServerDeviceIds();
        error = store.Record(update);
    } else if (known != nullptr && known->version == notPreferred) {
        // Once it is preferred it waits for another boot than the one that has not brought it.
        error = store.Drop(DriverKind);
    }
    if (error) {
        session.answer.errors.push_back(std::move(*error));
    }
}

void DriverState::TellPending() {
    if (damage || (!session.answer.pending && store.All().empty())) {
        return;
    }
    if (!looked) {
        Look();
    }
    std::vector<PendingView> views;
    for (const PendingView& view : session.answer.pending.value_or(views)) {
        // What has come into use is told once.
        if (view.update.state == PendingState::Confirmed && !store.Find(view.update.kind)) {
            views.push_back(view);
        }
    }
    for (const PendingUpdate& update : store.All()) {
        PendingView view{update, {}, {}, IsBootedSince(update, BootIdentifier())};
        for (PortSession& port : session.Ports()) {
            const std::string& operating = VersionOf(port.view.versions, update.kind);
            view.operating = IsUnreadable(operating) ? view.operating : operating;
        }
        if (update.kind == DriverKind && onDisk && *onDisk != update.version) {
            view.nextBoot = *onDisk;
        }
        views.push_back(std::move(view));
    }
    session.answer.pending = std::move(views);
}

}  // namespace qdmctl
