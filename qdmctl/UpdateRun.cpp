#include "qdmctl/UpdateRun.h"

#include "host/CModuleManager.h"
#include "qdmctl/Reasons.h"
#include "qdmctl/UpdateTexts.h"

#include <algorithm>

namespace qdmctl {
namespace {

/// Registration, backup, pre-update, update, records, restore, apply check.
constexpr unsigned StepsOfItem = 7;

constexpr char Unfinished[] = "begun, and not known to have ended";
constexpr char Unconfirmed[] = "written, but not yet confirmed";
constexpr char Unchanged[] = "nothing has been changed; mend what is told and repeat the update";
constexpr char NoTool[] = "not begun: the adapter tool has gone, see what is told of the utility";
constexpr char SilentTool[] =
    "not begun: the utility does not answer, and its package is kept for qdmctl repair";

}  // namespace

UpdateRun::UpdateRun(Session& session, DriverState& drivers, std::vector<UpdateItem>& items)
    : session(session),
      drivers(drivers),
      items(items),
      stepTotal(static_cast<unsigned>(items.size()) * StepsOfItem) {}

void UpdateRun::Run() {
    for (const std::string& kind : KindsInOrder(*items.front().port->vendor)) {
        RunKind(kind);
        const bool gone = !runs.empty() && session.ToolIsMissing();
        if (gone || utilityLost) {
            LeaveRest(gone ? NoTool : SilentTool);
            break;
        }
    }
    TellInterruption();
}

void UpdateRun::RunKind(const std::string& kind) {
    traits = FindTraits(kind);
    runs.clear();
    for (UpdateItem& item : items) {
        if (item.View().kind == kind) {
            runs.push_back(Progress{&item});
        }
    }
    Register();
    Backup();
    PreUpdate();
    Update();
    ApplyRecords();
    Restore();
    CheckApplied();
    EndRepair();
}

void UpdateRun::Register() {
    Phase("registration", [](UpdateItem& item) {
        return item.module->RegistUpdateModule(item.archive, item.package.version);
    });
}

/// Of all ports before the first step: each drops the result file that they share.
void UpdateRun::Backup() {
    Phase("backup", [](UpdateItem& item) { return item.module->ExecuteUpdateBackup({}, false); });
}

void UpdateRun::PreUpdate() {
    WorkPhase("pre-update", [](UpdateItem& item) { return item.module->ExecutePreUpdate(false); });
}

void UpdateRun::Update() {
    WorkPhase("update", [this](UpdateItem& item) {
        if (Is(DriverKind)) {
            drivers.MakeInstallable();
        }
        return item.module->ExecuteUpdate(false);
    });
}

/// The apply check compares with the operating record.
void UpdateRun::ApplyRecords() {
    Phase("records", [](UpdateItem& item) { return item.module->ApplyUpdatesRepository(); });
}

/// Drops the caches, also of what has failed: what is read next is what the adapter says now.
void UpdateRun::Restore() {
    bool any = false;
    for (Progress& run : runs) {
        const StepScope step(session.console, MakeStep(run, "clean-up"));
        if (run.begun) {
            run.item->module->ExecuteUpdateRestore({});
            any = true;
        }
    }
    if (any && traits->ofServer) {
        session.DropCaches();  // also those of ports that take no part
    }
}

/// What is left has lost the means to be updated.
void UpdateRun::LeaveRest(const char* reason) {
    for (UpdateItem& item : items) {
        if (item.View().outcome == Outcome::NotAttempted) {
            item.View().reason = reason;
        }
    }
}

bool UpdateRun::Is(const char* kind) const {
    return std::string(traits->kind) == kind;
}

bool UpdateRun::IsWork(const char* name) const {
    return std::string(traits->step) == name;
}

void UpdateRun::WorkPhase(const char* name, const Call& call) {
    if (IsWork(name)) {
        ChangingPhase(name, call);
    } else {
        Phase(name, call);
    }
}

void UpdateRun::Phase(const char* name, const Call& call) {
    for (Progress& run : runs) {
        const StepScope step(session.console, MakeStep(run, name));
        if (!run.alive || (stopped && !run.begun)) {
            continue;
        }
        const CallRecord record;
        if (call(*run.item) != 0) {
            Fail(run, name, record);
        }
    }
}

void UpdateRun::ChangingPhase(const char* name, const Call& call) {
    for (Progress& run : runs) {
        if (run.alive && (!stopped || FollowsBegun(run))) {
            ChangingStep(run, name, call);
        } else {
            ++stepNumber;
        }
    }
}

/// Whether another port has begun what serves this one, too: its adapter as a whole, or the whole
/// server. What is left to do for this one changes nothing, and it shares the outcome.
bool UpdateRun::FollowsBegun(const Progress& run) const {
    const DiscoveredPort& port = run.item->port->found;
    const PciAddress& own = port.id.address;
    return std::any_of(runs.begin(), runs.end(), [&](const Progress& other) {
        const PciAddress& address = other.item->port->found.id.address;
        const bool sameAdapter =
            address.domain == own.domain && address.bus == own.bus && address.device == own.device;
        const bool serves = traits->ofServer || (port.model->flashedByFunction0 && sameAdapter &&
                                                 own.function != 0 && address.function == 0);
        return &other != &run && other.begun && serves;
    });
}

Step UpdateRun::ChangingStepOf(const Progress& run, const char* name) {
    Step step = MakeStep(run, name);
    step.changing = !FollowsBegun(run);
    step.announce = step.changing || !traits->ofServer;
    step.deadlineMs = 0;
    return step;
}

void UpdateRun::ChangingStep(Progress& run, const char* name, const Call& call) {
    Step description = ChangingStepOf(run, name);
    if (description.changing && !NoteRepair(run)) {
        return;
    }
    const Component before = run.item->View();
    run.item->View().outcome = Outcome::Failed;
    run.item->View().reason = Unfinished;
    Report();
    for (bool again = true; again; description.phase += ", second attempt") {
        const CallRecord record;
        const auto done = Attempt(run, description, call);
        if (!done) {
            DoNotBegin(run, name, before);
            return;
        }
        again = !*done && MayTryAgain(run);
        if (!*done && !again) {
            Fail(run, name, record);
        }
    }
    if (run.alive) {
        run.item->View().reason = Unconfirmed;
        Report();
    }
}

/// Whether it has succeeded; nothing when it was not begun.
std::optional<bool> UpdateRun::Attempt(Progress& run, const Step& description, const Call& call) {
    const StepScope step(session.console, description);
    if (!step) {
        return std::nullopt;
    }
    run.begun = true;
    return call(*run.item) == 0;
}

/// The user has stopped the run at the last moment, perhaps between two attempts.
void UpdateRun::DoNotBegin(Progress& run, const char* name, const Component& before) {
    stopped = true;
    if (run.begun) {
        Fail(run, name, CallRecord());
        return;
    }
    run.item->View() = before;
    Report();
}

void UpdateRun::Fail(Progress& run, const char* step, const CallRecord& record) {
    run.alive = false;
    Component& view = run.item->View();
    view.outcome = run.begun ? Outcome::Failed : Outcome::NotAttempted;
    view.reason = std::string(IsWork(step) ? traits->title : step) +
                  " failed: " + ReasonOfUpdate(view.kind, record);
    run.error = AddFailure(ErrorId::UpdateFailed, run,
                           run.begun ? TextsOf(view.kind).begun : Unchanged, &record);
    ShareFailure(run);
    Report();
}

/// The other ports' steps are not called any more: they would find the result file and seem done.
void UpdateRun::ShareFailure(const Progress& failed) {
    for (Progress& run : runs) {
        if (traits->ofServer && run.alive) {
            run.alive = false;
            run.item->View().outcome = failed.item->View().outcome;
            run.item->View().reason = failed.item->View().reason;
        }
    }
}

std::size_t UpdateRun::AddFailure(ErrorId id, const Progress& run, const char* hint,
                                  const CallRecord* record) {
    const Component& view = run.item->View();
    Error error = MakeError(id, view.kind + ": " + view.reason, hint);
    error.kind = view.kind;
    error.deviceId = traits->ofServer ? std::string() : run.item->port->view.deviceId;
    if (record != nullptr) {
        error.lastError = record->LastError();
        error.messageId = record->MessageId();
    }
    Keep(std::move(error));
    return session.answer.errors.size() - 1;
}

Step UpdateRun::MakeStep(const Progress& run, const char* name) {
    const bool work = IsWork(name);
    Step step = session.ReadingStep(work ? traits->title : std::string(traits->kind) + ": " + name,
                                    run.item->port);
    if (work && traits->ofServer) {
        step.device.clear();
    }
    step.announce = work || &run == &runs.front();
    step.number = ++stepNumber;
    step.total = stepTotal;
    return step;
}

void UpdateRun::Keep(std::optional<Error> error) {
    if (error) {
        session.answer.errors.push_back(std::move(*error));
    }
}

void UpdateRun::Report() {
    session.Publish();
    session.console.Report(session.answer);
}

void UpdateRun::TellInterruption() {
    const bool rest = std::any_of(items.begin(), items.end(), [](const UpdateItem& item) {
        return item.View().outcome == Outcome::NotAttempted;
    });
    if (!stopped || !rest) {
        return;
    }
    session.AddError(ErrorId::Interrupted, "the run was stopped before all ports were updated",
                     "the outcome of each port is told above; run the update again for the rest");
}

}  // namespace qdmctl
