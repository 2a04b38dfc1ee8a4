#pragma once

#include <optional>
#include <string>
#include <vector>

namespace qdmctl {

class Session;

/// Versions of the provider's driver package that `rpm` tells as installed. None where the
/// descriptor names no package, it is not installed, or `rpm` is missing or does not answer in
/// time.
[[nodiscard]] std::vector<std::string> InstalledDriverPackages(Session& session);

/// What to do about an installed driver package that the kernel does not prefer. The package is
/// not to be installed again: rpm refuses the very same one.
[[nodiscard]] std::string PreferenceRemedy(const Session& session);

/// The file for which the provider leaves the driver to another update; empty: it is not there.
[[nodiscard]] std::string DriverSkipMarker(const Session& session);

}  // namespace qdmctl
