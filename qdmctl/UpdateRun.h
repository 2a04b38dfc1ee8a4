#pragma once

#include "qdmctl/UpdatePlan.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace qdmctl {

/// Drives the update cycle of all items, kind by kind in the vendor's order, and phase by phase:
/// every item's backup, then every item's pre-update, and so on, because the ports of a server
/// share the result files by which the provider knows that a step is done.
///
/// An item that fails a step takes no further part but for the clean-up. What is one for the whole
/// server fails for all ports at once and is told once: the result file of a step that has failed
/// would let the next port's step seem done. Once the user wants to stop no changing step is begun
/// any more; what has been begun is cleaned up and checked. Without an adapter tool that answers no
/// further kind is begun.
class UpdateRun {
public:
    UpdateRun(Session& session, DriverState& drivers, std::vector<UpdateItem>& items);

    /// Outcomes go to the items' components, errors to the answer.
    void Run();

private:
    struct Progress {
        UpdateItem* item;
        bool alive = true;   ///< has failed no step so far
        bool begun = false;  ///< a changing step has been begun
        /// Of the answer, once a step has failed; none where the error of another port tells it.
        std::optional<std::size_t> error = std::nullopt;
    };
    /// What an apply check has come to.
    struct Finding {
        bool confirmed = false;
        bool unreadable = false;
        std::string messageId;
    };
    using Call = std::function<int(UpdateItem&)>;  ///< 0 for success

    void RunKind(const std::string& kind);
    void Register();
    void Backup();
    void PreUpdate();
    void Update();
    void ApplyRecords();
    void Restore();
    void CheckApplied();
    void LeaveRest(const char* reason);

    void WorkPhase(const char* name, const Call& call);
    void Phase(const char* name, const Call& call);
    void ChangingPhase(const char* name, const Call& call);
    bool FollowsBegun(const Progress& run) const;
    void ChangingStep(Progress& run, const char* name, const Call& call);
    void DoNotBegin(Progress& run, const char* name, const Component& before);
    Step ChangingStepOf(const Progress& run, const char* name);
    std::optional<bool> Attempt(Progress& run, const Step& description, const Call& call);
    bool MayTryAgain(Progress& run);
    void Fail(Progress& run, const char* step, const CallRecord& record);
    void ShareFailure(const Progress& failed);
    std::size_t AddFailure(ErrorId id, const Progress& run, const char* hint,
                           const CallRecord* record);
    Step MakeStep(const Progress& run, const char* name);
    bool Is(const char* kind) const;
    bool IsWork(const char* name) const;

    void CheckOne(Progress& run);
    void CheckServer();
    Finding Confirm(Progress& run);
    bool IsOfOtherPort(const Progress& run) const;
    void Conclude(Progress& run, const Finding& finding);
    bool SetByDisk(Finding& finding);
    void SetUpdated(Progress& run);
    std::string Doubt(const UpdateItem& item, const Finding& finding) const;
    bool NoteRepair(const Progress& run);
    void EndRepair();
    bool UtilityAnswers(const Progress& run);
    void Keep(std::optional<Error> error);
    void SetUnconfirmed(Progress& run, const Finding& finding);
    void TellState(Progress& run, const char* hint);
    void TellInstalledDriver(const Progress& run);
    void TellMissingTool(Error& error) const;
    void Report();
    void TellInterruption();

    Session& session;
    DriverState& drivers;
    std::vector<UpdateItem>& items;
    const KindTraits* traits = nullptr;  ///< of the kind at hand
    std::vector<Progress> runs;          ///< of the kind at hand
    unsigned stepNumber = 0;
    unsigned stepTotal;
    bool stopped = false;
    bool secondAttempt = false;  ///< at the utility's installation has been made
    bool utilityLost = false;    ///< replaced by one that is missing or does not answer
};

}  // namespace qdmctl
