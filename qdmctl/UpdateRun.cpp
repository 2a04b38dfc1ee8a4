#include "qdmctl/UpdateRun.h"

#include "host/CModuleManager.h"
#include "host/CVendor.h"
#include "qdmctl/Reasons.h"

#include <algorithm>
#include <iterator>

namespace qdmctl {
namespace {

/// Condition, registration, backup, pre-update, update, records, restore, apply check.
constexpr unsigned StepsOfItem = 8;

/// The step in which a kind of module is written, and how a person calls it. The others are over in
/// a moment.
struct Work {
    const char* kind;
    const char* step;
    const char* title;
};
constexpr Work Works[] = {{FirmwareKind, "pre-update", "flashing firmware"}};

const Work* WorkOf(const std::string& kind, const std::string& step) {
    const auto found = std::find_if(std::begin(Works), std::end(Works), [&](const Work& work) {
        return kind == work.kind && step == work.step;
    });
    return found == std::end(Works) ? nullptr : found;
}

constexpr char Unfinished[] = "begun, and not known to have ended";
constexpr char Unconfirmed[] = "written, but not confirmed by the adapter";
constexpr char Unchanged[] =
    "nothing of this port has been changed; mend what is told and repeat the update";

// What to do, by what the port says of itself after a failure.
constexpr char WhenUnreadable[] =
    "do not power off or reboot: the adapter may hold half an image; look with qdmctl list until "
    "it answers with a version, then repeat the update; if it does not, ask the maker's support";
constexpr char WhenOffered[] =
    "the offered version is there all the same; look with qdmctl check whether anything is left "
    "to do";
constexpr char WhenOther[] =
    "do not power off or reboot before an update has succeeded: the adapter may hold half an "
    "image; repeat the update";
constexpr char WhenNotActive[] =
    "some adapters run new firmware only after a reset or a reboot: if qdmctl list shows the old "
    "version after that, too, repeat the update";
constexpr char WhenLeftToFunction0[] =
    "see what is told about this adapter's function 0, and repeat the update of both";

constexpr char UnreadableMessage[] = "MSGID_EMULEX_FC_0008_F";

bool LeftToFunction0(const PortSession& port) {
    return port.found.model->flashedByFunction0 && port.found.id.address.function != 0;
}

/// Why an update that was told as done is not taken for done.
std::string Doubt(const UpdateItem& item, const CallRecord& record) {
    if (record.Has(UnreadableMessage)) {
        return "the adapter tool told success, but the new version could not be read back";
    }
    return LeftToFunction0(*item.port) ? "the adapter was not updated through its function 0"
                                       : "the adapter tool told success, but " +
                                             item.View().offered + " did not take effect";
}

}  // namespace

UpdateRun::UpdateRun(Session& session, std::vector<UpdateItem>& items)
    : session(session),
      items(items),
      stepTotal(static_cast<unsigned>(items.size()) * StepsOfItem) {}

void UpdateRun::Run() {
    CVendor& vendor = *items.front().port->vendor;
    for (const auto order :
         {CVendor::UPDATE_ORDER_FIRST, CVendor::UPDATE_ORDER_SECOND, CVendor::UPDATE_ORDER_THIRD}) {
        RunKind(vendor.GetUpdateOrderModuleKind(order, false));
    }
    TellInterruption();
}

void UpdateRun::RunKind(const std::string& kind) {
    runs.clear();
    for (UpdateItem& item : items) {
        if (item.View().kind == kind) {
            runs.push_back(Progress{&item});
        }
    }
    CheckConditions();
    Register();
    Backup();
    PreUpdate();
    Update();
    ApplyRecords();
    Restore();
    CheckApplied();
}

void UpdateRun::CheckConditions() {
    Phase("condition", [](UpdateItem& item) {
        return item.port->vendor->CheckUpdateConditionByDevicevendor(item.View().kind, nullptr);
    });
}

void UpdateRun::Register() {
    Phase("registration", [](UpdateItem& item) {
        return item.module->RegistUpdateModule(item.archive, item.package.version);
    });
}

void UpdateRun::Backup() {
    Phase("backup", [](UpdateItem& item) { return item.module->ExecuteUpdateBackup({}, false); });
}

void UpdateRun::PreUpdate() {
    ChangingPhase("pre-update",
                  [](UpdateItem& item) { return item.module->ExecutePreUpdate(false); });
}

void UpdateRun::Update() {
    ChangingPhase("update", [](UpdateItem& item) { return item.module->ExecuteUpdate(false); });
}

/// The apply check compares with the operating record.
void UpdateRun::ApplyRecords() {
    Phase("records", [](UpdateItem& item) { return item.module->ApplyUpdatesRepository(); });
}

/// Drops the caches, also of what has failed: what is read next is what the adapter says now.
void UpdateRun::Restore() {
    for (Progress& run : runs) {
        const StepScope step(session.console, MakeStep(run, "clean-up"));
        if (run.begun) {
            run.item->module->ExecuteUpdateRestore({});
        }
    }
}

void UpdateRun::CheckApplied() {
    for (Progress& run : runs) {
        const StepScope step(session.console, MakeStep(run, "check"));
        if (run.begun) {
            CheckOne(run);
            Report();
        }
    }
}

void UpdateRun::CheckOne(Progress& run) {
    Component& view = run.item->View();
    if (!run.alive) {
        TellState(run, WhenOther);
        return;
    }
    const CallRecord record;
    if (Confirmed(*run.item->module, record)) {
        view.outcome = Outcome::Updated;
        view.reason = "confirmed by the adapter";
        run.item->port->view.versions.firmware = run.item->module->GetOperatingVersionCache();
        return;
    }
    run.item->module->RollbackRepository();
    view.outcome = Outcome::Failed;
    view.reason = Doubt(*run.item, record);
    run.error = session.answer.errors.size();
    session.AddPortError(ErrorId::NotConfirmed, *run.item->port, view.kind + ": " + view.reason, "",
                         record, view.kind);
    TellState(run, LeftToFunction0(*run.item->port) ? WhenLeftToFunction0 : WhenNotActive);
}

/// A port that cannot be read right after a flash gets a second chance.
bool UpdateRun::Confirmed(CModuleManager& module, const CallRecord& record) {
    if (!module.ExecuteUpdateApplyCheck()) {
        return true;
    }
    if (!record.Has(UnreadableMessage) || session.console.StopRequested()) {
        return false;
    }
    module.UpdateRestore({});
    return !module.ExecuteUpdateApplyCheck();
}

/// What the port says of itself once the dust has settled, and what is to be done then.
void UpdateRun::TellState(Progress& run, const char* hint) {
    Component& view = run.item->View();
    Error& error = session.answer.errors[run.error];
    const std::string version = run.item->module->GetOperatingVersion();
    if (IsUnreadable(version)) {
        error.message += "; the port's version cannot be read now";
        error.hint = WhenUnreadable;
        return;
    }
    const bool offered = run.item->module->CheckVendorVersion(version, view.offered) == 0;
    error.message += "; the port now reports " + version;
    error.hint = offered ? WhenOffered : hint;
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

/// Whether another port has begun to write this one's adapter as a whole. What is left to do for
/// this one changes nothing, and it shares the outcome.
bool UpdateRun::FollowsBegun(const Progress& run) const {
    const DiscoveredPort& port = run.item->port->found;
    const PciAddress& own = port.id.address;
    return port.model->flashedByFunction0 && own.function != 0 &&
           std::any_of(runs.begin(), runs.end(), [&](const Progress& other) {
               const PciAddress& address = other.item->port->found.id.address;
               return other.begun && address.function == 0 && address.domain == own.domain &&
                      address.bus == own.bus && address.device == own.device;
           });
}

void UpdateRun::ChangingStep(Progress& run, const char* name, const Call& call) {
    Step description = MakeStep(run, name);
    description.changing = !FollowsBegun(run);
    description.deadlineMs = 0;
    const Component before = run.item->View();
    run.item->View().outcome = Outcome::Failed;
    run.item->View().reason = Unfinished;
    Report();
    const StepScope step(session.console, description);
    if (!step) {
        stopped = true;
        run.item->View() = before;
        Report();
        return;
    }
    run.begun = true;
    const CallRecord record;
    if (call(*run.item) != 0) {
        Fail(run, name, record);
        return;
    }
    run.item->View().reason = Unconfirmed;
    Report();
}

void UpdateRun::Fail(Progress& run, const char* step, const CallRecord& record) {
    run.alive = false;
    Component& view = run.item->View();
    view.outcome = run.begun ? Outcome::Failed : Outcome::NotAttempted;
    const Work* work = WorkOf(view.kind, step);
    view.reason =
        std::string(work != nullptr ? work->title : step) + " failed: " + ReasonOfUpdate(record);
    run.error = session.answer.errors.size();
    session.AddPortError(ErrorId::UpdateFailed, *run.item->port, view.kind + ": " + view.reason,
                         run.begun ? WhenUnreadable : Unchanged, record, view.kind);
    Report();
}

Step UpdateRun::MakeStep(const Progress& run, const char* name) {
    const std::string& kind = run.item->View().kind;
    const Work* work = WorkOf(kind, name);
    const bool firstOfPhase = &run == &runs.front();
    Step step =
        session.ReadingStep(work != nullptr ? work->title : kind + ": " + name, run.item->port);
    step.announce = work != nullptr || firstOfPhase;
    step.number = ++stepNumber;
    step.total = stepTotal;
    return step;
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
