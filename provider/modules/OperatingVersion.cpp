#include "provider/modules/OperatingVersion.h"

#include "host/CStringUtil.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/common/OperatorMessage.h"
#include "provider/common/Trace.h"

namespace {

constexpr int firstUpdateProgress = 25;
constexpr int lastUpdateProgress = 84;

}  // namespace

namespace OperatingVersion {

bool IsUpdating(int progress) {
    return firstUpdateProgress <= progress && progress <= lastUpdateProgress;
}

std::string DuringUpdate(const char* operation, const std::string& wwpn,
                         const std::string& updateTimeVersion, const std::string& prevVersion) {
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "%s Update processing [%s] %s or %s",
                              operation, wwpn.c_str(), updateTimeVersion.c_str(),
                              prevVersion.c_str());
    return updateTimeVersion.empty() ? prevVersion : updateTimeVersion;
}

std::optional<std::string> FromAdapter(const char* operation, const std::string& wwpn,
                                       const char* attribute) {
    std::string value;
    const int result = CEmulexCommon::GetHbaAttribData(wwpn, attribute, value);
    if (result != 0) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "%s GetHbaAttribData return:%d",
                                  operation, result);
        return std::nullopt;
    }
    CStringUtil::strTrimAll(value, value);
    return value;
}

void TraceFormatting(const char* operation, const std::string& version, const char* mark) {
    CTraceUtility::WriteDebug(Trace::File, Trace::Flow, "%s [%s][%s]", operation, version.c_str(),
                              mark);
}

std::string FourSegments(const char* complaint, std::string version) {
    CStringUtil::strTrimAll(version, version);
    version = CEmulexCommon::FormatVersion4SegCleanDust(version);
    if (!CStringUtil::CheckVersion4SegFormat(version)) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "%s [%s]", complaint, version.c_str());
        return Abnormal;
    }
    return version;
}

bool DiffersFromUpdate(CModuleManager& module, const char* moduleWord, const char* unreadableId) {
    const std::string operating = module.GetOperatingVersion();
    const std::string update = module.GetOperatingModuleInfo().version;
    if (operating == Abnormal) {
        OperatorMessage::Mismatch(unreadableId, moduleWord, operating, update);
        return true;
    }
    if (module.CheckVendorVersion(operating, update) == 0) {
        return false;
    }
    OperatorMessage::Mismatch("MSGID_EMULEX_FC_0009_F", moduleWord, operating, update);
    return true;
}

}  // namespace OperatingVersion
