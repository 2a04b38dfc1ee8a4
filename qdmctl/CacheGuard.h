#pragma once

#include "qdmctl/FileAccess.h"

#include <string>

namespace qdmctl {

/// Keeps the provider's caches honest. A tool that is ended leaves half a file and a run that is
/// killed leaves what it has not dropped yet, and both would be believed for an hour. So a note in
/// the work area tells whether a run is under way, and caches that were not left at rest are
/// emptied. So does a reboot, which may have changed what operates.
class CacheGuard {
public:
    /// Whether the run before has ended well, since the server was started, and the note can be
    /// written; for a first look, without the lock.
    [[nodiscard]] static bool LeftAtRest(const std::string& root);

    /// To be called with the lock held.
    void Begin(const std::string& root);

    /// Empties the caches; with the lock held.
    static void Drop(const std::string& root);

    /// The run has ended well: the next one may use its caches.
    void Trust() const;

private:
    [[nodiscard]] bool Write(const char* state) const;

    FileHandle note;
    std::string boot;
};

}  // namespace qdmctl
