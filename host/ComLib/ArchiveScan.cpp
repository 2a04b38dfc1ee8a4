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

std::string WithoutFinalSlash(std::string name) {
    if (!name.empty() && name.back() == '/') {
        name.pop_back();
    }
    return name;
}

class Scanner {
public:
    Scanner(ArchiveReader& reader, const ArchiveLimits& limits, std::uint64_t fileSize,
            MemberSink& sink)
        : reader(reader), limits(limits), fileSize(fileSize), sink(sink), names(limits.depth) {}

    /// `listed`: the names in the archive's own tables.
    std::string Run(const std::vector<std::string>& listed) {
        const std::multiset<std::string> expected(listed.begin(), listed.end());
        std::size_t members = 0;
        ArchiveReader::Entry entry;
        for (;;) {
            const auto step = reader.Next(entry);
            if (step == ArchiveReader::Step::End) {
                return members == listed.size() ? "" : "members are missing";
            }
            if (step == ArchiveReader::Step::Damaged) {
                return reader.Error();
            }
            ++members;
            std::string refusal =
                expected.count(entry.name) == 0 ? "not in the central directory" : Take(entry);
            if (!refusal.empty()) {
                return VisibleText(entry.name) + ": " + refusal;
            }
        }
    }

private:
    std::string Take(const ArchiveReader::Entry& entry) {
        ArchiveMember member{WithoutFinalSlash(entry.name), 0, entry.folder};
        if (!entry.plain) {
            return "link, device or encrypted";
        }
        std::string refusal = names.Add(member.name, member.folder);
        if (refusal.empty()) {
            refusal = sink.Begin(member);
        }
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
    MemberNames names;
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
    if (!structure.refusal.empty()) {
        return structure.refusal;
    }
    std::string reason;
    const auto reader = OpenArchiveReader(descriptor.Get(), &reason);
    return reader ? Scanner(*reader, limits, size, sink).Run(structure.names) : reason;
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
