#pragma once

#include "qdmctl/AnswerReport.h"

#include <string>
#include <vector>

class CVendor;

namespace qdmctl {

/// Name of the document, as the provider gives it.
inline constexpr char reportFile[] = "Emulex_FcConfigInfo.xml";

struct CollectedReport {
    std::string document;             ///< as the provider wrote it; empty when there is none
    std::vector<ReportedPort> ports;  ///< what is in it
};

/// Runs the three phases of the report over the ports, in their order, and takes the document that
/// the provider leaves in `folder` out of it.
[[nodiscard]] CollectedReport CollectReport(const std::vector<CVendor*>& vendors,
                                            const std::string& folder);

}  // namespace qdmctl
