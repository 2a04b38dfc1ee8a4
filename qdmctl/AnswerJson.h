#pragma once

#include "qdmctl/Answer.h"

#include <string>

namespace qdmctl {

/// The answer as one JSON object with a final line feed, in the form of its schema. Always valid
/// UTF-8: bytes that are none are replaced by U+FFFD. A version that could not be read, a WWPN or a
/// PCI location that is not known are null.
[[nodiscard]] std::string ToJson(const Answer& answer);

}  // namespace qdmctl
