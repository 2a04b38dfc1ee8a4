#include "host/ComLib/ArchiveScan.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <set>

#include "host/ComLib/ArchiveReaderLibrary.h"
#include "host/ComLib/MemberNames.h"
#include "host/ComLib/ZipStructure.h"
#include "host/DllCommon/VisibleText.h"

namespace {

bool IsFolder(const std::string& name) {
    return !name.empty() && name.back() == '/';
}

std::string WithoutFinalSlash(std::string name) {
    if (IsFolder(name)) {
        name.pop_back();
    }
    return name;
}

/// Before any of them is read: a reader may make other names of those that are refused.
std::string RefusalOfNames(const std::vector<std::string>& listed, unsigned deepest) {
    MemberNames names(deepest);
    for (const std::string& name : listed) {
        const std::string refusal = names.Add(WithoutFinalSlash(name), IsFolder(name));
        if (!refusal.empty()) {
            return VisibleText(name) + ": " + refusal;
        }
    }
    return "";
}

class Scanner {
public:
    Scanner(ArchiveReader& reader, const ArchiveLimits& limits, std::uint64_t fileSize,
            MemberSink& sink)
        : reader(reader), limits(limits), fileSize(fileSize), sink(sink) {}

    /// `listed`: the names in the archive's own tables, each of which must come once.
    std::string Run(std::set<std::string> listed) {
        ArchiveReader::Entry entry;
        for (;;) {
            const auto step = reader.Next(entry);
            if (step == ArchiveReader::Step::End) {
                return listed.empty() ? "" : "members are missing";
            }
            if (step == ArchiveReader::Step::Damaged) {
                return reader.Error();
            }
            std::string refusal =
                listed.erase(entry.name) == 0 ? "not in the central directory" : Take(entry);
            if (!refusal.empty()) {
                return VisibleText(entry.name) + ": " + refusal;
            }
        }
    }

private:
    std::string Take(const ArchiveReader::Entry& entry) {
        ArchiveMember member{WithoutFinalSlash(entry.name), 0, entry.folder};
        if (!entry.plain || entry.folder != IsFolder(entry.name)) {
            return "link, device or encrypted";
        }
        std::string refusal = sink.Begin(member);
        if (refusal.empty()) {
            refusal = TakeData(member);
        }
        return refusal.empty() ? sink.End(member) : refusal;
    }

    std::string TakeData(ArchiveMember& member) {
        for (;;) {
            const long got = reader.Read(buffer.data(), buffer.size());
            if (got <= 0) {
                return got == 0 ? "" : reader.Error();
            }
            const auto size = static_cast<std::uint64_t>(got);
            member.bytes += size;
            total += size;
            std::string refusal = RefusalOfAmount();
            if (refusal.empty()) {
                refusal = sink.Data(buffer.data(), static_cast<std::size_t>(size));
            }
            if (!refusal.empty()) {
                return refusal;
            }
        }
    }

    std::string RefusalOfAmount() const {
        if (total > limits.bytes) {
            return "archive is too large unpacked";
        }
        return total / std::max<std::uint64_t>(limits.ratio, 1) >= fileSize
                   ? "archive is packed too tightly"
                   : "";
    }

    ArchiveReader& reader;
    const ArchiveLimits& limits;
    std::uint64_t fileSize;
    MemberSink& sink;
    std::uint64_t total = 0;
    std::array<char, 65536> buffer = {};
};

}  // namespace

std::string ArchiveFile::Open(const std::string& file) {
    // O_NONBLOCK: a pipe in the archive's place must not hold the caller up.
    descriptor = Descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status = {};
    if (!descriptor || fstat(descriptor.Get(), &status) != 0) {
        return std::string("cannot be opened: ") + std::strerror(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return "is no file";
    }
    return ReadStamp(opened) ? "" : "cannot be examined";
}

std::string ArchiveFile::Scan(const ArchiveLimits& limits, MemberSink& sink) {
    const auto size = static_cast<std::uint64_t>(opened.size);
    const ZipStructure structure = ReadZipStructure(descriptor.Get(), size, limits.members);
    std::string refusal = structure.refusal.empty() ? RefusalOfNames(structure.names, limits.depth)
                                                    : structure.refusal;
    if (!refusal.empty()) {
        return refusal;
    }
    std::string reason;
    const auto reader = OpenArchiveReader(descriptor.Get(), &reason);
    const std::set<std::string> names(structure.names.begin(), structure.names.end());
    return reader ? Scanner(*reader, limits, size, sink).Run(names) : reason;
}

bool ArchiveFile::ReadStamp(Stamp& stamp) const {
    struct stat status = {};
    if (fstat(descriptor.Get(), &status) != 0) {
        return false;
    }
    stamp = {status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec, status.st_ctim.tv_sec,
             status.st_ctim.tv_nsec};
    return true;
}

bool ArchiveFile::Unchanged() const {
    Stamp now = {};
    return ReadStamp(now) && now.size == opened.size && now.modified == opened.modified &&
           now.modifiedNs == opened.modifiedNs && now.changed == opened.changed &&
           now.changedNs == opened.changedNs;
}
