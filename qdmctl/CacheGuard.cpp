#include "qdmctl/CacheGuard.h"

#include "host/CUnzip_Utility.h"
#include "qdmctl/FileAccess.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qdmctl {
namespace {

constexpr char MarkFile[] = "/tmp/qdmctl/unfinished";
constexpr char CacheFolder[] = "/tmp/EMULEX/cache";

}  // namespace

void CacheGuard::Begin(const std::string& root) {
    mark = root + MarkFile;
    const std::string caches = root + CacheFolder;
    struct stat status {};
    if (::lstat(mark.c_str(), &status) == 0) {
        CUnzip_Utility::DeleteFolder(caches, "qdmctl");
        ::mkdir(caches.c_str(), S_IRWXU);
    }
    const FileHandle made(
        ::open(mark.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
}

void CacheGuard::Trust() const {
    if (!mark.empty()) {
        ::unlink(mark.c_str());
    }
}

}  // namespace qdmctl
