#pragma once

#include <string>
#include <vector>

class CVendor;

namespace qdmctl {

/// What the provider's configuration report tells of one port.
struct ReportedPort {
    std::string location;  ///< "3/0/1"
    std::string wwpn;
    std::string firmware;
    std::string bootBios;
    std::string driver;
    std::string utility;
};

/// Runs the three phases of the report over the ports, in their order, and reads the document that
/// the provider leaves in `folder` (which ends with "/"). Empty when the report could not be made
/// or read.
[[nodiscard]] std::vector<ReportedPort> CollectReport(const std::vector<CVendor*>& vendors,
                                                      const std::string& folder);

}  // namespace qdmctl
