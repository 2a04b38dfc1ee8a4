#include "host/DllCommon/VisibleText.h"

namespace {

bool IsControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f;
}

void AppendEscape(std::string& out, char c) {
    static const char digits[] = "0123456789abcdef";
    switch (c) {
        case '\n':
            out += "\\n";
            return;
        case '\r':
            out += "\\r";
            return;
        case '\t':
            out += "\\t";
            return;
        default:
            out += "\\x";
            out += digits[static_cast<unsigned char>(c) >> 4];
            out += digits[static_cast<unsigned char>(c) & 0xf];
    }
}

}  // namespace

std::string VisibleText(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        if (IsControl(c)) {
            AppendEscape(out, c);
        } else {
            out += c;
        }
    }
    return out;
}
