#pragma once

#include "qdmctl/ModuleKinds.h"
#include "qdmctl/PendingUpdates.h"

#include <optional>
#include <string>
#include <vector>

namespace qdmctl {

class Session;

/// What decides about an update of the driver beside the version in use: the driver that the next
/// boot would load, and an installation that waits for a boot.
class DriverState {
public:
    explicit DriverState(Session& session);

    /// What waits, held against what operates now. Wants linked ports.
    void Load();

    struct Judgement {
        /// False when nothing may be installed, whatever the verdict: the offered version is
        /// installed already, or no record could be kept of what is installed.
        bool installable = true;
        std::optional<Error> fault;  ///< of a component that has failed
    };

    /// Completes the judgement of a driver component that a package is offered for.
    [[nodiscard]] Judgement Judge(Component& component, const VersionRules& rules);

    /// To be called before an offered version is installed: of one that is installed already, but
    /// has not come to its end, rpm forgets the package, so that it can be installed again.
    void MakeInstallable();

    /// Whether the next boot would load this version; asks anew, for behind an installation.
    [[nodiscard]] bool IsOnDisk(const std::string& version, const VersionRules& rules);
    /// As far as it is known; "no driver that modinfo finds" where there is none.
    [[nodiscard]] std::string OnDiskText() const;

    /// The installed version waits for a boot: that is recorded.
    [[nodiscard]] std::optional<Error> Record(const Component& component);
    /// The installed version is in use.
    [[nodiscard]] std::optional<Error> Drop();
    /// The installed version will not come into use as it is; an earlier one that waited is gone.
    [[nodiscard]] std::optional<Error> DropReplaced();

    /// Records what is found on disk and waits, though no run has recorded it for all ports. What
    /// waited for a boot and is not preferred waits no more.
    void RecordFound();

    /// Brings the answer's section up to date behind a run. Wants the ports' versions.
    void TellPending();

private:
    void Look();
    bool IsRefuted(const std::string& version, const VersionRules& rules) const;
    Judgement JudgeWaiting(Component& component, const VersionRules& rules);
    std::string Packaged(const std::string& version, const VersionRules& rules);
    Judgement JudgeNotPreferred(Component& component);
    void TellAgain(Component& component);
    void JudgeByDisk(Component& component, int order) const;
    Judgement LeaveToOthers(Component& component) const;
    Judgement Fail(Component& component, const std::string& what, const std::string& hint) const;
    std::optional<Component> Waiting() const;

    Session& session;
    PendingUpdates store;
    std::optional<Error> damage;  ///< of the store
    std::optional<std::string> onDisk;
    bool looked = false;
    std::optional<std::vector<std::string>> packages;  ///< that rpm tells; none: not asked
    std::string notPreferred;  ///< the offered version, where another driver is preferred to it
    std::string toForget;      ///< how rpm calls that version, where its record is in the way
};

}  // namespace qdmctl
