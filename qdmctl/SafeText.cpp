#include "qdmctl/SafeText.h"

#include <algorithm>
#include <cstdint>
#include <sstream>

namespace qdmctl {
namespace {

bool IsContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// A character of UTF-8 text; length 0 where the bytes are none.
struct Character {
    std::uint32_t code = 0;
    std::size_t length = 0;
};

struct LeadByte {
    unsigned char mask, value;  ///< byte & mask == value
    unsigned char length;
    std::uint32_t smallest;  ///< smaller codes in this length are no UTF-8
};

constexpr LeadByte leadBytes[] = {
    {0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};

Character Decode(const std::string& text, std::size_t at, const LeadByte& lead) {
    std::uint32_t code =
        static_cast<unsigned char>(text[at]) & static_cast<unsigned char>(~lead.mask);
    if (at + lead.length > text.size()) {
        return {};
    }
    for (std::size_t i = 1; i < lead.length; ++i) {
        if (!IsContinuation(text[at + i])) {
            return {};
        }
        code = (code << 6U) | (static_cast<unsigned char>(text[at + i]) & 0x3FU);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < lead.smallest || code > 0x10FFFF || surrogate ? Character{}
                                                                : Character{code, lead.length};
}

Character CharacterAt(const std::string& text, std::size_t at) {
    for (const LeadByte& lead : leadBytes) {
        if ((static_cast<unsigned char>(text[at]) & lead.mask) == lead.value) {
            return Decode(text, at, lead);
        }
    }
    return {};
}

bool IsHarmless(std::uint32_t code) {
    const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
    const bool lineEnd = code == 0x2028 || code == 0x2029;
    const bool direction = (code >= 0x200B && code <= 0x200F) ||
                           (code >= 0x202A && code <= 0x202E) || (code >= 0x2060 && code <= 0x206F);
    return !control && !lineEnd && !direction;
}

}  // namespace

std::string Printable(const std::string& text) {
    const auto plain = [](char byte) { return byte >= ' ' && byte <= '~'; };
    const auto end = std::find_if_not(text.begin(), text.end(), plain);
    std::string printable(text.begin(), end);
    for (auto at = static_cast<std::size_t>(end - text.begin()); at < text.size();) {
        const Character character = CharacterAt(text, at);
        if (text[at] == '\n' || text[at] == '\t') {
            printable += ' ';
        } else if (character.length == 0 || !IsHarmless(character.code)) {
            printable += '?';
        } else {
            printable.append(text, at, character.length);
        }
        at += character.length == 0 ? 1 : character.length;
    }
    return printable;
}

std::size_t WidthOf(const std::string& printable) {
    std::size_t width = 0;
    for (const char byte : printable) {
        width += IsContinuation(byte) ? 0 : 1;
    }
    return width;
}

std::string Shorten(const std::string& printable, std::size_t width) {
    if (WidthOf(printable) <= width) {
        return printable;
    }
    std::size_t kept = 0;
    std::size_t end = 0;
    while (kept < width - 3 || IsContinuation(printable[end])) {
        kept += IsContinuation(printable[end]) ? 0 : 1;
        ++end;
    }
    return printable.substr(0, end) + "...";
}

std::vector<std::string> Wrap(const std::string& printable, std::size_t width) {
    std::vector<std::string> lines;
    std::istringstream words(printable);
    for (std::string word; words >> word;) {
        const bool fits =
            !lines.empty() && (width == 0 || WidthOf(lines.back()) + 1 + WidthOf(word) <= width);
        if (fits) {
            lines.back() += " " + word;
        } else {
            lines.push_back(word);
        }
    }
    return lines;
}

}  // namespace qdmctl
