#include "provider/modules/UpdatePackage.h"

#include "host/CFileUtility.h"
#include "host/CUnzip_Utility.h"
#include "provider/common/Failure.h"
#include "provider/common/Trace.h"
#include "provider/common/WorkArea.h"

namespace {

bool Refuse(ErrorCode::Code code, const char* moduleWord, const std::string& line = "") {
    return moduleWord == nullptr ? Fail(code, line)
                                 : FailAndTell(code, "MSGID_EMULEX_FC_0004_F", moduleWord, line);
}

}  // namespace

namespace UpdatePackage {

std::string Folder() {
    return WorkArea::TempFile("tmp");
}

bool Unpack(const std::string& updateModule, std::list<std::string>* files,
            const std::string& folder, const char* moduleWord) {
    if (!CUnzip_Utility::DeleteFolder(folder, Trace::File)) {
        return Refuse(ErrorCode::FolderNotRemoved, moduleWord);
    }
    if (!CFileUtility::CreateFolder(folder)) {
        return Refuse(ErrorCode::FolderNotCreated, moduleWord, "Failed to get create unzip folder");
    }
    std::string detail;
    return CUnzip_Utility::UpdateModuleUnzip(updateModule, files, folder, &detail, Trace::File) ||
           Refuse(ErrorCode::NotUnpacked, moduleWord);
}

std::optional<std::string> ArchitectureFolder(const std::string& architecture) {
    const auto names = [&](const char* word) {
        return architecture.find(word) != std::string::npos;
    };
    if (names("i386") || names("i686")) {
        return "x86";
    }
    if (names("x86_64")) {
        return "x64";
    }
    return std::nullopt;
}

}  // namespace UpdatePackage
