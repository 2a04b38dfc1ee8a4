#include "provider/modules/CFC_EMULEX_16G_Firmware.h"

#include "provider/common/CEmulexCommon.h"

CFC_EMULEX_16G_Firmware::CFC_EMULEX_16G_Firmware(std::string deviceId, std::string wwpn)
    : CFC_EMULEX_Firmware(deviceId, wwpn) {
    const TraceScope trace = Traced("CFC_EMULEX_16G_Firmware::CFC_EMULEX_16G_Firmware");
}

CFC_EMULEX_16G_Firmware::~CFC_EMULEX_16G_Firmware() {
    const TraceScope trace = Traced("CFC_EMULEX_16G_Firmware::~CFC_EMULEX_16G_Firmware");
}

int CFC_EMULEX_16G_Firmware::CheckVendorVersion(std::string version1, std::string version2) {
    const char* name = "CFC_EMULEX_16G_Firmware::CheckVendorVersion";
    TraceScope trace = Traced(name);
    const int result = CEmulexCommon::CheckVendorVersion4SegNormal(version1, version2);
    trace.SetExit(ResultLine(name, std::to_string(result)));
    return result;
}
