#pragma once

#include "qdmctl/Answer.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace qdmctl {

struct DeviceChoice {
    std::set<std::string> deviceIds;
    std::optional<Error> error;  ///< NoDevice, or Usage where a name fits several ports
};

/// Which ports the user means. A port goes by its device identifier, by its PCI address with or
/// without the domain, by the beginning of either as far as that is one port's alone, and by its
/// WWPN with or without colons. No names: all ports. WWPNs are known only once the ports have been
/// linked: before that (`byWwpn` false) a name that has the form of one keeps every port.
[[nodiscard]] DeviceChoice ChooseDevices(const std::vector<std::string>& wanted,
                                         const std::vector<Port>& ports, bool byWwpn);

}  // namespace qdmctl
