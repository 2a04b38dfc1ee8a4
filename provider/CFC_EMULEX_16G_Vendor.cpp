#include "provider/CFC_EMULEX_16G_Vendor.h"

#include "provider/common/TraceScope.h"
#include "provider/modules/CFC_EMULEX_16G_Firmware.h"

const std::string CFC_EMULEX_16G_Vendor::className = "CFC_EMULEX_16G_Vendor";

CFC_EMULEX_16G_Vendor::CFC_EMULEX_16G_Vendor(std::string deviceId) : CFC_EMULEX_Vendor(deviceId) {
    const TraceScope trace("CFC_EMULEX_16G_Vendor::CFC_EMULEX_16G_Vendor");
    vendorName = "emulex";
    modelKey = "fcelx_16g";
    vendorClassName = className;
}

CFC_EMULEX_16G_Vendor::~CFC_EMULEX_16G_Vendor() {
    const TraceScope trace("CFC_EMULEX_16G_Vendor::~CFC_EMULEX_16G_Vendor");
}

void CFC_EMULEX_16G_Vendor::LinkDevice() {
    const TraceScope trace("CFC_EMULEX_16G_Vendor::LinkDevice");
    LinkModules(new CFC_EMULEX_16G_Firmware(deviceId, GetWWPNOriginal()), "CFC_EMULEX_16G_Firmware",
                "CFC_EMULEX_16G_Vendor::LinkDevice()");
}
