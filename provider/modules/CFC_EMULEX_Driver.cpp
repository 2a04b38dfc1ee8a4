#include "provider/modules/CFC_EMULEX_Driver.h"

#include "provider/common/Trace.h"
#include "provider/common/TraceScope.h"
#include "provider/modules/OperatingVersion.h"

namespace {

std::string Formatted(const std::string& version) {
    if (version.empty()) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error,
                                  "CFC_EMULEX_Driver::FormatVersionString() Version empty [%s]",
                                  version.c_str());
        return OperatingVersion::Abnormal;
    }
    return OperatingVersion::FourSegments(
        "CFC_EMULEX_Driver::FormatVersionString() Version format error.",
        version.substr(0, version.find(';')));
}

}  // namespace

CFC_EMULEX_Driver::CFC_EMULEX_Driver(std::string first, std::string second, std::string wwpn)
    : CEMULEX_Driver(first, second, wwpn) {
    const TraceScope trace("CFC_EMULEX_Driver::CFC_EMULEX_Driver");
}

CFC_EMULEX_Driver::~CFC_EMULEX_Driver() {
    const TraceScope trace("CFC_EMULEX_Driver::~CFC_EMULEX_Driver");
}

std::string CFC_EMULEX_Driver::FormatVersionString(std::string version) {
    constexpr const char* name = "CFC_EMULEX_Driver::FormatVersionString()";
    OperatingVersion::TraceFormatting(name, version, "START");
    version = Formatted(version);
    OperatingVersion::TraceFormatting(name, version, "END");
    return version;
}
