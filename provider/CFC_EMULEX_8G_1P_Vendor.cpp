#include "provider/CFC_EMULEX_8G_1P_Vendor.h"

#include "provider/common/TraceScope.h"
#include "provider/modules/CFC_EMULEX_8G_Firmware.h"

const std::string CFC_EMULEX_8G_1P_Vendor::className = "CFC_EMULEX_8G_1P_Vendor";

CFC_EMULEX_8G_1P_Vendor::CFC_EMULEX_8G_1P_Vendor(std::string deviceId)
    : CFC_EMULEX_Vendor(deviceId) {
    const TraceScope trace("CFC_EMULEX_8G_1P_Vendor::CFC_EMULEX_8G_1P_Vendor");
    vendorName = "emulex";
    modelKey = "fcelx_8g1p";
    vendorClassName = className;
}

CFC_EMULEX_8G_1P_Vendor::~CFC_EMULEX_8G_1P_Vendor() {
    const TraceScope trace("CFC_EMULEX_8G_1P_Vendor::~CFC_EMULEX_8G_1P_Vendor");
}

void CFC_EMULEX_8G_1P_Vendor::LinkDevice() {
    const TraceScope trace("CFC_EMULEX_8G_1P_Vendor::LinkDevice");
    // Failure lines name the firmware class; that is relied on.
    LinkModules(new CFC_EMULEX_8G_Firmware(deviceId, GetWWPNOriginal()), "CFC_EMULEX_8G_Firmware",
                "CFC_EMULEX_8G_Firmware::LinkDevice()");
}
