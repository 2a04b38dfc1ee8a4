#include "host/CModuleManager.h"
#include "qdmctl/RepairNote.h"
#include "qdmctl/UpdateRun.h"
#include "qdmctl/WorkAreaCheck.h"

namespace qdmctl {

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

/// A utility that answers needs no repair, be it the new one or the one that was there.
void UpdateRun::EndRepair() {
    if (!runs.empty() && Is(UtilityKind) && !session.ToolIsMissing() &&
        !IsUnreadable(runs.front().item->module->GetOperatingVersion())) {
        Keep(RemoveRepairNote(session.Root()));
    }
}

/// An installation that fails leaves the server without the adapter tool, and a later process has
/// no utility module then: so the second attempt is made here. The backup drops the result file of
/// the first, by which the step would seem done.
bool UpdateRun::MayTryAgain(Progress& run) {
    if (!Is(UtilityKind) || secondAttempt || !session.ToolIsMissing() ||
        session.console.StopRequested()) {
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
