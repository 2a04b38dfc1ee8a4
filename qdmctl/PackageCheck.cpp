#include "qdmctl/PackageCheck.h"

#include "host/ComLib/Archive.h"
#include "qdmctl/FileAccess.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <sodium/crypto_hash_sha256.h>
#include <sodium/utils.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <sstream>
#include <string_view>

namespace qdmctl {
namespace {

constexpr std::size_t copyBlock = std::size_t{256} * 1024;
constexpr std::uint64_t largestMessageFile = std::uint64_t{64} * 1024;
constexpr std::string_view successPrefix = "SuccessMessage=";
constexpr std::string_view endPrefix = "EndMessage=";
constexpr char damagedHint[] = "copy the package into the repository again";
constexpr char fullHint[] = "free some space on that disk; nothing has been changed";
constexpr char unsuitableHint[] = "put the right module into the repository";

Error PackageError(ErrorId id, const PackageEntry& entry, const std::string& message,
                   const std::string& hint) {
    Error error;
    error.id = id;
    error.kind = entry.kind;
    error.message = entry.file + ": " + message;
    error.hint = hint;
    return error;
}

Error Unsuitable(const PackageEntry& entry, const std::string& message) {
    return PackageError(ErrorId::PackageUnsuitable, entry, message, unsuitableHint);
}

/// A file of our own that goes away again unless it is kept.
class StagedFile {
public:
    explicit StagedFile(const std::string& path)
        : path(path),
          handle(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                      S_IRUSR | S_IWUSR)),
          kept(!handle.IsOpen()) {}
    ~StagedFile() {
        if (!kept) {
            unlink(path.c_str());
        }
    }
    StagedFile(const StagedFile&) = delete;
    StagedFile& operator=(const StagedFile&) = delete;

