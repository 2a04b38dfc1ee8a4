#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qdmctl {

/// What went wrong, as a program that reads the answer tells it apart.
enum class ErrorId {
    Usage,
    NotRoot,
    Busy,
    NoAdapter,
    NoDevice,
    ToolMissing,
    ToolFailed,
    ListingFailed,
    IndexMissing,
    IndexInvalid,
    PackageMissing,
    PackageDamaged,
    PackageUnsuitable,
    ConfigRefused,
    WorkArea,
    DiskFull,
    Output,
    Limits,
    UpdateFailed,
    NotConfirmed,
    RepairFailed,
    Interrupted,
    Internal
};

struct Error {
    ErrorId id = ErrorId::Internal;
    std::string message;                     ///< what happened
    std::string hint;                        ///< what to do
    std::string deviceId;                    ///< the port that it concerns; empty: the whole run
    std::string kind;                        ///< the kind of module that it concerns; empty: none
    std::optional<unsigned long> lastError;  ///< the provider's last-error code
    std::string messageId;                   ///< the operator message sent with it
};

/// An error of the whole run.
[[nodiscard]] Error MakeError(ErrorId id, std::string message, std::string hint);

/// The name used in answers: "package-damaged".
[[nodiscard]] std::string_view NameOf(ErrorId id);
[[nodiscard]] int ExitCodeOf(ErrorId id);

}  // namespace qdmctl
