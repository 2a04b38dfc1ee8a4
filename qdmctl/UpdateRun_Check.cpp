#include "host/CModuleManager.h"
#include "qdmctl/AttributeAnswer.h"
#include "qdmctl/DriverPackage.h"
#include "qdmctl/UpdateRun.h"
#include "qdmctl/UpdateTexts.h"

#include <algorithm>

namespace qdmctl {
namespace {

/// A version that cannot be read right after a change gets a second chance.
constexpr int Attempts = 2;

constexpr char WhenLeftToFunction0[] =
    "see what is told about this adapter's function 0, and repeat the update of both";

bool LeftToFunction0(const UpdateItem& item) {
    const DiscoveredPort& port = item.port->found;
    return item.package.kind == FirmwareKind && port.model->flashedByFunction0 &&
           port.id.address.function != 0;
}

}  // namespace

void UpdateRun::CheckApplied() {
    if (traits->ofServer) {
        CheckServer();
        return;
    }
    for (Progress& run : runs) {
        const StepScope step(session.console, MakeStep(run, "check"));
        if (run.begun) {
            CheckOne(run);
            Report();
        }
    }
}

void UpdateRun::CheckOne(Progress& run) {
    if (run.alive) {
        Conclude(run, Confirm(run));
    } else {
        TellState(run, TextsOf(traits->kind).whenOther);
    }
}

/// Every module makes its check. What one port tells holds for all: that another cannot be read is
/// that port's own fault, and told where the versions are read again.
void UpdateRun::CheckServer() {
    Progress* first = nullptr;
    Finding result;
    for (Progress& run : runs) {
        const StepScope step(session.console, MakeStep(run, "check"));
        if (run.error && run.begun) {
            TellState(run, TextsOf(traits->kind).whenOther);
            TellInstalledDriver(run);
        }
        if (!run.begun || !run.alive) {
            continue;
        }
        const Finding finding = Confirm(run);
        const bool better = finding.confirmed || (result.unreadable && !finding.unreadable);
        if (first == nullptr || (better && !result.confirmed)) {
            first = &run;
            result = finding;
        }
    }
    if (first == nullptr) {
        Report();
        return;
    }
    if (Is(DriverKind) && SetByDisk(result)) {
        Report();
        return;
    }
    Conclude(*first, result);
    for (Progress& run : runs) {
        if (run.begun && run.alive && result.confirmed) {
            SetUpdated(run);
        }
    }
    if (result.confirmed && Is(DriverKind)) {
        Keep(drivers.Drop());
    }
    Report();
}

/// Firmware is what the port itself tells; an answer about another one confirms nothing.
bool UpdateRun::IsOfOtherPort(const Progress& run) const {
    return Is(FirmwareKind) && NamesOtherPort(session.Root(), run.item->port->view.wwpn);
}

UpdateRun::Finding UpdateRun::Confirm(Progress& run) {
    CModuleManager& module = *run.item->module;
    Finding finding;
    for (int attempt = 0; attempt < Attempts; ++attempt) {
        const CallRecord record;
        finding.confirmed = !module.ExecuteUpdateApplyCheck();
        finding.unreadable = record.TellsUnreadable();
        finding.messageId = record.MessageId();
        if (IsOfOtherPort(run)) {
            finding.confirmed = false;
            finding.unreadable = true;
        }
        if (finding.confirmed || !finding.unreadable || session.console.StopRequested()) {
            break;
        }
        module.UpdateRestore({});
    }
    return finding;
}

void UpdateRun::Conclude(Progress& run, const Finding& finding) {
    if (finding.confirmed) {
        SetUpdated(run);
    } else {
        SetUnconfirmed(run, finding);
    }
}

/// A driver that the next boot will load is as it should be, though another one may be in use
/// until then; one that it will not load is not, though it may be in use. False when the finding
/// is to be told.
bool UpdateRun::SetByDisk(Finding& finding) {
    const UpdateItem& item = *runs.front().item;
    const bool onDisk = drivers.IsOnDisk(item.View().offered, VersionRules{*item.module});
    if (finding.confirmed || !onDisk) {
        finding.confirmed = finding.confirmed && onDisk;
        return false;
    }
    for (Progress& run : runs) {
        if (run.begun && run.alive) {
            run.item->View().outcome = Outcome::Pending;
            run.item->View().reason = TakesEffectAfterReboot;
        }
    }
    Keep(drivers.Record(item.View()));
    return true;
}

void UpdateRun::SetUpdated(Progress& run) {
    Component& view = run.item->View();
    view.outcome = Outcome::Updated;
    view.reason =
        traits->ofServer ? "confirmed: this version is at work" : "confirmed by the adapter";
    VersionOf(run.item->port->view.versions, view.kind) =
        run.item->module->GetOperatingVersionCache();
}

/// Why an update that was told as done is not taken for done.
std::string UpdateRun::Doubt(const UpdateItem& item, const Finding& finding) const {
    const std::string told = std::string(TextsOf(traits->kind).liar) + " told success, but ";
    if (Is(DriverKind)) {
        return told + "the next boot would load " + drivers.OnDiskText() + " and not " +
               item.View().offered;
    }
    if (finding.unreadable) {
        return told + "the new version could not be read back";
    }
    return LeftToFunction0(item) ? "the adapter was not updated through its function 0"
                                 : told + item.View().offered + " did not take effect";
}

void UpdateRun::SetUnconfirmed(Progress& run, const Finding& finding) {
    Component& view = run.item->View();
    run.item->module->RollbackRepository();
    view.outcome = Outcome::Failed;
    view.reason = Doubt(*run.item, finding);
    run.error = AddFailure(ErrorId::NotConfirmed, run, "", nullptr);
    session.answer.errors[*run.error].messageId = finding.messageId;
    TellState(run, LeftToFunction0(*run.item) ? WhenLeftToFunction0
                                              : TextsOf(traits->kind).whenNotActive);
    if (Is(DriverKind)) {
        session.answer.errors[*run.error].hint = PreferenceRemedy(session);
        Keep(drivers.DropReplaced());
    }
    run.alive = false;
    ShareFailure(run);
}

/// A package whose installation was told as failed may be there all the same: installing it again
/// would be refused.
void UpdateRun::TellInstalledDriver(const Progress& run) {
    if (!Is(DriverKind)) {
        return;
    }
    const auto packages = InstalledDriverPackages(session);
    if (std::count(packages.begin(), packages.end(), run.item->View().offered) > 0) {
        Error& error = session.answer.errors[*run.error];
        error.message += "; the package of the offered version is installed all the same";
        error.hint = PreferenceRemedy(session);
    }
}

/// What is true once the dust has settled, and what is to be done then.
void UpdateRun::TellState(Progress& run, const char* hint) {
    const UpdateTexts& texts = TextsOf(traits->kind);
    Error& error = session.answer.errors[*run.error];
    if (session.ToolIsMissing()) {
        TellMissingTool(error);
        return;
    }
    const std::string version = run.item->module->GetOperatingVersion();
    if (IsUnreadable(version) || IsOfOtherPort(run)) {
        error.message += std::string("; ") + texts.notReadable;
        error.hint = texts.whenUnreadable;
        return;
    }
    const VersionRules rules{*run.item->module};
    error.message += std::string("; ") + texts.reports + version;
    error.hint = rules.AreEqual(version, run.item->View().offered) ? texts.whenOffered : hint;
}

}  // namespace qdmctl