    const FileHandle& Handle() const { return handle; }
    void Keep() { kept = true; }

private:
    std::string path;
    FileHandle handle;
    bool kept;
};

Error StagingError(const PackageEntry& entry, const std::string& staging, int error) {
    const bool full = IsDiskFull(error);
    return PackageError(full ? ErrorId::DiskFull : ErrorId::WorkArea, entry,
                        "cannot be copied to " + staging + ": " + SystemText(error),
                        full ? fullHint : "see to that folder");
}

std::string HexText(const std::array<unsigned char, crypto_hash_sha256_BYTES>& digest) {
    std::array<char, 2 * crypto_hash_sha256_BYTES + 1> text{};
    return sodium_bin2hex(text.data(), text.size(), digest.data(), digest.size());
}

/// Copies as many bytes as the index promises and takes their digest on the way.
std::optional<Error> CopyAndHash(const PackageEntry& entry, const PlainFile& source,
                                 const StagedFile& staged, const std::string& staging) {
    crypto_hash_sha256_state hash;
    crypto_hash_sha256_init(&hash);
    std::string block(copyBlock, '\0');
    for (std::uint64_t left = entry.size; left > 0;) {
        const long count =
            ReadFully(source.handle, block.data(), std::min<std::uint64_t>(left, block.size()));
        if (count <= 0) {
            return PackageError(ErrorId::PackageDamaged, entry,
                                count < 0 ? SystemText(errno) : "ends too early", damagedHint);
        }
        const auto size = static_cast<std::size_t>(count);
        if (!WriteFully(staged.Handle(), block.data(), size)) {
            return StagingError(entry, staging, errno);
        }
        crypto_hash_sha256_update(&hash, reinterpret_cast<const unsigned char*>(block.data()),
                                  size);
        left -= size;
    }
    std::array<unsigned char, crypto_hash_sha256_BYTES> digest{};
    crypto_hash_sha256_final(&hash, digest.data());
    if (HexText(digest) != entry.sha256) {
        return PackageError(
            ErrorId::PackageDamaged, entry,
            "has the digest " + HexText(digest) + ", the index says " + entry.sha256, damagedHint);
    }
    return std::nullopt;
}

std::optional<Error> CheckSize(const PackageEntry& entry, const PlainFile& source) {
    if (!source.refusal.empty()) {
        return PackageError(ErrorId::PackageMissing, entry, source.refusal, damagedHint);
    }
    if (source.size != entry.size) {
        return PackageError(ErrorId::PackageDamaged, entry,
                            "has " + std::to_string(source.size) + " bytes, the index says " +
                                std::to_string(entry.size),
                            damagedHint);
    }
    return std::nullopt;
}

std::vector<std::string> MatchingFiles(const std::vector<ArchiveMember>& members,
                                       const std::string& pattern) {
    std::vector<std::string> found;
    for (const ArchiveMember& member : members) {
        if (!member.folder &&
            fnmatch(pattern.c_str(), member.name.c_str(), FNM_PATHNAME | FNM_PERIOD) == 0) {
            found.push_back(member.name);
        }
    }
    return found;
}

std::string Needed(const FilePattern& file) {
    const std::string most = std::to_string(file.atMost);
    if (file.atLeast == file.atMost) {
        return "exactly " + most;
    }
    return file.atLeast == 0 ? "at most " + most : std::to_string(file.atLeast) + " to " + most;
}

std::optional<Error> CheckCount(const PackageEntry& entry, const FilePattern& file,
                                const std::vector<std::string>& found) {
    if (found.size() >= file.atLeast && found.size() <= file.atMost) {
        return std::nullopt;
    }
    const std::string what = file.name + " (" + file.pattern + ")";
    if (found.empty()) {
        return Unsuitable(entry, "holds no " + what);
    }
    return Unsuitable(entry, "holds " + std::to_string(found.size()) + " times a " + what +
                                 ", among them " + found.front() + "; there must be " +
                                 Needed(file));
}

/// The reader of such files cuts blanks and line ends at both ends of the text.
bool IsBlank(const std::string& text) {
    return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

/// What is wrong with a line of a message file. Its reader finds the prefix anywhere but takes the
/// text from a fixed column, and passes over a line without anything behind the prefix; an empty
/// message is found in any output.
std::string FaultOfLine(const std::string& line, std::string_view prefix) {
    const std::size_t place = line.find(prefix);
    if (place == std::string::npos || line.size() <= prefix.size()) {
        return {};
    }
    if (place != 0) {
        return "has \"" + std::string(prefix) + "\" not at the beginning of a line";
    }
    return IsBlank(line.substr(prefix.size()))
               ? "has an empty message behind " + std::string(prefix)
               : std::string();
}

bool DefinesSuccess(const std::string& line) {
    return line.compare(0, successPrefix.size(), successPrefix) == 0 &&
           line.size() > successPrefix.size();
}

/// A module whose message file tells no success is flashed and then reported as failed, or the
/// other way round.
std::string FaultOfMessages(const std::string& text) {
    bool defined = false;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::string fault = FaultOfLine(line, successPrefix) + FaultOfLine(line, endPrefix);
        if (!fault.empty()) {
            return fault;
        }
        defined = defined || DefinesSuccess(line);
    }
    return defined ? "" : "has no line \"SuccessMessage=\" with a text";
}

std::optional<Error> CheckMessages(const PackageEntry& entry, const std::string& archive,
                                   const std::string& member) {
    const std::optional<std::string> text = ReadArchiveMember(archive, member, largestMessageFile);
    const std::string fault =
        text ? FaultOfMessages(*text)
             : "cannot be read or is larger than " + std::to_string(largestMessageFile) + " bytes";
    return fault.empty() ? std::nullopt
                         : std::optional<Error>(
                               Unsuitable(entry, std::string(member).append(" ").append(fault)));
}

std::optional<Error> CheckFiles(const PackageEntry& entry, const std::string& archive,
                                const std::vector<ArchiveMember>& members,
                                const FilePattern& file) {
    const std::vector<std::string> found = MatchingFiles(members, file.pattern);
    std::optional<Error> error = CheckCount(entry, file, found);
    for (std::size_t i = 0; !error && file.messageDefinition && i < found.size(); ++i) {
        error = CheckMessages(entry, archive, found[i]);
    }
    return error;
}

/// What the tools write beside the images while they flash.
constexpr std::uint64_t roomForTools = std::uint64_t{256} * 1024;

/// An image that does not fit is found out here and not half-way through an update.
std::optional<Error> CheckRoom(const PackageEntry& entry, const std::string& archive,
                               const std::vector<ArchiveMember>& members) {
    const std::string folder = archive.substr(0, archive.rfind('/'));
    struct statvfs disk {};
    if (statvfs(folder.c_str(), &disk) != 0 || disk.f_blocks == 0) {
        return std::nullopt;
    }
    std::uint64_t needed = roomForTools;
    for (const ArchiveMember& member : members) {
        needed += (member.bytes / disk.f_frsize + 1) * disk.f_frsize;
    }
    const std::uint64_t available = std::uint64_t{disk.f_bavail} * disk.f_frsize;
    if (needed <= available) {
        return std::nullopt;
    }
    return PackageError(ErrorId::DiskFull, entry,
                        "needs " + std::to_string(needed) + " bytes on the disk of " + folder +
                            ", of which " + std::to_string(available) + " are left",
                        fullHint);
}

}  // namespace

std::optional<Error> CheckArchive(const std::string& archive, const PackageEntry& entry,
                                  const Model& model) {
    const auto files = model.files.find(entry.kind);
    if (files == model.files.end()) {
        return Unsuitable(entry,
                          "nothing is known of " + entry.kind + " modules for " + model.modelKey);
    }
    const ArchiveListing listing = InspectArchive(archive);
    if (!listing.refusal.empty()) {
        return Unsuitable(entry, listing.refusal);
    }
    if (auto error = CheckRoom(entry, archive, listing.members)) {
        return error;
    }
    for (const FilePattern& file : files->second) {
        if (auto error = CheckFiles(entry, archive, listing.members, file)) {
            return error;
        }
    }
    return std::nullopt;
}

std::optional<Error> CheckPackage(const PackageEntry& entry, const Model& model,
                                  const std::string& folder, const std::string& staging) {
    const PlainFile source = OpenPlainFile(folder, entry.file);
    if (auto error = CheckSize(entry, source)) {
        return error;
    }
    StagedFile staged(staging);
    if (!staged.Handle().IsOpen()) {
        return StagingError(entry, staging, errno);
    }
    auto error = CopyAndHash(entry, source, staged, staging);
    if (!error) {
        error = CheckArchive(staging, entry, model);
    }
    if (!error) {
        staged.Keep();
    }
    return error;
}

}  // namespace qdmctl
