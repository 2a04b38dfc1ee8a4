#include "host/CCommon_Information.h"
#include "host/CFileUtility.h"
#include "host/CMutexUtil.h"
#include "host/CStringUtil.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/common/ErrorCode.h"
#include "provider/common/FileAge.h"
#include "provider/common/LineFile.h"
#include "provider/common/TextFile.h"
#include "provider/common/Trace.h"
#include "provider/common/TraceScope.h"
#include "provider/common/WorkArea.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <string_view>

namespace {

constexpr const char* listingResult = "fsresult";

std::string AttributeFile(std::string wwpn) {
    std::replace(wwpn.begin(), wwpn.end(), ':', '-');
    return WorkArea::CacheFile("HbaAttrib" + wwpn + ".txt");
}

bool Regenerate(const std::string& wwpn, const std::string& file) {
    std::string tool;
    if (!CEmulexCommon::GetOCMManagerInstallPath(&tool)) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error,
                                  "CEmulexCommon::GetHbaAttribData() Fail OCMPath:%s",
                                  tool.c_str());
        return false;
    }
    const std::string command = "\"" + tool + "\" HbaAttributes " + wwpn + " > \"" + file + "\"";
    CTraceUtility::WriteDebug(Trace::File, Trace::Info,
                              "CEmulexCommon::GetHbaAttribData() strListCmd:%s", command.c_str());
    // Relied on: a failed run (-1) passes, and the file is read in any case.
    if (CEmulexCommon::ExecCommand_(command) == 1) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error,
                                  "CEmulexCommon::GetHbaAttribData() command error");
        return false;
    }
    return true;
}

// The first line that contains the key anywhere decides.
int ReadAttribute(LineFile& text, const std::string& key, std::string& value) {
    while (const auto line = text.Next()) {
        if (line->empty() || line->find(key) == std::string_view::npos) {
            continue;
        }
        const std::size_t colon = line->find(':');
        value = colon == std::string_view::npos ? "" : line->substr(colon + 1);
        return colon == std::string_view::npos ? -1 : 0;
    }
    return -1;
}

// Writes the names of the files to the listing result.
bool ListFiles(const std::string& directory, const std::string& pattern) {
    const std::string command = "/bin/ls " + directory + "/" + pattern + " > " +
                                WorkArea::TempFile(listingResult) + " 2>&1";
    CTraceUtility::WriteDebug(Trace::File, Trace::Info,
                              "CEmulexCommon::LatestFile() system exec:[%s]", command.c_str());
    return ::system(command.c_str()) == 0;
}

void TraceModification(time_t modified) {
    char text[32];
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "st_mtime=%d", static_cast<int>(modified));
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "Last Modify [%s]",
                              ::ctime_r(&modified, text) == nullptr ? "" : text);
}

struct Newest {
    std::string file;
    time_t written = 0;
};

void Compare(const std::string& file, Newest& newest) {
    struct stat state;
    if (::stat(file.c_str(), &state) != 0) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "stat error!!");
        return;
    }
    TraceModification(state.st_mtime);
    if (state.st_mtime > newest.written) {
        newest = {file, state.st_mtime};
    }
}

// A name with a blank in it is taken for several.
std::string NewestListed() {
    constexpr const char* blanks = " \t\v\f\r";
    LineFile listing(WorkArea::TempFile(listingResult));
    Newest newest;
    while (const auto line = listing.Next()) {
        std::size_t end = 0;
        for (std::size_t at; (at = line->find_first_not_of(blanks, end)) != line->npos;) {
            end = std::min(line->find_first_of(blanks, at), line->size());
            Compare(std::string(line->substr(at, end - at)), newest);
        }
    }
    return newest.file;
}

}  // namespace

