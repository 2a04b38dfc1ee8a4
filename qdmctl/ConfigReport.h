#pragma once

#include "qdmctl/AnswerReport.h"

#include <string>
#include <vector>

class CVendor;

namespace qdmctl {

/// Name of the document, as the provider gives it.
inline constexpr char reportFile[] = "Emulex_FcConfigInfo.xml";

/// Runs the three phases of the report over the ports, in their order, and reads the document that
/// the provider leaves in `folder` (which ends with "/"). Empty when the report could not be made
/// or read.
[[nodiscard]] std::vector<ReportedPort> CollectReport(const std::vector<CVendor*>& vendors,
                                                      const std::string& folder);

}  // namespace qdmctl
