#include "provider/CFC_EMULEX_8G_2P_Vendor.h"

#include "host/CCommon_Information.h"
#include "host/CStringUtil.h"
#include "provider/common/Trace.h"
#include "provider/common/TraceScope.h"
#include "provider/modules/CFC_EMULEX_8G_Firmware.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>

namespace {

// Below the standard install location whatever the install root is; that is relied on.
constexpr const char* identifierFile = "/opt/velmora/qdm/provider/tmp/EMULEX/temp/4ids";

// Keeps vendor, device and both subsystem identifiers of the machine-readable line, joined by "_".
constexpr const char* pipeline = R"(| cut -d " " -f3,4,6,7 | sed -e s/'" "'/_/g -e s/'"'//g)";

constexpr size_t identifiersLength = 19;  // "10df_f100_10df_f100", without the line end
constexpr size_t readLength = 24;

std::string IdentifierCommand(const std::string& deviceId) {
    const std::string slot = deviceId.substr(0, deviceId.find('-'));
    return "lspci -nms " + slot + " " + pipeline + " > " + identifierFile;
}

std::string PciIdentifiers(const std::string& deviceId) {
    const std::string command = IdentifierCommand(deviceId);
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "ExecForeignModule cmd:[%s]",
                              command.c_str());
    unsigned long exitCode = 1;
    const int result = CCommon_Information::ExecForeignModule(
        command, "", "", &exitCode, std::numeric_limits<unsigned long>::max());
    if (result != 0 || exitCode != 0) {
        return "";
    }
    return CFC_EMULEX_8G_2P_Vendor::ReadIdentifiers(identifierFile);
}

}  // namespace

const std::string CFC_EMULEX_8G_2P_Vendor::className = "CFC_EMULEX_8G_2P_Vendor";

CFC_EMULEX_8G_2P_Vendor::CFC_EMULEX_8G_2P_Vendor(std::string deviceId)
    : CFC_EMULEX_Vendor(deviceId) {
    const TraceScope trace("CFC_EMULEX_8G_2P_Vendor::CFC_EMULEX_8G_2P_Vendor");
    vendorName = "emulex";
    modelKey = "fcelx_8g2p_" + CStringUtil::StringToLowerCase(PciIdentifiers(deviceId));
    vendorClassName = className;
}

CFC_EMULEX_8G_2P_Vendor::~CFC_EMULEX_8G_2P_Vendor() {
    const TraceScope trace("CFC_EMULEX_8G_2P_Vendor::~CFC_EMULEX_8G_2P_Vendor");
}

void CFC_EMULEX_8G_2P_Vendor::LinkDevice() {
    const TraceScope trace("CFC_EMULEX_8G_2P_Vendor::LinkDevice");
    LinkModules(new CFC_EMULEX_8G_Firmware(deviceId, GetWWPNOriginal()), "CFC_EMULEX_8G_Firmware",
                "CFC_EMULEX_8G_2P_Vendor::LinkDevice()");
}

std::string CFC_EMULEX_8G_2P_Vendor::ReadIdentifiers(const std::string& file) {
    char text[readLength];
    std::size_t size = 0;
    if (std::FILE* const identifiers = std::fopen(file.c_str(), "re")) {
        size = std::fread(text, 1, readLength, identifiers);
        std::fclose(identifiers);
    }
    return std::string(text, ::strnlen(text, std::min(size, identifiersLength)));
}
