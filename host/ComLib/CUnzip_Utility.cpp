#include "host/CUnzip_Utility.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "host/CTraceUtility.h"
#include "host/ComLib/UnpackFolder.h"

namespace {

class Presence : public MemberSink {
public:
    explicit Presence(const std::set<std::string>& wanted) : missing(wanted) {}
    std::string Begin(const ArchiveMember& member) override {
        if (!member.folder) {
            missing.erase(member.name);
        }
        return "";
    }
    std::string Data(const char*, std::size_t) override { return ""; }
    std::string End(const ArchiveMember&) override { return ""; }

    std::set<std::string> missing;
};

/// Two passes over one open file: nothing is written before all of it was found sound.
std::string Unpack(const std::string& archive, const std::set<std::string>& wanted,
                   const std::string& folder) {
    ArchiveFile file;
    Presence presence(wanted);
    std::string reason = file.Open(archive);
    if (reason.empty()) {
        reason = file.Scan(ArchiveLimits(), presence);
    }
    if (!reason.empty()) {
        return reason;
    }
    if (!presence.missing.empty()) {
        return *presence.missing.begin() + ": no such member";
    }
    UnpackFolder target(wanted);
    reason = target.Open(folder);
    if (reason.empty()) {
        reason = file.Scan(ArchiveLimits(), target);
    }
    if (reason.empty() && !file.Unchanged()) {
        reason = "archive was changed while it was unpacked";
    }
    if (reason.empty()) {
        target.Keep();
    }
    return reason;
}

bool IsRoot(const std::string& path) {
    return path.find_first_not_of('/') == std::string::npos;
}

std::string Delete(const std::string& folder) {
    struct stat status = {};
    if (IsRoot(folder)) {
        return "empty name or root folder";
    }
    // A final "/" would make lstat follow a link.
    const std::string path = folder.substr(0, folder.find_last_not_of('/') + 1);
    if (lstat(path.c_str(), &status) != 0) {
        return errno == ENOENT ? "" : std::strerror(errno);
    }
    if (!S_ISDIR(status.st_mode)) {
        return "is no folder";
    }
    std::error_code error;
    std::filesystem::remove_all(path, error);
    return error ? error.message() : "";
}

}  // namespace

bool CUnzip_Utility::UpdateModuleUnzip(std::string archive, std::list<std::string>* files,
                                       std::string folder, std::string* detail,
                                       std::string traceFile) {
    std::set<std::string> wanted;
    if (files != nullptr) {
        wanted.insert(files->begin(), files->end());
    }
    const std::string reason = Unpack(archive, wanted, folder);
    if (detail != nullptr) {
        *detail = reason;
    }
    if (!reason.empty()) {
        CTraceUtility::WriteDebug(traceFile.c_str(), CTraceUtility::TRACE_DBG_ERROR,
                                  "Archive %s not unpacked: %s", archive.c_str(), reason.c_str());
    }
    return reason.empty();
}

bool CUnzip_Utility::DeleteFolder(std::string folder, std::string traceFile) {
    const std::string reason = Delete(folder);
    if (!reason.empty()) {
        CTraceUtility::WriteDebug(traceFile.c_str(), CTraceUtility::TRACE_DBG_ERROR,
                                  "Folder %s not deleted: %s", folder.c_str(), reason.c_str());
    }
    return reason.empty();
}