int CEmulexCommon::GetHbaAttribData(std::string wwpn, std::string key, std::string& value) {
    TraceScope trace("CEmulexCommon::GetHbaAttribData");
    if (wwpn.empty()) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error,
                                  "CEmulexCommon::GetHbaAttribData() Fail tsWWPNMAC empty");
        return -1;
    }
    const std::string file = AttributeFile(wwpn);
    CTraceUtility::WriteDebug(Trace::File, Trace::Info,
                              "CEmulexCommon::GetHbaAttribData() strOutputFile:%s", file.c_str());
    const std::optional<FileStamp> fresh =
        FreshCache(file, "CEmulexCommon::GetHbaAttribData() HbaAttributes file");
    if (!fresh && !Regenerate(wwpn, file)) {
        return -1;
    }
    LineFile text(file, fresh);
    if (!text) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "file open error:%s", file.c_str());
        return -1;
    }
    const int result = ReadAttribute(text, key, value);
    CStringUtil::strTrimAll(value, value);
    trace.SetExit([&wwpn, &key, result] {
        CTraceUtility::WriteDebug(Trace::File, Trace::Flow,
                                  "CEmulexCommon::GetHbaAttribData(%s) find:(%s) return:(%d) [END]",
                                  wwpn.c_str(), key.c_str(), result);
    });
    return result;
}

int CEmulexCommon::DeleteHbaAttribCache(std::string wwpn) {
    TraceScope trace("CEmulexCommon::DeleteHbaAttribCache");
    if (wwpn.empty()) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error,
                                  "CEmulexCommon::DeleteHbaAttribCache() Fail tsWWPNMAC empty");
        return -1;
    }
    const std::string file = AttributeFile(wwpn);
    CTraceUtility::WriteDebug(Trace::File, Trace::Info,
                              "CEmulexCommon::DeleteHbaAttribCache() strOutputFile:%s",
                              file.c_str());
    if (!CCommon_Information::RetryDeleteFile(file)) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error,
                                  "CEmulexCommon::DeleteHbaAttribCache() RetryDeleteFile fail:[%s]",
                                  file.c_str());
        return -1;
    }
    return 0;
}

int CEmulexCommon::CreateLocalDirectory() {
    TraceScope trace("CEmulexCommon::CreateLocalDirectory");
    if (!CFileUtility::CreateFolder(WorkArea::CacheFolder())) {
        SetLastError(ErrorCode::CacheFolderNotCreated);
        return 0;
    }
    if (!CFileUtility::CreateFolder(WorkArea::TempFolder())) {
        SetLastError(ErrorCode::FolderNotCreated);
        return 0;
    }
    return 1;
}

std::string CEmulexCommon::GetDumpCacheFilePath(std::string name) {
    TraceScope trace("CEmulexCommon::GetDumpCacheFilePath");
    CStringUtil::strReplace(name, "/", "_");
    CStringUtil::strReplace(name, ":", "-");
    std::string path = WorkArea::CacheFile("CacheDump_" + name + ".txt");
    CTraceUtility::WriteDebug(Trace::File, Trace::Info,
                              "CEmulexCommon::GetDumpCacheFilePath() [%s]", path.c_str());
    return path;
}

int CEmulexCommon::CheckDumpFileKeyWord_(std::string file, std::string adapterType) {
    TraceScope trace("CEmulexCommon::CheckDumpFileKeyWord_");
    const char* keyword = adapterType == "cna" ? "Port WWPN/MAC: " : "Port WWN: ";
    TextFile text(file);
    if (!text) {
        return 0;
    }
    std::string line;
    while (text.ReadLine(line)) {
        if (line.find(keyword) != std::string::npos) {
            CTraceUtility::WriteDebug(Trace::File, Trace::Info, "[%s] is found", keyword);
            return 1;
        }
    }
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "[%s] is not found", keyword);
    return 0;
}

std::string CEmulexCommon::LatestFile(std::string directory, std::string pattern) {
    TraceScope trace("CEmulexCommon::LatestFile");
    CMutexUtil lock;
    lock.Create(1, nullptr, nullptr);
    lock.Lock(-1);
    std::string newest = ListFiles(directory, pattern) ? NewestListed() : "";
    ::unlink(WorkArea::TempFile(listingResult).c_str());
    lock.Unlock();
    trace.SetExit("CEmulexCommon::LatestFile() [END] latest filename=" + newest);
    return newest;
}
