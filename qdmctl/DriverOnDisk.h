#pragma once

#include <optional>
#include <string>

namespace qdmctl {

/// Version of the kernel module that the next boot loads, as `modinfo` tells it for the running
/// kernel. None when there is no such module, it has no version, or `modinfo` is missing or does
/// not answer in time.
[[nodiscard]] std::optional<std::string> DriverOnDisk(const std::string& kernelModule);

/// The version in what `modinfo` has printed, without an epoch "0:" in front.
[[nodiscard]] std::optional<std::string> VersionOfModinfo(const std::string& output);

}  // namespace qdmctl
