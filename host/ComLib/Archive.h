#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What an archive may hold at most. Update modules are unpacked as root.
struct ArchiveLimits {
    std::uint64_t members = 4096;
    std::uint64_t bytes = std::uint64_t{2} << 30;  ///< of all members, unpacked
    std::uint64_t ratio = 200;                     ///< unpacked to packed size of the whole archive
    unsigned depth = 8;                            ///< folders above a file
};

struct ArchiveMember {
    std::string name;  ///< path inside the archive, parts separated by "/"
    std::uint64_t bytes = 0;
    bool folder = false;
};

/// Members of a zip archive, or the reason why it is refused.
struct ArchiveListing {
    std::vector<ArchiveMember> members;
    std::string refusal;  ///< empty: the archive is sound; else members is empty
};

/// Reads the whole archive, checks of every member included, and writes nothing. Refused are: what
/// is no zip archive or an empty one, damaged or encrypted members, absolute names, "..", links and
/// devices, set-user-id and set-group-id files, names outside [A-Za-z0-9._+-] and "/", names that
/// differ in case alone or not at all, and archives over their limits.
[[nodiscard]] ArchiveListing InspectArchive(const std::string& archive,
                                            const ArchiveLimits& limits = {});

/// Content of one member of a sound archive, at most `limit` bytes; empty when it cannot be read or
/// is longer.
[[nodiscard]] std::optional<std::string> ReadArchiveMember(const std::string& archive,
                                                           const std::string& member,
                                                           std::uint64_t limit);
