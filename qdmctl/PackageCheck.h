#pragma once

#include "qdmctl/Descriptor.h"
#include "qdmctl/Repository.h"

#include <optional>
#include <string>

namespace qdmctl {

/// Copies a package to the new file `staging` (mode 0600) and checks the copy: size and digest of
/// the index, the archive's soundness, and the files that a module of this kind must hold for the
/// model. The package is read once, so what was checked is what is flashed.
///
/// Empty when the copy may be used; else PackageMissing, PackageDamaged, PackageUnsuitable,
/// WorkArea or DiskFull, and no copy is left. Fails with WorkArea when `staging` exists already.
[[nodiscard]] std::optional<Error> CheckPackage(const PackageEntry& entry, const Model& model,
                                                const std::string& folder,
                                                const std::string& staging);

/// The part that looks at a staged archive: for a copy that is used for another model as well.
[[nodiscard]] std::optional<Error> CheckArchive(const std::string& archive,
                                                const PackageEntry& entry, const Model& model);

}  // namespace qdmctl
