#pragma once

#include <string>

namespace qdmctl {

/// Whether what the adapter tool has left in the provider's cache for a port bears the name of
/// another one, or no sound name. An answer without a heading is taken as it is. `wwpn`: sixteen
/// hexadecimal digits.
[[nodiscard]] bool NamesOtherPort(const std::string& root, const std::string& wwpn);

}  // namespace qdmctl
