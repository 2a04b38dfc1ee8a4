#include "host/ComLib/ZipStructure.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>

#include "host/DllCommon/VisibleText.h"

namespace {

constexpr std::uint64_t kEndSize = 22;
constexpr std::uint64_t kCentralSize = 46;
constexpr std::uint64_t kLocalSize = 30;
constexpr std::uint32_t kEndSignature = 0x06054b50;
constexpr std::uint32_t kCentralSignature = 0x02014b50;
constexpr std::uint32_t kLocalSignature = 0x04034b50;

constexpr unsigned kEncrypted = 0x0001 | 0x0040 | 0x2000;
constexpr unsigned kDescriptorFollows = 0x0008;
constexpr unsigned kStored = 0;
constexpr unsigned kDeflated = 8;

constexpr std::size_t kLongestName = 1024;
constexpr std::uint64_t kLongestDirectory = std::uint64_t{16} << 20;

struct Refusal : std::runtime_error {
    using std::runtime_error::runtime_error;
};

void Require(bool condition, const char* refusal) {
    if (!condition) {
        throw Refusal(refusal);
    }
}

/// Bytes of the archive as little-endian numbers.
class Bytes {
public:
    Bytes(int descriptor, std::uint64_t offset, std::uint64_t size) : data(size, '\0') {
        std::size_t done = 0;
        while (done < data.size()) {
            const ssize_t got = pread(descriptor, data.data() + done, data.size() - done,
                                      static_cast<off_t>(offset + done));
            if (got < 0 && errno == EINTR) {
                continue;
            }
            Require(got > 0, "archive cannot be read whole");
            done += static_cast<std::size_t>(got);
        }
    }

    unsigned Short(std::size_t at) const { return Byte(at) | (Byte(at + 1) << 8); }
    std::uint32_t Long(std::size_t at) const { return Short(at) | (Short(at + 2) << 16); }
    std::string Text(std::size_t at, std::size_t size) const {
        Require(at + size <= data.size(), "central directory is cut short");
        return data.substr(at, size);
    }
    std::size_t Size() const { return data.size(); }

private:
    unsigned Byte(std::size_t at) const {
        Require(at < data.size(), "central directory is cut short");
        return static_cast<unsigned char>(data[at]);
    }

