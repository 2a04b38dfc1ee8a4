#pragma once

#include "qdmctl/JsonFields.h"

#include <string>

namespace qdmctl {

[[nodiscard]] bool StartsWith(const std::string& text, const std::string& beginning);

/// A path that stays below the folder that it is taken from: parts of [A-Za-z0-9._+-] separated by
/// "/", none empty, made of dots alone or beginning with "-", which programs take for an option.
/// With `wildcards` also "*" and "?".
[[nodiscard]] bool IsRelativePath(const std::string& text, bool wildcards = false);

/// "util", "firm" or "driver".
[[nodiscard]] bool IsModuleKind(const std::string& text);

/// Letters, digits, "_", "." and "-", at most 64. The first is neither "." nor "-": words become
/// arguments of programs.
[[nodiscard]] bool IsWord(const std::string& text);

/// A program of this form and options, in which no shell finds a meaning beyond these.
[[nodiscard]] bool IsCommand(const std::string& text, bool (*isProgram)(const std::string&));

[[nodiscard]] bool IsLowerHex(const std::string& text, std::size_t digits);

/// A printable text of one line, at most 64 characters of ASCII.
[[nodiscard]] bool IsLabel(const std::string& text);

inline constexpr TextForm wordForm = {IsWord,
                                      "1 to 64 letters, digits, \"_\", \".\" and \"-\", "
                                      "the first no \".\" or \"-\""};
inline constexpr TextForm labelForm = {IsLabel, "1 to 64 printable characters"};
inline constexpr TextForm kindForm = {IsModuleKind, "\"util\", \"firm\" or \"driver\""};

}  // namespace qdmctl
