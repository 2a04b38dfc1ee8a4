#pragma once

#include "host/ComLib/PciDevices.h"
#include "qdmctl/Descriptor.h"
#include "qdmctl/Loaded.h"

#include <string>
#include <vector>

namespace qdmctl {

/// A port of an adapter that the provider supports.
struct DiscoveredPort {
    DeviceIdentifier id;
    std::string subsystemVendor;  ///< four lower-case hexadecimal digits
    std::string subsystemDevice;
    const Model* model = nullptr;  ///< belongs to the descriptor
};

struct Discovery {
    std::vector<DiscoveredPort> ports;  ///< in order of their addresses
    std::vector<std::string> notes;     ///< supported devices that match no model
};

/// The supported-device list of a provider: devices that it may be asked about at all. Entries of
/// another form are left out.
[[nodiscard]] Loaded<std::vector<PciIds>> ReadSupportedDevices(const std::string& file);

/// Picks the Fibre Channel ports that are on the list, and their models by PCI identifiers and the
/// number of such functions in the same slot.
[[nodiscard]] Discovery Classify(const std::vector<PciDevice>& devices,
                                 const std::vector<PciIds>& supported,
                                 const Descriptor& descriptor);

/// The ports of this machine. The descriptor must outlive the result.
[[nodiscard]] Loaded<Discovery> DiscoverPorts(const Descriptor& descriptor);

/// The key by which packages are matched: the provider's own where it has the model's form, else
/// the model's key, completed with the adapter's own PCI identifiers where the model asks for them.
/// The provider reads those with lspci, whose output has changed its columns.
[[nodiscard]] std::string MatchKey(const Model& model, const DiscoveredPort& port,
                                   const std::string& reportedKey);

}  // namespace qdmctl
