#pragma once

#include <string>

namespace qdmctl {

/// Differs between any two boots of the server; empty when the kernel does not tell it.
[[nodiscard]] std::string BootIdentifier();

}  // namespace qdmctl
