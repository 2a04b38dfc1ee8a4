#pragma once

#include <optional>
#include <string_view>

#include "host/ComLib/PciDevices.h"

/// Parses what the kernel writes into the file "modalias" of a PCI device, which tells all numbers
/// at once: "pci:v000010DFd0000E200sv000010DFsd0000E282bc0Csc04i00" and a line end. The address is
/// left alone. Empty for another form.
[[nodiscard]] std::optional<PciDevice> ParsePciModalias(std::string_view text);
