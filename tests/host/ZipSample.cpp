#include "tests/host/ZipSample.h"

namespace {

std::uint32_t Sum(const std::string& text) {
    std::uint32_t sum = 0xffffffff;
    for (const char c : text) {
        sum ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit) {
            sum = (sum >> 1) ^ ((sum & 1) != 0 ? 0xedb88320U : 0);
        }
    }
    return ~sum;
}

/// Little-endian numbers, one size after the other.
std::string Numbers(const std::vector<std::pair<int, std::size_t>>& fields) {
    std::string out;
    for (auto [size, value] : fields) {
        for (int i = 0; i < size; ++i, value >>= 8) {
            out += static_cast<char>(value & 0xff);
        }
    }
    return out;
}

std::string Common(const ZipMember& member, std::size_t nameSize) {
    const std::string& content = member.content.value_or(member.data);
    const std::size_t sum = Sum(content) + (member.wrongSum ? 1 : 0);
    return Numbers({{2, 20}, {2, member.flags}, {2, member.method}, {4, 0}, {4, sum}}) +
           Numbers({{4, member.data.size()}, {4, content.size()}, {2, nameSize}, {2, 0}});
}

}  // namespace

std::string ZipBytes(const std::vector<ZipMember>& members, const ZipLayout& layout) {
    std::string out = layout.front;
    std::string central;
    for (const ZipMember& member : members) {
        const std::string centralName = member.centralName.value_or(member.name);
        const std::size_t attributes = std::size_t{member.mode} << 16;
        central += "PK\1\2" + Numbers({{2, 0x0314}}) + Common(member, centralName.size()) +
                   Numbers({{2, 0}, {2, 0}, {2, 0}, {4, attributes}, {4, out.size()}}) +
                   centralName;
        const std::string& name = member.name;
        out += "PK\3\4" + Common(member, name.size()) + name + member.data + layout.gap;
    }
    const std::size_t number = members.size() + static_cast<std::size_t>(layout.count);
    const std::string end =
        "PK\5\6" + Numbers({{2, 0}, {2, 0}, {2, number}, {2, number}, {4, central.size()}}) +
        Numbers({{4, out.size()}, {2, layout.comment.size()}});
    return out + central + end + layout.comment + layout.behind;
}

ZipMember Bomb(const std::string& name) {
    const std::string packed =
        std::string("\xed\xc1\x01\x01\0\0\0\x80\x90\xfe\xaf\xee\x08\x0a", 14) +
        std::string(63, '\0') + "\x6a";
    ZipMember member{name, packed, {}};
    member.method = 8;
    member.content = std::string(65536, '\0');
    return member;
}
