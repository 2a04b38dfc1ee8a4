#include "qdmctl/CacheGuard.h"

#include "host/CUnzip_Utility.h"
#include "qdmctl/BootIdentifier.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <array>
#include <ctime>
#include <utility>

namespace qdmctl {
namespace {

constexpr char NoteFile[] = "/tmp/qdmctl/caches";
constexpr char CacheFolder[] = "/tmp/EMULEX/cache";
// Of one length, so that one can be written over the other.
constexpr char AtRest[] = " at rest\n";
constexpr char AtWork[] = " at work\n";
static_assert(sizeof AtRest == sizeof AtWork);

/// Not open where something else than a file is in its place: a pipe would be waited for.
FileHandle OpenNote(const std::string& root, int flags) {
    FileHandle note(::open((root + NoteFile).c_str(), flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK,
                           S_IRUSR | S_IWUSR));
    struct stat status {};
    const bool sound = ::fstat(note.Get(), &status) == 0 && S_ISREG(status.st_mode);
    return sound ? std::move(note) : FileHandle();
}

std::string ReadNote(const FileHandle& file) {
    std::array<char, 128> text;
    const long size = ReadFully(file, text.data(), text.size());
    return std::string(text.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
}

/// The provider takes these for new, for as long as the clock has been set back.
bool IsOfFuture(const std::string& root) {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);  // time() is up to a tick late
    OpenFolder folder((root + CacheFolder).c_str());
    while (const char* name = folder.Next()) {
        struct stat status {};
        if (folder.StatusOf(name, status) && status.st_mtime > now.tv_sec) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool CacheGuard::LeftAtRest(const std::string& root) {
    return ReadNote(OpenNote(root, O_RDWR)) == BootIdentifier() + AtRest;
}

void CacheGuard::Begin(const std::string& root) {
    boot = BootIdentifier();
    note = OpenNote(root, O_RDWR | O_CREAT);
    const std::string found = ReadNote(note);
    if (found != boot + AtRest || IsOfFuture(root)) {
        Drop(root);
    }
    const bool longer = found.size() > boot.size() + sizeof AtRest - 1;
    if ((longer && ::ftruncate(note.Get(), 0) != 0) || !Write(AtWork)) {
        note = FileHandle();
        ::unlink((root + NoteFile).c_str());  // what it told is no longer so
    }
}

bool CacheGuard::Write(const char* state) const {
    const std::string text = boot + state;
    return ::pwrite(note.Get(), text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
}

void CacheGuard::Drop(const std::string& root) {
    const std::string caches = root + CacheFolder;
    CUnzip_Utility::DeleteFolder(caches, "qdmctl");
    ::mkdir(caches.c_str(), S_IRWXU);
}

/// A note that cannot be written says that the caches are not at rest.
void CacheGuard::Trust() const {
    if (note.IsOpen()) {
        static_cast<void>(Write(AtRest));
    }
}

}  // namespace qdmctl
