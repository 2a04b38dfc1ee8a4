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

/// Whether installing the package once more may bring what has not come of it, as behind a run that
/// was ended between rpm and depmod. Not where somebody has decided otherwise: the provider leaves
/// a preference file that names the module alone, though it be in a comment.
[[nodiscard]] bool MayInstallAgain(const Session& session);

/// Makes rpm forget a version of the package, and nothing else: it would refuse to install the very
/// same one again.
void ForgetDriverPackage(Session& session, const std::string& version);

/// What to do about an installed driver package that the kernel does not prefer.
[[nodiscard]] std::string PreferenceRemedy(const Session& session);

/// The file for which the provider leaves the driver to another update; empty: it is not there.
[[nodiscard]] std::string DriverSkipMarker(const Session& session);

}  // namespace qdmctl
