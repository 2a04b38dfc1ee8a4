#include "qdmctl/Error.h"

#include <iterator>
#include <utility>

namespace qdmctl {
namespace {

constexpr int exitFailed = 1;

struct ErrorKind {
    std::string_view name;
    int exitCode;
};

/// In the order of ErrorId.
constexpr ErrorKind errorKinds[] = {
    {"usage", 2},
    {"not-root", 9},
    {"busy", 7},
    {"no-adapter", 3},
    {"no-device", 3},
    {"tool-missing", exitFailed},
    {"tool-failed", exitFailed},
    {"listing-failed", exitFailed},
    {"index-missing", 8},
    {"index-invalid", 8},
    {"package-missing", 8},
    {"package-damaged", 8},
    {"package-unsuitable", 8},
    {"config-refused", exitFailed},
    {"work-area", exitFailed},
    {"disk-full", exitFailed},
    {"output-failed", exitFailed},
    {"limits", exitFailed},
    {"update-failed", exitFailed},
    {"not-confirmed", exitFailed},
    {"repair-failed", exitFailed},
    {"interrupted", exitFailed},
    {"internal", exitFailed},
};
static_assert(std::size(errorKinds) == static_cast<std::size_t>(ErrorId::Internal) + 1);

}  // namespace

Error MakeError(ErrorId id, std::string message, std::string hint) {
    Error error;
    error.id = id;
    error.message = std::move(message);
    error.hint = std::move(hint);
    return error;
}

std::string_view NameOf(ErrorId id) {
    return errorKinds[static_cast<std::size_t>(id)].name;
}

int ExitCodeOf(ErrorId id) {
    return errorKinds[static_cast<std::size_t>(id)].exitCode;
}

}  // namespace qdmctl
