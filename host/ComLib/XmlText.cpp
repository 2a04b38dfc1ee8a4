#include "host/ComLib/XmlText.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

const char* const kReplacement = "\xef\xbf\xbd";

bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool IsNameCharacter(char c) {
    return IsLetter(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

/// Bytes of the character that `lead` begins; 0 for what begins none.
std::size_t LengthOf(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xc2 && lead <= 0xdf) {
        return 2;
    }
    if (lead >= 0xe0 && lead <= 0xef) {
        return 3;
    }
    return lead >= 0xf0 && lead <= 0xf4 ? 4 : 0;
}

/// Code of the whole character at `at`, `length` bytes long; 0 when it is damaged.
std::uint32_t CodeAt(const std::string& text, std::size_t at, std::size_t length) {
    static const std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (length < 2 || at + length > text.size()) {
        return 0;
    }
    std::uint32_t code = static_cast<unsigned char>(text[at]) & (0xffU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(text[at + i]);
        if ((byte & 0xc0) != 0x80) {
            return 0;
        }
        code = (code << 6) | (byte & 0x3fU);
    }
    return code < smallest[length] ? 0 : code;
}

bool IsAllowed(std::uint32_t code) {
    return code != 0 && code < 0x110000 && (code < 0xd800 || code > 0xdfff) && code != 0xfffe &&
           code != 0xffff;
}

bool IsAllowedAscii(char c) {
    return c >= 0x20 || c == '\t' || c == '\n' || c == '\r';
}

}  // namespace

bool IsXmlName(const std::string& text) {
    return !text.empty() && IsLetter(text.front()) &&
           std::all_of(text.begin(), text.end(), IsNameCharacter);
}

std::string XmlText(const std::string& text) {
    const auto plain = [](char c) {
        return IsAllowedAscii(c) && static_cast<unsigned char>(c) < 0x80;
    };
    const auto end = std::find_if_not(text.begin(), text.end(), plain);
    std::string out(text.begin(), end);
    auto at = static_cast<std::size_t>(end - text.begin());
    while (at < text.size()) {
        const std::size_t length = LengthOf(static_cast<unsigned char>(text[at]));
        if (length == 1) {
            out.append(IsAllowedAscii(text[at]) ? 1 : 0, text[at]);
            ++at;
        } else if (IsAllowed(CodeAt(text, at, length))) {
            out.append(text, at, length);
            at += length;
        } else {
            out += kReplacement;
            ++at;
        }
    }
    return out;
}
