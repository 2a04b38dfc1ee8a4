#pragma once

#include <string>

namespace qdmctl {

/// What is told about an update of a kind of module that went wrong: what is true now, and what is
/// to be done then.
struct UpdateTexts {
    const char* reports;         ///< goes on with the version that is read now
    const char* notReadable;     ///< in place of that
    const char* liar;            ///< who told success
    const char* begun;           ///< hint while nothing is known of the outcome
    const char* whenUnreadable;  ///< hints, by what is read now
    const char* whenOffered;
    const char* whenOther;
    const char* whenNotActive;  ///< told as done, and another version is read all the same
};

[[nodiscard]] const UpdateTexts& TextsOf(const std::string& kind);

}  // namespace qdmctl
