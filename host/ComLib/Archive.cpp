#include "host/ComLib/Archive.h"

#include "host/ComLib/ArchiveScan.h"

namespace {

class Listing : public MemberSink {
public:
    std::string Begin(const ArchiveMember&) override { return ""; }
    std::string Data(const char*, std::size_t) override { return ""; }
    std::string End(const ArchiveMember& member) override {
        members.push_back(member);
        return "";
    }

    std::vector<ArchiveMember> members;
};

class Content : public MemberSink {
public:
    Content(const std::string& wanted, std::uint64_t limit) : wanted(wanted), limit(limit) {}

    std::string Begin(const ArchiveMember& member) override {
        taking = !member.folder && member.name == wanted;
        found = found || taking;
        return "";
    }
    std::string Data(const char* data, std::size_t size) override {
        if (!taking) {
            return "";
        }
        if (text.size() + size > limit) {
            return "longer than its limit";
        }
        text.append(data, size);
        return "";
    }
    std::string End(const ArchiveMember&) override { return ""; }

    std::string text;
    bool found = false;

private:
    const std::string& wanted;
    std::uint64_t limit;
    bool taking = false;
};

}  // namespace

ArchiveListing InspectArchive(const std::string& archive, const ArchiveLimits& limits) {
    ArchiveFile file;
    Listing listing;
    std::string refusal = file.Open(archive);
    if (refusal.empty()) {
        refusal = file.Scan(limits, listing);
    }
    if (!refusal.empty()) {
        return {{}, refusal};
    }
    return {listing.members, ""};
}

std::optional<std::string> ReadArchiveMember(const std::string& archive, const std::string& member,
                                             std::uint64_t limit) {
    ArchiveFile file;
    Content content(member, limit);
    if (!file.Open(archive).empty() || !file.Scan(ArchiveLimits(), content).empty() ||
        !content.found) {
        return std::nullopt;
    }
    return content.text;
}
