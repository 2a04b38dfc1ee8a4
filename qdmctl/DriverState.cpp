#include "qdmctl/DriverState.h"

#include "qdmctl/BootIdentifier.h"
#include "qdmctl/DriverOnDisk.h"
#include "qdmctl/PendingJudgement.h"
#include "qdmctl/Repository.h"
#include "qdmctl/Session.h"

#include <algorithm>

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

bool DriverState::Judge(Component& component, const VersionRules& rules) {
    if (damage) {
        component.outcome = Outcome::Failed;
        component.reason = damage->message;
        return false;
    }
    if (!looked) {
        Look();
    }
    if (!onDisk || !rules.IsWellFormed(*onDisk) || !rules.IsWellFormed(component.offered)) {
        return true;
    }
    const int order = rules.Compare(*onDisk, component.offered);
    if (order == 0) {
        return JudgeWaiting(component, rules);
    }
    if (component.verdict == Verdict::Newer || component.verdict == Verdict::Same ||
        component.verdict == Verdict::Older) {
        // What is installed counts, even if it is in use only after the next boot.
        component.verdict = order > 0 ? Verdict::Newer : Verdict::Older;
        const Plan plan = PlannedOutcome(component.verdict);
        component.outcome = plan.outcome;
        component.reason = plan.reason;
    }
    return true;
}

/// The offered version is on disk. It is not installed again: rpm refuses the very same package.
bool DriverState::JudgeWaiting(Component& component, const VersionRules& rules) {
    if (component.verdict == Verdict::Same) {
        return false;
    }
    if (IsUnreadable(component.installed)) {
        component.outcome = Outcome::Skipped;
        component.reason = "this version is on disk; whether it is in use cannot be read";
    } else if (IsRefuted(component.offered, rules)) {
        component.outcome = Outcome::Failed;
        component.reason = Refuted;
    } else {
        component.outcome = Outcome::Pending;
        component.reason = TakesEffectAfterReboot;
    }
    return false;
}

bool DriverState::IsRefuted(const std::string& version, const VersionRules& rules) const {
    const PendingUpdate* update = store.Find(DriverKind);
    return update != nullptr && rules.AreEqual(update->version, version) &&
           (update->state == PendingState::Refuted || IsBootedSince(*update, BootIdentifier()));
}

std::optional<Error> DriverState::Fault(const Component& component) const {
    if (component.outcome != Outcome::Failed) {
        return std::nullopt;
    }
    if (damage) {
        return damage;
    }
    return MakeError(ErrorId::NotConfirmed,
                     "driver: " + component.offered + " was " + component.reason + "; in use is " +
                         component.installed,
                     "run qdmctl doctor, which tells what the boot may have loaded instead, mend "
                     "that and reboot; a newer driver can be installed meanwhile");
}

bool DriverState::IsOnDisk(const std::string& version, const VersionRules& rules) {
    Look();
    return onDisk && rules.AreEqual(*onDisk, version);
}

std::string DriverState::OnDiskText() const {
    return onDisk.value_or("no driver that modinfo finds");
}

std::optional<Error> DriverState::Record(const Component& component,
                                         const std::vector<std::string>& deviceIds) {
    PendingUpdate update;
    update.kind = DriverKind;
    update.version = component.offered;
    update.previous = IsUnreadable(component.installed) ? std::string() : component.installed;
    update.bootId = BootIdentifier();
    update.deviceIds = deviceIds;
    return store.Record(update);
}

std::optional<Error> DriverState::Drop() {
    return store.Find(DriverKind) == nullptr ? std::nullopt : store.Drop(DriverKind);
}

/// A run that was killed behind rpm has recorded nothing.
void DriverState::RecordFound() {
    const auto waits = [](const Component& component) {
        return component.kind == DriverKind && component.outcome == Outcome::Pending;
    };
    std::vector<std::string> deviceIds;
    Component waiting;
    for (const PortSession& port : session.Ports()) {
        const auto& all = port.view.components;
        const auto found = std::find_if(all.begin(), all.end(), waits);
        if (found != all.end()) {
            waiting = *found;
            deviceIds.push_back(port.view.deviceId);
        }
    }
    const PendingUpdate* known = store.Find(DriverKind);
    const bool recorded = known != nullptr && known->version == waiting.offered;
    auto error = deviceIds.empty() || recorded ? std::nullopt : Record(waiting, deviceIds);
    if (error) {
        session.answer.errors.push_back(std::move(*error));
    }
}

}  // namespace qdmctl
