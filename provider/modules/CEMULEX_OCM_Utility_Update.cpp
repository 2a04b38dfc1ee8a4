#include "host/CCommon_Information.h"
#include "host/CFileUtility.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/common/Failure.h"
#include "provider/common/Trace.h"
#include "provider/common/TraceScope.h"
#include "provider/common/WorkArea.h"
#include "provider/modules/CEMULEX_OCM_Utility.h"
#include "provider/modules/UpdatePackage.h"

#include <sys/stat.h>

#include <cstdlib>

namespace {

constexpr int judgedByMessages = 3;  // result mode of EmulexUpdate

constexpr const char* uninstallScript = "uninstall.sh";
constexpr const char* installScript = "install.sh";

/// The unpacked package and what its scripts came to.
struct Package {
    std::string folder;
    unsigned long returnCode = 1;  ///< one for both scripts: the second finds what the first left
};

bool IsInstalled(const std::string& output) {
    struct stat state;
    if (::stat(output.c_str(), &state) != 0) {
        return false;
    }
    CTraceUtility::WriteDebug(Trace::File, Trace::Info,
                              "OCM update is previously-reported.OCM Update is skipped");
    return true;
}

// An architecture that is not served leaves the last error alone; relied on.
bool SelectFolder(Package& package) {
    const auto name =
        UpdatePackage::ArchitectureFolder(CCommon_Information::GetArchitectureInfo(Trace::File));
    if (!name) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "Failed to get os architecture.");
        return false;
    }
    package.folder = UpdatePackage::Folder() + "/" + *name;
    return true;
}

bool HasScript(const Package& package, const std::string& script) {
    return CFileUtility::IsFileExist(package.folder + "/" + script) ||
           Fail(ErrorCode::NoSingleImage,
                "Failed to find update module.There is not " + script + " file.");
}

// Scripts that stay without the right to run fail by themselves.
void MakeRunnable(const Package& package) {
    const std::string command = "chmod 777 " + package.folder + "/*";
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "Execute tsystem command:[%s]",
                              command.c_str());
    const int status = ::system(command.c_str());
    if (status != 0) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Warn, "[%s] return [%d]", command.c_str(),
                                  status);
    }
}

bool RunScript(Package& package, const std::string& script, const std::string& output) {
    return CEmulexCommon::EmulexUpdate(package.folder + "/" + script, output, "",
                                       &package.returnCode, "", package.folder + "/message.txt",
                                       judgedByMessages) != 0 ||
           Fail(ErrorCode::FileOrCommand, "Failed to open file(" + output + ").");
}

bool Uninstall(Package& package) {
    const std::string output = WorkArea::TempFile("temp_ocm_uninstall.txt");
    const bool uninstalled = RunScript(package, uninstallScript, output);
    if (!CCommon_Information::RetryDeleteFile(output)) {
        // The other file's name is relied on.
        CTraceUtility::WriteDebug(Trace::File, Trace::Warn,
                                  "Failed to delete OCM update result File [%s]",
                                  WorkArea::TempFile("ocm_update_result.txt").c_str());
    }
    return uninstalled;
}

bool Install(Package& package, const std::string& output) {
    return HasScript(package, installScript) &&
           RunScript(package, std::string(installScript) + " -q", output);
}

}  // namespace

bool CEMULEX_OCM_Utility::OCMUpdate(std::string, std::string updateModule,
                                    std::list<std::string>* files, bool) {
    const TraceScope trace("CEMULEX_OCM_Utility::OCMUpdate");
    const std::string output = InstallOutput();
    if (IsInstalled(output)) {
        return true;
    }
    Package package;
    if (!UpdatePackage::Unpack(updateModule, files, UpdatePackage::Folder(), ModuleName) ||
        !SelectFolder(package) || !HasScript(package, uninstallScript)) {
        return false;
    }
    MakeRunnable(package);
    return Uninstall(package) && Install(package, output);
}
