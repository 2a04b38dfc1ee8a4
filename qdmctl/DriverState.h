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

    /// Completes the judgement of a driver component that a package is offered for. False when
    /// nothing may be installed, whatever the verdict: the offered version is on disk already, or
    /// no record could be kept of what is installed.
    [[nodiscard]] bool Judge(Component& component, const VersionRules& rules);

    /// Error of a component that Judge has failed; none for others.
    [[nodiscard]] std::optional<Error> Fault(const Component& component) const;

    /// Whether the next boot would load this version; asks anew, for behind an installation.
    [[nodiscard]] bool IsOnDisk(const std::string& version, const VersionRules& rules);
    /// As far as it is known; "no driver that modinfo finds" where there is none.
    [[nodiscard]] std::string OnDiskText() const;

    /// The installed version waits for a boot: that is recorded.
    [[nodiscard]] std::optional<Error> Record(const Component& component,
                                              const std::vector<std::string>& deviceIds);
    /// The installed version is in use.
    [[nodiscard]] std::optional<Error> Drop();

    /// Records what is found on disk and waits, though no run has recorded it.
    void RecordFound();

private:
    void Look();
    bool IsRefuted(const std::string& version, const VersionRules& rules) const;
    bool JudgeWaiting(Component& component, const VersionRules& rules);

    Session& session;
    PendingUpdates store;
    std::optional<Error> damage;  ///< of the store
    std::optional<std::string> onDisk;
    bool looked = false;
};

}  // namespace qdmctl
