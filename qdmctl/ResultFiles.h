#pragma once

#include <string>
#include <vector>

namespace qdmctl {

/// A file in the provider's work area that says that a step has been done; while it lies there the
/// step is skipped.
struct ResultFile {
    const char* name;
    const char* step;       ///< what is skipped
    bool droppedByRestore;  ///< else it is another program's
};

/// The ones that there are below the install root. None is left by a run that ended by itself.
[[nodiscard]] std::vector<const ResultFile*> FindResultFiles(const std::string& root);

/// Of a run that was killed; with the lock held. Those of other programs stay.
void DropResultFiles(const std::string& root);

[[nodiscard]] std::string PathOf(const ResultFile& file, const std::string& root);

/// Paths of all caches and result files.
[[nodiscard]] std::vector<std::string> KeptReadings(const std::string& root);

}  // namespace qdmctl
