#include "qdmctl/ToolOutput.h"

#include "qdmctl/FileAccess.h"
#include "qdmctl/ProcessTree.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <climits>
#include <string_view>
#include <vector>

namespace qdmctl {
namespace {

/// The listing of a server with fifty ports takes some twenty thousand bytes.
constexpr off_t LongestAnswer = off_t{1} << 20;
/// What is kept at either end of a file whose space is released; a multiple of any block size.
constexpr off_t KeptAtEnds = off_t{1} << 17;

/// Stands in place of an answer that was cut off. The provider takes it for a failure at once,
/// where it would wait for an empty file to fill and start the tool again.
constexpr std::string_view Ended = "ERROR: ended by qdmctl before the answer was complete\n";

struct OutputFile {
    std::string descriptor;  ///< in /proc, good for opening
    off_t size = 0;
};

std::string TargetOf(const std::string& link) {
    char target[PATH_MAX];
    const ssize_t length = ::readlink(link.c_str(), target, sizeof target);
    return length > 0 ? std::string(target, static_cast<std::size_t>(length)) : std::string();
}

std::vector<OutputFile> OutputFilesOf(pid_t worker, const std::string& folder) {
    std::vector<OutputFile> files;
    for (const pid_t pid : PidsBelow(worker)) {
        OutputFile file;
        file.descriptor = "/proc/" + std::to_string(pid) + "/fd/1";
        struct stat state {};
        if (TargetOf(file.descriptor).compare(0, folder.size() + 1, folder + "/") == 0 &&
            ::stat(file.descriptor.c_str(), &state) == 0 && S_ISREG(state.st_mode)) {
            file.size = state.st_size;
            files.push_back(std::move(file));
        }
    }
    return files;
}

FileHandle OpenForWriting(const OutputFile& file) {
    return FileHandle(::open(file.descriptor.c_str(), O_WRONLY | O_CLOEXEC));
}

void Replace(const OutputFile& file) {
    const FileHandle handle = OpenForWriting(file);
    if (handle.IsOpen() && ::ftruncate(handle.Get(), 0) == 0) {
        // An empty file is refused as well.
        [[maybe_unused]] const ssize_t written =
            ::pwrite(handle.Get(), Ended.data(), Ended.size(), 0);
    }
}

void PunchHole(const OutputFile& file) {
    const FileHandle handle = OpenForWriting(file);
    // A file system that cannot do it leaves the file as it is; there is nothing else to try.
    static_cast<void>(::fallocate(handle.Get(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE,
                                  KeptAtEnds, file.size - 2 * KeptAtEnds));
}

}  // namespace

bool ToolOutput::TooLong() const {
    const auto files = OutputFilesOf(worker, folder);
    return std::any_of(files.begin(), files.end(),
                       [](const OutputFile& file) { return file.size > LongestAnswer; });
}

void ToolOutput::EndAndDiscard() const {
    for (const OutputFile& file : OutputFilesOf(worker, folder)) {
        Replace(file);
    }
    EndDescendants(worker);
}

void ToolOutput::ReleaseSpace() const {
    for (const OutputFile& file : OutputFilesOf(worker, folder)) {
        if (file.size > LongestAnswer) {
            PunchHole(file);
        }
    }
}

}  // namespace qdmctl
