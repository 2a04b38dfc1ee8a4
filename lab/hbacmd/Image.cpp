#include "lab/hbacmd/Image.h"

#include <array>
#include <cstdint>

#include "lab/hbacmd/Adapters.h"

namespace {

constexpr const char* magic = "QDM lab image 1\n";
constexpr int cannotOpen = 2;
constexpr int notAnImage = 430;
constexpr int damagedImage = 431;

using CrcTable = std::array<std::uint32_t, 256>;

CrcTable MakeCrcTable() {
    constexpr std::uint32_t polynomial = 0xedb88320U;
    CrcTable table = {};
    for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
        std::uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value & 1U) != 0 ? (value >> 1U) ^ polynomial : value >> 1U;
        }
        table[byte] = value;
    }
    return table;
}

std::uint32_t Crc32(const std::string& data) {
    const CrcTable table = MakeCrcTable();
    std::uint32_t crc = 0xffffffffU;
    for (const char character : data) {
        crc = (crc >> 8U) ^ table[(crc ^ static_cast<unsigned char>(character)) & 0xffU];
    }
    return ~crc;
}

void VerifyPayload(const Facts& header, const std::string& payload) {
    if (FactOf(header, "size") != std::to_string(payload.size()) ||
        FactOf(header, "crc32") != std::to_string(Crc32(payload))) {
        throw Refusal(damagedImage, "the image file is damaged");
    }
}

}  // namespace

Image ReadImage(const std::string& path) {
    const std::optional<std::string> content = ReadWholeFile(path);
    if (!content) {
        throw Refusal(cannotOpen, "cannot open the image file " + path);
    }
    const size_t headerEnd = content->find("\n\n");
    if (content->rfind(magic, 0) != 0 || headerEnd == std::string::npos) {
        throw Refusal(notAnImage, "the file is not a flash image: " + path);
    }
    const size_t start = std::string(magic).size();
    const Facts header = ParseFacts(content->substr(start, headerEnd + 1 - start));
    VerifyPayload(header, content->substr(headerEnd + 2));
    return {FactOf(header, "kind"), FactOf(header, "model"), FactOf(header, "version"),
            FactOf(header, "boot-bios")};
}
