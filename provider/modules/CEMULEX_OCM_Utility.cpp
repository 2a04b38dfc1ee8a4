#include "provider/modules/CEMULEX_OCM_Utility.h"

#include "host/CCommon_Information.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/common/FileAge.h"
#include "provider/common/LineFile.h"
#include "provider/common/Trace.h"
#include "provider/common/TraceScope.h"
#include "provider/common/WorkArea.h"
#include "provider/modules/OperatingVersion.h"

#include <optional>
#include <string_view>

namespace {

void DeleteInstallOutput(const std::string& file) {
    if (!CCommon_Information::RetryDeleteFile(file)) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Warn,
                                  "Failed to delete OCM update result File [%s]", file.c_str());
    }
}

std::string VersionFile() {
    return WorkArea::CacheFile("HbaVersion.txt");
}

// Asks the tool for its version. False when it was asked and failed; a missing tool leaves the file
// that there is.
bool Refresh(const std::string& file) {
    std::string ocmPath;
    if (CEmulexCommon::GetOCMManagerInstallPath(&ocmPath) == 0) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error,
                                  "CEMULEX_OCM_Utility::GetOperatingVersion Fail OCMPath:%s",
                                  ocmPath.c_str());
        return true;
    }
    // The quote before the path is never closed; ExecCommand_ takes all of them out.
    const std::string command = "\"" + ocmPath + " version " + " > " + "\"" + file + "\"";
    CTraceUtility::WriteDebug(
        Trace::File, Trace::Info,
        "CEMULEX_OCM_Utility::GetOperatingVersion() ExecForeignModule cmd:[%s]", command.c_str());
    if (CEmulexCommon::ExecCommand_(command) != 0) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error,
                                  "CEMULEX_OCM_Utility::GetOperatingVersion() command error");
        return false;
    }
    return true;
}

// What follows the first ":" of the line that tells the version; empty when there is none.
std::string ReadVersion(const std::string& file, const std::optional<FileStamp>& fresh) {
    LineFile output(file, fresh);
    if (!output) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error,
                                  "CEMULEX_OCM_Utility::GetOperatingVersion() file open error:%s",
                                  file.c_str());
        return "";
    }
    while (const auto line = output.Next()) {
        if (line->find("Command Line Interface") == std::string_view::npos) {
            continue;
        }
        const size_t colon = line->find(':');
        std::string version(colon == std::string_view::npos ? "" : line->substr(colon + 1));
        CTraceUtility::WriteDebug(Trace::File, Trace::Info,
                                  "CEMULEX_OCM_Utility::GetOperatingVersion() strRetVal:%s",
                                  version.c_str());
        return version;
    }
    return "";
}

std::string Normalised(const std::string& version) {
    if (version.empty()) {
        CTraceUtility::WriteDebug(
            Trace::File, Trace::Error,
            "CEMULEX_OCM_Utility::GetOperatingVersion() operating version abnormal. [%s]",
            version.c_str());
        return OperatingVersion::Abnormal;
    }
    return OperatingVersion::FourSegments(
        "CEMULEX_OCM_Utility::GetOperatingVersion() operating version format error.",
        version.substr(0, version.find('(')));
}

}  // namespace

CEMULEX_OCM_Utility::CEMULEX_OCM_Utility(std::string deviceId) : CUtility(deviceId, ModuleName) {
    const TraceScope trace("CEMULEX_OCM_Utility::CEMULEX_OCM_Utility");
}

CEMULEX_OCM_Utility::~CEMULEX_OCM_Utility() {
    const TraceScope trace("CEMULEX_OCM_Utility::~CEMULEX_OCM_Utility");
}

std::string CEMULEX_OCM_Utility::GetOperatingVersion() {
    TraceScope trace("CEMULEX_OCM_Utility::GetOperatingVersion");
    const std::string file = VersionFile();
    CTraceUtility::WriteDebug(Trace::File, Trace::Info,
                              "CEMULEX_OCM_Utility::GetOperatingVersion() strOutputFile:%s",
                              file.c_str());
    const std::optional<FileStamp> fresh =
        FreshCache(file, "CEMULEX_OCM_Utility::GetOperatingVersion() Hba version file");
    const bool readable = fresh || Refresh(file);
    std::string version = Normalised(readable ? ReadVersion(file, fresh) : "");
    trace.SetExit([version] {
        CTraceUtility::WriteDebug(
            Trace::File, Trace::Flow,
            "CEMULEX_OCM_Utility::GetOperatingVersion() FixVersion:(%s) [END]", version.c_str());
    });
    return version;
}

int CEMULEX_OCM_Utility::CheckVendorVersion(std::string operating, std::string update) {
    const TraceScope trace("CEMULEX_OCM_Utility::CheckVendorVersion");
    return CEmulexCommon::CheckVendorVersion4SegNormal(operating, update);
}

std::string CEMULEX_OCM_Utility::InstallOutput() {
    return WorkArea::TempFile("temp_ocm_install.txt");
}

int CEMULEX_OCM_Utility::UpdateBackup(std::string, bool) {
    const TraceScope trace("CEMULEX_OCM_Utility::UpdateBackup");
    DeleteInstallOutput(InstallOutput());
    return 0;
}

int CEMULEX_OCM_Utility::PreUpdate(std::string folder, std::string updateModule,
                                   std::list<std::string>* files, bool flag) {
    const TraceScope trace("CEMULEX_OCM_Utility::PreUpdate");
    if (OCMUpdate(folder, updateModule, files, flag)) {
        return 0;
    }
    CTraceUtility::WriteDebug(Trace::File, Trace::Error, "Failed to update(%s)(%d).", ModuleName,
                              static_cast<int>(CEmulexCommon::GetLastError()));
    return 1;
}

int CEMULEX_OCM_Utility::Update(std::string, std::string, std::list<std::string>*, bool) {
    const TraceScope trace("CEMULEX_OCM_Utility::Update");
    return 0;
}

int CEMULEX_OCM_Utility::UpdateRestore(std::string) {
    const TraceScope trace("CEMULEX_OCM_Utility::UpdateRestore");
    DeleteInstallOutput(InstallOutput());
    if (!CCommon_Information::RetryDeleteFile(VersionFile())) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Warn,
                                  "Failed to delete OCM operating version File.");
    }
    return 0;
}

bool CEMULEX_OCM_Utility::UpdateApplyCheck(std::string) {
    const TraceScope trace("CEMULEX_OCM_Utility::UpdateApplyCheck");
    return OperatingVersion::DiffersFromUpdate(*this, ModuleName, "MSGID_EMULEX_FC_0008_F");
}
