#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// A member of a zip archive as a test wants it, sound or not.
struct ZipMember {
    std::string name;
    std::string data;                        ///< as packed
    std::optional<std::string> centralName;  ///< where it is to differ
    unsigned mode = 0100644;                 ///< of the Unix attributes
    unsigned method = 0;
    unsigned flags = 0;
    std::optional<std::string> content = std::nullopt;  ///< unpacked, where it is not `data`
    bool wrongSum = false;
};

struct ZipLayout {
    std::string front, gap, comment, behind;
    int count = 0;  ///< added to the number of members in the end record
};

std::string ZipBytes(const std::vector<ZipMember>& members, const ZipLayout& layout = {});

/// A member of 64 KiB zeros, packed to 78 bytes.
ZipMember Bomb(const std::string& name);
