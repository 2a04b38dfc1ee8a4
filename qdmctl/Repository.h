#pragma once

#include "qdmctl/Answer.h"
#include "qdmctl/Loaded.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace qdmctl {

/// One update module as the index tells it.
struct PackageEntry {
    std::string kind;                 ///< "util", "firm" or "driver"
    std::vector<std::string> models;  ///< exact keys, or prefixes ending in "*"
    std::string version;
    std::string file;  ///< relative to the repository's folder, stays below it
    std::uint64_t size = 0;
    std::string sha256;     ///< 64 lower-case hexadecimal digits
    std::size_t index = 0;  ///< position in the index, from 0
};

struct Repository {
    std::string folder;
    std::vector<PackageEntry> packages;
};

inline constexpr char repositorySchema[] = "qdm.repository/1";
inline constexpr char indexFile[] = "index.json";

/// Reads a repository's index: IndexMissing where there is none, IndexInvalid with one error for
/// each entry at fault (up to a limit) where it cannot be trusted as a whole.
[[nodiscard]] Loaded<Repository> LoadRepository(const std::string& folder);

/// The parsing alone.
[[nodiscard]] Loaded<Repository> ParseIndex(const std::string& text, const std::string& folder);

/// Positive when the second version is newer, negative when it is older.
using VersionCompare = std::function<int(const std::string&, const std::string&)>;
using VersionTest = std::function<bool(const std::string&)>;

/// The package that fits best, none when nothing fits; or the error that stands against choosing.
struct Selection {
    std::optional<PackageEntry> package;
    std::optional<Error> error;
};

/// The newest package of a kind for a model key. A fitting entry whose version is not well-formed
/// is refused (IndexInvalid), since comparisons call malformed versions equal. Among equal versions
/// the entry with the longest model text wins, then the first.
[[nodiscard]] Selection SelectPackage(const Repository& repository, const std::string& kind,
                                      const std::string& matchKey, const VersionCompare& compare,
                                      const VersionTest& isWellFormed);

/// How an offered version (empty: none) stands to the installed one.
[[nodiscard]] Verdict JudgeVersions(const std::string& installed, const std::string& offered,
                                    const VersionCompare& compare, const VersionTest& isWellFormed);

}  // namespace qdmctl
