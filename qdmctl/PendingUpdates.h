#pragma once

#include "qdmctl/Error.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qdmctl {

enum class PendingState {
    Pending,    ///< not decided yet
    Confirmed,  ///< the version operates
    Refuted     ///< the server has been booted again, and another version operates
};

/// An update that is installed and takes effect only after a reboot. One at most for each kind:
/// such updates concern the whole server.
struct PendingUpdate {
    std::string kind;                    ///< "driver"
    std::string version;                 ///< that has been installed
    std::string previous;                ///< that operated then; empty: could not be read
    std::string bootId;                  ///< of the boot in which it was installed; empty: unknown
    std::vector<std::string> deviceIds;  ///< the ports that it concerns; at least one
    PendingState state = PendingState::Pending;  ///< never Confirmed in the store
};

/// The updates that wait for a reboot, kept in the state folder. A changing run or a reading run
/// may write them: each keeps the others out.
class PendingUpdates {
public:
    explicit PendingUpdates(std::string root) : root(std::move(root)) {}

    /// To be called first. WorkArea for a damaged store, which is left as it is; then nothing is
    /// known of pending updates, and nothing can be recorded.
    [[nodiscard]] std::optional<Error> Load();

    /// Takes the place of an update of the same kind.
    [[nodiscard]] std::optional<Error> Record(const PendingUpdate& update);
    [[nodiscard]] std::optional<Error> Drop(const std::string& kind);

    /// Null when there is none; valid until the next change.
    [[nodiscard]] const PendingUpdate* Find(const std::string& kind) const;
    [[nodiscard]] const std::vector<PendingUpdate>& All() const { return updates; }

private:
    std::optional<Error> Save(std::vector<PendingUpdate> changed);

    std::string root;
    std::vector<PendingUpdate> updates;
    bool loaded = false;
};

/// 0 for equal versions.
using VersionComparison = std::function<int(const std::string&, const std::string&)>;

/// What has become of an update, by the identifier of the present boot and the version that
/// operates ("abnormal" or empty: unreadable). A version that operates is confirmed whenever that
/// came; one that does not is refuted only in another boot, never by time.
[[nodiscard]] PendingState JudgeUpdate(const PendingUpdate& update, const std::string& bootId,
                                       const std::string& operating,
                                       const VersionComparison& compare);

/// Whether the server has been booted again since the update was installed, for all that is known.
[[nodiscard]] bool IsBootedSince(const PendingUpdate& update, const std::string& bootId);

/// "pending", "confirmed", "refuted".
[[nodiscard]] std::string_view NameOf(PendingState state);

}  // namespace qdmctl