    std::string data;
};

struct Member {
    std::string name;
    unsigned mode = 0;  ///< of Unix
    unsigned flags = 0;
    unsigned method = 0;
    std::uint64_t packed = 0;
    std::uint64_t begin = 0;  ///< of its local header
    std::uint64_t end = 0;    ///< of its data
};

struct Directory {
    std::uint64_t members = 0;
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

/// Why a file without an end record is none.
const char* RefusalWithoutEnd(int descriptor) {
    return Bytes(descriptor, 0, kEndSize).Long(0) == kLocalSignature
               ? "truncated, or bytes behind its end"
               : "no zip archive";
}

Directory ReadEnd(int descriptor, std::uint64_t fileSize) {
    Require(fileSize >= kEndSize, "no zip archive");
    const Bytes end(descriptor, fileSize - kEndSize, kEndSize);
    if (end.Long(0) != kEndSignature) {
        throw Refusal(RefusalWithoutEnd(descriptor));
    }
    Require(end.Short(20) == 0, "archive comment");
    Require(end.Short(4) == 0 && end.Short(6) == 0 && end.Short(8) == end.Short(10),
            "archive in several parts");
    const Directory directory{end.Short(10), end.Long(16), end.Long(12)};
    Require(directory.members > 0, "holds nothing");
    Require(directory.offset + directory.size + kEndSize == fileSize,
            "central directory is not where the end record tells, or 64-bit extensions");
    Require(directory.size <= kLongestDirectory, "central directory is too long");
    return directory;
}

/// Takes the record at `at` and moves on to the next.
Member ReadCentral(const Bytes& directory, std::size_t& at) {
    Require(directory.Long(at) == kCentralSignature, "damaged central directory");
    Member member;
    member.flags = directory.Short(at + 8);
    member.method = directory.Short(at + 10);
    member.packed = directory.Long(at + 20);
    const std::size_t nameSize = directory.Short(at + 28);
    const std::size_t others = directory.Short(at + 30) + directory.Short(at + 32);
    member.mode = directory.Short(at + 40);
    member.begin = directory.Long(at + 42);
    Require(directory.Short(at + 34) == 0, "archive in several parts");
    Require(nameSize > 0 && nameSize <= kLongestName, "member name is empty or too long");
    member.name = directory.Text(at + kCentralSize, nameSize);
    directory.Text(at + kCentralSize + nameSize, others);
    at += kCentralSize + nameSize + others;
    return member;
}

/// Folders may pass their group on to what is made in them, as those of shared disks do; no mode is
/// taken over in any case.
void CheckKind(const Member& member) {
    const auto type = member.mode & S_IFMT;
    Require(type == 0 || type == S_IFREG || type == S_IFDIR, "link or device");
    const bool folder = member.name.back() == '/';
    Require(folder || type != S_IFDIR, "folder without a \"/\" behind its name");
    Require(folder || (member.mode & (S_ISUID | S_ISGID)) == 0, "set-user-id or set-group-id bit");
    // A deflated nothing takes two bytes.
    const std::uint64_t nothing = member.method == kDeflated ? 2 : 0;
    Require(!folder || member.packed <= nothing, "folder with content");
    // An extension could tell other sizes than these.
    Require(member.packed != 0xffffffff, "64-bit extensions");
}

void CheckLocal(int descriptor, Member& member, std::uint64_t dataEnd) {
    Require(member.begin + kLocalSize <= dataEnd, "member outside the archive");
    const Bytes header(descriptor, member.begin, kLocalSize);
    Require(header.Long(0) == kLocalSignature, "damaged member header");
    const std::uint64_t nameEnd = member.begin + kLocalSize + header.Short(26);
    member.end = nameEnd + header.Short(28) + member.packed;
    Require(nameEnd <= dataEnd && member.end <= dataEnd, "member outside the archive");
    const Bytes name(descriptor, member.begin + kLocalSize, header.Short(26));
    Require(name.Text(0, name.Size()) == member.name, "member has two names");
    Require(((member.flags | header.Short(6)) & kEncrypted) == 0, "encrypted");
    Require(member.method == header.Short(8), "member has two packing methods");
    Require(member.method == kStored || member.method == kDeflated, "unknown packing method");
}

/// A data descriptor has three or four numbers, two of which may be of 64 bits.
bool IsGapOf(const Member& member, std::uint64_t gap) {
    const bool descriptor = gap == 12 || gap == 16 || gap == 20 || gap == 24;
    return (member.flags & kDescriptorFollows) != 0 ? descriptor : gap == 0;
}

void CheckOrder(std::vector<Member> members, std::uint64_t dataEnd) {
    std::sort(members.begin(), members.end(),
              [](const Member& a, const Member& b) { return a.begin < b.begin; });
    Require(members.front().begin == 0, "bytes in front of the first member");
    for (std::size_t i = 0; i < members.size(); ++i) {
        const std::uint64_t next = i + 1 < members.size() ? members[i + 1].begin : dataEnd;
        Require(members[i].end <= next, "members overlap");
        Require(IsGapOf(members[i], next - members[i].end), "bytes between members");
    }
}

std::vector<Member> ReadMembers(int descriptor, const Directory& directory) {
    const Bytes bytes(descriptor, directory.offset, directory.size);
    std::vector<Member> members;
    std::size_t at = 0;
    while (members.size() < directory.members) {
        members.push_back(ReadCentral(bytes, at));
    }
    Require(at == bytes.Size(), "bytes behind the central directory");
    return members;
}

}  // namespace

ZipStructure ReadZipStructure(int descriptor, std::uint64_t fileSize, std::uint64_t mostMembers) {
    ZipStructure structure;
    std::string at;
    try {
        const Directory directory = ReadEnd(descriptor, fileSize);
        Require(directory.members <= mostMembers, "too many members");
        std::vector<Member> members = ReadMembers(descriptor, directory);
        for (Member& member : members) {
            at = VisibleText(member.name) + ": ";
            CheckKind(member);
            CheckLocal(descriptor, member, directory.offset);
            structure.names.push_back(member.name);
        }
        at.clear();
        CheckOrder(std::move(members), directory.offset);
    } catch (const Refusal& refusal) {
        return {{}, at + refusal.what()};
    }
    return structure;
}
