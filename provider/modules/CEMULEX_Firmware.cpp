#include "provider/modules/CEMULEX_Firmware.h"

#include "host/CCommon_Information.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/common/ErrorCode.h"
#include "provider/common/OperatorMessage.h"
#include "provider/common/Trace.h"
#include "provider/common/WorkArea.h"
#include "provider/modules/OperatingVersion.h"

#include <optional>
#include <utility>

CEMULEX_Firmware::CEMULEX_Firmware(std::string deviceId, std::string wwpn)
    : CFirmware(deviceId), wwpn(wwpn) {
    WriteLine("CEMULEX_Firmware::CEMULEX_Firmware", "[START]");
    // The second blank of the exit line is relied on.
    const TraceScope trace([&] {
        CTraceUtility::WriteDebug(Trace::File, Trace::Flow,
                                  "CEMULEX_Firmware::CEMULEX_Firmware()  [%s] [%s] [END]",
                                  deviceId.c_str(), wwpn.c_str());
    });
}

CEMULEX_Firmware::~CEMULEX_Firmware() {
    const TraceScope trace = Traced("CEMULEX_Firmware::~CEMULEX_Firmware");
}

TraceScope CEMULEX_Firmware::Traced(const char* operation) const {
    WriteLine(operation, "[START]");
    return TraceScope([this, operation] { WriteLine(operation, "[END]"); });
}

TraceScope::Writer CEMULEX_Firmware::ResultLine(const char* operation, std::string result) const {
    return [this, operation, result = std::move(result)] {
        CTraceUtility::WriteDebug(Trace::File, Trace::Flow, "%s() [%s] [%s] [%s] [END]", operation,
                                  deviceId.c_str(), wwpn.c_str(), result.c_str());
    };
}

void CEMULEX_Firmware::WriteLine(const char* operation, const char* mark) const {
    CTraceUtility::WriteDebug(Trace::File, Trace::Flow, "%s() [%s] [%s] %s", operation,
                              deviceId.c_str(), wwpn.c_str(), mark);
}

void CEMULEX_Firmware::SetWWPNorMac(std::string value) {
    wwpn = value;
}

std::string CEMULEX_Firmware::GetOperatingVersion() {
    const char* name = "CEMULEX_Firmware::GetOperatingVersion";
    TraceScope trace = Traced(name);
    std::string version = ReadOperatingVersion();
    trace.SetExit(ResultLine(name, version));
    return version;
}

std::string CEMULEX_Firmware::ReadOperatingVersion() {
    const char* operation = "CEMULEX_Firmware::GetOperatingVersion()";
    if (wwpn.empty()) {
        return OperatingVersion::Abnormal;
    }
    if (OperatingVersion::IsUpdating(GetUpdateProgress())) {
        return OperatingVersion::DuringUpdate(operation, wwpn, updateTimeVersion,
                                              GetPrevVendorVersion());
    }
    const std::optional<std::string> version =
        OperatingVersion::FromAdapter(operation, wwpn, "FW Version");
    if (!version) {
        CEmulexCommon::DeleteHbaAttribCache(wwpn);
        return OperatingVersion::Abnormal;
    }
    return FormatVersionString(*version);
}

std::string CEMULEX_Firmware::FormatVersionString(std::string version) {
    constexpr const char* name = "CEMULEX_Firmware::FormatVersionString()";
    OperatingVersion::TraceFormatting(name, version, "START");
    version = OperatingVersion::FourSegments(
        "CEMULEX_Firmware::FormatVersionString() Version format error.", version);
    OperatingVersion::TraceFormatting(name, version, "END");
    return version;
}

int CEMULEX_Firmware::CheckVendorVersion(std::string version1, std::string version2) {
    const char* name = "CEMULEX_Firmware::CheckVendorVersion";
    TraceScope trace = Traced(name);
    const int result = CEmulexCommon::CheckVendorVersion4SegNormal(version1, version2);
    trace.SetExit(ResultLine(name, std::to_string(result)));
    return result;
}

int CEMULEX_Firmware::UpdateBackup(std::string, bool) {
    const TraceScope trace = Traced("CEMULEX_Firmware::UpdateBackup");
    return 0;
}

int CEMULEX_Firmware::PreUpdate(std::string, std::string updateModule,
                                std::list<std::string>* messages, bool flag) {
    CTraceUtility::WriteDebug(Trace::File, Trace::Flow,
                              "CEMULEX_Firmware::PreUpdate() [%s] [%s] [%s] [START]",
                              uniqueName.c_str(), deviceId.c_str(), wwpn.c_str());
    TraceScope trace([this] { WriteLine("CEMULEX_Firmware::PreUpdate", "[END]"); });
    std::string ocmPath;
    if (CEmulexCommon::GetOCMManagerInstallPath(&ocmPath) == 0) {
        OperatorMessage::ToolMissing(OperatorMessage::FirmwareWord, "fc");
        CTraceUtility::WriteDebug(Trace::File, Trace::Error,
                                  "Failed to get One Command Manager Install Path");
        // The constructor's name is relied on.
        trace.SetExit([this] { WriteLine("CEMULEX_Firmware::CEMULEX_Firmware", "[END]"); });
        return 1;
    }
    if (FwUpdate(updateModule, WorkArea::TempFile("firm"), ocmPath, messages, flag)) {
        return 0;
    }
    CEmulexCommon::SetLastError(ErrorCode::UpdateFailed);
    OperatorMessage::WithLastError("MSGID_EMULEX_FC_0004_F", OperatorMessage::FirmwareWord);
    CTraceUtility::WriteDebug(Trace::File, Trace::Error, "Failed to open file(%s).",
                              updateModule.c_str());
    return 1;
}

int CEMULEX_Firmware::Update(std::string, std::string, std::list<std::string>*, bool) {
    const TraceScope trace = Traced("CEMULEX_Firmware::Update");
    return 0;
}

int CEMULEX_Firmware::UpdateRestore(std::string) {
    const TraceScope trace = Traced("CEMULEX_Firmware::UpdateRestore");
    if (CEmulexCommon::DeleteHbaAttribCache(wwpn) != 0) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Warn,
                                  "Failed to get delete HbaAttrib cache file.");
    }
    if (!CCommon_Information::RetryDeleteFile(CEmulexCommon::GetDumpCacheFilePath(deviceId))) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Warn, "Failed to delete dump File.");
    }
    return 0;
}

bool CEMULEX_Firmware::UpdateApplyCheck(std::string) {
    const TraceScope trace = Traced("CEMULEX_Firmware::UpdateApplyCheck");
    return OperatingVersion::DiffersFromUpdate(*this, OperatorMessage::FirmwareWord,
                                               "MSGID_EMULEX_FC_0008_F");
}
