#include "host/CCommon_Information.h"
#include "host/CFileUtility.h"
#include "host/CUnzip_Utility.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/common/Failure.h"
#include "provider/common/LineFile.h"
#include "provider/common/OperatorMessage.h"
#include "provider/common/Trace.h"
#include "provider/common/TraceScope.h"
#include "provider/common/WorkArea.h"
#include "provider/modules/CFC_EMULEX_Driver.h"
#include "provider/modules/OperatingVersion.h"
#include "provider/modules/UpdatePackage.h"

#include <cstdlib>

namespace {

constexpr const char* notPrepared = "MSGID_EMULEX_FC_0004_F";
constexpr const char* noSinglePackage = "MSGID_EMULEX_FC_0005_F";

// What `rpm` printed; that it is there marks the package as installed.
std::string ResultFile() {
    return WorkArea::TempFile("temp_driver_fc.txt");
}

void DeleteResultFile() {
    if (!CCommon_Information::RetryDeleteFile(ResultFile())) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Warn,
                                  "Failed to delete Driver update result File [%s]",
                                  ResultFile().c_str());
    }
}

bool Refuse(ErrorCode::Code code, const char* messageId, const std::string& line) {
    return FailAndTell(code, messageId, OperatorMessage::DriverWord, line);
}

bool Skips(const std::string& file, const char* reason) {
    if (!CFileUtility::IsFileExist(file)) {
        return false;
    }
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "%s", reason);
    return true;
}

// The marker comes from the update of converged adapters, which brings this driver along.
bool HasNothingToDo() {
    return Skips(WorkArea::TempFile("SequentialUpdateFile_FCoE.txt"),
                 "Driver update trun is CNA. Driver Update is skipped") ||
           Skips(ResultFile(), "Driver update is previously-reported.Driver Update is skipped");
}

bool SelectFolder(std::string& folder) {
    const std::string architecture = CCommon_Information::GetArchitectureInfo(Trace::File);
    const auto name = UpdatePackage::ArchitectureFolder(architecture);
    if (!name) {
        return Refuse(ErrorCode::ArchitectureNotSupported, notPrepared,
                      "Not supported OS arch " + architecture);
    }
    folder = UpdatePackage::Folder() + "/" + *name + "/FC";
    std::string programs;  // must be found, and serves nothing here
    if (CEmulexCommon::GetProgramFilesFolder_(&programs) == 0) {
        OperatorMessage::WithLastError(notPrepared, OperatorMessage::DriverWord);
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "No %s", folder.c_str());
        return false;
    }
    return true;
}

bool SelectPackage(const std::string& folder, std::string& package) {
    const std::string complaint = "Failed to find update module.There is ";
    std::list<std::string> found;
    CFileUtility::SearchFile(folder, "*.rpm", &found, false);
    if (found.empty()) {
        return Refuse(ErrorCode::NoSingleImage, noSinglePackage, complaint + "not update file.");
    }
    if (found.size() > 1) {
        return Refuse(ErrorCode::NoSingleImage, noSinglePackage, complaint + "some update file.");
    }
    package = folder + "/" + found.front();
    // A message other than that of the two above; relied on.
    return LineFile(package) || Refuse(ErrorCode::NoSingleImage, notPrepared, "No " + package);
}

// A package that fails is no operator message, and what was unpacked stays; both are relied on.
bool Install(const std::string& package) {
    const std::string command = "rpm -Uhv --oldpackage " + package + " > " + ResultFile();
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "Execute Update by _tsystem method [%s]",
                              command.c_str());
    const int status = ::system(command.c_str());
    if (status == 0) {
        return true;
    }
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "Return=%d", status);
    return Fail(ErrorCode::FileOrCommand, "Driver update error(" + command + ").");
}

bool RemoveFolder() {
    return CUnzip_Utility::DeleteFolder(UpdatePackage::Folder(), Trace::File) ||
           Refuse(ErrorCode::FolderNotRemoved, notPrepared,
                  "Failed to get delete update module folder");
}

}  // namespace

int CFC_EMULEX_Driver::UpdateBackup(std::string, bool) {
    const TraceScope trace("CFC_EMULEX_Driver::UpdateBackup");
    DeleteResultFile();
    return 0;
}

int CFC_EMULEX_Driver::PreUpdate(std::string, std::string, std::list<std::string>*, bool) {
    const TraceScope trace("CFC_EMULEX_Driver::PreUpdate");
    return 0;
}

int CFC_EMULEX_Driver::Update(std::string, std::string updateModule, std::list<std::string>* files,
                              bool) {
    const TraceScope trace("CFC_EMULEX_Driver::Update");
    if (HasNothingToDo()) {
        return 0;
    }
    std::string folder, package;
    if (!UpdatePackage::Unpack(updateModule, files, UpdatePackage::Folder(),
                               OperatorMessage::DriverWord) ||
        !SelectFolder(folder) || !SelectPackage(folder, package) || !Install(package)) {
        return 1;
    }
    // The driver is installed whether or not the kernel learns to prefer it.
    DepmodExecute(false, true, false);
    return RemoveFolder() ? 0 : 1;
}

int CFC_EMULEX_Driver::UpdateRestore(std::string) {
    const TraceScope trace("CFC_EMULEX_Driver::UpdateRestore");
    if (CEmulexCommon::DeleteHbaAttribCache(wwpn) != 0) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Warn,
                                  "Failed to get delete HbaAttrib cache file.");
    }
    DeleteResultFile();
    return 0;
}

bool CFC_EMULEX_Driver::UpdateApplyCheck(std::string) {
    const TraceScope trace("CFC_EMULEX_Driver::UpdateApplyCheck");
    // One message for both, other than the modules beside; relied on.
    return OperatingVersion::DiffersFromUpdate(*this, OperatorMessage::DriverWord,
                                               "MSGID_EMULEX_FC_0009_F");
}
