#include "host/CModuleManager.h"
#include "qdmctl/RepairNote.h"
#include "qdmctl/UpdateRun.h"
#include "qdmctl/WorkAreaCheck.h"

#include <algorithm>

namespace qdmctl {
namespace {

/// A utility that has just been replaced may need a moment.
constexpr int Attempts = 2;

}  // namespace

/// Written before the old utility is taken away, so that even a killed run leaves it. Without it
/// nothing is begun.
bool UpdateRun::NoteRepair(const Progress& run) {
    if (!Is(UtilityKind)) {
        return true;
    }
    const UtilityFacts& utility = session.ProviderDescriptor().utility;
    const std::string folder = session.Root() + "/" + utility.unpacked;
    auto error = CloseWorkFolders(session.Root());
    if (!error) {
        error = WriteRepairNote(session.Root(), {UtilityKind, run.item->View().offered, folder,
                                                 folder + "/" + utility.install, utility.tool});
    }
    if (!error) {
        return true;
    }
    for (Progress& other : runs) {
        other.alive = false;
        Refuse(session, *other.item, *error);
    }
    return false;
}

/// A utility that answers needs no repair, be it the new one or the one that was there. For one
/// that does not, the unpacked package has to stay, which another kind's update would take away.
void UpdateRun::EndRepair() {
    const bool begun =
        Is(UtilityKind) &&
        std::any_of(runs.begin(), runs.end(), [](const Progress& run) { return run.begun; });
    if (!begun) {
        return;
    }
    utilityLost = !UtilityAnswers(runs.front());
    if (!utilityLost) {
        Keep(RemoveRepairNote(session.Root()));
    }
}

bool UpdateRun::UtilityAnswers(const Progress& run) {
    const CallRecord apart;  // what is told of a step that has failed is not this
    CModuleManager& module = *run.item->module;
    Step step = session.ReadingStep("reading versions", run.item->port);
    step.number = stepNumber;
    step.total = stepTotal;
    std::string version;
    for (int attempt = 0; attempt < Attempts && !session.ToolIsMissing(); ++attempt) {
        session.Reading(step, [&] { version = module.GetOperatingVersion(); });
        if (!IsUnreadable(version)) {
            return true;
        }
        module.UpdateRestore({});
    }
    return false;
}

/// An installation that fails may leave the server without an adapter tool that works, and a later
/// process may have no utility module then: so the second attempt is made here. The backup drops
/// the result file of the first, by which the step would seem done.
bool UpdateRun::MayTryAgain(Progress& run) {
    if (!Is(UtilityKind) || secondAttempt || session.console.StopRequested()) {
        return false;
    }
    session.DropCaches();  // they hold the version of the utility that was there
    if (UtilityAnswers(run)) {
        return false;
    }
    secondAttempt = true;
    return run.item->module->ExecuteUpdateBackup({}, false) == 0;
}

void UpdateRun::TellMissingTool(Error& error) const {
    const UtilityFacts& utility = session.ProviderDescriptor().utility;
    const std::string folder = session.Root() + "/" + utility.unpacked;
    error.message += "; " + utility.tool + " is missing now, so the adapters can be neither read " +
                     "nor updated; the unpacked package lies in " + folder;
    error.hint = "run qdmctl repair, which runs " + folder + "/" + utility.install +
                 " and checks the result; the adapters themselves work on";
}

}  // namespace qdmctl
