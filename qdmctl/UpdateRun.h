#pragma once

#include "qdmctl/UpdatePlan.h"

#include <functional>
#include <string>
#include <vector>

namespace qdmctl {

/// Drives the update cycle of all items, phase by phase: every item's backup, then every item's
/// pre-update, and so on, because the ports of a server share the result files by which the
/// provider knows that a step is done.
///
/// An item that fails a step takes no further part but for the clean-up. Once the user wants to
/// stop no changing step is begun any more; what has been begun is cleaned up and checked.
class UpdateRun {
public:
    UpdateRun(Session& session, std::vector<UpdateItem>& items);

    /// Outcomes go to the items' components, errors to the answer.
    void Run();

private:
    struct Progress {
        UpdateItem* item;
        bool alive = true;      ///< has failed no step so far
        bool begun = false;     ///< a changing step has been begun
        std::size_t error = 0;  ///< of the answer, once a step has failed
    };
    using Call = std::function<int(UpdateItem&)>;  ///< 0 for success

    void RunKind(const std::string& kind);
    void CheckConditions();
    void Register();
    void Backup();
    void PreUpdate();
    void Update();
    void ApplyRecords();
    void Restore();
    void CheckApplied();

    void Phase(const char* name, const Call& call);
    void ChangingPhase(const char* name, const Call& call);
    bool FollowsBegun(const Progress& run) const;
    void ChangingStep(Progress& run, const char* name, const Call& call);
    void CheckOne(Progress& run);
    void Fail(Progress& run, const char* step, const CallRecord& record);
    Step MakeStep(const Progress& run, const char* name);
    bool Confirmed(CModuleManager& module, const CallRecord& record);
    void TellState(Progress& run, const char* hint);
    void Report();
    void TellInterruption();

    Session& session;
    std::vector<UpdateItem>& items;
    std::vector<Progress> runs;  ///< of the kind at hand
    unsigned stepNumber = 0;
    unsigned stepTotal;
    bool stopped = false;
};

}  // namespace qdmctl
