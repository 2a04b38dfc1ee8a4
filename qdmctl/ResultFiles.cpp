#include "qdmctl/ResultFiles.h"

#include "host/CCommon_Information.h"
#include "host/CFileUtility.h"

#include <sys/stat.h>
#include <list>

namespace qdmctl {
namespace {

constexpr char CacheFolder[] = "/tmp/EMULEX/cache/";
constexpr char TempFolder[] = "/tmp/EMULEX/temp/";

constexpr ResultFile Known[] = {
    {"temp_driver_fc.txt", "installing the driver", true},
    {"temp_ocm_install.txt", "installing the utility", true},
    {"SequentialUpdateFile_FCoE.txt", "installing the driver", false},
};

}  // namespace

std::string PathOf(const ResultFile& file, const std::string& root) {
    return root + TempFolder + file.name;
}

std::vector<const ResultFile*> FindResultFiles(const std::string& root) {
    std::vector<const ResultFile*> found;
    for (const ResultFile& file : Known) {
        struct stat status {};
        if (::lstat(PathOf(file, root).c_str(), &status) == 0) {
            found.push_back(&file);
        }
    }
    return found;
}

void DropResultFiles(const std::string& root) {
    for (const ResultFile* file : FindResultFiles(root)) {
        if (file->droppedByRestore) {
            CCommon_Information::RetryDeleteFile(PathOf(*file, root));
        }
    }
}

std::vector<std::string> KeptReadings(const std::string& root) {
    std::list<std::string> names;
    CFileUtility::SearchFile(root + CacheFolder, "*", &names, false);
    std::vector<std::string> paths;
    const std::string folder = root + CacheFolder;
    for (const std::string& name : names) {
        paths.push_back(folder + name);
    }
    for (const ResultFile* file : FindResultFiles(root)) {
        paths.push_back(PathOf(*file, root));
    }
    return paths;
}

}  // namespace qdmctl
