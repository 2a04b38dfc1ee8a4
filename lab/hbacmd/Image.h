#pragma once

#include <string>

/// A flash image of the lab: a header of lines, an empty line, and the bytes that are flashed.
struct Image {
    std::string kind;    ///< "firmware" or "bios"
    std::string family;  ///< adapter family it is made for
    std::string version;
    std::string biosVersion;  ///< boot BIOS that a firmware image brings along, else empty
};

/// Reads and verifies an image file. Throws Refusal when it is missing, none of ours or damaged.
[[nodiscard]] Image ReadImage(const std::string& path);
