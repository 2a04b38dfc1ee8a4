#include "provider/modules/CEMULEX_Driver.h"

#include "provider/common/CEmulexCommon.h"
#include "provider/common/TraceScope.h"
#include "provider/modules/OperatingVersion.h"

#include <optional>

CEMULEX_Driver::CEMULEX_Driver(std::string first, std::string second, std::string wwpn)
    : CDriverWithUpDrv(first, second), wwpn(wwpn) {
    WriteLine("CEMULEX_Driver::CEMULEX_Driver()", "[START]");
    WriteLine("CEMULEX_Driver::CEMULEX_Driver()", "[END]");
}

CEMULEX_Driver::~CEMULEX_Driver() {
    const TraceScope trace("CEMULEX_Driver::~CEMULEX_Driver");
}

void CEMULEX_Driver::WriteLine(const char* operation, const std::string& mark) const {
    CTraceUtility::WriteDebug(Trace::File, Trace::Flow, "%s [%s] [%s] [%s] %s", operation,
                              moduleName.c_str(), deviceId.c_str(), wwpn.c_str(), mark.c_str());
}

void CEMULEX_Driver::SetWWPNorMac(std::string value) {
    wwpn = value;
}

std::string CEMULEX_Driver::GetOperatingVersion() {
    const char* operation = "CEMULEX_Driver::GetOperatingVersion()";
    const TraceScope trace("CEMULEX_Driver::GetOperatingVersion");
    if (wwpn.empty()) {
        return OperatingVersion::Abnormal;
    }
    if (OperatingVersion::IsUpdating(GetUpdateProgress())) {
        return OperatingVersion::DuringUpdate(operation, wwpn, updateTimeVersion,
                                              GetPrevVendorVersion());
    }
    const std::optional<std::string> version =
        OperatingVersion::FromAdapter(operation, wwpn, "Driver Version");
    if (!version) {
        CEmulexCommon::DeleteHbaAttribCache(wwpn);
        return OperatingVersion::Abnormal;
    }
    return FormatVersionString(*version);
}

int CEMULEX_Driver::CheckVendorVersion(std::string version1, std::string version2) {
    const char* operation = "CEMULEX_Driver::CheckVendorVersion()";
    WriteLine(operation, "[START]");
    const int result = CEmulexCommon::CheckVendorVersion4SegNormal(version1, version2);
    WriteLine(operation, "[END] return:" + std::to_string(result));
    return result;
}

std::string CEMULEX_Driver::FormatVersionString(std::string version) {
    const TraceScope trace("CEMULEX_Driver::FormatVersionString");
    return OperatingVersion::FourSegments(
        "CEMULEX_Driver::FormatVersionString() Version format error.", version);
}

int CEMULEX_Driver::UpdateBackup(std::string, bool) {
    const TraceScope trace("CEMULEX_Driver::UpdateBackup");
    return 0;
}

int CEMULEX_Driver::PreUpdate(std::string, std::string, std::list<std::string>*, bool) {
    const TraceScope trace("CEMULEX_Driver::PreUpdate");
    return 0;
}

int CEMULEX_Driver::Update(std::string, std::string, std::list<std::string>*, bool) {
    const TraceScope trace("CEMULEX_Driver::Update");
    return 0;
}

int CEMULEX_Driver::UpdateRestore(std::string) {
    const TraceScope trace("CEMULEX_Driver::UpdateRestore");
    return 0;
}

bool CEMULEX_Driver::UpdateApplyCheck(std::string) {
    const TraceScope trace("CEMULEX_Driver::UpdateApplyCheck");
    return false;
}
