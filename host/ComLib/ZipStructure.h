#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// What a zip archive's own tables tell, held against each other.
struct ZipStructure {
    std::vector<std::string> names;  ///< of all members, in the order of the central directory
    std::string refusal;             ///< empty: the tables are sound
};

/// Reads the tables of an open archive. Readers of zip files disagree where tables do, so only the
/// plain form passes: one central directory at the very end, without comment and without 64-bit
/// extensions; at least one member; members that begin at the first byte and follow each other
/// without overlap or gap; each with the same name in both of its headers, stored or deflated, not
/// encrypted, a folder with "/" behind its name or a file without set-user-id and set-group-id bit.
[[nodiscard]] ZipStructure ReadZipStructure(int descriptor, std::uint64_t fileSize,
                                            std::uint64_t mostMembers);
