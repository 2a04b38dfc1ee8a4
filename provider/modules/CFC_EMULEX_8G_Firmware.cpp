#include "provider/modules/CFC_EMULEX_8G_Firmware.h"

#include "host/CStringUtil.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/common/Trace.h"
#include "provider/modules/OperatingVersion.h"

#include <algorithm>

CFC_EMULEX_8G_Firmware::CFC_EMULEX_8G_Firmware(std::string deviceId, std::string wwpn)
    : CFC_EMULEX_Firmware(deviceId, wwpn) {
    const TraceScope trace = Traced("CFC_EMULEX_8G_Firmware::CFC_EMULEX_8G_Firmware");
}

CFC_EMULEX_8G_Firmware::~CFC_EMULEX_8G_Firmware() {
    const TraceScope trace = Traced("CFC_EMULEX_8G_Firmware::~CFC_EMULEX_8G_Firmware");
}

int CFC_EMULEX_8G_Firmware::CheckVendorVersion(std::string version1, std::string version2) {
    const char* name = "CFC_EMULEX_8G_Firmware::CheckVendorVersion";
    TraceScope trace = Traced(name);
    const int result = CEmulexCommon::CheckVendorVersionFCFirmware(version1, version2);
    trace.SetExit(ResultLine(name, std::to_string(result)));
    return result;
}

std::string CFC_EMULEX_8G_Firmware::FormatVersionString(std::string version) {
    if (version.empty()) {
        CTraceUtility::WriteDebug(
            Trace::File, Trace::Error,
            "CFC_EMULEX_8G_Firmware::FormatVersionString() Version empty [%s]", version.c_str());
        return OperatingVersion::Abnormal;
    }
    version.erase(std::min(version.find('('), version.size()));  // a build note in parentheses
    CStringUtil::strTrimAll(version, version);
    if (!CEmulexCommon::CheckVersionFCFirmwareFormat(version)) {
        CTraceUtility::WriteDebug(
            Trace::File, Trace::Error,
            "CFC_EMULEX_8G_Firmware::FormatVersionString() Version format error. [%s]",
            version.c_str());
        return OperatingVersion::Abnormal;
    }
    return version;
}

std::string CFC_EMULEX_8G_Firmware::CheckBootBiosVersionFormat(std::string version) {
    constexpr const char* name = "CFC_EMULEX_8G_Firmware::CheckBootBiosVersionFormat()";
    OperatingVersion::TraceFormatting(name, version, "START");
    if (!CEmulexCommon::CheckVersionFCFirmwareFormat(version)) {
        version = OperatingVersion::Abnormal;
    }
    OperatingVersion::TraceFormatting(name, version, "END");
    return version;
}
