#include "host/CFileUtility.h"

#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <memory>

#include "host/DllCommon/InstallRoot.h"

namespace {

constexpr int kDeepestSearch = 32;

bool IsFolder(const std::string& path) {
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::string WithoutFinalSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

bool MakeParents(const std::string& path) {
    for (auto slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        if (mkdir(path.substr(0, slash).c_str(), 0700) != 0 && errno != EEXIST) {
            return false;
        }
    }
    return true;
}

/// Calls `visit` for each entry but "." and ".."; false when the folder could not be read.
bool ForEachEntry(const std::string& folder,
                  const std::function<void(const std::string& name, mode_t mode)>& visit) {
    const std::unique_ptr<DIR, int (*)(DIR*)> open(opendir(folder.c_str()), closedir);
    if (!open) {
        return false;
    }
    const dirent* entry = nullptr;
    while ((errno = 0, entry = readdir(open.get())) != nullptr) {
        const std::string name = entry->d_name;
        struct stat status = {};
        if (name != "." && name != ".." &&
            fstatat(dirfd(open.get()), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
            visit(name, status.st_mode);
        }
    }
    return errno == 0;
}

bool Search(const std::string& folder, const std::string& pattern, int depth,
            std::list<std::string>& found) {
    return ForEachEntry(folder, [&](const std::string& name, mode_t mode) {
        if (S_ISREG(mode) && fnmatch(pattern.c_str(), name.c_str(), FNM_PERIOD) == 0) {
            found.push_back(name);
        } else if (S_ISDIR(mode) && depth > 0) {
            Search(folder + "/" + name, pattern, depth - 1, found);
        }
    });
}

}  // namespace

std::string CFileUtility::GetInstallPath(int) {
    return GetInstallRoot().path;
}

bool CFileUtility::CreateFolder(std::string path) {
    path = WithoutFinalSlash(path);
    if (path.empty()) {
        errno = ENOENT;
        return false;
    }
    if (IsFolder(path)) {
        return true;  // most often, so without a try for each part of the path
    }
    if (!MakeParents(path)) {
        return false;
    }
    if (mkdir(path.c_str(), 0700) == 0) {
        return true;
    }
    // A link in the folder's place may lead anywhere, so it is as good as a file.
    if (errno == EEXIST && !IsFolder(path)) {
        errno = ENOTDIR;
        return false;
    }
    return errno == EEXIST;
}

bool CFileUtility::IsFileExist(std::string path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
}

bool CFileUtility::SearchFile(std::string dir, std::string pattern, std::list<std::string>* found,
                              bool subfolders) {
    if (found == nullptr) {
        return false;
    }
    found->clear();
    const bool read = Search(dir, pattern, subfolders ? kDeepestSearch : 0, *found);
    found->sort();
    return read;
}

bool CFileUtility::DeleteAllFileByExtendName(std::string dir, std::string extension) {
    const std::string end = "." + extension;
    bool deleted = true;
    const bool read = ForEachEntry(dir, [&](const std::string& name, mode_t mode) {
        const bool named = name.size() > end.size() &&
                           name.compare(name.size() - end.size(), end.size(), end) == 0;
        if (named && !S_ISDIR(mode)) {
            deleted = (unlink((dir + "/" + name).c_str()) == 0 || errno == ENOENT) && deleted;
        }
    });
    return read && deleted;
}
