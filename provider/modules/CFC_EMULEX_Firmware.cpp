#include "provider/modules/CFC_EMULEX_Firmware.h"

#include "provider/modules/OperatingVersion.h"

#include <optional>

CFC_EMULEX_Firmware::CFC_EMULEX_Firmware(std::string deviceId, std::string wwpn)
    : CEMULEX_Firmware(deviceId, wwpn) {
    const TraceScope trace = Traced("CFC_EMULEX_Firmware::CFC_EMULEX_Firmware");
}

CFC_EMULEX_Firmware::~CFC_EMULEX_Firmware() {
    const TraceScope trace = Traced("CFC_EMULEX_Firmware::~CFC_EMULEX_Firmware");
}

std::string CFC_EMULEX_Firmware::GetBootBiosVersion() {
    const char* name = "CFC_EMULEX_Firmware::GetBootBiosVersion";
    TraceScope trace = Traced(name);
    std::string version = ReadBootBiosVersion();
    trace.SetExit(ResultLine(name, version));
    return version;
}

// Unlike the firmware's version: an unknown port is asked for all the same, and the cached
// attributes survive a failure.
std::string CFC_EMULEX_Firmware::ReadBootBiosVersion() {
    const char* operation = "CFC_EMULEX_Firmware::GetBootBiosVersion()";
    if (OperatingVersion::IsUpdating(GetUpdateProgress())) {
        return OperatingVersion::DuringUpdate(operation, wwpn, updateTimeVersion,
                                              GetPrevVendorVersion());
    }
    const std::optional<std::string> version =
        OperatingVersion::FromAdapter(operation, wwpn, "Boot Version");
    return version ? CheckBootBiosVersionFormat(*version) : OperatingVersion::Abnormal;
}

std::string CFC_EMULEX_Firmware::CheckBootBiosVersionFormat(std::string version) {
    constexpr const char* name = "CFC_EMULEX_Firmware::CheckBootBiosVersionFormat()";
    OperatingVersion::TraceFormatting(name, version, "START");
    OperatingVersion::TraceFormatting(name, version, "END");
    return version;
}
