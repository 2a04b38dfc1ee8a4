#include "qdmctl/RepairFolder.h"

#include "qdmctl/FileAccess.h"

#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace qdmctl {
namespace {

constexpr mode_t othersWrite = S_IWGRP | S_IWOTH;
constexpr mode_t othersEnter = S_IXGRP | S_IXOTH;

/// What is wrong with one place, and whether others can get to what lies in it.
struct Place {
    std::string path;
    std::string fault;
    bool missing = false;
    bool closed = false;
};

/// `closed`: others cannot get there, so that its mode gives them nothing.
Place Look(const std::string& path, bool closed) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        return {path, SystemText(errno), errno == ENOENT, closed};
    }
    if (!S_ISDIR(status.st_mode) && !S_ISREG(status.st_mode)) {
        return {path, "is neither a folder nor a plain file", false, closed};
    }
    if (closed) {
        status.st_mode &= ~othersWrite;
    }
    return {path, OtherHands(status, ::geteuid()), false,
            closed || (status.st_mode & othersEnter) == 0};
}

/// The last folder on the way to the package's, or the first one that has a fault.
Place LookDown(const std::string& root, const std::string& folder) {
    Place place = Look(root, false);
    for (std::size_t end = root.size(); place.fault.empty() && end != std::string::npos;) {
        end = folder.find('/', end + 1);
        place = Look(folder.substr(0, end), place.closed);
    }
    return place;
}

Place LookInto(const Place& folder) {
    std::error_code error;
    std::filesystem::recursive_directory_iterator entry(folder.path, error);
    for (const std::filesystem::recursive_directory_iterator none; !error && entry != none;
         entry.increment(error)) {
        Place place = Look(entry->path().string(), folder.closed);
        if (!place.fault.empty()) {
            return place;
        }
    }
    return {folder.path, error ? error.message() : "", false, folder.closed};
}

}  // namespace

std::optional<Error> CheckRepairFolder(const std::string& root, const RepairNote& note) {
    Place place = LookDown(root, note.folder);
    if (place.fault.empty()) {
        place = LookInto(place);
    }
    if (place.fault.empty()) {
        place = Look(note.command.substr(0, note.command.find(' ')), true);
    }
    if (place.fault.empty()) {
        return std::nullopt;
    }
    return MakeError(place.missing ? ErrorId::RepairFailed : ErrorId::WorkArea,
                     "nothing has been run: " + place.path + ": " + place.fault, ByHandHint(note));
}

std::string ByHandHint(const RepairNote& note) {
    return "unpack the package of the adapter utility " + note.version +
           " anew, run its install.sh as root, then run qdmctl repair again, which checks the "
           "utility and forgets the matter";
}

}  // namespace qdmctl
