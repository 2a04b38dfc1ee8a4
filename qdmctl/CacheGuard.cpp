#include "qdmctl/CacheGuard.h"

#include "host/CUnzip_Utility.h"
#include "qdmctl/BootIdentifier.h"
#include "qdmctl/FileAccess.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <ctime>
#include <fstream>

namespace qdmctl {
namespace {

constexpr char MarkFile[] = "/tmp/qdmctl/unfinished";
constexpr char CacheFolder[] = "/tmp/EMULEX/cache";
constexpr char BootFile[] = "/tmp/qdmctl/boot";

std::string FirstLineOf(const std::string& path) {
    const std::string text = ReadBeginning(path).value_or("");
    return text.substr(0, text.find('\n'));
}

/// The provider takes these for new, for as long as the clock has been set back.
bool IsOfFuture(const std::string& root) {
    const std::time_t now = std::time(nullptr);
    const OpenFolder folder(root + CacheFolder);
    while (const char* name = folder.Next()) {
        struct stat status {};
        if (folder.StatusOf(name, status) && status.st_mtime > now) {
            return true;
        }
    }
    return false;
}

}  // namespace

void CacheGuard::Begin(const std::string& root) {
    mark = root + MarkFile;
    struct stat status {};
    const std::string boot = BootIdentifier();
    const bool sameBoot = FirstLineOf(root + BootFile) == boot;
    if (::lstat(mark.c_str(), &status) == 0 || !sameBoot || IsOfFuture(root)) {
        Drop(root);
    }
    const FileHandle made(
        ::open(mark.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
    if (!sameBoot) {
        std::ofstream(root + BootFile) << boot << "\n";  // the mark stands until this is done
    }
}

void CacheGuard::Drop(const std::string& root) {
    const std::string caches = root + CacheFolder;
    CUnzip_Utility::DeleteFolder(caches, "qdmctl");
    ::mkdir(caches.c_str(), S_IRWXU);
}

void CacheGuard::Trust() const {
    if (!mark.empty()) {
        ::unlink(mark.c_str());
    }
}

}  // namespace qdmctl
